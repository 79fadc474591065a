// Start-up and shut-down of the library, run when it is loaded into a process
// and when it is unloaded.

#include "core/ConfigStore.h"
#include "core/NodeTypes.h"
#include "data/KeptBulk.h"
#include "diag/Diagnostic.h"

#include <brelldata/core/BaseNode.h>
#include <brelldata/core/NodeRegistry.h>
#include <brelldata/core/RefNode.h>
#include <brelldata/geo/GroupNodes.h>
#include <brelldata/geo/LightCameraNodes.h>
#include <brelldata/geo/MeshNodes.h>
#include <brelldata/procedures/DApi.h>
#include <brelldata/scan/LineNodes.h>
#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/ObjectNodes.h>

#include <iterator>

namespace brell {
namespace {

struct NodeTypeEntry {
    const std::string& (*typeId)();
    NodeFactory create;
};

template <class Node>
constexpr NodeTypeEntry Entry()
{
    return {&Node::TypeId, &Node::Create};
}

// The library's own node types, registered in this order at start-up and
// unregistered in the same order at shut-down.
const NodeTypeEntry kLibraryNodeTypes[] = {
    // node core
    Entry<CBaseNode>(),
    Entry<CRefNode>(),
    // scan data
    Entry<CObjectNode>(),
    Entry<CElementNode>(),
    Entry<CLodNode>(),
    Entry<CModelNode>(),
    Entry<CMeshNode>(),
    Entry<CLinearLineNode>(),
    Entry<CBezierLineNode>(),
    Entry<CCharLineNode>(),
    Entry<CImageNode>(),
    // geometry
    Entry<CGeoBaseNode>(),
    Entry<CGeoRefNode>(),
    Entry<CGeoSwitchNode>(),
    Entry<CGeoModeNode>(),
    Entry<CGeoLightNode>(),
    Entry<CGeoCameraNode>(),
    Entry<CGeoVertexNode>(),
    Entry<CGeoPointNode>(),
    Entry<CGeoLineNode>(),
    Entry<CGeoPolygonNode>(),
    Entry<CGeoNormalNode>(),
    Entry<CGeoPolyWireNode>(),
    Entry<CGeoVertexNormalNode>(),
    Entry<CGeoWireFrameNode>(),
    Entry<CGeoPolygonRefNode>(),
    Entry<CGeoPolyShadeRefNode>(),
    Entry<CGeoPolyWireRefNode>(),
};

// Process-wide state of the library. It exists, empty, before start-up runs
// and is destroyed only after shut-down has finished with it.
struct ProcessState {
    diag::DiagnosticState diagnostics;
    NodeTypeTable nodeTypes;
    CStandardAttribute configuration;
    CDApiManager procedures;
};

// The process state is a member, so it is complete before the constructor
// body registers anything and is destroyed only after the destructor body
// has unregistered and closed the channels.
class Library {
public:
    Library()
    {
        for (const NodeTypeEntry& type : kLibraryNodeTypes) RegisterNodeType(type.typeId().c_str(), type.create);
    }
    ~Library()
    {
        for (const NodeTypeEntry& type : kLibraryNodeTypes) UnRegisterNodeType(type.typeId().c_str());
        diag::CloseDebugChannels();
        StopKeepingBulk();
    }

    ProcessState state;
};

Library library;

}  // namespace

NodeTypeTable& NodeTypes()
{
    return library.state.nodeTypes;
}

CStandardAttribute& ConfigurationStore()
{
    return library.state.configuration;
}

diag::DiagnosticState& diag::State()
{
    return library.state.diagnostics;
}

}  // namespace brell

CDApiManager* GetDApiManager()
{
    return &brell::library.state.procedures;
}

#include <brelldata/core/NodeRegistry.h>

#include "core/NodeTypes.h"
#include "diag/Diagnostic.h"

#include <string_view>

namespace {

unsigned long nodeTypesVersion = 0;

}  // namespace

void RegisterNodeType(const char* typeName, NodeFactory factory)
{
    if (typeName == nullptr) return;
    brell::diag::DebugTrace("Register node type %s\n", typeName);
    if (brell::NodeTypes().emplace(typeName, factory).second) ++nodeTypesVersion;
}

void UnRegisterNodeType(const char* typeName)
{
    if (typeName == nullptr) return;
    brell::diag::DebugTrace("Unregister node type %s\n", typeName);
    auto& types = brell::NodeTypes();
    auto found = types.find(std::string_view(typeName));
    if (found == types.end()) return;
    types.erase(found);
    ++nodeTypesVersion;
}

CBaseNode* CreateNode(const char* typeName)
{
    if (typeName == nullptr) return nullptr;
    NodeFactory factory = brell::FindNodeFactory(typeName);
    return factory != nullptr ? factory() : nullptr;
}

namespace brell {

NodeFactory FindNodeFactory(std::string_view typeName)
{
    const auto& types = NodeTypes();
    auto found = types.find(typeName);
    return found != types.end() ? found->second : nullptr;
}

unsigned long NodeTypesVersion()
{
    return nodeTypesVersion;
}

}  // namespace brell

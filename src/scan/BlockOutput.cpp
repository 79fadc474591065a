#include <brelldata/scan/BlockOutput.h>

#include <brelldata/scan/LineNodes.h>
#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/ObjectNodes.h>

#include "scan/ScanNodes.h"

#include <algorithm>
#include <new>
#include <string>

namespace brell {
namespace {

// The classes that lay out their blocks themselves, found by their exact
// type: a class derived from one of them may write a block of its own.
struct BlockLayout {
    const std::string& (*type)();
    uint64_t (*bytes)(CBaseNode& node);
    void (*put)(CBaseNode& node, ByteOutput& out);
};

template <class Node>
constexpr BlockLayout LayoutOf()
{
    return {&Node::TypeId, [](CBaseNode& node) { return static_cast<Node&>(node).BlockBytes(); },
            [](CBaseNode& node, ByteOutput& out) { static_cast<Node&>(node).PutBlock(out); }};
}

constexpr BlockLayout kLayouts[] = {
    LayoutOf<CModelNode>(),      LayoutOf<CMeshNode>(),       LayoutOf<CImageNode>(),    LayoutOf<CLodNode>(),
    LayoutOf<CLinearLineNode>(), LayoutOf<CBezierLineNode>(), LayoutOf<CCharLineNode>(),
};

// The block of a new node of class Node, with that many vertices.
template <class Node>
uint64_t BlockWithVertices(uint64_t vertices)
{
    Node* node = static_cast<Node*>(Node::Create());
    if (node == nullptr) throw std::bad_alloc();
    const uint64_t bytes = node->BlockBytes();
    node->AddRef();
    node->Release();
    return bytes + vertices * sizeof(VERTEX);
}

const BlockLayout* LayoutOf(CBaseNode& node)
{
    // Type() hands out the class's own name object, so its address names the class.
    const std::string* type = &node.Type();
    for (const BlockLayout& layout : kLayouts)
        if (&layout.type() == type) return &layout;
    return nullptr;
}

}  // namespace

uint64_t DataBlockBytes(CBaseNode* node)
{
    if (node == nullptr) return 0;
    if (const BlockLayout* layout = LayoutOf(*node)) return layout->bytes(*node);
    return static_cast<uint64_t>(std::max(node->SizeOfByte(), 0));
}

bool PutDataBlock(CBaseNode* node, ByteOutput& out)
{
    if (node == nullptr) return false;
    const int bytes = node->SizeOfByte();
    if (bytes < 0) return false;
    if (const BlockLayout* layout = LayoutOf(*node))
        layout->put(*node, out);
    else
        out.PutMade(static_cast<size_t>(bytes), [node](unsigned char* at) { node->Write(at); });
    return true;
}

uint64_t ModelBlockBytes(uint64_t vertices)
{
    return BlockWithVertices<CModelNode>(vertices);
}

uint64_t MeshBlockBytes(uint64_t vertices)
{
    return BlockWithVertices<CMeshNode>(vertices);
}

uint64_t MeshPolygonBytes(int corners, bool texCoords)
{
    BlockCounter counter;
    CPolygonDataStore<int>::PutRow(counter, {{}, corners});
    if (texCoords) CPolygonDataStore<CVector_2<float>>::PutRow(counter, {{}, corners});
    return counter.Total();
}

}  // namespace brell

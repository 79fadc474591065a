#include "core/Format.h"
#include "diag/Diagnostic.h"

#include <brelldata/geo/MeshNodes.h>

BRELL_NODE_TYPE_DEFINE(CGeoWireFrameNode, CGeoVertexNode)
BRELL_GEO_DRAW_DEFINE(CGeoWireFrameNode, CGeoVertexNode)
BRELL_NODE_TYPE_DEFINE(CGeoPolygonRefNode, CGeoVertexNode)
BRELL_GEO_DRAW_DEFINE(CGeoPolygonRefNode, CGeoVertexNode)
BRELL_NODE_TYPE_DEFINE(CGeoPolyWireRefNode, CGeoPolygonRefNode)
BRELL_GEO_DRAW_DEFINE(CGeoPolyWireRefNode, CGeoPolygonRefNode)
BRELL_NODE_TYPE_DEFINE(CGeoPolyWireNode, CGeoPolygonNode)
BRELL_GEO_DRAW_DEFINE(CGeoPolyWireNode, CGeoPolygonNode)
BRELL_NODE_TYPE_DEFINE(CGeoPolyShadeRefNode, CGeoPolygonRefNode)
BRELL_GEO_DRAW_DEFINE(CGeoPolyShadeRefNode, CGeoPolygonRefNode)

using brell::FormatText;

namespace {

int& SelectedCorner(CArrayDataStore<int>& selection, CPolygonDataStore<int>& polygons, int i, int j)
{
    return polygons.Element(selection.Element(i), j);
}

// Sets the store's count to wanted, keeping what it holds below that; the
// count stays 0 when the store cannot grow.
template <class Store>
void CorrectCount(Store& store, int wanted, const char* warning)
{
    if (store.Number() == wanted) return;
    brell::diag::DebugWarning("%s", warning);
    store.Number() = 0;
    if (store.Reserve(wanted) != 0) store.Number() = wanted;
}

}  // namespace

std::string CGeoWireFrameNode::Comment()
{
    return FormatText("%d lines, %d vertices, seg = %d%s", Number(), VertexNumber(), segment,
                      closed != 0 ? "<close>" : "");
}

int CGeoWireFrameNode::Copy(CBaseNode* source)
{
    if (auto* wire = brell::AsKindOf<CGeoWireFrameNode>(source)) {
        lineWidth = wire->lineWidth;
        color = wire->color;
        closed = wire->closed;
        segment = wire->segment;
        indices = wire->indices;
        polygons = wire->polygons;
    }
    return CGeoVertexNode::Copy(source);
}

int& CGeoWireFrameNode::Index(int i, int j)
{
    return SelectedCorner(*indices, *polygons, i, j);
}

int CGeoWireFrameNode::SetSegment(int n)
{
    segment = n;
    return 1;
}

std::string CGeoPolygonRefNode::Comment()
{
    return FormatText("%d polygons, %d vertices", Number(), VertexNumber());
}

int CGeoPolygonRefNode::Copy(CBaseNode* source)
{
    if (auto* mesh = brell::AsKindOf<CGeoPolygonRefNode>(source)) {
        color = mesh->color;
        segment = mesh->segment;
        indices = mesh->indices;
        polygons = mesh->polygons;
    }
    return CGeoVertexNode::Copy(source);
}

int& CGeoPolygonRefNode::Index(int i, int j)
{
    return SelectedCorner(*indices, *polygons, i, j);
}

int CGeoPolygonRefNode::SetSegment(int n)
{
    segment = n;
    return 1;
}

std::string CGeoPolyShadeRefNode::Comment()
{
    return FormatText("%d PolyShades, %d vertices%s%s", Number(), VertexNumber(), smooth != 0 ? "<smooth>" : "",
                      texture != 0 ? "<texture>" : "");
}

int CGeoPolyShadeRefNode::Copy(CBaseNode* source)
{
    if (auto* shade = brell::AsKindOf<CGeoPolyShadeRefNode>(source)) {
        smooth = shade->smooth;
        texture = shade->texture;
        hasTextureCoords = shade->hasTextureCoords;
        textureImage = shade->textureImage;
    }
    return CGeoPolygonRefNode::Copy(source);
}

CVector_2<float>& CGeoPolyShadeRefNode::TextureCoord(int i, int j)
{
    if (hasTextureCoords == 0) return defaultTextureCoord;
    return textureCoords->Element(indices->Element(i), j);
}

void CGeoPolyShadeRefNode::Check()
{
    CorrectCount(*flatNormals, Number(),
                 "Internal error: CGeoPolyShadeRefNode's flat normal number is error, and will be corrected.\n");
    CorrectCount(*smoothNormals, VertexNumber(),
                 "Internal error: CGeoPolyShadeRefNode's smooth normal number is error, and will be corrected.\n");
}

#include "core/Format.h"

#include <brelldata/geo/VertexNodes.h>

#include <algorithm>

BRELL_NODE_TYPE_DEFINE(CGeoVertexNode, CGeoBaseNode)
BRELL_GEO_DRAW_DEFINE(CGeoVertexNode, CGeoBaseNode)
BRELL_NODE_TYPE_DEFINE(CGeoPointNode, CGeoVertexNode)
BRELL_GEO_DRAW_DEFINE(CGeoPointNode, CGeoVertexNode)
BRELL_NODE_TYPE_DEFINE(CGeoLineNode, CGeoVertexNode)
BRELL_GEO_DRAW_DEFINE(CGeoLineNode, CGeoVertexNode)
BRELL_NODE_TYPE_DEFINE(CGeoPolygonNode, CGeoVertexNode)
BRELL_GEO_DRAW_DEFINE(CGeoPolygonNode, CGeoVertexNode)
BRELL_NODE_TYPE_DEFINE(CGeoNormalNode, CGeoPointNode)
BRELL_GEO_DRAW_DEFINE(CGeoNormalNode, CGeoPointNode)
BRELL_NODE_TYPE_DEFINE(CGeoVertexNormalNode, CGeoVertexNode)
BRELL_GEO_DRAW_DEFINE(CGeoVertexNormalNode, CGeoVertexNode)

using brell::FormatText;

namespace {

// Starts at one point and widens point by point.
class BoxBuilder {
public:
    explicit BoxBuilder(const VERTEX& first) : min_(first), max_(first) {}

    void Take(double x, double y, double z)
    {
        min_.x = std::min(min_.x, x), max_.x = std::max(max_.x, x);
        min_.y = std::min(min_.y, y), max_.y = std::max(max_.y, y);
        min_.z = std::min(min_.z, z), max_.z = std::max(max_.z, z);
    }
    void Take(const VERTEX& v) { Take(v.x, v.y, v.z); }
    template <class Normal>
    void TakeTip(const VERTEX& v, const Normal& normal, double length)
    {
        Take(v.x + length * normal.x, v.y + length * normal.y, v.z + length * normal.z);
    }

    int Give(double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ) const
    {
        minX = min_.x, minY = min_.y, minZ = min_.z, maxX = max_.x, maxY = max_.y, maxZ = max_.z;
        return 1;
    }

private:
    VERTEX min_;
    VERTEX max_;
};

// The positions of a sequence whose items pass the test, kept in order.
template <class Keep>
int CompactPositions(int count, Keep keep)
{
    int kept = 0;
    for (int i = 0; i < count; ++i) {
        if (keep(i, kept)) ++kept;
    }
    return kept;
}

int DeleteArrayByValue(CArrayDataStore<int>& indices, int value)
{
    int* items = indices.Buffer();
    const int kept = CompactPositions(indices.Number(), [&](int i, int to) {
        if (items[i] == value) return false;
        items[to] = items[i];
        return true;
    });
    return indices.Delete(kept, indices.Number() - kept);
}

int DeleteRowsByValue(CMatrixDataStore<int>& rows, int value)
{
    const int width = std::max(rows.width, 0);
    int* items = rows.Buffer();
    const int held = rows.HeldRows();
    const int kept = CompactPositions(held, [&](int i, int to) {
        const int* row = items + static_cast<ptrdiff_t>(i) * width;
        if (std::find(row, row + width, value) != row + width) return false;
        std::copy(row, row + width, items + static_cast<ptrdiff_t>(to) * width);
        return true;
    });
    return rows.DeleteRows(kept, held - kept);
}

int BoxOfRows(CGeoVertexNode& node, CMatrixDataStore<int>& rows, double& minX, double& minY, double& minZ, double& maxX,
              double& maxY, double& maxZ)
{
    const int held = rows.HeldRows();
    if (held < 1) return 0;
    BoxBuilder box(node.GetVertex(rows.Element(0, 0)));
    const int64_t entries = int64_t{held} * rows.width;
    const int* items = rows.Buffer();
    for (int64_t k = 0; k < entries; ++k) box.Take(node.GetVertex(items[k]));
    return box.Give(minX, minY, minZ, maxX, maxY, maxZ);
}

}  // namespace

std::string CGeoVertexNode::Comment()
{
    return FormatText("%d vertices", VertexNumber());
}

int CGeoVertexNode::Copy(CBaseNode* source)
{
    if (auto* other = brell::AsKindOf<CGeoVertexNode>(source)) vertices = other->vertices;
    return CGeoBaseNode::Copy(source);
}

int CGeoVertexNode::EvalBBoxThis(double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ)
{
    const int count = VertexNumber();
    if (count < 1) return 0;
    const VERTEX* v = VertexBuffer();
    BoxBuilder box(v[0]);
    for (int i = 1; i < count; ++i) box.Take(v[i]);
    return box.Give(minX, minY, minZ, maxX, maxY, maxZ);
}

int CGeoVertexNode::ClearVertex()
{
    vertices->Number() = 0;
    return 1;
}

int CGeoVertexNode::FindNearestVertex(double x, double y, double z, int start)
{
    double best = 1e38;
    int nearest = -1;
    const VERTEX* v = VertexBuffer();
    const int count = VertexNumber();
    for (int k = std::max(start, 0); k < count; ++k) {
        const double dx = x - v[k].x, dy = y - v[k].y, dz = z - v[k].z;
        const double distance = dx * dx + dy * dy + dz * dz;
        if (distance < best) best = distance, nearest = k;
    }
    return nearest;
}

std::string CGeoPointNode::Comment()
{
    return FormatText("%d points, %d vertices", Number(), VertexNumber());
}

int CGeoPointNode::Copy(CBaseNode* source)
{
    if (auto* point = brell::AsKindOf<CGeoPointNode>(source)) {
        size = point->size;
        color = point->color;
        indices = point->indices;
    }
    return CGeoVertexNode::Copy(source);
}

int CGeoPointNode::EvalBBoxThis(double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ)
{
    const int count = Number();
    if (count < 1) return 0;
    const int* items = IndexBuffer();
    BoxBuilder box(GetVertex(items[0]));
    for (int i = 1; i < count; ++i) box.Take(GetVertex(items[i]));
    return box.Give(minX, minY, minZ, maxX, maxY, maxZ);
}

int CGeoPointNode::Clear()
{
    indices->Number() = 0;
    return 1;
}

int CGeoPointNode::DeleteByValue(int value)
{
    DeleteArrayByValue(*indices, value);
    return 1;
}

std::string CGeoLineNode::Comment()
{
    return FormatText("%d lines, %d vertices, seg = %d%s", Number(), VertexNumber(), Segment(),
                      closed != 0 ? "<close>" : "");
}

int CGeoLineNode::Copy(CBaseNode* source)
{
    if (auto* line = brell::AsKindOf<CGeoLineNode>(source)) {
        lineWidth = line->lineWidth;
        color = line->color;
        closed = line->closed;
        indices = line->indices;
    }
    return CGeoVertexNode::Copy(source);
}

int CGeoLineNode::EvalBBoxThis(double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ)
{
    return BoxOfRows(*this, *indices, minX, minY, minZ, maxX, maxY, maxZ);
}

int CGeoLineNode::Clear()
{
    indices->height = 0;
    return 1;
}

int CGeoLineNode::DeleteByValue(int value)
{
    DeleteRowsByValue(*indices, value);
    return 1;
}

std::string CGeoPolygonNode::Comment()
{
    return FormatText("%d polygons, %d vertices", Number(), VertexNumber());
}

int CGeoPolygonNode::Copy(CBaseNode* source)
{
    if (auto* polygon = brell::AsKindOf<CGeoPolygonNode>(source)) {
        color = polygon->color;
        indices = polygon->indices;
    }
    return CGeoVertexNode::Copy(source);
}

int CGeoPolygonNode::EvalBBoxThis(double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ)
{
    return BoxOfRows(*this, *indices, minX, minY, minZ, maxX, maxY, maxZ);
}

int CGeoPolygonNode::Clear()
{
    indices->height = 0;
    return 1;
}

int CGeoPolygonNode::DeleteByValue(int value)
{
    DeleteRowsByValue(*indices, value);
    return 1;
}

std::string CGeoNormalNode::Comment()
{
    return FormatText("%d normals", Number());
}

int CGeoNormalNode::Copy(CBaseNode* source)
{
    if (auto* other = brell::AsKindOf<CGeoNormalNode>(source)) normals = other->normals;
    return CGeoPointNode::Copy(source);
}

int CGeoNormalNode::EvalBBoxThis(double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ)
{
    const int count = Number();
    if (count < 1) return 0;
    BoxBuilder box(Vertex(0));
    for (int i = 0; i < count; ++i) {
        const VERTEX& point = Vertex(i);
        box.Take(point);
        box.TakeTip(point, Normal(i), size);
    }
    return box.Give(minX, minY, minZ, maxX, maxY, maxZ);
}

int CGeoNormalNode::Clear()
{
    indices->Number() = 0;
    normals->Number() = 0;
    return 1;
}

int CGeoNormalNode::Insert(int pos, int n)
{
    return indices->Insert(pos, n) != 0 ? normals->Insert(pos, n) : 0;
}

int CGeoNormalNode::Delete(int pos, int n)
{
    return indices->Delete(pos, n) != 0 ? normals->Delete(pos, n) : 0;
}

int CGeoNormalNode::Append(int n)
{
    return indices->Append(n) != 0 ? normals->Append(n) : 0;
}

int CGeoNormalNode::DeleteByValue(int value)
{
    const int* items = IndexBuffer();
    const int count = Number();
    CVector_3<double>* n = NormalBuffer();
    const int normalCount = normals->Number();
    const int keptNormals = CompactPositions(normalCount, [&](int i, int to) {
        if (i < count && items[i] == value) return false;
        n[to] = n[i];
        return true;
    });
    normals->Delete(keptNormals, normalCount - keptNormals);
    DeleteArrayByValue(*indices, value);
    return 1;
}

std::string CGeoVertexNormalNode::Comment()
{
    return FormatText("%d normals", normals->Number());
}

int CGeoVertexNormalNode::Copy(CBaseNode* source)
{
    if (auto* other = brell::AsKindOf<CGeoVertexNormalNode>(source)) {
        normals = other->normals;
    }
    return CGeoVertexNode::Copy(source);
}

int CGeoVertexNormalNode::EvalBBoxThis(double& minX, double& minY, double& minZ, double& maxX, double& maxY,
                                       double& maxZ)
{
    const int count = VertexNumber();
    if (count < 1 || normals->Number() != count) return 0;
    const VERTEX* v = VertexBuffer();
    const CVector_3<float>* n = NormalBuffer();
    BoxBuilder box(v[0]);
    for (int i = 0; i < count; ++i) {
        box.Take(v[i]);
        box.TakeTip(v[i], n[i], length);
    }
    return box.Give(minX, minY, minZ, maxX, maxY, maxZ);
}

int CGeoVertexNormalNode::Clear()
{
    normals->Number() = 0;
    return 1;
}

#pragma once

#include <brelldata/data/ArrayDataStore.h>
#include <brelldata/data/MatrixDataStore.h>
#include <brelldata/data/Records.h>
#include <brelldata/data/RefData.h>
#include <brelldata/geo/GeoBaseNode.h>

// Geometry made of vertices and index lists into them. Every store is shared:
// copies (Copy, copy construction, assignment) hold the source's stores, and
// out-of-range positions give the store's spare element. None of this
// geometry is part of a node stream.

class BRELL_API CGeoVertexNode : public CGeoBaseNode {
    BRELL_NODE_TYPE(CGeoVertexNode, CGeoBaseNode)
    BRELL_GEO_DRAW(CGeoVertexNode, CGeoBaseNode)

public:
    CGeoVertexNode() = default;

    // "%d vertices".
    std::string Comment() override;
    // Shares a vertex node's vertex store, then down the chain of bases.
    int Copy(CBaseNode* source) override;
    // The box of all vertices; 0 without vertices.
    int EvalBBoxThis(double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ) override;

    // Null while nothing was reserved.
    VERTEX* VertexBuffer() { return vertices->Buffer(); }
    VERTEX& GetVertex(int i) { return vertices->Element(i); }
    int VertexNumber() { return vertices->Number(); }
    // Count 0, buffer kept.
    int ClearVertex();
    int InsertVertex(int pos, int n) { return vertices->Insert(pos, n); }
    int DeleteVertex(int pos, int n) { return vertices->Delete(pos, n); }
    // n more vertices with unspecified contents.
    int AppendVertex(int n) { return vertices->Append(n); }
    // The nearest vertex from start on (the lowest index among equals); -1
    // when start is not below the count. A negative start counts as 0.
    int FindNearestVertex(double x, double y, double z, int start);
    int FindNearestVertex(const CVector_3<double>& p, int start) { return FindNearestVertex(p.x, p.y, p.z, start); }

    CRefData<CArrayDataStore<VERTEX>> vertices;
};

// Vertices selected as points by index.
class BRELL_API CGeoPointNode : public CGeoVertexNode {
    BRELL_NODE_TYPE(CGeoPointNode, CGeoVertexNode)
    BRELL_GEO_DRAW(CGeoPointNode, CGeoVertexNode)

public:
    CGeoPointNode() = default;

    // "%d points, %d vertices".
    std::string Comment() override;
    // Copies size and colour and shares the indices of a point node.
    int Copy(CBaseNode* source) override;
    // The box of the indexed vertices; 0 without indices.
    int EvalBBoxThis(double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ) override;

    int Number() { return indices->Number(); }
    int& Index(int i) { return indices->Element(i); }
    int* IndexBuffer() { return indices->Buffer(); }
    // Index count 0; the vertices stay.
    int Clear();
    int Insert(int pos, int n) { return indices->Insert(pos, n); }
    int Delete(int pos, int n) { return indices->Delete(pos, n); }
    int Append(int n) { return indices->Append(n); }
    // Removes every index equal to value; 1.
    int DeleteByValue(int value);
    VERTEX& Vertex(int i) { return GetVertex(Index(i)); }

    double size = 1.0;
    RGBA color{255, 255, 255, 255};
    CRefData<CArrayDataStore<int>> indices;
};

// Lines of Segment() vertices each, one index row per line.
class BRELL_API CGeoLineNode : public CGeoVertexNode {
    BRELL_NODE_TYPE(CGeoLineNode, CGeoVertexNode)
    BRELL_GEO_DRAW(CGeoLineNode, CGeoVertexNode)

public:
    CGeoLineNode() { indices->width = 2; }

    // "%d lines, %d vertices, seg = %d", then "<close>" for closed lines.
    std::string Comment() override;
    // Copies width, colour and closing and shares the index rows of a line node.
    int Copy(CBaseNode* source) override;
    // The box of every indexed vertex; 0 without rows.
    int EvalBBoxThis(double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ) override;

    // Vertices per line; setting it does not rearrange the rows held.
    int& Segment() { return indices->width; }
    // The rows held at the current Segment() (CMatrixDataStore::HeldRows).
    int Number() { return indices->HeldRows(); }
    int* IndexBuffer() { return indices->Buffer(); }
    int Clear();
    // A row at or past the end is first made room for (the count stays); the
    // spare element for a negative row or when that fails.
    int& Index(int i, int j) { return indices->Element(i, j); }
    int Insert(int pos, int n) { return indices->InsertRows(pos, n); }
    int Delete(int pos, int n) { return indices->DeleteRows(pos, n); }
    int Append(int n) { return indices->AppendRows(n); }
    // Removes every row holding value; 1.
    int DeleteByValue(int value);
    VERTEX& Vertex(int i, int j) { return GetVertex(Index(i, j)); }

    int closed = 0;
    double lineWidth = 1.0;
    RGBA color{255, 255, 255, 255};
    CRefData<CMatrixDataStore<int>> indices;
};

// Polygons of Segment() corners each, one index row per polygon.
class BRELL_API CGeoPolygonNode : public CGeoVertexNode {
    BRELL_NODE_TYPE(CGeoPolygonNode, CGeoVertexNode)
    BRELL_GEO_DRAW(CGeoPolygonNode, CGeoVertexNode)

public:
    CGeoPolygonNode() { indices->width = 3; }

    // "%d polygons, %d vertices".
    std::string Comment() override;
    // Copies the colour and shares the index rows of a polygon node.
    int Copy(CBaseNode* source) override;
    // The box of every indexed vertex; 0 without rows.
    int EvalBBoxThis(double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ) override;

    // Corners per polygon; setting it does not rearrange the rows held.
    int& Segment() { return indices->width; }
    // As CGeoLineNode::Number.
    int Number() { return indices->HeldRows(); }
    int* IndexBuffer() { return indices->Buffer(); }
    int Clear();
    // As CGeoLineNode::Index.
    int& Index(int i, int j) { return indices->Element(i, j); }
    int Insert(int pos, int n) { return indices->InsertRows(pos, n); }
    int Delete(int pos, int n) { return indices->DeleteRows(pos, n); }
    int Append(int n) { return indices->AppendRows(n); }
    // Removes every row holding value; 1.
    int DeleteByValue(int value);
    VERTEX& Vertex(int i, int j) { return GetVertex(Index(i, j)); }

    RGBA color{255, 255, 255, 255};
    CRefData<CMatrixDataStore<int>> indices;
};

// Points with one normal each: the normal at position i belongs to the point
// at position i, and counts toward the box at length size.
class BRELL_API CGeoNormalNode : public CGeoPointNode {
    BRELL_NODE_TYPE(CGeoNormalNode, CGeoPointNode)
    BRELL_GEO_DRAW(CGeoNormalNode, CGeoPointNode)

public:
    CGeoNormalNode() { size = 10.0; }

    // "%d normals" with the index count.
    std::string Comment() override;
    // Shares a normal node's normals, then down the chain of bases.
    int Copy(CBaseNode* source) override;
    // The indexed points and their tips at size along the normals; 0 without indices.
    int EvalBBoxThis(double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ) override;

    CVector_3<double>& Normal(int i) { return normals->Element(i); }
    CVector_3<double>* NormalBuffer() { return normals->Buffer(); }
    // Index and normal counts 0.
    int Clear();
    // Indices and normals together; the normals are left alone when the indices fail.
    int Insert(int pos, int n);
    int Delete(int pos, int n);
    // 0 as soon as one fails (an index append already made stays).
    int Append(int n);
    // Removes every index equal to value with its normal; 1.
    int DeleteByValue(int value);

    CRefData<CArrayDataStore<CVector_3<double>>> normals;
};

// One normal per vertex, counting toward the box at length.
class BRELL_API CGeoVertexNormalNode : public CGeoVertexNode {
    BRELL_NODE_TYPE(CGeoVertexNormalNode, CGeoVertexNode)
    BRELL_GEO_DRAW(CGeoVertexNormalNode, CGeoVertexNode)

public:
    CGeoVertexNormalNode() = default;

    // "%d normals".
    std::string Comment() override;
    // Shares a vertex normal node's normals; length and colour stay.
    int Copy(CBaseNode* source) override;
    // The vertices and their tips at length along the normals; 0 without
    // vertices or when the counts differ.
    int EvalBBoxThis(double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ) override;

    CVector_3<float>& Normal(int i) { return normals->Element(i); }
    CVector_3<float>* NormalBuffer() { return normals->Buffer(); }
    // Normal count 0; the vertices stay.
    int Clear();
    int Append(int n) { return normals->Append(n); }

    double length = 10.0;
    RGBA color{255, 255, 255, 255};
    CRefData<CArrayDataStore<CVector_3<float>>> normals;
};

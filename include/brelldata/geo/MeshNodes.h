#pragma once

#include <brelldata/data/ArrayDataStore.h>
#include <brelldata/data/MatrixDataStore.h>
#include <brelldata/data/PolygonDataStore.h>
#include <brelldata/data/RefData.h>
#include <brelldata/geo/VertexNodes.h>

// Meshes that draw a selection of the polygons of shared stores, for example
// those of a scanned mesh, without copying them: an entry of indices is a row
// of polygons, an entry of a polygons row a position in vertices. The box is
// that of every vertex, selected or not.

// The selected polygons drawn as lines.
class BRELL_API CGeoWireFrameNode : public CGeoVertexNode {
    BRELL_NODE_TYPE(CGeoWireFrameNode, CGeoVertexNode)
    BRELL_GEO_DRAW(CGeoWireFrameNode, CGeoVertexNode)

public:
    CGeoWireFrameNode() = default;

    // "%d lines, %d vertices, seg = %d", then "<close>" for closed lines.
    std::string Comment() override;
    // Copies width, colour, closing and segment and shares the selection and
    // polygons of a wireframe node.
    int Copy(CBaseNode* source) override;

    // The number of selected polygons.
    int Number() { return indices->Number(); }
    // Vertex index at corner j of the i-th selected polygon; the polygon
    // store's spare element when there is none.
    int& Index(int i, int j);
    VERTEX& Vertex(int i, int j) { return GetVertex(Index(i, j)); }
    int SetSegment(int n);
    int GetSegment() { return segment; }

    int closed = 0;
    double lineWidth = 1.0;
    RGBA color{255, 255, 255, 255};
    CRefData<CArrayDataStore<int>> indices;
    CRefData<CPolygonDataStore<int>> polygons;
    int segment = 3;
};

// The selected polygons drawn as faces.
class BRELL_API CGeoPolygonRefNode : public CGeoVertexNode {
    BRELL_NODE_TYPE(CGeoPolygonRefNode, CGeoVertexNode)
    BRELL_GEO_DRAW(CGeoPolygonRefNode, CGeoVertexNode)

public:
    CGeoPolygonRefNode() = default;

    // "%d polygons, %d vertices".
    std::string Comment() override;
    // Copies colour and segment and shares the selection and polygons of a
    // polygon reference node.
    int Copy(CBaseNode* source) override;

    int Number() { return indices->Number(); }
    // As CGeoWireFrameNode::Index.
    int& Index(int i, int j);
    VERTEX& Vertex(int i, int j) { return GetVertex(Index(i, j)); }
    int SetSegment(int n);
    int GetSegment() { return segment; }

    RGBA color{255, 255, 255, 255};
    CRefData<CArrayDataStore<int>> indices;
    CRefData<CPolygonDataStore<int>> polygons;
    int segment = 3;
};

// A polygon reference node drawn by procedures of its own.
class BRELL_API CGeoPolyWireRefNode : public CGeoPolygonRefNode {
    BRELL_NODE_TYPE(CGeoPolyWireRefNode, CGeoPolygonRefNode)
    BRELL_GEO_DRAW(CGeoPolyWireRefNode, CGeoPolygonRefNode)

public:
    CGeoPolyWireRefNode() = default;
};

// A polygon node drawn by procedures of its own.
class BRELL_API CGeoPolyWireNode : public CGeoPolygonNode {
    BRELL_NODE_TYPE(CGeoPolyWireNode, CGeoPolygonNode)
    BRELL_GEO_DRAW(CGeoPolyWireNode, CGeoPolygonNode)

public:
    CGeoPolyWireNode() = default;
};

// A shaded mesh: one flat normal per selected polygon, one smooth normal per
// vertex, a texture image and per-corner texture coordinates of polygons.
class BRELL_API CGeoPolyShadeRefNode : public CGeoPolygonRefNode {
    BRELL_NODE_TYPE(CGeoPolyShadeRefNode, CGeoPolygonRefNode)
    BRELL_GEO_DRAW(CGeoPolyShadeRefNode, CGeoPolygonRefNode)

public:
    CGeoPolyShadeRefNode() = default;

    // "%d PolyShades, %d vertices", then "<smooth>" and "<texture>" when set.
    std::string Comment() override;
    // Copies the smooth, texture and texture-coordinate switches and shares
    // the texture image of a shaded mesh; normals, coordinates and the two
    // free fields stay.
    int Copy(CBaseNode* source) override;

    CVector_3<float>& FlatNormal(int i) { return flatNormals->Element(i); }
    CVector_3<float>* FlatNormalBuffer() { return flatNormals->Buffer(); }
    // The smooth normal of the vertex at corner j of the i-th selected polygon.
    CVector_3<float>& SmoothNormal(int i, int j) { return smoothNormals->Element(Index(i, j)); }
    CVector_3<float>* SmoothNormalBuffer() { return smoothNormals->Buffer(); }
    // defaultTextureCoord while hasTextureCoords is 0; else the coordinate of
    // corner j of the i-th selected polygon (the spare element when absent).
    CVector_2<float>& TextureCoord(int i, int j);

    int smooth = 0;
    int texture = 0;
    int32_t param1 = 0;  // not interpreted by the library
    int32_t param2 = 0;
    CRefData<CMatrixDataStore<RGBA>> textureImage;
    CRefData<CArrayDataStore<CVector_3<float>>> flatNormals;
    CRefData<CArrayDataStore<CVector_3<float>>> smoothNormals;
    int hasTextureCoords = 0;
    CRefData<CPolygonDataStore<CVector_2<float>>> textureCoords;
    CVector_2<float> defaultTextureCoord{0.0f, 0.0f};

protected:
    // Gives flatNormals one entry per selected polygon and smoothNormals one
    // per vertex, with a warning for each count it corrects. Kept normals
    // keep their values.
    void Check();
};

#pragma once

#include <brelldata/Export.h>
#include <brelldata/data/ArrayDataStore.h>
#include <brelldata/data/MatrixDataStore.h>
#include <brelldata/data/PolygonDataStore.h>
#include <brelldata/data/Records.h>
#include <brelldata/data/RefData.h>
#include <brelldata/scan/ObjectNodes.h>

#include <string>

// A cloud of measured points. Copy construction and assignment share the
// stores; Copy makes a private copy of them.
class BRELL_API CModelNode : public CObjectNode {
    BRELL_NODE_TYPE(CModelNode, CObjectNode)

public:
    CModelNode() = default;

    // Data block: the vertex store with its length, then the attribute block.
    BRELL_SCAN_NODE_BLOCK
    // "%d vertices".
    std::string Comment() override;
    // A model source's vertices become this node's own private copy; then
    // the name and attributes. 0 for a null source.
    int Copy(CBaseNode* source) override;

    // The vertex count, writable (see CArrayDataStore::Number).
    int& VertexNumber() { return vertices->Number(); }
    // Null when index is outside 0 .. VertexNumber() - 1.
    VERTEX* GetVertex(int index) { return vertices->ElementPtr(index); }
    // Empties the vertices, keeping their buffer.
    int ClearVertex() { return vertices->Clear(); }
    // As CArrayDataStore Insert, Delete and Append on the vertices.
    int InsertVertex(int position, int number) { return vertices->Insert(position, number); }
    int DeleteVertex(int position, int number) { return vertices->Delete(position, number); }
    int AppendVertex(int number) { return vertices->Append(number); }

    CRefData<CArrayDataStore<VERTEX>> vertices;
};

// A model whose vertices are joined into polygons of up to four corners and
// textured by images. The images are the node's CImageNode children, counted
// in child order from 0; other children are skipped when counting them.
class BRELL_API CMeshNode : public CModelNode {
    BRELL_NODE_TYPE(CMeshNode, CModelNode)

public:
    CMeshNode() = default;

    // Data block: polygons, integer lists 2 and 3, texture coordinates and
    // integer list 1, each with its length, then the model's data block.
    BRELL_SCAN_NODE_BLOCK
    // "%d polygons".
    std::string Comment() override;
    // A mesh source's five stores become private copies, then as
    // CModelNode::Copy. Children (and so the images) are not copied.
    int Copy(CBaseNode* source) override;

    int ImageNumber();
    // A handle sharing that image's pixels; a new empty matrix when there is no such image.
    CRefData<CMatrixDataStore<RGBA>> Image(int image);
    // Appends an image node sharing the store; its image index, or -1 when it cannot be made.
    int AppendImage(CRefData<CMatrixDataStore<RGBA>>& image);
    // Inserts an image node sharing store so that it becomes image number
    // image; 1, or 0 when it cannot be made. Without such an image, AppendImage.
    int InsertImage(int image, CRefData<CMatrixDataStore<RGBA>>& store);
    // Removes and releases that image node; 0 when there is none.
    int DeleteImage(int image);

    // One row per polygon: the vertex indices of its corners.
    CRefData<CPolygonDataStore<int>> polygons;
    // Rows parallel to the polygons, one coordinate per corner.
    CRefData<CPolygonDataStore<CVector_2<float>>> texCoords;
    // Kept, copied and streamed; their meaning is the host's.
    CRefData<CArrayDataStore<int>> intList1;
    CRefData<CArrayDataStore<int>> intList2;
    CRefData<CArrayDataStore<int>> intList3;

protected:
    // The child index of that image; -1 when there is none.
    int ImageIndex(int image);
};

// One colour image: width pixels per row, height rows. Copy shares the pixels.
class BRELL_API CImageNode : public CObjectNode {
    BRELL_NODE_TYPE(CImageNode, CObjectNode)

public:
    CImageNode() = default;

    // Data block: the pixel matrix with its length, then the attribute block.
    BRELL_SCAN_NODE_BLOCK
    // "width = %d, height = %d".
    std::string Comment() override;
    // An image source's pixel store becomes shared with this node (no
    // private copy); then the name and attributes. 0 for a null source.
    int Copy(CBaseNode* source) override;

    CRefData<CMatrixDataStore<RGBA>> image;
};

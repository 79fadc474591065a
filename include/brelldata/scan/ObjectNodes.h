#pragma once

#include <brelldata/Export.h>
#include <brelldata/core/BaseNode.h>

#include <cstdint>
#include <string>

class CTree;
class CMeshNode;
class CImageNode;

namespace brell {
class ByteOutput;
}

// The overrides of every scan-data class with a data block of its own: the
// block (its base's part, its own fields, the attribute block) and the
// geometry calculation under its own type name; and, not virtual, the block
// counted in 64 bits and put into an output a piece at a time (see
// brell::DataBlockBytes and brell::PutDataBlock, which call them by type).
#define BRELL_SCAN_NODE_BLOCK                                       \
    int SizeOfByte() override;                                      \
    int Read(void* block) override;                                 \
    int Write(void* block) override;                                \
    int GeoCalc(const char* procedure, CBaseNode* output) override; \
    uint64_t BlockBytes();                                          \
    void PutBlock(brell::ByteOutput& out);

// Base of every scan-data node. Geometry is not computed here: GeoCalc hands
// the node to the host's geometry procedure "Geo" + class name + "_" +
// procedure (kind "GeoProc"), which hangs what it builds under an output node.
class BRELL_API CObjectNode : public CBaseNode {
    BRELL_NODE_TYPE(CObjectNode, CBaseNode)

public:
    CObjectNode() = default;

    // 0 for an existing level-of-detail child, which walks and GeoCalc skip; 1 otherwise.
    int IsChildEnable(int index) override;
    // The generic procedure "GeoCObjectNode_" + procedure called with (this,
    // output): its result, or 0 when there is none. A null procedure is empty.
    virtual int GeoCalc(const char* procedure, CBaseNode* output);

    // The attribute block, the data block of this class and the last part of
    // every derived class's: its bytes, 0 past 2 GB, and the block put into out.
    uint64_t BlockBytes();
    void PutBlock(brell::ByteOutput& out);

protected:
    // Calls "Geo" + typeName + "_" + procedure with (this, output): its
    // result, or 0 when there is none.
    int GeoCalcThis(const char* procedure, const char* typeName, CBaseNode* output);
    // The descent every derived class runs under its own type name: a
    // reference node named as this node and referring to it, appended as
    // output's last child, holds the procedure's geometry and the results of
    // the enabled scan-data children (all visited; 0 when any fails). When
    // the class's procedure is missing or fails, the generic one is called
    // with output instead and the children are not visited. With a null
    // output the class's procedure's geometry is dropped and the result is 0.
    int GeoCalcDescent(const char* procedure, const std::string& typeName, CBaseNode* output);
};

// One scanned element: the parent of its models, meshes, images, line data
// and level-of-detail nodes.
class BRELL_API CElementNode : public CObjectNode {
    BRELL_NODE_TYPE(CElementNode, CObjectNode)

public:
    CElementNode() = default;

    int GeoCalc(const char* procedure, CBaseNode* output) override;

    // Direct children whose IsKindOf accepts type (a mesh is also a
    // "CModelNode"); 0 for a null type.
    int NodeNumber(const char* type);
    // The index-th of those children in child order; null when there is none.
    CBaseNode* GetNode(int index, const char* type);
    int MeshNumber();
    CMeshNode* GetMesh(int index);
    int ImageNumber();
    CImageNode* GetImage(int index);
};

// A coarser or finer version of its parent's data; GeoCalc of the parent
// skips it, and only the host decides when to calculate it.
class BRELL_API CLodNode : public CObjectNode {
    BRELL_NODE_TYPE(CLodNode, CObjectNode)

public:
    CLodNode() = default;

    // Data block: the level, then the attribute block.
    BRELL_SCAN_NODE_BLOCK
    // "LOD level = %d".
    std::string Comment() override;
    // Takes a level-of-detail source's level, then the name and attributes;
    // 0 for a null source.
    int Copy(CBaseNode* source) override;

    int level = 0;
};

// A scene is a tree whose root's direct children are its elements.

// Appends element as the root's last child (which takes a reference); 1, also
// for a null element (nothing appended); 0 for a null scene or an empty tree.
BRELL_API int AppendElementToScene(CElementNode* element, CTree* scene);
// The root's direct children that are elements; 0 for a null scene or root.
BRELL_API int ElementNumber(CTree* scene);
// The index-th of those elements; null when there is none.
BRELL_API CElementNode* GetElement(int index, CTree* scene);

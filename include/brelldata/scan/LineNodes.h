#pragma once

#include <brelldata/Export.h>
#include <brelldata/data/LineDataStore.h>
#include <brelldata/data/Records.h>
#include <brelldata/data/RefData.h>
#include <brelldata/scan/ObjectNodes.h>

#include <cstdint>
#include <string>

// Curves of a scanned element. The library stores, copies and streams the
// points, Bezier items and parameters; their meaning is the host's. Copy
// construction and assignment share the line stores.

// Polylines of 3-D points.
class BRELL_API CLinearLineNode : public CObjectNode {
    BRELL_NODE_TYPE(CLinearLineNode, CObjectNode)

public:
    CLinearLineNode() = default;

    // Data block: the line store with its length, then the attribute block.
    BRELL_SCAN_NODE_BLOCK
    // "%d lines".
    std::string Comment() override;
    // A linear line source's lines become this node's private copy; then the
    // name and attributes. 0 for a null source.
    int Copy(CBaseNode* source) override;

    CRefData<CLineDataStore<CVector_3<double>>> lines;
};

class BRELL_API CBezierLineNode : public CObjectNode {
    BRELL_NODE_TYPE(CBezierLineNode, CObjectNode)

public:
    CBezierLineNode() = default;

    // Data block: the line store with its length, then the attribute block.
    BRELL_SCAN_NODE_BLOCK
    // "%d bezier lines".
    std::string Comment() override;
    // A Bezier line source's lines become this node's private copy; then the
    // name and attributes. 0 for a null source.
    int Copy(CBaseNode* source) override;

    CRefData<CLineDataStore<BEZIER_POINT3D>> lines;
};

// Two sets of Bezier lines and a block of parameters. Its comment is CBaseNode's.
class BRELL_API CCharLineNode : public CObjectNode {
    BRELL_NODE_TYPE(CCharLineNode, CObjectNode)

public:
    CCharLineNode() = default;

    // Data block: both line stores with their lengths, the parameters
    // unaligned, the attribute block, then 4 bytes that belong to the block
    // but are never written (transient is not streamed).
    BRELL_SCAN_NODE_BLOCK
    // A character line source's line stores become shared with this node,
    // its parameters and transient copied; then the name and attributes. 0
    // for a null source.
    int Copy(CBaseNode* source) override;

    CRefData<CLineDataStore<BEZIER_POINT3D>> lines1;
    CRefData<CLineDataStore<BEZIER_POINT3D>> lines2;
    int32_t transient = 0;
    CVector_3<double> vector1{};
    CVector_3<double> vector2{};
    CVector_3<double> vector3{};
    CVector_3<double> vector4{};
    int32_t intParam1 = 0;
    double realParam1 = 0;
    double realParam2 = 0;
    CVector_3<double> vector5{};
    int32_t intParam2 = 0;
};

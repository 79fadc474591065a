#include <brelldata/scan/LineNodes.h>

#include "core/Format.h"
#include "scan/ScanNodes.h"

namespace {

constexpr auto kLineFields = [](auto& cursor, auto& node) { brell::StorePart(cursor, *node.lines); };

// The parameters are unaligned: two doubles follow a 4-byte integer.
constexpr auto kCharLineFields = [](auto& cursor, CCharLineNode& node) {
    brell::StorePart(cursor, *node.lines1);
    brell::StorePart(cursor, *node.lines2);
    cursor.Bytes(&node.vector1, 24);
    cursor.Bytes(&node.vector2, 24);
    cursor.Bytes(&node.vector3, 24);
    cursor.Bytes(&node.vector4, 24);
    cursor.Bytes(&node.intParam1, 4);
    cursor.Bytes(&node.realParam1, 8);
    cursor.Bytes(&node.realParam2, 8);
    cursor.Bytes(&node.vector5, 24);
    cursor.Bytes(&node.intParam2, 4);
};

// Counted by SizeOfByte after the attribute block, never written, so readers step over them.
constexpr int kCharLineUnwritten = 4;

}  // namespace

BRELL_NODE_TYPE_DEFINE(CLinearLineNode, CObjectNode)

BRELL_SCAN_NODE_DEFINE(CLinearLineNode, CObjectNode, kLineFields, 0)

std::string CLinearLineNode::Comment()
{
    return brell::FormatText("%d lines", lines->Number());
}

int CLinearLineNode::Copy(CBaseNode* source)
{
    if (CLinearLineNode* other = brell::AsKindOf<CLinearLineNode>(source)) brell::CopyPrivately(lines, other->lines);
    return CObjectNode::Copy(source);
}

BRELL_NODE_TYPE_DEFINE(CBezierLineNode, CObjectNode)

BRELL_SCAN_NODE_DEFINE(CBezierLineNode, CObjectNode, kLineFields, 0)

std::string CBezierLineNode::Comment()
{
    return brell::FormatText("%d bezier lines", lines->Number());
}

int CBezierLineNode::Copy(CBaseNode* source)
{
    if (CBezierLineNode* other = brell::AsKindOf<CBezierLineNode>(source)) brell::CopyPrivately(lines, other->lines);
    return CObjectNode::Copy(source);
}

BRELL_NODE_TYPE_DEFINE(CCharLineNode, CObjectNode)

BRELL_SCAN_NODE_DEFINE(CCharLineNode, CObjectNode, kCharLineFields, kCharLineUnwritten)

int CCharLineNode::Copy(CBaseNode* source)
{
    if (CCharLineNode* other = brell::AsKindOf<CCharLineNode>(source)) {
        lines1 = other->lines1;
        lines2 = other->lines2;
        transient = other->transient;
        vector1 = other->vector1;
        vector2 = other->vector2;
        vector3 = other->vector3;
        vector4 = other->vector4;
        intParam1 = other->intParam1;
        realParam1 = other->realParam1;
        realParam2 = other->realParam2;
        vector5 = other->vector5;
        intParam2 = other->intParam2;
    }
    return CObjectNode::Copy(source);
}

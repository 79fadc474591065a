#pragma once

#include <brelldata/Export.h>
#include <brelldata/core/Block.h>

#include <algorithm>
#include <cstdint>
#include <string_view>

class CBaseNode;

// A node stream is the flat form of a node and its subtree: one record per
// node, depth first, each followed by its children's records. A record is its
// size, child count, type name, node name, data block size and the node's own
// data block (by default its attribute block); 32-bit little-endian integers,
// strings as length plus 1 with a zero byte, no padding.

namespace brell {

// The bytes of one record alone, its children not included, with a data
// block of dataSize bytes (none when it is negative).
constexpr uint64_t RecordBytes(std::string_view type, std::string_view name, int dataSize)
{
    // Record size, child count, the two string lengths and the data block size.
    constexpr uint64_t kFixedFieldBytes = 20;
    return kFixedFieldBytes + (type.size() + 1) + (name.size() + 1) + static_cast<uint64_t>(std::max(dataSize, 0));
}

// The fields of a record in front of its data block, through any cursor that
// takes Int32 and Bytes fields as a block writer does.
template <class Cursor>
void PutRecordFrame(Cursor& out, std::string_view type, std::string_view name, int32_t children, int32_t dataSize)
{
    const auto recordBytes = static_cast<uint32_t>(RecordBytes(type, name, dataSize));
    out.Bytes(&recordBytes, 4);
    out.Int32(children);
    PutString(out, type);
    PutString(out, name);
    out.Int32(dataSize);
}

}  // namespace brell

// The bytes that WriteNode needs for node and its subtree; 0 for null, for a
// stream past 2 GB (or a node whose block is past it) and when memory runs out.
BRELL_API int SizeOfByte(CBaseNode* node);
// Writes the stream of node into block, which must hold SizeOfByte(node)
// bytes; the number of bytes written, or 0 for a null block or node, for a
// stream past 2 GB, of which nothing is written, and when memory runs out.
BRELL_API int WriteNode(void* block, CBaseNode* node);
// Makes the nodes of a complete stream and returns the top one with count 0;
// null for a null block, when any record names an unregistered type or when
// memory runs out (nothing made on the way is left over). Nothing else in the
// stream is checked.
BRELL_API CBaseNode* ReadNode(void* block);

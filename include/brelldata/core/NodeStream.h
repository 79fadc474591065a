#pragma once

#include <brelldata/Export.h>

class CBaseNode;

// A node stream is the flat form of a node and its subtree: one record per
// node, depth first, each followed by its children's records. A record is its
// size, child count, type name, node name, data block size and the node's own
// data block (by default its attribute block); 32-bit little-endian integers,
// strings as length plus 1 with a zero byte, no padding.

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

#pragma once

#include <brelldata/core/BaseNode.h>

#include <optional>

// A stream reader finds the next record by measuring the node it has just
// read. For a node of millions of polygon rows that second walk over the rows
// was an eighth of a scene load, so a class that knows while reading what
// its SizeOfByte() will give tells it, and the reader takes that instead.

namespace brell {

// The size last told on a thread, and the node it was told for.
struct ToldSize {
    const CBaseNode* node;
    int size;
};

// This thread's; a reader of many nodes looks it up once.
ToldSize& ThreadToldSize();

// Calls read(), which reads node's data block; the size node's class told
// (into told, this thread's) while reading, if it did.
template <class Read>
std::optional<int> ReadTellingSize(ToldSize& told, const CBaseNode& node, Read read)
{
    // A node read before may have left its size behind at this address.
    told.node = nullptr;
    read();
    if (told.node != &node) return std::nullopt;
    told.node = nullptr;
    return told.size;
}

// Tells what node's SizeOfByte() gives now, from its class's Read.
inline void TellSizeRead(const CBaseNode& node, int size)
{
    ThreadToldSize() = {&node, size};
}

}  // namespace brell

#pragma once

#include <brelldata/core/BaseNode.h>

#include <optional>

// A stream reader finds the next record by measuring the node it has just
// read. For a node of millions of polygon rows that second walk over the rows
// was an eighth of a scene load, so a class that knows while reading what
// its SizeOfByte() will give tells it, and the reader takes that instead.

namespace brell {

namespace detail {
struct ToldSize {
    const CBaseNode* node;
    int size;
};
ToldSize& LastToldSize();
}  // namespace detail

// Calls read(), which reads node's data block; the size node's class told
// while reading, if it did.
template <class Read>
std::optional<int> ReadTellingSize(const CBaseNode& node, Read read)
{
    detail::ToldSize& told = detail::LastToldSize();
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
    detail::LastToldSize() = {&node, size};
}

}  // namespace brell

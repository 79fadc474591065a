#pragma once

// Bounds in force on this thread for as long as a test holds them, as a
// checked load puts them; an assertion that leaves early clears them too.

#include <brelldata/core/Block.h>

#include <cstddef>

namespace brell::test {

struct BoundsInForce {
    // Bounds of the size bytes from begin.
    BoundsInForce(const void* begin, size_t size)
    {
        bounds.begin = static_cast<const unsigned char*>(begin);
        bounds.end = bounds.begin + size;
        ActiveBlockBounds() = &bounds;
    }
    ~BoundsInForce() { ActiveBlockBounds() = nullptr; }
    BoundsInForce(const BoundsInForce&) = delete;
    BoundsInForce& operator=(const BoundsInForce&) = delete;
    BlockBounds bounds;
};

}  // namespace brell::test

#pragma once

// How large one node's block and one node stream may be. The node stream's
// sizes are 32-bit, so a block stops at 2 GB; tests lower the limit to split
// scans and scene files of a few kilobytes.

#include <brelldata/io/Export.h>

#include <cstdint>

namespace brell::io::detail {

// The most bytes one node's block, and one node stream, may hold: 2^31 - 1.
BRELL_IO_API uint64_t NodeStreamLimit();

// Lowers the limit on this thread while it lives.
class BRELL_IO_API NodeStreamLimitScope {
public:
    explicit NodeStreamLimitScope(uint64_t limit);
    ~NodeStreamLimitScope();
    NodeStreamLimitScope(const NodeStreamLimitScope&) = delete;
    NodeStreamLimitScope& operator=(const NodeStreamLimitScope&) = delete;

private:
    uint64_t previous_;
};

// What a scan split into parts puts in one part, and a scene file too large
// for one stream in one stream (a node larger than this goes alone): an
// sixteenth of the limit, so that importing, saving and loading hold one such
// piece beside the scene's stores, not a second copy of them.
inline uint64_t PieceBytes()
{
    return NodeStreamLimit() / 16;
}

}  // namespace brell::io::detail

#include "core/Format.h"

#include <brelldata/core/Block.h>

#include <cinttypes>

namespace brell {

bool BlockBounds::Check(const unsigned char* at, uint64_t count, uint64_t itemSize, const char* what)
{
    if (Failed()) return false;
    const uint64_t remaining = at <= end ? static_cast<uint64_t>(end - at) : 0;
    if (itemSize == 0 || count <= remaining / itemSize) return true;
    const std::string size = itemSize == 1 ? FormatText("%" PRIu64 " bytes", count)
                                           : FormatText("%" PRIu64 " items of %" PRIu64 " bytes", count, itemSize);
    Refuse(at, FormatText("%s of %s runs past the end (%" PRIu64 " bytes remain)", what, size.c_str(), remaining));
    return false;
}

void BlockBounds::Refuse(const unsigned char* at, const std::string& reason)
{
    if (Failed()) return;
    failure = reason;
    failureOffset = static_cast<size_t>(at - begin);
}

BlockBounds*& ActiveBlockBounds()
{
    thread_local BlockBounds* bounds = nullptr;
    return bounds;
}

}  // namespace brell

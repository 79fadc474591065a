#include "core/Format.h"

#include <brelldata/core/Block.h>

#include <cinttypes>

namespace brell {

bool BlockBounds::RefuseItems(const unsigned char* at, uint64_t count, uint64_t itemSize, const char* what,
                              const unsigned char* limit)
{
    if (Failed()) return false;
    const uint64_t remaining = at <= limit ? static_cast<uint64_t>(limit - at) : 0;
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

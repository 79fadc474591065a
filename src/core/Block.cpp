#include "core/Format.h"

#include <brelldata/core/Block.h>

#include <algorithm>
#include <cinttypes>
#include <cstring>

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

void BlockBounds::ReportReads(ReadReport report, void* context, const unsigned char* from)
{
    onRead = report;
    onReadContext = context;
    nextReport_ = report == nullptr ? UINTPTR_MAX : reinterpret_cast<uintptr_t>(from) + reportStep;
}

void BlockBounds::Report(const unsigned char* at)
{
    onRead(onReadContext, at);
    nextReport_ = reinterpret_cast<uintptr_t>(at) + reportStep;
}

void BlockBounds::CopyReporting(void* to, const unsigned char* from, size_t size)
{
    // Pieces small enough that the bytes behind the copy are let go of soon.
    constexpr size_t kPiece = size_t{1} << 20;
    auto* into = static_cast<unsigned char*>(to);
    for (size_t done = 0; done < size;) {
        const size_t piece = std::min(kPiece, size - done);
        std::memcpy(into + done, from + done, piece);
        done += piece;
        Reached(from + done);
    }
}

BlockBounds*& ActiveBlockBounds()
{
    thread_local BlockBounds* bounds = nullptr;
    return bounds;
}

}  // namespace brell

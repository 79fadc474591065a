#pragma once

#include <brelldata/Export.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

// Flat blocks (node streams, attribute, store and name list blocks) are
// little-endian and unaligned. Fields go through these cursors, which copy with
// memcpy so that any byte offset is safe. Item arrays are written as their
// in-memory images, which are the block images only on a little-endian host.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "block layouts assume a little-endian host");

namespace brell {

// Block sizes are 32-bit. A block whose size does not fit reports the size
// kSizeTooLarge, and every size that contains it does the same, so that no
// caller allocates a wrapped size and writes past it.
constexpr int kSizeTooLarge = -1;

// size as a block size; kSizeTooLarge past INT_MAX (or below 0).
inline int BlockSize(int64_t size)
{
    return size >= 0 && size <= INT_MAX ? static_cast<int>(size) : kSizeTooLarge;
}

// The sum of two block sizes; kSizeTooLarge when either is, or the sum does not fit.
inline int AddBlockSizes(int first, int second)
{
    return first < 0 || second < 0 ? kSizeTooLarge : BlockSize(int64_t{first} + second);
}

// Bounds that a checked load puts on every block reader of its thread while
// it reads untrusted bytes: no read passes end, and the first read that would
// is refused and remembered, with its offset from begin. Readers made after a
// refusal refuse every read. Without bounds, readers trust their blocks.
struct BRELL_API BlockBounds {
    const unsigned char* begin = nullptr;
    const unsigned char* end = nullptr;
    std::string failure;  // what was refused; empty while every read fitted
    size_t failureOffset = 0;
    // Where the outermost node stream read under these bounds ended.
    const unsigned char* streamEnd = nullptr;

    // Told, when set, that every byte below reached has been read and will
    // not be read again, once per reportStep bytes or so: a reader of mapped
    // bytes lets go of what lies behind it. Readers tell it after each record
    // and each large run, so that the cost is one comparison per record.
    using ReadReport = void (*)(void* context, const unsigned char* reached);
    ReadReport onRead = nullptr;
    void* onReadContext = nullptr;
    size_t reportStep = size_t{4} << 20;

    // Whether count items of itemSize bytes lie between at and end; what names
    // them in the message of a refusal.
    bool Check(const unsigned char* at, uint64_t count, uint64_t itemSize, const char* what)
    {
        return !Failed() && (Fit(at, end, count, itemSize) || RefuseItems(at, count, itemSize, what, end));
    }
    // Refuses the bytes at at for the reason given.
    void Refuse(const unsigned char* at, const std::string& reason);
    // Refuses count items that do not fit before limit, unless a refusal came
    // first; always false.
    bool RefuseItems(const unsigned char* at, uint64_t count, uint64_t itemSize, const char* what,
                     const unsigned char* limit);
    bool Failed() const { return !failure.empty(); }

    // Tells onRead that reading reached at, when a step has passed since it was last told.
    void Reached(const unsigned char* at)
    {
        if (reinterpret_cast<uintptr_t>(at) >= nextReport_) Report(at);
    }
    // Sets the report and the first point at which it is told.
    void ReportReads(ReadReport report, void* context, const unsigned char* from);
    // Copies a large run in pieces of reportStep bytes, telling Reached after each.
    void CopyReporting(void* to, const unsigned char* from, size_t size);

    // Whether count items of itemSize bytes lie between at and limit.
    static bool Fit(const unsigned char* at, const unsigned char* limit, uint64_t count, uint64_t itemSize)
    {
        const uint64_t remaining = at <= limit ? static_cast<uint64_t>(limit - at) : 0;
        return itemSize == 0 || count <= remaining / itemSize;
    }

private:
    void Report(const unsigned char* at);

    uintptr_t nextReport_ = UINTPTR_MAX;
};

// The bounds in force for this thread: null unless a checked load runs.
BRELL_API BlockBounds*& ActiveBlockBounds();

// A string as length plus 1, then its characters and a zero byte, through
// any cursor that takes Int32 and Bytes fields as a block writer does.
template <class Cursor>
void PutString(Cursor& out, std::string_view text)
{
    out.Int32(static_cast<int32_t>(text.size() + 1));
    out.Bytes(text.data(), text.size());
    out.Bytes("", 1);
}

class BlockWriter {
public:
    explicit BlockWriter(void* block) : cursor_(static_cast<unsigned char*>(block)) {}

    void Int32(int32_t value) { Bytes(&value, 4); }
    void UInt32(uint32_t value) { Bytes(&value, 4); }
    void Bytes(const void* data, size_t size)
    {
        if (size != 0) std::memcpy(cursor_, data, size);
        cursor_ += size;
    }
    void String(std::string_view text) { PutString(*this, text); }
    void Skip(size_t size) { cursor_ += size; }
    unsigned char* Position() const { return cursor_; }

private:
    unsigned char* cursor_;
};

class BlockReader {
public:
    static constexpr size_t kReportedRun = size_t{1} << 20;

    // Takes its limit from the bounds in force once, so that reading rows
    // keeps the limit in a register.
    explicit BlockReader(const void* block) : BlockReader(block, ActiveBlockBounds()) {}
    // Under the bounds in force given by a caller that makes many readers.
    BlockReader(const void* block, BlockBounds* bounds)
        : cursor_(static_cast<const unsigned char*>(block)), bounds_(bounds)
    {
        if (bounds_ != nullptr) limit_ = bounds_->Failed() ? cursor_ : bounds_->end;
    }

    // Whether count items of itemSize bytes remain in the block; always so
    // without bounds. Readers ask it before they allocate for a count. After
    // its own refusal a reader refuses every read; one made earlier than
    // another reader's refusal still reads inside its limit, and the load
    // fails all the same.
    bool Fits(uint64_t count, uint64_t itemSize, const char* what)
    {
        if (bounds_ == nullptr || BlockBounds::Fit(cursor_, limit_, count, itemSize)) return true;
        bounds_->RefuseItems(cursor_, count, itemSize, what, limit_);
        limit_ = cursor_;
        return false;
    }

    // 0 when refused.
    int32_t Int32()
    {
        int32_t value = 0;
        Bytes(&value, 4);
        return value;
    }
    // Nothing is copied when refused. A run of more than kReportedRun bytes
    // is told to the bounds' report as it is copied.
    void Bytes(void* data, size_t size)
    {
        if (size == 0 || !Fits(size, 1, "a field")) return;
        if (size > kReportedRun && bounds_ != nullptr)
            bounds_->CopyReporting(data, cursor_, size);
        else
            std::memcpy(data, cursor_, size);
        cursor_ += size;
    }
    // Tells the bounds' report how far this reader has read.
    void Report()
    {
        if (bounds_ != nullptr) bounds_->Reached(cursor_);
    }
    // The bytes this reader may still read; SIZE_MAX without bounds.
    size_t Remaining() const
    {
        if (bounds_ == nullptr) return SIZE_MAX;
        return cursor_ < limit_ ? static_cast<size_t>(limit_ - cursor_) : 0;
    }
    // A string written by BlockWriter::String, in place: the characters up to
    // the first zero byte within the stored length. The cursor moves past the
    // stored length. Empty when refused.
    std::string_view String()
    {
        int32_t length = Int32();
        size_t stored = length > 0 ? static_cast<size_t>(length) : 0;
        if (!Fits(stored, 1, "a string")) return {};
        const char* text = reinterpret_cast<const char*>(cursor_);
        cursor_ += stored;
        return {text, strnlen(text, stored)};
    }
    void Skip(size_t size)
    {
        if (Fits(size, 1, "a field")) cursor_ += size;
    }
    const unsigned char* Position() const { return cursor_; }

private:
    const unsigned char* cursor_;
    BlockBounds* bounds_;
    const unsigned char* limit_ = nullptr;
};

}  // namespace brell

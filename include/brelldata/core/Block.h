#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

// Flat blocks (node streams, attribute, store and name list blocks) are
// little-endian and unaligned. Fields go through these cursors, which copy with
// memcpy so that any byte offset is safe. Item arrays are written as their
// in-memory images, which are the block images only on a little-endian host.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "block layouts assume a little-endian host");

namespace brell {

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
    // A string as length plus 1, then its characters and a zero byte.
    void String(std::string_view text)
    {
        Int32(static_cast<int32_t>(text.size() + 1));
        Bytes(text.data(), text.size());
        *cursor_++ = 0;
    }
    void Skip(size_t size) { cursor_ += size; }
    unsigned char* Position() const { return cursor_; }

private:
    unsigned char* cursor_;
};

class BlockReader {
public:
    explicit BlockReader(const void* block) : cursor_(static_cast<const unsigned char*>(block)) {}

    int32_t Int32()
    {
        int32_t value;
        Bytes(&value, 4);
        return value;
    }
    void Bytes(void* data, size_t size)
    {
        if (size != 0) std::memcpy(data, cursor_, size);
        cursor_ += size;
    }
    // A string written by BlockWriter::String, in place: the characters up to
    // the first zero byte within the stored length. The cursor moves past the
    // stored length.
    std::string_view String()
    {
        int32_t length = Int32();
        const char* text = reinterpret_cast<const char*>(cursor_);
        size_t stored = length > 0 ? static_cast<size_t>(length) : 0;
        cursor_ += stored;
        return {text, strnlen(text, stored)};
    }
    void Skip(size_t size) { cursor_ += size; }
    const unsigned char* Position() const { return cursor_; }

private:
    const unsigned char* cursor_;
};

}  // namespace brell

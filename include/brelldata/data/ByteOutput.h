#pragma once

#include <brelldata/Export.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace brell {

// Bytes put a piece at a time through a bounded buffer, which is handed on
// (Take) whenever it is full and at the end, so that a writer makes output
// of any size in the memory of one buffer that stays in the cache. Stores
// and node data blocks are put here a piece at a time, so that a saved scan
// is never made whole in memory.
class BRELL_API ByteOutput {
public:
    static constexpr size_t kBufferBytes = size_t{1} << 20;

    ByteOutput(const ByteOutput&) = delete;
    ByteOutput& operator=(const ByteOutput&) = delete;
    virtual ~ByteOutput();

    // Room for bytes (at most kBufferBytes) at the cursor; Advance moves the
    // cursor past what was written there.
    char* Room(size_t bytes)
    {
        if (static_cast<size_t>(end_ - at_) < bytes) Drain();
        return at_;
    }
    void Advance(size_t bytes) { at_ += bytes; }
    // Any number of bytes; large runs go on without passing the buffer.
    void Put(const void* bytes, size_t size);
    // Hands on what the buffer holds.
    void Drain();

    // The fields of a block layout, as a block writer takes them.
    void Int32(int32_t value)
    {
        std::memcpy(Room(4), &value, 4);
        Advance(4);
    }
    // Inline while the bytes fit, as rows of a few bytes come by the million.
    void Bytes(const void* bytes, size_t size)
    {
        if (size > static_cast<size_t>(end_ - at_)) return Put(bytes, size);
        // An empty store hands over no buffer at all.
        if (size != 0) std::memcpy(at_, bytes, size);
        at_ += size;
    }
    // size bytes made by fill(at) in memory: in the buffer when they fit,
    // else in memory of their own; std::bad_alloc when that cannot be had.
    template <class Fill>
    void PutMade(size_t size, Fill fill)
    {
        if (size <= kBufferBytes) {
            fill(reinterpret_cast<unsigned char*>(Room(size)));
            Advance(size);
            return;
        }
        const std::unique_ptr<unsigned char, void (*)(unsigned char*)> made(Bulk(size), FreeMade);
        fill(made.get());
        Put(made.get(), size);
    }

protected:
    ByteOutput();
    virtual void Take(const char* bytes, size_t size) = 0;

private:
    static unsigned char* Bulk(size_t size);
    static void FreeMade(unsigned char* bytes);

    std::unique_ptr<char[]> buffer_;
    char* at_;
    char* end_;
};

}  // namespace brell

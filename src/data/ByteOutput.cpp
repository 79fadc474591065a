#include <brelldata/data/ByteOutput.h>

#include <brelldata/data/BulkMemory.h>

#include <algorithm>
#include <new>

namespace brell {

ByteOutput::ByteOutput() : buffer_(new char[kBufferBytes]), at_(buffer_.get()), end_(at_ + kBufferBytes) {}

ByteOutput::~ByteOutput() = default;

void ByteOutput::Put(const void* bytes, size_t size)
{
    const char* from = static_cast<const char*>(bytes);
    if (size >= kBufferBytes) {
        Drain();
        for (size_t done = 0; done < size; done += kBufferBytes) Take(from + done, std::min(kBufferBytes, size - done));
        return;
    }
    if (size == 0) return;
    std::memcpy(Room(size), from, size);
    Advance(size);
}

void ByteOutput::Drain()
{
    if (at_ != buffer_.get()) Take(buffer_.get(), static_cast<size_t>(at_ - buffer_.get()));
    at_ = buffer_.get();
}

unsigned char* ByteOutput::Bulk(size_t size)
{
    auto* bytes = static_cast<unsigned char*>(AllocateBulk(size));
    if (bytes == nullptr) throw std::bad_alloc();
    return bytes;
}

void ByteOutput::FreeMade(unsigned char* bytes)
{
    FreeBulk(bytes);
}

}  // namespace brell

#include <brelldata/io/BulkAllocator.h>

#include <cstdlib>
#include <sys/mman.h>

namespace brell::io {

namespace {

constexpr size_t kMappedFrom = size_t{1} << 20;

}  // namespace

void* AllocateBulk(size_t bytes)
{
    if (bytes < kMappedFrom) {
        void* block = std::malloc(bytes == 0 ? 1 : bytes);
        if (block == nullptr) throw std::bad_alloc();
        return block;
    }
    void* block = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (block == MAP_FAILED) throw std::bad_alloc();
    // Only advice: without huge pages the block works the same.
    madvise(block, bytes, MADV_HUGEPAGE);
    return block;
}

void FreeBulk(void* block, size_t bytes)
{
    if (block == nullptr) return;
    if (bytes < kMappedFrom) {
        std::free(block);
        return;
    }
    munmap(block, bytes);
}

}  // namespace brell::io

#include <brelldata/scan/BulkMemory.h>

#include <cstdint>
#include <cstdlib>

#include <sys/mman.h>

namespace brell {

namespace {

constexpr size_t kLargePage = size_t{2} << 20;

size_t RoundUpToLargePages(size_t bytes)
{
    return (bytes + kLargePage - 1) & ~(kLargePage - 1);
}

}  // namespace

// Smaller blocks would take a whole large page for part of one.
void* AllocateBulk(size_t bytes)
{
    if (bytes < 2 * kLargePage) return std::malloc(bytes == 0 ? 1 : bytes);
    if (bytes > SIZE_MAX - kLargePage) return nullptr;
    const size_t rounded = RoundUpToLargePages(bytes);
    void* block = std::aligned_alloc(kLargePage, rounded);
    if (block != nullptr) madvise(block, rounded, MADV_HUGEPAGE);
    return block;
}

// Only whole large pages inside the buffer are advised: the pages around them
// may belong to other blocks.
void AdviseLargePages(void* buffer, size_t bytes)
{
    if (buffer == nullptr || bytes < 2 * kLargePage) return;
    const uintptr_t start = RoundUpToLargePages(reinterpret_cast<uintptr_t>(buffer));
    const uintptr_t end = (reinterpret_cast<uintptr_t>(buffer) + bytes) & ~(kLargePage - 1);
    if (end > start) madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE);
}

}  // namespace brell

#include <brelldata/data/BulkMemory.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <mutex>
#include <unordered_map>

#include <sys/mman.h>

namespace brell {

namespace {

constexpr size_t kLargePage = size_t{2} << 20;
// Smaller blocks would take a whole large page for part of one.
constexpr size_t kMappedFrom = 2 * kLargePage;

size_t RoundUpToLargePages(size_t bytes)
{
    return (bytes + kLargePage - 1) & ~(kLargePage - 1);
}

bool IsLargePageAligned(const void* block)
{
    return (reinterpret_cast<uintptr_t>(block) & (kLargePage - 1)) == 0;
}

// The mapped blocks and their lengths. Mapped blocks start on a large page,
// so other blocks rarely need to be looked up. Never destroyed: stores may be
// released while the program ends.
struct MappedBlocks {
    std::mutex lock;
    std::unordered_map<void*, size_t> lengths;
};

MappedBlocks& Mapped()
{
    static auto* blocks = new MappedBlocks;
    return *blocks;
}

// The length of a mapped block; 0 for any other block.
size_t MappedLength(void* block)
{
    if (block == nullptr || !IsLargePageAligned(block)) return 0;
    MappedBlocks& mapped = Mapped();
    const std::lock_guard<std::mutex> hold(mapped.lock);
    const auto found = mapped.lengths.find(block);
    return found == mapped.lengths.end() ? 0 : found->second;
}

void Remember(void* block, size_t length)
{
    MappedBlocks& mapped = Mapped();
    const std::lock_guard<std::mutex> hold(mapped.lock);
    mapped.lengths[block] = length;
}

void Forget(void* block)
{
    MappedBlocks& mapped = Mapped();
    const std::lock_guard<std::mutex> hold(mapped.lock);
    mapped.lengths.erase(block);
}

// length whole large pages, mapped on a large page boundary: one large page
// more is mapped and the unaligned ends are given back.
void* MapAligned(size_t length)
{
    void* mapped = mmap(nullptr, length + kLargePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) return nullptr;
    const uintptr_t start = reinterpret_cast<uintptr_t>(mapped);
    const uintptr_t aligned = RoundUpToLargePages(start);
    if (aligned > start) munmap(mapped, aligned - start);
    if (const size_t tail = kLargePage - (aligned - start); tail > 0)
        munmap(reinterpret_cast<void*>(aligned + length), tail);
    void* block = reinterpret_cast<void*>(aligned);
    madvise(block, length, MADV_HUGEPAGE);
    return block;
}

}  // namespace

void* AllocateBulk(size_t bytes)
{
    if (bytes < kMappedFrom) return std::malloc(bytes == 0 ? 1 : bytes);
    if (bytes > SIZE_MAX - 2 * kLargePage) return nullptr;
    const size_t length = RoundUpToLargePages(bytes);
    void* block = MapAligned(length);
    if (block != nullptr) Remember(block, length);
    return block;
}

// A mapped block grows in place when it can, else its pages move to a new
// place on a large page: mremap moves pages, not bytes, so that growing a
// store step by step stays cheap.
void* ResizeBulk(void* block, size_t bytes)
{
    if (block == nullptr) return AllocateBulk(bytes);
    if (const size_t length = MappedLength(block); length != 0) {
        if (bytes > SIZE_MAX - 2 * kLargePage) return nullptr;
        const size_t resized = RoundUpToLargePages(std::max<size_t>(bytes, 1));
        void* moved = mremap(block, length, resized, 0);
        if (moved == MAP_FAILED) {
            void* target = MapAligned(resized);
            if (target == nullptr) return nullptr;
            moved = mremap(block, length, resized, MREMAP_MAYMOVE | MREMAP_FIXED, target);
            if (moved == MAP_FAILED) {
                munmap(target, resized);
                return nullptr;
            }
        }
        madvise(moved, resized, MADV_HUGEPAGE);
        Forget(block);
        Remember(moved, resized);
        return moved;
    }
    if (bytes < kMappedFrom) return std::realloc(block, bytes);
    void* grown = AllocateBulk(bytes);
    if (grown == nullptr) return nullptr;
    std::memcpy(grown, block, std::min(malloc_usable_size(block), bytes));
    std::free(block);
    return grown;
}

void FreeBulk(void* block)
{
    if (const size_t length = MappedLength(block); length != 0) {
        Forget(block);
        munmap(block, length);
        return;
    }
    std::free(block);
}

}  // namespace brell

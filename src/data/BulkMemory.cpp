#include <brelldata/data/BulkMemory.h>

#include "data/KeptBulk.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <mutex>
#include <unordered_map>
#include <vector>

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

// A freed mapped block kept for a later allocation.
struct KeptBlock {
    void* block;
    size_t length;
};

// The mapped blocks and their lengths, and the freed ones kept for reuse.
// Mapped blocks start on a large page, so other blocks rarely need to be
// looked up. Never destroyed: stores may be released while the program ends.
struct MappedBlocks {
    std::mutex lock;
    std::unordered_map<void*, size_t> lengths;
    std::vector<KeptBlock> kept;  // oldest first
    size_t keptBytes = 0;
    bool keeping = true;
};

// Null until the first large block is looked up.
MappedBlocks* made = nullptr;

MappedBlocks& Mapped()
{
    static auto* blocks = made = new MappedBlocks;
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

// The smallest kept block of at least length bytes, taken out of the kept set;
// null when none is that long. The rest of a longer block stays kept on its
// own, its pages already touched, so that loads of other sizes reuse them too.
void* TakeKept(size_t length)
{
    MappedBlocks& mapped = Mapped();
    KeptBlock unusable{nullptr, 0};
    void* taken = nullptr;
    {
        const std::lock_guard<std::mutex> hold(mapped.lock);
        auto best = mapped.kept.end();
        for (auto kept = mapped.kept.begin(); kept != mapped.kept.end(); ++kept) {
            if (kept->length >= length && (best == mapped.kept.end() || kept->length < best->length)) best = kept;
        }
        if (best == mapped.kept.end()) return nullptr;
        taken = best->block;
        const KeptBlock rest{static_cast<char*>(taken) + length, best->length - length};
        if (rest.length >= kMappedFrom) {
            *best = rest;
            mapped.keptBytes -= length;
        } else {
            mapped.keptBytes -= best->length;
            mapped.kept.erase(best);
            unusable = rest;
        }
        mapped.lengths[taken] = length;
    }
    // Too short for any mapped block.
    if (unusable.length > 0) munmap(unusable.block, unusable.length);
    return taken;
}

// Keeps a freed mapped block, giving the oldest kept ones back to the system
// while the kept set is over its bound; false when the block is not kept.
bool Keep(void* block, size_t length)
{
    MappedBlocks& mapped = Mapped();
    std::vector<KeptBlock> released;
    {
        const std::lock_guard<std::mutex> hold(mapped.lock);
        if (!mapped.keeping || length > kKeptBulkBound) return false;
        mapped.lengths.erase(block);
        mapped.kept.push_back({block, length});
        mapped.keptBytes += length;
        size_t oldest = 0;
        while (mapped.keptBytes > kKeptBulkBound) {
            released.push_back(mapped.kept[oldest]);
            mapped.keptBytes -= mapped.kept[oldest++].length;
        }
        mapped.kept.erase(mapped.kept.begin(), mapped.kept.begin() + static_cast<ptrdiff_t>(oldest));
    }
    for (const KeptBlock& old : released) munmap(old.block, old.length);
    return true;
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
    if (void* kept = TakeKept(length)) return kept;
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
        if (Keep(block, length)) return;
        Forget(block);
        munmap(block, length);
        return;
    }
    std::free(block);
}

size_t ReleaseKeptBulk()
{
    MappedBlocks& mapped = Mapped();
    std::vector<KeptBlock> released;
    {
        const std::lock_guard<std::mutex> hold(mapped.lock);
        released.swap(mapped.kept);
        mapped.keptBytes = 0;
    }
    size_t bytes = 0;
    for (const KeptBlock& old : released) {
        munmap(old.block, old.length);
        bytes += old.length;
    }
    return bytes;
}

void StopKeepingBulk()
{
    // Made now, nothing would ever free it once the library is gone.
    if (made == nullptr) return;
    {
        MappedBlocks& mapped = Mapped();
        const std::lock_guard<std::mutex> hold(mapped.lock);
        mapped.keeping = false;
    }
    ReleaseKeptBulk();
}

}  // namespace brell

#pragma once

#include <brelldata/Export.h>

#include <cstddef>
#include <new>
#include <vector>

// Memory for arrays of scan size. Filling fresh memory costs one page fault
// per 4 KB page unless the memory lies in whole 2 MB pages, so large blocks
// are mapped on their own, aligned to 2 MB, in whole 2 MB pages that the
// system is asked to back with large pages; a system without them ignores the
// advice. Small blocks come from malloc.
//
// Freed large blocks are kept, up to kKeptBulkBound bytes in all, and handed
// out again: the system must clear every page of a new mapping at its first
// touch, a kept block's pages are already there. A host that loads shot after
// shot pays for fresh pages only once.

namespace brell {

// A block of at least bytes bytes; null when there is no memory.
BRELL_API void* AllocateBulk(size_t bytes);
// Resizes a block from AllocateBulk or ResizeBulk, or a malloc'ed one, keeping
// its contents up to the smaller size; null for a null block means a new
// one. Null when there is no memory, the block then unchanged.
BRELL_API void* ResizeBulk(void* block, size_t bytes);
// Releases a block from AllocateBulk or ResizeBulk, or a malloc'ed one;
// nothing for null. A large block is kept for reuse while the kept blocks
// stay within their bound, the oldest given back to the system first.
BRELL_API void FreeBulk(void* block);

// The most bytes of freed blocks kept for reuse: room for the stores of a
// large shot (a few million vertices and faces), small beside the memory of a
// machine that works on scans.
constexpr size_t kKeptBulkBound = size_t{512} << 20;

// Gives every kept block back to the system; the bytes given back. The
// library does so itself when it is unloaded.
BRELL_API size_t ReleaseKeptBulk();

// A standard allocator on AllocateBulk.
template <class T>
struct BulkAllocator {
    using value_type = T;

    BulkAllocator() = default;
    template <class U>
    BulkAllocator(const BulkAllocator<U>&)
    {
    }

    T* allocate(size_t n)
    {
        void* block = n <= static_cast<size_t>(-1) / sizeof(T) ? AllocateBulk(n * sizeof(T)) : nullptr;
        if (block == nullptr) throw std::bad_alloc();
        return static_cast<T*>(block);
    }
    void deallocate(T* block, size_t) { FreeBulk(block); }

    template <class U>
    bool operator==(const BulkAllocator<U>&) const
    {
        return true;
    }
    template <class U>
    bool operator!=(const BulkAllocator<U>&) const
    {
        return false;
    }
};

template <class T>
using BulkVector = std::vector<T, BulkAllocator<T>>;

}  // namespace brell

#pragma once

#include <brelldata/core/Export.h>

#include <cstddef>
#include <cstdlib>
#include <new>
#include <vector>

// Memory for arrays of scan size. Filling fresh memory costs one page fault
// per 4 KB page unless the memory lies in whole 2 MB pages, so large blocks
// are aligned to 2 MB, rounded up to whole 2 MB pages and advised to be backed
// by them; a system without large pages ignores the advice.

namespace brell {

// A block for bytes bytes: from malloc when small, else aligned as above. It
// is released with std::free (or FreeBulk) and may be given to std::realloc.
// Null when there is no memory.
BRELL_API void* AllocateBulk(size_t bytes);
inline void FreeBulk(void* block)
{
    std::free(block);
}

// Asks for large pages behind the whole 2 MB pages of a buffer that realloc
// or another allocator gave; nothing for small buffers.
BRELL_API void AdviseLargePages(void* buffer, size_t bytes);

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

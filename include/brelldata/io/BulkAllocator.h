#pragma once

#include <brelldata/io/Export.h>

#include <cstddef>
#include <new>
#include <utility>
#include <vector>

namespace brell::io {

// Memory for bulk arrays. Blocks of a megabyte or more are mapped on their
// own with transparent huge pages advised, so that filling them takes few page
// faults; smaller ones come from malloc. Throws std::bad_alloc when there is
// no memory. FreeBulk takes the size that was asked for.
BRELL_IO_API void* AllocateBulk(size_t bytes);
BRELL_IO_API void FreeBulk(void* block, size_t bytes);

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
        if (n > static_cast<size_t>(-1) / sizeof(T)) throw std::bad_alloc();
        return static_cast<T*>(AllocateBulk(n * sizeof(T)));
    }
    void deallocate(T* block, size_t n) { FreeBulk(block, n * sizeof(T)); }
    // Items made without a value are default-initialised, as the core's
    // records are: resizing leaves plain records unset, not cleared.
    template <class U>
    void construct(U* item)
    {
        ::new (static_cast<void*>(item)) U;
    }
    template <class U, class... Args>
    void construct(U* item, Args&&... args)
    {
        ::new (static_cast<void*>(item)) U(std::forward<Args>(args)...);
    }

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

}  // namespace brell::io

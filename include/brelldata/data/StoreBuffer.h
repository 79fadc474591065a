#pragma once

#include <brelldata/data/BulkMemory.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

// Raw-memory helpers the data stores share: their records are trivially
// copyable and move with memcpy and memmove.

namespace brell {

inline int64_t RoundUpToMultiple(int64_t n, int64_t step)
{
    return (n + step - 1) / step * step;
}

// memcpy and memmove must not see a null pointer, even for zero items.
template <class T>
void CopyItems(T* to, const T* from, size_t count)
{
    if (count != 0) std::memcpy(to, from, count * sizeof(T));
}

template <class T>
void MoveItems(T* to, const T* from, size_t count)
{
    if (count != 0) std::memmove(to, from, count * sizeof(T));
}

// Arrays and matrices insert and delete in units: elements, or rows of
// unitSize elements. Room for the result is already reserved.

// Opens n units at pos in count units: a negative pos opens at the front, a
// pos past the end also opens the gap up to it. Returns the units opened.
template <class T>
int64_t OpenUnits(T* buffer, int64_t count, int pos, int n, int64_t unitSize)
{
    int64_t at = std::max(pos, 0);
    int64_t opened = n;
    if (at > count) {
        opened += at - count;
        at = count;
    }
    if (opened < 1) return 0;
    MoveItems(buffer + (at + opened) * unitSize, buffer + at * unitSize, static_cast<size_t>((count - at) * unitSize));
    return opened;
}

// Closes up to n units from pos, 0 <= pos < count. Returns the units removed.
template <class T>
int64_t CloseUnits(T* buffer, int64_t count, int pos, int n, int64_t unitSize)
{
    const int64_t removed = std::clamp<int64_t>(n, 0, count - pos);
    MoveItems(buffer + pos * unitSize, buffer + (pos + removed) * unitSize,
              static_cast<size_t>((count - pos - removed) * unitSize));
    return removed;
}

// Resizes a bulk buffer to exactly capacity items, freeing it for 0.
// Returns false with the buffer untouched when the allocation fails.
template <class T>
bool ResizeBuffer(T*& buffer, int64_t capacity)
{
    if (capacity == 0) {
        FreeBulk(buffer);
        buffer = nullptr;
        return true;
    }
    void* resized = ResizeBulk(buffer, static_cast<size_t>(capacity) * sizeof(T));
    if (resized == nullptr) return false;
    buffer = static_cast<T*>(resized);
    return true;
}

// A store's block written at block; 0 when block is null.
template <class Store>
int WriteStore(const Store& store, void* block)
{
    if (block == nullptr) return 0;
    store.WriteAt(block);
    return 1;
}

}  // namespace brell

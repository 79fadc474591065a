#pragma once

#include <brelldata/core/Block.h>
#include <brelldata/core/Export.h>
#include <brelldata/core/Ref.h>
#include <brelldata/scan/BulkMemory.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>
#include <vector>

// Shared, reference-counted stores for bulk scan data, reached through
// CRefData handles. Every store keeps one spare element: reference access at
// a position outside the store yields it, so out-of-range writes change nothing
// else. Stores hold trivially copyable records and move them as raw memory.

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

// Handle on a shared store: always points at a store and holds one reference
// on it. Copies share the store; nothing is copied on write.
template <class Store>
class CRefData {
public:
    // A new, empty store held by this handle alone.
    CRefData() : store_(new Store) { store_->AddRef(); }
    CRefData(const CRefData& other) : store_(other.store_) { store_->AddRef(); }
    CRefData& operator=(const CRefData& other)
    {
        other.store_->AddRef();
        store_->Release();
        store_ = other.store_;
        return *this;
    }
    ~CRefData() { store_->Release(); }

    Store* operator->() const { return store_; }
    Store& operator*() const { return *store_; }

    // Gives this handle a private copy of a shared store (no copy when it is
    // not shared). 0 when the copy cannot be made; the handle then keeps the
    // shared store.
    int Unshare()
    {
        if (store_->RefCount() < 2) return 1;
        Store* copy = new (std::nothrow) Store;
        if (copy == nullptr) return 0;
        copy->AddRef();
        if (!copy->Assign(*store_)) {
            copy->Release();
            return 0;
        }
        store_->Release();
        store_ = copy;
        return 1;
    }

private:
    Store* store_;
};

// Growable array. Capacity grows in steps of 512 elements and shrinks only
// when more than 4096 elements would be spare. Operations that grow return 0
// and leave the store unchanged when the buffer cannot grow.
template <class T>
class CArrayDataStore : public CRef {
    static_assert(std::is_trivially_copyable_v<T>, "elements are moved as raw memory");

public:
    CArrayDataStore() = default;
    CArrayDataStore(const CArrayDataStore&) = delete;
    CArrayDataStore& operator=(const CArrayDataStore&) = delete;
    ~CArrayDataStore() override { brell::FreeBulk(buffer_); }

    // The count, writable: Reserve before raising it; uncovered elements are unspecified.
    int& Number() { return count_; }
    int Number() const { return count_; }
    int Capacity() const { return capacity_; }
    // Null while nothing was reserved.
    T* Buffer() { return buffer_; }
    const T* Buffer() const { return buffer_; }
    // Null when i is outside 0 .. Number() - 1.
    T* ElementPtr(int i) { return InUse(i) ? buffer_ + i : nullptr; }
    const T* ElementPtr(int i) const { return InUse(i) ? buffer_ + i : nullptr; }
    // The spare element when i is outside 0 .. Number() - 1.
    T& Element(int i) { return InUse(i) ? buffer_[i] : spare_; }
    const T& Element(int i) const { return InUse(i) ? buffer_[i] : spare_; }

    // Room for n elements, the capacity rounded up to a multiple of 512; the count stays.
    int Reserve(int n) { return ReserveElements(n); }

    // n new elements of unspecified value at the end; n below 1 changes nothing.
    int Append(int n)
    {
        if (n < 1) return 1;
        if (!ReserveElements(int64_t{count_} + n)) return 0;
        count_ += n;
        return 1;
    }

    // n elements of unspecified value opened at pos. A negative pos inserts at
    // the front; a pos past the end also opens the gap up to it.
    int Insert(int pos, int n)
    {
        if (!ReserveElements(int64_t{count_} + n) || !ReserveElements(int64_t{pos} + n)) return 0;
        count_ += static_cast<int>(brell::OpenUnits(buffer_, count_, pos, n, 1));
        return 1;
    }

    // Removes up to n elements from pos (a negative pos counts from 0); a pos
    // at or past the end changes nothing. Always 1: a failed shrink keeps the
    // larger buffer.
    int Delete(int pos, int n)
    {
        pos = std::max(pos, 0);
        if (pos >= count_) return 1;
        count_ -= static_cast<int>(brell::CloseUnits(buffer_, count_, pos, n, 1));
        if (capacity_ - count_ > kMaxSpare) {
            const int64_t shrunk = std::max<int64_t>(brell::RoundUpToMultiple(count_, kShrinkStep), kShrinkStep);
            if (brell::ResizeBuffer(buffer_, shrunk)) capacity_ = static_cast<int>(shrunk);
        }
        return 1;
    }

    // Empties the store, keeping the buffer.
    int Clear()
    {
        count_ = 0;
        return 1;
    }

    // Copies other's count and elements in use, first growing the buffer to
    // other's capacity. 0 when it cannot grow; the store is then unchanged.
    int Assign(const CArrayDataStore& other)
    {
        if (&other == this) return 1;
        if (!ReserveElements(other.capacity_)) return 0;
        brell::CopyItems(buffer_, other.buffer_, static_cast<size_t>(other.count_));
        count_ = other.count_;
        return 1;
    }

    // Store block: count, then the elements in use.
    int SizeOfByte() const { return static_cast<int>(4 + int64_t{count_} * int64_t{sizeof(T)}); }

    // 0 when block is null.
    int Write(void* block) const { return brell::WriteStore(*this, block); }
    // Writes the store block at block, which must not be null; the end of what it wrote.
    unsigned char* WriteAt(void* block) const
    {
        brell::BlockWriter writer(block);
        writer.Int32(count_);
        writer.Bytes(buffer_, static_cast<size_t>(count_) * sizeof(T));
        return writer.Position();
    }

    // 0 when block is null, holds a negative count or the buffer cannot grow;
    // the store is then unchanged.
    int Read(const void* block)
    {
        if (block == nullptr) return 0;
        brell::BlockReader reader(block);
        const int stored = reader.Int32();
        if (stored < 0 || !reader.Fits(static_cast<uint64_t>(stored), sizeof(T), "store elements") ||
            !ReserveElements(stored))
            return 0;
        reader.Bytes(buffer_, static_cast<size_t>(stored) * sizeof(T));
        count_ = stored;
        return 1;
    }

private:
    static constexpr int64_t kGrowthStep = 512;
    static constexpr int64_t kShrinkStep = 64;
    static constexpr int kMaxSpare = 4096;

    bool InUse(int i) const { return i >= 0 && i < count_; }

    // Sizes arrive in 64 bits so that count + n cannot overflow.
    int ReserveElements(int64_t n) { return n <= capacity_ ? 1 : Grow(n); }

    int Grow(int64_t n)
    {
        const int64_t grown = brell::RoundUpToMultiple(n, kGrowthStep);
        if (grown > INT_MAX || !brell::ResizeBuffer(buffer_, grown)) return 0;
        capacity_ = static_cast<int>(grown);
        return 1;
    }

    T* buffer_ = nullptr;
    int capacity_ = 0;
    int count_ = 0;
    T spare_{};
};

// Matrix of width elements per row, rows one after another. Capacity counts
// elements and grows in steps of 1024 rows; the buffer's unused part is zero
// unless the owner wrote there. The width is the owner's to set; changing it
// does not rearrange the buffer, and it must be at least 1 while rows exist.
template <class T>
class CMatrixDataStore : public CRef {
    static_assert(std::is_trivially_copyable_v<T>, "elements are moved as raw memory");

public:
    CMatrixDataStore() = default;
    CMatrixDataStore(const CMatrixDataStore&) = delete;
    CMatrixDataStore& operator=(const CMatrixDataStore&) = delete;
    ~CMatrixDataStore() override { brell::FreeBulk(buffer_); }

    // Null while nothing was reserved.
    T* Buffer() { return buffer_; }
    const T* Buffer() const { return buffer_; }
    // In elements, not rows.
    int Capacity() const { return capacity_; }

    // Element (row, column). A row at or past the height first reserves room
    // up to it, leaving the height as it is, so rows can be filled before the
    // height is raised. The spare element for a negative row or when that
    // growth fails. The column is not checked.
    T& Element(int row, int column)
    {
        if (row < 0 || (row >= height && !ReserveRowElements(int64_t{row} + 1))) return spare_;
        return buffer_[ptrdiff_t{row} * width + column];
    }

    // Room for the given rows at the current width; new room is zero.
    int ReserveRows(int rows) { return ReserveRowElements(rows); }

    // n rows at the end, zero unless the buffer already held them; n below 1 changes nothing.
    int AppendRows(int n)
    {
        if (n < 1) return 1;
        if (!ReserveRowElements(int64_t{height} + n)) return 0;
        height += n;
        return 1;
    }

    // As CArrayDataStore::Insert, in rows.
    int InsertRows(int pos, int n)
    {
        if (!ReserveRowElements(int64_t{height} + n) || !ReserveRowElements(int64_t{pos} + n)) return 0;
        height += static_cast<int>(brell::OpenUnits(buffer_, height, pos, n, RowSize()));
        return 1;
    }

    // As CArrayDataStore::Delete, in rows; a shrunk buffer keeps the height
    // rounded up to a multiple of 64 rows.
    int DeleteRows(int pos, int n)
    {
        pos = std::max(pos, 0);
        if (pos >= height) return 1;
        const int64_t rowSize = RowSize();
        height -= static_cast<int>(brell::CloseUnits(buffer_, height, pos, n, rowSize));
        if (capacity_ - height * rowSize > kMaxSpare) {
            const int64_t shrunk = brell::RoundUpToMultiple(height, kShrinkRowStep) * rowSize;
            if (brell::ResizeBuffer(buffer_, shrunk)) capacity_ = static_cast<int>(shrunk);
        }
        return 1;
    }

    // Store block: height, width, then the rows in use.
    int SizeOfByte() const { return static_cast<int>(8 + height * RowSize() * int64_t{sizeof(T)}); }

    // 0 when block is null.
    int Write(void* block) const { return brell::WriteStore(*this, block); }
    // Writes the store block at block, which must not be null; the end of what it wrote.
    unsigned char* WriteAt(void* block) const
    {
        brell::BlockWriter writer(block);
        writer.Int32(height);
        writer.Int32(width);
        writer.Bytes(buffer_, static_cast<size_t>(height * RowSize()) * sizeof(T));
        return writer.Position();
    }

    // 0 when block is null or holds a negative height or a width below 1 (the
    // store is then unchanged), or when the buffer cannot grow (the store then
    // has the stored width and height 0).
    int Read(const void* block)
    {
        if (block == nullptr) return 0;
        brell::BlockReader reader(block);
        const int storedHeight = reader.Int32();
        const int storedWidth = reader.Int32();
        if (storedHeight < 0 || storedWidth < 1) return 0;
        if (!reader.Fits(uint64_t(storedHeight) * uint64_t(storedWidth), sizeof(T), "matrix elements")) return 0;
        width = storedWidth;
        height = 0;
        if (!ReserveRowElements(storedHeight, storedHeight)) return 0;
        height = storedHeight;
        reader.Bytes(buffer_, static_cast<size_t>(height * RowSize()) * sizeof(T));
        return 1;
    }

private:
    static constexpr int64_t kGrowthRowStep = 1024;
    static constexpr int64_t kShrinkRowStep = 64;
    static constexpr int kMaxSpare = 4096;

    // A width below 1 holds no elements, so it never moves or sizes memory.
    int64_t RowSize() const { return std::max(width, 0); }

    // Rows arrive in 64 bits; with at most about 2^32 rows and 2^31 elements
    // per row no product overflows.
    // The first filledRows rows the caller fills at once, so only new elements
    // past them are zeroed.
    int ReserveRowElements(int64_t rows, int64_t filledRows = 0)
    {
        if (rows * RowSize() <= capacity_) return 1;
        const int64_t grown = brell::RoundUpToMultiple(rows, kGrowthRowStep) * RowSize();
        const int64_t zeroFrom = std::max<int64_t>(capacity_, filledRows * RowSize());
        if (grown > INT_MAX || !brell::ResizeBuffer(buffer_, grown)) return 0;
        std::memset(static_cast<void*>(buffer_ + zeroFrom), 0, static_cast<size_t>(grown - zeroFrom) * sizeof(T));
        capacity_ = static_cast<int>(grown);
        return 1;
    }

    T* buffer_ = nullptr;
    int capacity_ = 0;

public:
    int width = 1;
    int height = 0;

private:
    T spare_{};
};

// One row of a polygon store: up to four items.
template <class T>
struct CPolygon {
    T items[4];
    int count;  // items in use, 0 to 4
};

// Sequence of short rows; the owner edits rows directly. A row count outside
// 0 to 4 is taken as the nearest bound, so no access leaves its row.
template <class T>
class CPolygonDataStore : public CRef {
    static_assert(std::is_trivially_copyable_v<T>, "items are streamed as raw memory");

public:
    CPolygonDataStore() = default;
    CPolygonDataStore(const CPolygonDataStore&) = delete;
    CPolygonDataStore& operator=(const CPolygonDataStore&) = delete;

    int Number() const { return static_cast<int>(rows.size()); }

    // Item k of a row; the spare element when row or k is outside the store.
    T& Element(int row, int k)
    {
        if (row < 0 || row >= Number() || k < 0 || k >= ItemCount(rows[row])) return spare_;
        return rows[row].items[k];
    }

    // Replaces the rows by copies of other's. 0 when they cannot be allocated;
    // the store is then unchanged.
    int Assign(const CPolygonDataStore& other)
    {
        try {
            brell::BulkVector<CPolygon<T>> copy(other.rows);
            rows.swap(copy);
            return 1;
        } catch (const std::bad_alloc&) {
            return 0;
        }
    }

    // Store block: number of rows, then per row its item count and items.
    int SizeOfByte() const
    {
        int64_t size = 4;
        for (const CPolygon<T>& row : rows) size += 4 + ItemCount(row) * int64_t{sizeof(T)};
        return static_cast<int>(size);
    }

    // 0 when block is null.
    int Write(void* block) const { return brell::WriteStore(*this, block); }
    // Writes the store block at block, which must not be null; the end of what it wrote.
    unsigned char* WriteAt(void* block) const
    {
        brell::BlockWriter writer(block);
        writer.Int32(Number());
        for (const CPolygon<T>& row : rows) {
            const int count = ItemCount(row);
            writer.Int32(count);
            RowItems(writer, row.items, count);
        }
        return writer.Position();
    }

    // 0 when block is null, holds a count a row cannot hold, or the rows
    // cannot be allocated; the store is then unchanged.
    int Read(const void* block)
    {
        if (block == nullptr) return 0;
        brell::BlockReader reader(block);
        const int number = reader.Int32();
        if (number < 0 || !reader.Fits(static_cast<uint64_t>(number), 4, "polygon rows")) return 0;
        try {
            brell::BulkVector<CPolygon<T>> readRows;
            readRows.reserve(static_cast<size_t>(number));
            for (int i = 0; i < number; ++i) {
                CPolygon<T>& row = readRows.emplace_back();
                row.count = reader.Int32();
                if (row.count < 0 || row.count > 4) return 0;
                RowItems(reader, row.items, row.count);
            }
            rows.swap(readRows);
            return 1;
        } catch (const std::bad_alloc&) {
            return 0;
        }
    }

    brell::BulkVector<CPolygon<T>> rows;

private:
    static int ItemCount(const CPolygon<T>& row) { return std::clamp(row.count, 0, 4); }

    // Moves count items, 0 to 4, through a block writer or reader. A constant
    // size per count compiles to plain moves instead of a library call per
    // row, which dominated streaming millions of rows.
    template <class Cursor, class Items>
    static void RowItems(Cursor& cursor, Items* items, int count)
    {
        switch (count) {
            case 1:
                cursor.Bytes(items, sizeof(T));
                break;
            case 2:
                cursor.Bytes(items, 2 * sizeof(T));
                break;
            case 3:
                cursor.Bytes(items, 3 * sizeof(T));
                break;
            case 4:
                cursor.Bytes(items, 4 * sizeof(T));
                break;
            default:
                break;
        }
    }

    T spare_{};
};

// Sequence of lines, each an arbitrarily long sequence of items; the owner
// edits lines directly.
template <class T>
class CLineDataStore : public CRef {
    static_assert(std::is_trivially_copyable_v<T>, "items are streamed as raw memory");

public:
    CLineDataStore() = default;
    CLineDataStore(const CLineDataStore&) = delete;
    CLineDataStore& operator=(const CLineDataStore&) = delete;

    int Number() const { return static_cast<int>(lines.size()); }

    // Item k of a line; the spare element when line or k is outside the store.
    T& Element(int line, int k)
    {
        if (line < 0 || line >= Number() || k < 0 || static_cast<size_t>(k) >= lines[line].size()) return spare_;
        return lines[line][k];
    }

    // Replaces the lines by copies of other's. 0 when they cannot be
    // allocated; the store is then unchanged.
    int Assign(const CLineDataStore& other)
    {
        try {
            std::vector<std::vector<T>> copy(other.lines);
            lines.swap(copy);
            return 1;
        } catch (const std::bad_alloc&) {
            return 0;
        }
    }

    // Store block: number of lines, then per line its item count and items.
    int SizeOfByte() const
    {
        int64_t size = 4;
        for (const std::vector<T>& line : lines) size += 4 + static_cast<int64_t>(line.size() * sizeof(T));
        return static_cast<int>(size);
    }

    // 0 when block is null.
    int Write(void* block) const { return brell::WriteStore(*this, block); }
    // Writes the store block at block, which must not be null; the end of what it wrote.
    unsigned char* WriteAt(void* block) const
    {
        brell::BlockWriter writer(block);
        writer.Int32(Number());
        for (const std::vector<T>& line : lines) {
            writer.Int32(static_cast<int>(line.size()));
            writer.Bytes(line.data(), line.size() * sizeof(T));
        }
        return writer.Position();
    }

    // 0 when block is null, holds a negative count, or the lines cannot be
    // allocated; the store is then unchanged.
    int Read(const void* block)
    {
        if (block == nullptr) return 0;
        brell::BlockReader reader(block);
        const int number = reader.Int32();
        if (number < 0 || !reader.Fits(static_cast<uint64_t>(number), 4, "lines")) return 0;
        try {
            std::vector<std::vector<T>> readLines(static_cast<size_t>(number));
            for (std::vector<T>& line : readLines) {
                const int count = reader.Int32();
                if (count < 0 || !reader.Fits(static_cast<uint64_t>(count), sizeof(T), "line items")) return 0;
                line.resize(static_cast<size_t>(count));
                reader.Bytes(line.data(), line.size() * sizeof(T));
            }
            lines.swap(readLines);
            return 1;
        } catch (const std::bad_alloc&) {
            return 0;
        }
    }

    std::vector<std::vector<T>> lines;

private:
    T spare_{};
};

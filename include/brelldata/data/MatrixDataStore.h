#pragma once

#include <brelldata/core/Block.h>
#include <brelldata/core/Ref.h>
#include <brelldata/data/StoreBuffer.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <type_traits>

// Matrix of width elements per row, rows one after another. Capacity counts
// elements and grows in steps of 1024 rows; the buffer's unused part is zero
// unless the owner wrote there. Width and height are the owner's to set;
// changing them does not rearrange the buffer. Whatever they are set to, every
// operation uses only the held rows: those of the height that lie within the
// capacity at the current width (none while the width is below 1).
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

    // The height, less the rows that lie past the capacity at the current width.
    int HeldRows() const
    {
        if (width < 1) return 0;
        return static_cast<int>(std::clamp<int64_t>(capacity_ / width, 0, std::max(height, 0)));
    }

    // Element (row, column). A row past the held rows first reserves room up
    // to it, leaving the height as it is, so rows can be filled before the
    // height is raised. The spare element for a negative row, a width below 1
    // or when that growth fails. The column is not checked.
    T& Element(int row, int column)
    {
        if (row < 0 || width < 1 || (row >= HeldRows() && !ReserveRowElements(int64_t{row} + 1))) return spare_;
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
        const int held = HeldRows();
        if (!ReserveRowElements(int64_t{held} + n) || !ReserveRowElements(int64_t{pos} + n)) return 0;
        height = held + static_cast<int>(brell::OpenUnits(buffer_, held, pos, n, RowSize()));
        return 1;
    }

    // As CArrayDataStore::Delete, in rows; a shrunk buffer keeps the height
    // rounded up to a multiple of 64 rows.
    int DeleteRows(int pos, int n)
    {
        pos = std::max(pos, 0);
        const int held = HeldRows();
        if (pos >= held) return 1;
        const int64_t rowSize = RowSize();
        height = held - static_cast<int>(brell::CloseUnits(buffer_, held, pos, n, rowSize));
        if (capacity_ - height * rowSize > kMaxSpare) {
            const int64_t shrunk = brell::RoundUpToMultiple(height, kShrinkRowStep) * rowSize;
            if (brell::ResizeBuffer(buffer_, shrunk)) capacity_ = static_cast<int>(shrunk);
        }
        return 1;
    }

    // Store block: the held rows, width, then those rows; brell::kSizeTooLarge past 2 GB.
    int SizeOfByte() const { return brell::BlockSize(8 + HeldRows() * RowSize() * int64_t{sizeof(T)}); }

    // 0 when block is null.
    int Write(void* block) const { return brell::WriteStore(*this, block); }
    // Writes the store block at block, which must not be null; the end of what it wrote.
    unsigned char* WriteAt(void* block) const
    {
        brell::BlockWriter writer(block);
        Put(writer);
        return writer.Position();
    }
    // The store block through cursor, which takes Int32 and Bytes fields as a
    // block writer does: into memory, a counter or a piece-wise output.
    template <class Cursor>
    void Put(Cursor& cursor) const
    {
        const int held = HeldRows();
        cursor.Int32(held);
        cursor.Int32(width);
        cursor.Bytes(buffer_, static_cast<size_t>(held * RowSize()) * sizeof(T));
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

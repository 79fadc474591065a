#pragma once

#include <brelldata/core/Block.h>
#include <brelldata/core/Ref.h>
#include <brelldata/data/StoreBuffer.h>

#include <climits>
#include <cstdint>
#include <type_traits>

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

    // Store block: count, then the elements in use; brell::kSizeTooLarge past 2 GB.
    int SizeOfByte() const { return brell::BlockSize(4 + int64_t{count_} * int64_t{sizeof(T)}); }

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
        cursor.Int32(count_);
        cursor.Bytes(buffer_, static_cast<size_t>(count_) * sizeof(T));
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

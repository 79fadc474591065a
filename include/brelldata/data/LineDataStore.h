#pragma once

#include <brelldata/core/Block.h>
#include <brelldata/core/Ref.h>
#include <brelldata/data/StoreBuffer.h>

#include <cstdint>
#include <type_traits>
#include <vector>

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

    // Store block: number of lines, then per line its item count and items;
    // brell::kSizeTooLarge past 2 GB.
    int SizeOfByte() const
    {
        int64_t size = 4;
        for (const std::vector<T>& line : lines) size += 4 + static_cast<int64_t>(line.size() * sizeof(T));
        return brell::BlockSize(size);
    }

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
        cursor.Int32(Number());
        for (const std::vector<T>& line : lines) {
            cursor.Int32(static_cast<int>(line.size()));
            cursor.Bytes(line.data(), line.size() * sizeof(T));
        }
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

#pragma once

#include <brelldata/core/Block.h>
#include <brelldata/core/Ref.h>
#include <brelldata/data/StoreBuffer.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

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

    // Store block: number of rows, then per row its item count and items;
    // brell::kSizeTooLarge past 2 GB.
    int SizeOfByte() const
    {
        // Counted first and sized once: a loaded scene is measured row by row.
        int64_t items = 0;
        for (const CPolygon<T>& row : rows) items += ItemCount(row);
        return brell::BlockSize(4 + 4 * static_cast<int64_t>(rows.size()) + items * int64_t{sizeof(T)});
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
        for (const CPolygon<T>& row : rows) PutRow(cursor, row);
    }
    // One row of the block: its item count, then the items in use.
    template <class Cursor>
    static void PutRow(Cursor& cursor, const CPolygon<T>& row)
    {
        const int count = ItemCount(row);
        cursor.Int32(count);
        RowItems(cursor, row.items, count);
    }

    // 0 when block is null, holds a count a row cannot hold, or the rows
    // cannot be allocated; the store is then unchanged.
    int Read(const void* block) { return ReadRows(block) != nullptr ? 1 : 0; }
    // As Read; when it reads, size is set to what SizeOfByte() gives
    // afterwards, found without walking the rows again (unless a checked load
    // refused the block, which then fails all the same).
    int ReadMeasured(const void* block, int& size)
    {
        const unsigned char* end = ReadRows(block);
        if (end == nullptr) return 0;
        size = brell::BlockSize(end - static_cast<const unsigned char*>(block));
        return 1;
    }

    brell::BulkVector<CPolygon<T>> rows;

private:
    // The end of the block read; null when Read gives 0.
    const unsigned char* ReadRows(const void* block)
    {
        if (block == nullptr) return nullptr;
        brell::BlockReader reader(block);
        const int number = reader.Int32();
        if (number < 0 || !reader.Fits(static_cast<uint64_t>(number), 4, "polygon rows")) return nullptr;
        try {
            brell::BulkVector<CPolygon<T>> readRows;
            const auto rowsWanted = static_cast<size_t>(number);
            readRows.reserve(rowsWanted);
            while (readRows.size() < rowsWanted) {
                if (!ReadRowsInPlace(reader, readRows, rowsWanted)) return nullptr;
                if (readRows.size() == rowsWanted) break;
                // Near the end of the bytes it may read, field by field, so
                // that a row that does not fit is refused where it starts.
                CPolygon<T>& row = readRows.emplace_back();
                row.count = reader.Int32();
                if (row.count < 0 || row.count > 4) return nullptr;
                RowItems(reader, row.items, row.count);
            }
            rows.swap(readRows);
            return reader.Position();
        } catch (const std::bad_alloc&) {
            return nullptr;
        }
    }

    static int ItemCount(const CPolygon<T>& row) { return std::clamp(row.count, 0, 4); }

    // Appends rows read straight from the block while a row of four items
    // surely fits, which spares a check per field: most stores are read
    // whole here. Rows go in batches, each told to the reader's bounds, so
    // that a load lets go of what it has read. false at a count that a row
    // cannot hold.
    static bool ReadRowsInPlace(brell::BlockReader& reader, brell::BulkVector<CPolygon<T>>& rows, size_t wanted)
    {
        constexpr size_t kLargestRow = 4 + 4 * sizeof(T);
        constexpr size_t kBatchRows = size_t{1} << 16;
        while (rows.size() < wanted && reader.Remaining() >= kLargestRow) {
            const unsigned char* at = reader.Position();
            const size_t remaining = reader.Remaining();
            // Every row of the batch surely fits while this many bytes are left.
            const size_t safe = remaining - kLargestRow;
            size_t used = 0;
            for (size_t left = std::min(kBatchRows, wanted - rows.size()); left > 0 && used <= safe; --left) {
                int32_t count = 0;
                std::memcpy(&count, at + used, 4);
                CPolygon<T>& row = rows.emplace_back();
                row.count = count;
                if (count == 3) {
                    std::memcpy(row.items, at + used + 4, 3 * sizeof(T));
                    used += 4 + 3 * sizeof(T);
                    continue;
                }
                if (count < 0 || count > 4) return false;
                brell::BlockWriter items(row.items);
                RowItems(items, at + used + 4, count);
                used += 4 + static_cast<size_t>(count) * sizeof(T);
            }
            reader.Skip(used);
            reader.Report();
        }
        return true;
    }

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

#pragma once

// What the scan-data node classes share: their data blocks, geometry
// calculation, copies, comments and tests of a node's kind.

#include <brelldata/core/BaseNode.h>
#include <brelldata/core/Block.h>
#include <brelldata/data/ArrayDataStore.h>
#include <brelldata/data/LineDataStore.h>
#include <brelldata/data/MatrixDataStore.h>
#include <brelldata/data/PolygonDataStore.h>
#include <brelldata/data/RefData.h>
#include <brelldata/scan/BlockOutput.h>

#include "core/ToldSize.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

namespace brell {

// Measures a layout instead of writing or reading it.
class BlockSizer {
public:
    void Bytes(const void*, size_t size) { Skip(size); }
    void Skip(size_t size) { size_ = AddBlockSizes(size_, BlockSize(static_cast<int64_t>(size))); }
    // A part measured elsewhere, kSizeTooLarge when it does not fit.
    void Part(int size) { size_ = AddBlockSizes(size_, size); }
    int Size() const { return size_; }

private:
    int size_ = 0;
};

// Counts a layout in 64 bits, also past 2 GB.
class BlockCounter {
public:
    void Int32(int32_t) { bytes_ += 4; }
    void Bytes(const void*, size_t size) { bytes_ += size; }
    uint64_t Total() const { return bytes_; }

private:
    uint64_t bytes_ = 0;
};

// A reader of a scan node's data block, which knows the node it reads for
// and measures what it read as a BlockSizer would measure it afterwards.
class NodeBlockReader : public BlockReader {
public:
    NodeBlockReader(const void* block, const CBaseNode& node)
        : BlockReader(block), node_(node), block_(static_cast<const unsigned char*>(block))
    {
    }
    const CBaseNode& Node() const { return node_; }

    // A store block that was given length bytes in the stream and measures size.
    void StoreRead(int length, int size)
    {
        storeLengths_ += length > 0 ? static_cast<size_t>(length) : 0;
        storeSizes_ = AddBlockSizes(storeSizes_, size);
    }
    // A store block that did not read: the node is then measured as usual.
    void StoreRefused() { measured_ = false; }
    // What the fields read so far measure; nothing after a refused store.
    std::optional<int> Measured() const
    {
        if (!measured_) return std::nullopt;
        return AddBlockSizes(BlockSize(static_cast<int64_t>(Position() - block_ - storeLengths_)), storeSizes_);
    }

private:
    const CBaseNode& node_;
    const unsigned char* block_;
    size_t storeLengths_ = 0;
    int storeSizes_ = 0;
    bool measured_ = true;
};

// Reads store's block; when it reads, sets size to what its SizeOfByte()
// gives afterwards.
template <class Store>
int ReadMeasured(Store& store, const void* block, int& size)
{
    const int read = store.Read(block);
    if (read) size = store.SizeOfByte();
    return read;
}

// Rows are not walked again.
template <class T>
int ReadMeasured(CPolygonDataStore<T>& store, const void* block, int& size)
{
    return store.ReadMeasured(block, size);
}

// Under the bounds of a checked load, refuses the store block at at of node.
void RefuseStore(const CBaseNode& node, const unsigned char* at);

// A store inside a data block: its block's length L, then the block, so that
// a reader finds what follows 4 + L bytes on. A store that cannot be read
// keeps what Read leaves; the node does not report it, but a checked load
// refuses it, naming the node.
template <class Store>
void StorePart(BlockWriter& writer, const Store& store)
{
    // The length is filled in afterwards, which spares measuring row stores twice.
    BlockWriter prefix(writer.Position());
    writer.Skip(4);
    const auto length = static_cast<size_t>(store.WriteAt(writer.Position()) - writer.Position());
    prefix.Int32(static_cast<int32_t>(length));
    writer.Skip(length);
}

template <class Store>
void StorePart(NodeBlockReader& reader, Store& store)
{
    const unsigned char* at = reader.Position();
    const int length = reader.Int32();
    if (int size = 0; ReadMeasured(store, reader.Position(), size)) {
        reader.StoreRead(length, size);
    } else {
        RefuseStore(reader.Node(), at);
        reader.StoreRefused();
    }
    reader.Skip(length > 0 ? static_cast<size_t>(length) : 0);
}

template <class Store>
void StorePart(BlockSizer& sizer, const Store& store)
{
    sizer.Skip(4);
    sizer.Part(store.SizeOfByte());
}

template <class Store>
void StorePart(BlockCounter& counter, const Store& store)
{
    counter.Int32(0);
    store.Put(counter);
}

// Only blocks below 2 GB are put, so the store's own measure gives its length.
template <class Store>
void StorePart(ByteOutput& out, const Store& store)
{
    out.Int32(store.SizeOfByte());
    store.Put(out);
}

// A class's data block: its own fields, laid out once by Fields (called with
// a writer, a reader or a sizer and the node), then its base class's block,
// then unwritten bytes that only SizeOfByte counts. Write and Read give 0 for
// a null block, else the base's result; the size is kSizeTooLarge when any
// part is. Read tells a stream reader the node's size (ToldSize.h).
template <class Base, class Node, class Fields>
int SizeOfBlock(Node& node, Fields fields, size_t unwritten)
{
    BlockSizer sizer;
    fields(sizer, node);
    return AddBlockSizes(AddBlockSizes(sizer.Size(), node.Base::SizeOfByte()), static_cast<int>(unwritten));
}

template <class Base, class Node, class Fields>
int WriteBlock(Node& node, void* block, Fields fields)
{
    if (block == nullptr) return 0;
    BlockWriter writer(block);
    fields(writer, node);
    return node.Base::Write(writer.Position());
}

template <class Base, class Node, class Fields>
int ReadBlock(Node& node, void* block, Fields fields, size_t unwritten)
{
    if (block == nullptr) return 0;
    NodeBlockReader reader(block, node);
    fields(reader, node);
    int read = 0;
    const std::optional<int> baseSize = ReadTellingSize(
        ThreadToldSize(), node, [&] { read = node.Base::Read(const_cast<unsigned char*>(reader.Position())); });
    if (const std::optional<int> ownSize = reader.Measured()) {
        const int size = AddBlockSizes(*ownSize, baseSize ? *baseSize : node.Base::SizeOfByte());
        TellSizeRead(node, AddBlockSizes(size, static_cast<int>(unwritten)));
    }
    return read;
}

// The same block counted in 64 bits (0 when its base's cannot be counted)
// and put into out a piece at a time.
template <class Base, class Node, class Fields>
uint64_t CountBlock(Node& node, Fields fields, size_t unwritten)
{
    BlockCounter counter;
    fields(counter, node);
    const uint64_t base = node.Base::BlockBytes();
    return base == 0 ? 0 : counter.Total() + base + unwritten;
}

template <class Base, class Node, class Fields>
void PutBlock(Node& node, ByteOutput& out, Fields fields, size_t unwritten)
{
    fields(out, node);
    node.Base::PutBlock(out);
    // Write leaves them as they were; a file gets zeros.
    std::memset(out.Room(unwritten), 0, unwritten);
    out.Advance(unwritten);
}

// The data block operations and the geometry calculation of a scan-data
// class: its own fields, laid out by Fields, then Base's data block, then
// unwritten bytes that only SizeOfByte counts.
#define BRELL_SCAN_NODE_DEFINE(Class, Base, Fields, unwritten)                             \
    int Class::SizeOfByte()                                                                \
    {                                                                                      \
        return brell::SizeOfBlock<Base>(*this, Fields, (unwritten));                       \
    }                                                                                      \
    int Class::Read(void* block)                                                           \
    {                                                                                      \
        return brell::ReadBlock<Base>(*this, block, Fields, (unwritten));                  \
    }                                                                                      \
    int Class::Write(void* block)                                                          \
    {                                                                                      \
        return brell::WriteBlock<Base>(*this, block, Fields);                              \
    }                                                                                      \
    int Class::GeoCalc(const char* procedure, CBaseNode* output)                           \
    {                                                                                      \
        return GeoCalcDescent(procedure, TypeId(), output);                                \
    }                                                                                      \
    uint64_t Class::BlockBytes()                                                           \
    {                                                                                      \
        return brell::CountBlock<Base>(*this, Fields, (unwritten));                        \
    }                                                                                      \
    void Class::PutBlock(brell::ByteOutput& out)                                           \
    {                                                                                      \
        brell::PutBlock<Base>(*this, out, Fields, (unwritten));                            \
    }

// handle shares source's store, then makes it a private copy.
template <class Store>
void CopyPrivately(CRefData<Store>& handle, const CRefData<Store>& source)
{
    handle = source;
    handle.Unshare();
}

// The number of node's direct children whose IsKindOf accepts type.
int ChildrenOfKind(const CBaseNode& node, const std::string& type);
// The child index of the index-th of them; -1 when there is none.
int ChildIndexOfKind(const CBaseNode& node, int index, const std::string& type);
// That child itself; null when there is none.
CBaseNode* ChildOfKind(const CBaseNode& node, int index, const std::string& type);

}  // namespace brell

#include <brelldata/core/NodeStream.h>

#include <brelldata/core/BaseNode.h>
#include <brelldata/core/Block.h>
#include <brelldata/core/NodeRegistry.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace {

// The fields of a record in front of its data block, in stream order, after
// the record size (written, never read back).
struct RecordFrame {
    int32_t childCount = 0;
    std::string_view type;
    std::string_view name;
    int32_t dataSize = 0;
};

// Record size and child count, the two string lengths and the data block size.
constexpr size_t kFixedFieldBytes = 20;

size_t DataBytes(int32_t dataSize)
{
    return dataSize > 0 ? static_cast<size_t>(dataSize) : 0;
}

// The bytes of one record alone, its children not included.
size_t RecordSize(size_t typeLength, size_t nameLength, int32_t dataSize)
{
    return kFixedFieldBytes + (typeLength + 1) + (nameLength + 1) + DataBytes(dataSize);
}

// Returns the address of the data block.
unsigned char* WriteFrame(void* record, const RecordFrame& frame)
{
    brell::BlockWriter out(record);
    out.UInt32(static_cast<uint32_t>(RecordSize(frame.type.size(), frame.name.size(), frame.dataSize)));
    out.Int32(frame.childCount);
    out.String(frame.type);
    out.String(frame.name);
    out.Int32(frame.dataSize);
    return out.Position();
}

// Returns the address of the data block.
const unsigned char* ReadFrame(const void* record, RecordFrame& frame)
{
    brell::BlockReader in(record);
    in.Skip(4);  // record size
    frame.childCount = in.Int32();
    frame.type = in.String();
    frame.name = in.String();
    frame.dataSize = in.Int32();
    return in.Position();
}

// A type name read from a stream normally ends in its zero byte inside the
// stream and is used in place; one stored without it is copied first. The
// byte after the name is always inside the stream: the name length follows.
CBaseNode* CreateNamedType(std::string_view type)
{
    if (type.data()[type.size()] == '\0') return CreateNode(type.data());
    return CreateNode(std::string(type).c_str());
}

// Under the bounds of a checked load, a record must lie whole inside the
// stream, its data block must be read inside itself, and its type must be
// known; else nothing of it is kept. size is set to what SizeOfByte gives for
// the node read: measuring each subtree once as it is read finds the next
// record where re-measuring it at every level above would.
CBaseNode* ReadRecord(const unsigned char* record, size_t& size)
{
    RecordFrame frame;
    const unsigned char* data = ReadFrame(record, frame);
    brell::BlockBounds* bounds = brell::ActiveBlockBounds();
    const size_t dataBytes = DataBytes(frame.dataSize);
    if (bounds != nullptr) {
        if (frame.childCount < 0) bounds->Refuse(record, "a negative child count");
        if (!bounds->Check(data, dataBytes, 1, "a data block")) return nullptr;
    }
    CBaseNode* node = CreateNamedType(frame.type);
    if (node == nullptr) {
        if (bounds != nullptr) bounds->Refuse(record, "unregistered node type \"" + std::string(frame.type) + "\"");
        return nullptr;
    }
    node->Name().assign(frame.name);
    if (bounds == nullptr) {
        node->Read(const_cast<unsigned char*>(data));
    } else {
        const unsigned char* outerEnd = bounds->end;
        bounds->end = data + dataBytes;
        node->Read(const_cast<unsigned char*>(data));
        bounds->end = outerEnd;
        if (bounds->Failed()) {
            node->Release();
            return nullptr;
        }
    }

    // The next record is found by measuring what was read, not by stored sizes.
    const unsigned char* firstChild = data + dataBytes;
    const unsigned char* next = firstChild;
    for (int32_t i = 0; i < frame.childCount; ++i) {
        size_t childSize = 0;
        CBaseNode* child = ReadRecord(next, childSize);
        if (child == nullptr) {
            node->Release();
            return nullptr;
        }
        next += childSize;
        node->AppendChild(child);
    }
    size = RecordSize(node->Type().size(), node->Name().size(), node->SizeOfByte()) +
           static_cast<size_t>(next - firstChild);
    return node;
}

}  // namespace

int SizeOfByte(CBaseNode* node)
{
    if (node == nullptr) return 0;
    size_t size = RecordSize(node->Type().size(), node->Name().size(), node->SizeOfByte());
    for (unsigned int i = 0; i < node->GetChildNum(); ++i) size += static_cast<size_t>(SizeOfByte(node->GetChild(i)));
    return static_cast<int>(size);
}

int WriteNode(void* block, CBaseNode* node)
{
    if (block == nullptr || node == nullptr) return 0;
    RecordFrame frame;
    frame.childCount = static_cast<int32_t>(node->GetChildNum());
    frame.type = node->Type();
    frame.name = node->Name();
    frame.dataSize = node->SizeOfByte();
    unsigned char* data = WriteFrame(block, frame);
    node->Write(data);

    unsigned char* next = data + DataBytes(frame.dataSize);
    int total = static_cast<int>(next - static_cast<unsigned char*>(block));
    for (unsigned int i = 0; i < node->GetChildNum(); ++i) {
        int written = WriteNode(next, node->GetChild(i));
        if (written < 1) return 0;
        next += written;
        total += written;
    }
    return total;
}

CBaseNode* ReadNode(void* block)
{
    if (block == nullptr) return nullptr;
    const auto* record = static_cast<const unsigned char*>(block);
    size_t size = 0;
    CBaseNode* node = ReadRecord(record, size);
    if (brell::BlockBounds* bounds = brell::ActiveBlockBounds(); bounds != nullptr) bounds->streamEnd = record + size;
    return node;
}

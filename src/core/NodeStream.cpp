#include <brelldata/core/NodeStream.h>

#include <brelldata/core/BaseNode.h>
#include <brelldata/core/Block.h>
#include <brelldata/core/NodeRegistry.h>

#include "core/Adopt.h"
#include "core/NodeTypes.h"
#include "core/ToldSize.h"
#include "core/WalkStack.h"

#include <algorithm>

#include <cstdint>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brell {

ToldSize& ThreadToldSize()
{
    thread_local ToldSize told{nullptr, 0};
    return told;
}

}  // namespace brell

namespace {

// The fields of a record in front of its data block, as read, after the
// record size (never read back).
struct RecordFrame {
    int32_t childCount = 0;
    std::string_view type;
    std::string_view name;
    int32_t dataSize = 0;
    // The node's SizeOfByte() as its class told while reading, if it did.
    std::optional<int> readSize;
};

// A record of two empty names and no data block.
constexpr size_t kSmallestRecord = brell::RecordBytes({}, {}, 0);

size_t DataBytes(int32_t dataSize)
{
    return dataSize > 0 ? static_cast<size_t>(dataSize) : 0;
}

// Streams repeat a few node types over and over, so a reader keeps the
// factories of the last types it met and asks the registry only for others,
// or once the registry has changed. The names it keeps are views of its stream.
class RecentTypes {
public:
    // A new node of type; null when the type is not registered.
    CBaseNode* Create(std::string_view type)
    {
        if (version_ != brell::NodeTypesVersion()) {
            version_ = brell::NodeTypesVersion();
            known_ = 0;
        }
        for (size_t i = 0; i < known_; ++i)
            if (types_[i].name == type) return types_[i].factory();
        NodeFactory factory = brell::FindNodeFactory(type);
        if (factory == nullptr) return nullptr;
        types_[known_ < kTypes ? known_++ : replaced_++ % kTypes] = {type, factory};
        return factory();
    }

private:
    struct Known {
        std::string_view name;
        NodeFactory factory;
    };
    static constexpr size_t kTypes = 4;
    Known types_[kTypes];
    size_t known_ = 0;
    size_t replaced_ = 0;
    unsigned long version_ = brell::NodeTypesVersion();
};

// A record read whose children are still being read: where its data block
// and its first child start, how many children are left, and the size its
// class told while reading it.
struct OpenRecord {
    CBaseNode* node;
    const unsigned char* record;
    const unsigned char* firstChild;
    int32_t childrenLeft;
    std::optional<int> readSize;
};

// The address after the record of node and its children's records: the next
// record is found by measuring what was read, not by stored sizes. Measuring
// each subtree once as it is read finds it where re-measuring it at every
// level above would. A size the node's class told while reading is what
// measuring it gives.
const unsigned char* RecordEnd(CBaseNode* node, const unsigned char* record, size_t childrenBytes,
                               std::optional<int> readSize)
{
    const int dataSize = readSize ? *readSize : node->SizeOfByte();
    return record + brell::RecordBytes(node->Type(), node->Name(), dataSize) + childrenBytes;
}

// Reads the subtrees of one stream under the bounds that were in force when
// it was made.
class StreamReader {
public:
    // Reads the subtree at record, each child appended to its parent as soon
    // as it is made, so that releasing the top node on a failure frees all
    // made so far. The end of the subtree's stream is stored in end.
    CBaseNode* ReadTree(const unsigned char* record, const unsigned char*& end)
    {
        RecordFrame frame;
        const unsigned char* firstChild = nullptr;
        CBaseNode* top = ReadRecord(record, frame, firstChild);
        if (top == nullptr) return nullptr;
        const unsigned char* subtreeEnd = nullptr;
        try {
            subtreeEnd = ReadChildren({top, record, firstChild, frame.childCount, frame.readSize});
        } catch (const std::bad_alloc&) {
            // the walk's stack could not grow
        }
        if (subtreeEnd == nullptr) {
            top->Release();
            return nullptr;
        }
        end = subtreeEnd;
        return top;
    }

    brell::BlockBounds* Bounds() const { return bounds_; }

private:
    // Reads the children of top, the record read first; the end of its
    // subtree's stream, or null when a record is refused or a child cannot be added.
    const unsigned char* ReadChildren(const OpenRecord& top)
    {
        RecordFrame frame;
        const unsigned char* firstChild = nullptr;
        brell::WalkStack<OpenRecord> open;
        Open(open, top);
        const unsigned char* next = top.firstChild;
        while (true) {
            OpenRecord& parent = open.Top();
            if (parent.childrenLeft <= 0) {
                next = RecordEnd(parent.node, parent.record, static_cast<size_t>(next - parent.firstChild),
                                 parent.readSize);
                open.Pop();
                if (open.Empty()) break;
                continue;
            }
            --parent.childrenLeft;
            CBaseNode* child = ReadRecord(next, frame, firstChild);
            if (child == nullptr || !brell::AppendOrRelease(*parent.node, child)) return nullptr;
            if (frame.childCount > 0) {
                Open(open, {child, next, firstChild, frame.childCount, frame.readSize});
                next = firstChild;
            } else {
                next = RecordEnd(child, next, 0, frame.readSize);
            }
        }
        return next;
    }

    // Pushes record, with room made for its children, as many as the stream
    // can hold under the bounds of a checked load.
    void Open(brell::WalkStack<OpenRecord>& open, const OpenRecord& record) const
    {
        size_t children = static_cast<size_t>(std::max(record.childrenLeft, 0));
        if (bounds_ != nullptr) {
            const unsigned char* end = bounds_->end;
            children = std::min(children, record.firstChild < end ? (end - record.firstChild) / kSmallestRecord : 0);
        }
        brell::ChildList::Reserve(*record.node, static_cast<unsigned int>(children));
        open.Push(record);
    }

    // Returns the address of the data block.
    const unsigned char* ReadFrame(const unsigned char* record, RecordFrame& frame) const
    {
        brell::BlockReader in(record, bounds_);
        in.Skip(4);  // record size
        frame.childCount = in.Int32();
        frame.type = in.String();
        frame.name = in.String();
        frame.dataSize = in.Int32();
        return in.Position();
    }

    // Under the bounds of a checked load, a record must lie whole inside the
    // stream, its data block must be read inside itself, and its type must be
    // known; else nothing of it is kept. frame is set to the record's fields.
    CBaseNode* ReadRecord(const unsigned char* record, RecordFrame& frame, const unsigned char*& firstChild)
    {
        const unsigned char* data = ReadFrame(record, frame);
        const size_t dataBytes = DataBytes(frame.dataSize);
        if (bounds_ != nullptr) {
            if (frame.childCount < 0) bounds_->Refuse(record, "a negative child count");
            if (!bounds_->Check(data, dataBytes, 1, "a data block")) return nullptr;
        }
        CBaseNode* node = types_.Create(frame.type);
        if (node == nullptr) {
            if (bounds_ != nullptr)
                bounds_->Refuse(record, "unregistered node type \"" + std::string(frame.type) + "\"");
            return nullptr;
        }
        node->Name().assign(frame.name);
        const auto read = [&] { node->Read(const_cast<unsigned char*>(data)); };
        if (bounds_ == nullptr) {
            frame.readSize = brell::ReadTellingSize(told_, *node, read);
        } else {
            const unsigned char* outerEnd = bounds_->end;
            bounds_->end = data + dataBytes;
            frame.readSize = brell::ReadTellingSize(told_, *node, read);
            bounds_->end = outerEnd;
            if (bounds_->Failed()) {
                node->Release();
                return nullptr;
            }
            bounds_->Reached(data + dataBytes);
        }
        firstChild = data + dataBytes;
        return node;
    }

    brell::BlockBounds* bounds_ = brell::ActiveBlockBounds();
    brell::ToldSize& told_ = brell::ThreadToldSize();
    RecentTypes types_;
};

}  // namespace

int SizeOfByte(CBaseNode* node)
{
    if (node == nullptr) return 0;
    int64_t size = 0;
    bool fits = true;
    try {
        brell::VisitSubtree(node, [&](CBaseNode* visited) {
            const int dataSize = visited->SizeOfByte();
            if (dataSize < 0) fits = false;
            size += static_cast<int64_t>(brell::RecordBytes(visited->Type(), visited->Name(), dataSize));
        });
    } catch (const std::bad_alloc&) {
        return 0;  // the walk's stack could not grow
    }
    return fits ? std::max(brell::BlockSize(size), 0) : 0;
}

namespace {

int WriteStream(unsigned char* block, CBaseNode* node)
{
    // The block holds SizeOfByte(node) bytes, none for a stream past 2 GB: so
    // the whole is measured before anything is written, and each node's data
    // size kept for the writing.
    std::vector<int32_t> dataSizes;
    int64_t size = 0;
    bool fits = true;
    brell::VisitSubtree(node, [&](CBaseNode* visited) {
        const int dataSize = visited->SizeOfByte();
        if (dataSize < 0) fits = false;
        dataSizes.push_back(dataSize);
        size += static_cast<int64_t>(brell::RecordBytes(visited->Type(), visited->Name(), dataSize));
    });
    if (!fits || brell::BlockSize(size) < 0) return 0;

    unsigned char* next = block;
    size_t visits = 0;
    brell::VisitSubtree(node, [&](CBaseNode* visited) {
        const int32_t dataSize = dataSizes[visits++];
        brell::BlockWriter out(next);
        brell::PutRecordFrame(out, visited->Type(), visited->Name(), static_cast<int32_t>(visited->GetChildNum()),
                              dataSize);
        visited->Write(out.Position());
        next = out.Position() + DataBytes(dataSize);
    });
    return static_cast<int>(next - block);
}

}  // namespace

int WriteNode(void* block, CBaseNode* node)
{
    if (block == nullptr || node == nullptr) return 0;
    try {
        return WriteStream(static_cast<unsigned char*>(block), node);
    } catch (const std::bad_alloc&) {
        return 0;  // the sizes or a walk's stack could not grow
    }
}

CBaseNode* ReadNode(void* block)
{
    if (block == nullptr) return nullptr;
    const auto* record = static_cast<const unsigned char*>(block);
    const unsigned char* end = record;
    StreamReader reader;
    CBaseNode* node = reader.ReadTree(record, end);
    if (reader.Bounds() != nullptr) reader.Bounds()->streamEnd = end;
    return node;
}

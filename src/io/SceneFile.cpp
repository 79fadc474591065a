#include "io/FileBytes.h"
#include "io/StreamLimit.h"

#include <brelldata/core/BaseNode.h>
#include <brelldata/core/Block.h>
#include <brelldata/core/NodeStream.h>
#include <brelldata/core/Tree.h>
#include <brelldata/io/SceneFile.h>
#include <brelldata/scan/BlockOutput.h>

// XXH3 through the functions that pick the widest vector unit the machine
// has; the hashes are the same on every machine.
#include <xxh_x86dispatch.h>

#include <algorithm>
#include <climits>
#include <deque>
#include <cstring>
#include <new>
#include <optional>
#include <vector>

namespace brell::io {
namespace {

constexpr char kMagic[8] = {'B', 'R', 'E', 'L', 'S', 'C', 'N', '\0'};

struct SceneHeader {
    char magic[8];
    uint32_t version;
    uint32_t reserved;
    uint64_t length;
    uint64_t hash;
};
static_assert(sizeof(SceneHeader) == kSceneHeaderBytes);
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the header is written as its in-memory image");

std::string Number(uint64_t value)
{
    return std::to_string(value);
}

// Installs bounds on this thread's block readers for its lifetime.
// Over a mapped file, the pages behind the readers are let go of as they read.
class CheckedRead {
public:
    CheckedRead(const unsigned char* file, const unsigned char* end, MappedFile* mapped)
    {
        bounds_.begin = file;
        bounds_.end = end;
        if (mapped != nullptr) bounds_.ReportReads(&ReleaseRead, mapped, file);
        ActiveBlockBounds() = &bounds_;
    }
    ~CheckedRead() { ActiveBlockBounds() = nullptr; }
    CheckedRead(const CheckedRead&) = delete;
    CheckedRead& operator=(const CheckedRead&) = delete;

    const BlockBounds& Bounds() const { return bounds_; }

private:
    static void ReleaseRead(void* mapped, const unsigned char* reached)
    {
        static_cast<MappedFile*>(mapped)->ReleaseBefore(reached);
    }

    BlockBounds bounds_;
};

// The nodes of a node stream of length bytes that starts offset bytes into
// the file name, read under bounds: FileError at the first byte that does not
// read, and unless the stream ends exactly at its length.
CBaseNode* ReadStream(const unsigned char* stream, uint64_t length, uint64_t offset, const std::string& name,
                      MappedFile* mapped)
{
    CBaseNode* root = nullptr;
    BlockBounds bounds;
    {
        CheckedRead checked(stream, stream + length, mapped);
        root = ReadNode(const_cast<unsigned char*>(stream));
        bounds = checked.Bounds();
    }
    if (root == nullptr) {
        const std::string found = bounds.Failed() ? bounds.failure : "a stream that does not read";
        throw FileError::AtByte(name, offset + bounds.failureOffset, "a node stream", found);
    }
    const auto used = static_cast<uint64_t>(bounds.streamEnd - stream);
    if (used != length) {
        root->Release();
        if (used < length)
            throw FileError::AtByte(name, offset + used, "the end of the stream",
                                    Number(length - used) + " more bytes");
        throw FileError::AtByte(name, offset + length, "the rest of a tree that measures " + Number(used) + " bytes",
                                "the end of the stream");
    }
    return root;
}

// Loads the scene in a scene file's bytes of format version 1, mapped from
// the file or not.
CBaseNode* LoadChecked(std::string_view bytes, const std::string& name, MappedFile* mapped)
{
    if (bytes.size() < kSceneHeaderBytes)
        throw FileError::AtByte(name, 0, "a scene header of 32 bytes", Number(bytes.size()) + " bytes");
    SceneHeader header;
    std::memcpy(&header, bytes.data(), sizeof header);
    if (std::memcmp(header.magic, kMagic, sizeof kMagic) != 0)
        throw FileError::AtByte(name, 0, "a scene file", "another kind of file");
    if (header.version != kSceneFormatVersion)
        throw FileError::AtByte(name, 8, "format version 1 or " + Number(kSceneStreamsFormatVersion),
                                "version " + Number(header.version));
    const uint64_t streamBytes = bytes.size() - kSceneHeaderBytes;
    if (header.length != streamBytes)
        throw FileError::AtByte(name, 16, "a stream of " + Number(header.length) + " bytes, as this length says",
                                Number(streamBytes) + " bytes after the header");
    if (header.length > INT_MAX) throw FileError::AtByte(name, 16, "a stream below 2 GB", Number(header.length));
    const auto* file = reinterpret_cast<const unsigned char*>(bytes.data());
    const unsigned char* stream = file + kSceneHeaderBytes;
    // A mapped stream's pages stay while it is hashed, for the nodes are read
    // from them next; the reader lets go of each once read.
    if (XXH3_64bits(stream, header.length) != header.hash)
        throw FileError::AtByte(name, 24, "the hash of the stream", "a different hash");

    return ReadStream(stream, header.length, kSceneHeaderBytes, name, mapped);
}

// FileError naming the first node under root that a load would not give
// back as saved: an attribute of an empty name is written but not read, and
// every record after it would be read from the wrong place.
void CheckLoadable(CBaseNode* root, const std::string& path)
{
    std::vector<CBaseNode*> pending{root};
    while (!pending.empty()) {
        CBaseNode* node = pending.back();
        pending.pop_back();
        // Names come in byte order, so an empty one comes first.
        if (node->AttributeNumber() > 0 && *node->AttributeName(0) == '\0')
            throw FileError::InFile(path, "attribute names that are not empty, as an empty one does not load back",
                                    "one on " + node->Type() + " \"" + node->Name() + "\"");
        for (unsigned int i = node->GetChildNum(); i-- > 0;) pending.push_back(node->GetChild(i));
    }
}

// A scene file of several streams (format version 2), for a tree whose
// stream would pass detail::PieceBytes(): after the header (whose length
// counts every byte after it and whose hash is the stream table's), the
// stream table, a 64-bit count and per stream its length, the index of the
// node its top is inserted under (counting the nodes of the streams before
// it, each stream a node before its children) and the child index it takes
// there; then each stream followed by its hash. The first stream holds the
// root and has no parent. Each stream is one piece or a single node of up to
// the limit, so saving and loading hold one stream beside the tree.
constexpr uint64_t kNoParent = UINT64_MAX;

struct StreamEntry {
    uint64_t length;
    uint64_t parent;
    uint64_t position;
};
static_assert(sizeof(StreamEntry) == 24);
constexpr uint64_t kStreamHashBytes = sizeof(uint64_t);

// A node of the tree being saved, depth first, a node before its children,
// so that a subtree is the range of its node and its subtreeNodes - 1 next.
struct MeasuredNode {
    CBaseNode* node;
    int dataBytes;
    uint64_t recordBytes;
    uint64_t subtreeBytes;
    uint64_t subtreeNodes;
};

// root's subtree measured; FileError naming the first node whose record
// alone passes the limit, as no stream can hold it.
std::vector<MeasuredNode> MeasureTree(CBaseNode* root, const std::string& path)
{
    std::vector<MeasuredNode> nodes;
    std::vector<size_t> parents;
    std::vector<std::pair<CBaseNode*, size_t>> pending{{root, SIZE_MAX}};
    while (!pending.empty()) {
        auto [node, parent] = pending.back();
        pending.pop_back();
        const int dataBytes = node->SizeOfByte();
        const uint64_t recordBytes = RecordBytes(node->Type(), node->Name(), dataBytes);
        if (dataBytes < 0 || recordBytes > detail::NodeStreamLimit()) {
            const uint64_t bytes = dataBytes < 0 ? brell::DataBlockBytes(node) : recordBytes;
            throw FileError::InFile(
                path, "nodes of at most " + Number(detail::NodeStreamLimit()) + " bytes each",
                node->Type() + " \"" + node->Name() + "\" of " + (bytes == 0 ? "more" : Number(bytes)) + " bytes");
        }
        parents.push_back(parent);
        nodes.push_back({node, dataBytes, recordBytes, recordBytes, 1});
        for (unsigned int i = node->GetChildNum(); i-- > 0;) pending.emplace_back(node->GetChild(i), nodes.size() - 1);
    }
    for (size_t i = nodes.size(); i-- > 1;) {
        nodes[parents[i]].subtreeBytes += nodes[i].subtreeBytes;
        nodes[parents[i]].subtreeNodes += nodes[i].subtreeNodes;
    }
    return nodes;
}

// One stream of a file of several: where its top goes, and its records, in
// stream order: a measured node with how many of its children follow it in
// this stream, or a whole subtree.
struct StreamPlan {
    size_t top;  // measured index
    StreamEntry entry;
    struct Record {
        size_t node;
        uint32_t children;
        bool wholeSubtree;
    };
    std::vector<Record> records;
};

// The streams of a measured tree: each takes, from its top down, whole
// subtrees while they fit in a piece, and the records of larger children
// while those fit; a child that does not fit becomes the top of a later
// stream. Streams come in the order in which their tops are found, so a
// stream's parent, and the siblings before its top, are loaded before it.
std::vector<StreamPlan> PlanStreams(const std::vector<MeasuredNode>& nodes)
{
    std::vector<StreamPlan> plans;
    std::deque<StreamPlan> tops;
    tops.push_back({0, {0, kNoParent, 0}, {}});
    uint64_t nodesBefore = 0;
    while (!tops.empty()) {
        StreamPlan plan = std::move(tops.front());
        tops.pop_front();
        const size_t top = plan.top;
        const uint64_t room = std::max(detail::PieceBytes(), nodes[top].recordBytes);
        uint64_t remaining = room - nodes[top].recordBytes;
        uint64_t made = 0;
        std::vector<std::pair<size_t, bool>> pending{{top, false}};
        while (!pending.empty()) {
            const auto [index, whole] = pending.back();
            pending.pop_back();
            const MeasuredNode& node = nodes[index];
            if (whole) {
                plan.records.push_back({index, node.node->GetChildNum(), true});
                made += node.subtreeNodes;
                continue;
            }
            const uint64_t self = nodesBefore + made++;
            std::vector<std::pair<size_t, bool>> kept;
            size_t child = index + 1;
            for (unsigned int k = 0; k < node.node->GetChildNum(); ++k) {
                const MeasuredNode& measured = nodes[child];
                if (measured.subtreeBytes <= remaining) {
                    remaining -= measured.subtreeBytes;
                    kept.emplace_back(child, true);
                } else if (measured.recordBytes <= remaining) {
                    remaining -= measured.recordBytes;
                    kept.emplace_back(child, false);
                } else {
                    tops.push_back({child, {0, self, k}, {}});
                }
                child += measured.subtreeNodes;
            }
            plan.records.push_back({index, static_cast<uint32_t>(kept.size()), false});
            pending.insert(pending.end(), kept.rbegin(), kept.rend());
        }
        plan.entry.length = room - remaining;
        nodesBefore += made;
        plans.push_back(std::move(plan));
    }
    return plans;
}

// The bytes of a scene file, put into its saver and hashed as they pass,
// in pieces of the output's buffer, while each is still in the cache.
class HashedOutput : public ByteOutput {
public:
    explicit HashedOutput(FileSaver& saver) : saver_(saver), state_(XXH3_createState())
    {
        if (state_ == nullptr || XXH3_64bits_reset(state_) != XXH_OK) {
            XXH3_freeState(state_);
            throw std::bad_alloc();
        }
    }
    ~HashedOutput() override { XXH3_freeState(state_); }
    HashedOutput(const HashedOutput&) = delete;
    HashedOutput& operator=(const HashedOutput&) = delete;

    // The hash of what was put since the last call; the next starts afresh.
    uint64_t TakeHash()
    {
        Drain();
        const uint64_t value = XXH3_64bits_digest(state_);
        XXH3_64bits_reset(state_);
        return value;
    }

private:
    void Take(const char* bytes, size_t size) override
    {
        XXH3_64bits_update(state_, bytes, size);
        saver_.Put(bytes, size);
    }

    FileSaver& saver_;
    XXH3_state_t* state_;
};

// Puts one record, frame and data block, into out: the node's stores go a
// bounded piece at a time, so no record is made whole in memory.
void PutRecord(CBaseNode* node, uint32_t children, int dataBytes, ByteOutput& out)
{
    PutRecordFrame(out, node->Type(), node->Name(), static_cast<int32_t>(children), dataBytes);
    brell::PutDataBlock(node, out);
}

void PutRecord(const MeasuredNode& node, uint32_t children, ByteOutput& out)
{
    PutRecord(node.node, children, node.dataBytes, out);
}

// The header of a scene file of the given version, whose length counts the
// bytes after it.
SceneHeader HeaderOf(uint32_t version, uint64_t length, uint64_t hash)
{
    SceneHeader header{};
    std::memcpy(header.magic, kMagic, sizeof kMagic);
    header.version = version;
    header.length = length;
    header.hash = hash;
    return header;
}

// The header's lengths were planned from the same measures as the records:
// a file that disagrees with them would not load, so it is not put in place.
void CommitMeasured(FileSaver& saver, const std::string& path, uint64_t total)
{
    saver.Drain();
    if (saver.Written() != total)
        throw FileError::AtByte(path, saver.Written(), std::to_string(total) + " bytes to save", "another count");
    saver.Commit();
}

// Saves a tree of one stream of length bytes (format version 1) a record at
// a time, its hash taken as the records pass; the header goes in last.
void SaveOneStream(CBaseNode* root, uint64_t length, const std::string& path)
{
    FileSaver saver(path, kSceneHeaderBytes + length);
    const SceneHeader unknown{};
    saver.Put(&unknown, sizeof unknown);
    HashedOutput out(saver);
    std::vector<CBaseNode*> pending{root};
    while (!pending.empty()) {
        CBaseNode* node = pending.back();
        pending.pop_back();
        PutRecord(node, node->GetChildNum(), node->SizeOfByte(), out);
        for (unsigned int i = node->GetChildNum(); i-- > 0;) pending.push_back(node->GetChild(i));
    }
    const SceneHeader header = HeaderOf(kSceneFormatVersion, length, out.TakeHash());
    saver.Overwrite(0, &header, sizeof header);
    CommitMeasured(saver, path, kSceneHeaderBytes + length);
}

// Saves the planned streams a record at a time.
void SaveStreams(const std::vector<MeasuredNode>& nodes, const std::vector<StreamPlan>& plans, const std::string& path)
{
    std::vector<unsigned char> table(sizeof(uint64_t) + plans.size() * sizeof(StreamEntry));
    const uint64_t count = plans.size();
    std::memcpy(table.data(), &count, sizeof count);
    uint64_t length = table.size();
    for (size_t k = 0; k < plans.size(); ++k) {
        std::memcpy(table.data() + sizeof count + k * sizeof(StreamEntry), &plans[k].entry, sizeof(StreamEntry));
        length += plans[k].entry.length + kStreamHashBytes;
    }
    const SceneHeader header =
        HeaderOf(kSceneStreamsFormatVersion, length, XXH3_64bits(table.data(), table.size()));

    FileSaver saver(path, kSceneHeaderBytes + length);
    saver.Put(&header, sizeof header);
    saver.Put(table.data(), table.size());
    HashedOutput out(saver);
    for (const StreamPlan& plan : plans) {
        for (const StreamPlan::Record& planned : plan.records) {
            if (!planned.wholeSubtree) {
                PutRecord(nodes[planned.node], planned.children, out);
                continue;
            }
            for (size_t i = planned.node; i < planned.node + nodes[planned.node].subtreeNodes; ++i)
                PutRecord(nodes[i], nodes[i].node->GetChildNum(), out);
        }
        const uint64_t value = out.TakeHash();
        saver.Put(&value, sizeof value);
    }
    CommitMeasured(saver, path, kSceneHeaderBytes + length);
}

// The header of a scene file of several streams at the start of bytes;
// none for any other file.
std::optional<SceneHeader> StreamsHeader(std::string_view bytes)
{
    SceneHeader header;
    if (bytes.size() < sizeof header) return std::nullopt;
    std::memcpy(&header, bytes.data(), sizeof header);
    if (std::memcmp(header.magic, kMagic, sizeof kMagic) != 0 || header.version != kSceneStreamsFormatVersion)
        return std::nullopt;
    return header;
}

// The nodes of every stream, each stream's top inserted where its entry
// says, in the bytes of a scene file of several streams whose header was
// checked up to its version, mapped from the file or not. The table is
// checked against the header's length and hash before any stream is read,
// and each stream against its hash before its nodes are made.
CBaseNode* LoadStreams(std::string_view bytes, const SceneHeader& header, const std::string& name,
                       MappedFile* mapped)
{
    const uint64_t rest = bytes.size() - kSceneHeaderBytes;
    if (header.length != rest)
        throw FileError::AtByte(name, 16, Number(header.length) + " bytes after the header, as this length says",
                                Number(rest));
    uint64_t count = 0;
    if (rest < sizeof count) throw FileError::AtByte(name, kSceneHeaderBytes, "a stream count", "the end of the file");
    const auto* file = reinterpret_cast<const unsigned char*>(bytes.data());
    const unsigned char* table = file + kSceneHeaderBytes;
    std::memcpy(&count, table, sizeof count);
    if (count == 0 || count > (rest - sizeof count) / (sizeof(StreamEntry) + kStreamHashBytes))
        throw FileError::AtByte(name, kSceneHeaderBytes, "a stream count that the file has room for", Number(count));
    const uint64_t tableBytes = sizeof count + count * sizeof(StreamEntry);
    if (XXH3_64bits(table, tableBytes) != header.hash)
        throw FileError::AtByte(name, 24, "the hash of the stream table", "a different hash");
    std::vector<StreamEntry> entries(count);
    std::memcpy(entries.data(), table + sizeof count, count * sizeof(StreamEntry));
    uint64_t total = tableBytes;
    for (uint64_t k = 0; k < count; ++k) {
        const uint64_t at = kSceneHeaderBytes + sizeof count + k * sizeof(StreamEntry);
        if (entries[k].length == 0 || entries[k].length > detail::NodeStreamLimit())
            throw FileError::AtByte(name, at, "a stream of 1 to " + Number(detail::NodeStreamLimit()) + " bytes",
                                    Number(entries[k].length));
        if ((k == 0) != (entries[k].parent == kNoParent))
            throw FileError::AtByte(name, at + 8, k == 0 ? "no parent for the first stream" : "a parent node",
                                    k == 0 ? "one" : "none");
        total += entries[k].length + kStreamHashBytes;
    }
    if (total != header.length)
        throw FileError::AtByte(name, kSceneHeaderBytes,
                                "streams that measure " + Number(header.length - tableBytes) +
                                    " bytes with their hashes, as the header says",
                                Number(total - tableBytes));

    CBaseNode* root = nullptr;
    std::vector<CBaseNode*> made;
    uint64_t offset = kSceneHeaderBytes + tableBytes;
    try {
        for (uint64_t k = 0; k < count; ++k) {
            const StreamEntry& entry = entries[k];
            const unsigned char* stream = file + offset;
            uint64_t hash = 0;
            std::memcpy(&hash, stream + entry.length, sizeof hash);
            if (XXH3_64bits(stream, entry.length) != hash)
                throw FileError::AtByte(name, offset + entry.length, "the hash of stream " + Number(k + 1),
                                        "a different hash");
            CBaseNode* top = ReadStream(stream, entry.length, offset, name, mapped);
            const uint64_t at = kSceneHeaderBytes + sizeof count + k * sizeof(StreamEntry);
            if (k == 0) {
                root = top;
            } else if (entry.parent >= made.size() || entry.position > made[entry.parent]->GetChildNum()) {
                top->AddRef();
                top->Release();
                throw FileError::AtByte(name, at + 8, "a place among the nodes loaded before",
                                        "node " + Number(entry.parent) + ", child " + Number(entry.position));
            } else {
                CBaseNode* parent = made[entry.parent];
                const unsigned int children = parent->GetChildNum();
                parent->InsertChild(static_cast<unsigned int>(entry.position), top);
                if (parent->GetChildNum() == children) {
                    top->AddRef();
                    top->Release();
                    throw std::bad_alloc();
                }
            }
            std::vector<CBaseNode*> pending{top};
            while (!pending.empty()) {
                CBaseNode* node = pending.back();
                pending.pop_back();
                made.push_back(node);
                for (unsigned int i = node->GetChildNum(); i-- > 0;) pending.push_back(node->GetChild(i));
            }
            offset += entry.length + kStreamHashBytes;
        }
    } catch (...) {
        if (root != nullptr) {
            root->AddRef();
            root->Release();
        }
        throw;
    }
    return root;
}

}  // namespace

void SaveScene(CBaseNode* root, const std::string& path)
{
    if (root == nullptr) throw FileError::InFile(path, "a scene to save", "none");
    CheckLoadable(root, path);
    const int streamSize = SizeOfByte(root);
    if (streamSize >= 1 && static_cast<uint64_t>(streamSize) <= detail::PieceBytes()) {
        SaveOneStream(root, static_cast<uint64_t>(streamSize), path);
        return;
    }
    const std::vector<MeasuredNode> nodes = MeasureTree(root, path);
    SaveStreams(nodes, PlanStreams(nodes), path);
}

void SaveScene(CTree& tree, const std::string& path)
{
    SaveScene(tree.Root(), path);
}

SceneStreams MeasureSceneStreams(CBaseNode* root, const std::string& name)
{
    if (root == nullptr) return {};
    const std::vector<MeasuredNode> nodes = MeasureTree(root, name);
    const uint64_t bytes = nodes.front().subtreeBytes;
    return {bytes, bytes <= detail::PieceBytes() ? 1 : PlanStreams(nodes).size()};
}

namespace {

CBaseNode* LoadBytes(std::string_view bytes, const std::string& name, MappedFile* mapped)
{
    if (std::optional<SceneHeader> header = StreamsHeader(bytes)) return LoadStreams(bytes, *header, name, mapped);
    return LoadChecked(bytes, name, mapped);
}

}  // namespace

// A mapped file is read in place, its pages let go of behind the reader, so
// that a load holds little more than the larger of the file and its stores.
CBaseNode* LoadScene(const std::string& path)
{
    if (std::optional<MappedFile> mapped = MappedFile::Map(path)) {
        const auto cutShort = [&path] {
            return FileError::InFile(path, "a file that stays as it is while it loads", "one cut short");
        };
        CBaseNode* root = nullptr;
        try {
            root = LoadBytes(mapped->View(), path, &*mapped);
        } catch (const FileError&) {
            if (mapped->Cut()) throw cutShort();
            throw;
        }
        if (!mapped->Cut()) return root;
        root->AddRef();
        root->Release();
        throw cutShort();
    }
    const FileBytes file = ReadWholeFile(path);
    return LoadBytes(file.View(), path, nullptr);
}

CBaseNode* LoadSceneFromMemory(std::string_view bytes, const std::string& name)
{
    return LoadBytes(bytes, name, nullptr);
}

}  // namespace brell::io

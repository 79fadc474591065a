#include "io/FileBytes.h"

#include <brelldata/core/BaseNode.h>
#include <brelldata/core/Block.h>
#include <brelldata/core/NodeStream.h>
#include <brelldata/core/Tree.h>
#include <brelldata/io/SceneFile.h>

#include <xxhash.h>

#include <algorithm>
#include <climits>
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
class CheckedRead {
public:
    CheckedRead(const unsigned char* file, const unsigned char* end)
    {
        bounds_.begin = file;
        bounds_.end = end;
        ActiveBlockBounds() = &bounds_;
    }
    ~CheckedRead() { ActiveBlockBounds() = nullptr; }
    CheckedRead(const CheckedRead&) = delete;
    CheckedRead& operator=(const CheckedRead&) = delete;

    const BlockBounds& Bounds() const { return bounds_; }

private:
    BlockBounds bounds_;
};

// The hash of a scene file's stream, taken piece by piece as the file is
// read, while each piece is still in the cache.
class StreamHash {
public:
    StreamHash() : state_(XXH3_createState())
    {
        if (state_ == nullptr || XXH3_64bits_reset(state_) != XXH_OK) throw std::bad_alloc();
    }
    ~StreamHash() { XXH3_freeState(state_); }
    StreamHash(const StreamHash&) = delete;
    StreamHash& operator=(const StreamHash&) = delete;

    void Add(size_t offset, std::string_view piece)
    {
        const size_t header = offset < kSceneHeaderBytes ? std::min(kSceneHeaderBytes - offset, piece.size()) : 0;
        XXH3_64bits_update(state_, piece.data() + header, piece.size() - header);
    }
    uint64_t Value() const { return XXH3_64bits_digest(state_); }

private:
    XXH3_state_t* state_;
};

// Loads the scene in a scene file's bytes; streamHash is the hash of its
// stream when the caller took it while reading the file.
CBaseNode* LoadChecked(std::string_view bytes, const std::string& name, std::optional<uint64_t> streamHash)
{
    if (bytes.size() < kSceneHeaderBytes)
        throw FileError::AtByte(name, 0, "a scene header of 32 bytes", Number(bytes.size()) + " bytes");
    SceneHeader header;
    std::memcpy(&header, bytes.data(), sizeof header);
    if (std::memcmp(header.magic, kMagic, sizeof kMagic) != 0)
        throw FileError::AtByte(name, 0, "a scene file", "another kind of file");
    if (header.version != kSceneFormatVersion)
        throw FileError::AtByte(name, 8, "format version 1", "version " + Number(header.version));
    const uint64_t streamBytes = bytes.size() - kSceneHeaderBytes;
    if (header.length != streamBytes)
        throw FileError::AtByte(name, 16, "a stream of " + Number(header.length) + " bytes, as this length says",
                                Number(streamBytes) + " bytes after the header");
    if (header.length > INT_MAX) throw FileError::AtByte(name, 16, "a stream below 2 GB", Number(header.length));
    const auto* file = reinterpret_cast<const unsigned char*>(bytes.data());
    const unsigned char* stream = file + kSceneHeaderBytes;
    if ((streamHash ? *streamHash : XXH3_64bits(stream, header.length)) != header.hash)
        throw FileError::AtByte(name, 24, "the hash of the stream", "a different hash");

    CBaseNode* root = nullptr;
    BlockBounds bounds;
    {
        CheckedRead checked(file, file + bytes.size());
        root = ReadNode(const_cast<unsigned char*>(stream));
        bounds = checked.Bounds();
    }
    if (root == nullptr) {
        const std::string found = bounds.Failed() ? bounds.failure : "a stream that does not read";
        throw FileError::AtByte(name, bounds.failureOffset, "a node stream", found);
    }
    const auto used = static_cast<uint64_t>(bounds.streamEnd - stream);
    if (used != header.length) {
        root->Release();
        if (used < header.length)
            throw FileError::AtByte(name, kSceneHeaderBytes + used, "the end of the stream",
                                    Number(header.length - used) + " more bytes");
        throw FileError::AtByte(name, bytes.size(), "the rest of a tree that measures " + Number(used) + " bytes",
                                "the end of the stream");
    }
    return root;
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

}  // namespace

void SaveScene(CBaseNode* root, const std::string& path)
{
    if (root == nullptr) throw FileError::InFile(path, "a scene to save", "none");
    CheckLoadable(root, path);
    const int streamSize = SizeOfByte(root);
    if (streamSize < 1) throw FileError::InFile(path, "a scene below 2 GB", "one too large to stream");

    const size_t fileSize = kSceneHeaderBytes + static_cast<size_t>(streamSize);
    FileBytes file(fileSize);
    auto* stream = reinterpret_cast<unsigned char*>(file.Data()) + kSceneHeaderBytes;
    if (WriteNode(stream, root) != streamSize)
        throw FileError::InFile(path, "a scene that streams", "one that did not");

    SceneHeader header{};
    std::memcpy(header.magic, kMagic, sizeof kMagic);
    header.version = kSceneFormatVersion;
    header.length = static_cast<uint64_t>(streamSize);
    header.hash = XXH3_64bits(stream, header.length);
    std::memcpy(file.Data(), &header, sizeof header);
    SaveFile(path, file.Data(), fileSize);
}

void SaveScene(CTree& tree, const std::string& path)
{
    SaveScene(tree.Root(), path);
}

CBaseNode* LoadScene(const std::string& path)
{
    StreamHash hash;
    const FileBytes file = ReadWholeFile(path, [&hash](size_t offset, std::string_view piece) { hash.Add(offset, piece); });
    return LoadChecked(file.View(), path, hash.Value());
}

CBaseNode* LoadSceneFromMemory(std::string_view bytes, const std::string& name)
{
    return LoadChecked(bytes, name, std::nullopt);
}

}  // namespace brell::io

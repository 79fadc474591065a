#include <brelldata/core/BaseNode.h>
#include <brelldata/core/Block.h>
#include <brelldata/core/NodeStream.h>
#include <brelldata/core/Tree.h>
#include <brelldata/io/SceneFile.h>
#include <brelldata/scan/DataStore.h>

#include <xxhash.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

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

std::string SystemReason()
{
    return std::strerror(errno);
}

// Closes a descriptor and, unless kept, removes the temporary file it wrote.
class TemporaryFile {
public:
    // Made with the permissions any new file gets here, under a name no
    // other save uses.
    explicit TemporaryFile(const std::string& target)
    {
        for (int attempt = 0; descriptor_ < 0; ++attempt) {
            path_ = target + ".saving." + std::to_string(getpid()) + "." + std::to_string(attempt);
            descriptor_ = open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (descriptor_ < 0 && (errno != EEXIST || attempt == 100))
                throw FileError::InFile(target, "a temporary file beside it", SystemReason());
        }
    }
    ~TemporaryFile()
    {
        if (descriptor_ >= 0) close(descriptor_);
        if (!kept_) unlink(path_.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    void WriteAll(const unsigned char* bytes, size_t size, const std::string& target)
    {
        while (size > 0) {
            const ssize_t written = write(descriptor_, bytes, size);
            if (written < 0 && errno == EINTR) continue;
            if (written <= 0) throw FileError::InFile(target, "room to write the scene", SystemReason());
            bytes += written;
            size -= static_cast<size_t>(written);
        }
    }
    // Makes the file durable, then puts it in place of target.
    void Replace(const std::string& target)
    {
        if (fsync(descriptor_) != 0 || close(std::exchange(descriptor_, -1)) != 0)
            throw FileError::InFile(target, "the scene written to disk", SystemReason());
        if (rename(path_.c_str(), target.c_str()) != 0)
            throw FileError::InFile(target, "the scene moved into place", SystemReason());
        kept_ = true;
    }

private:
    std::string path_;
    int descriptor_ = -1;
    bool kept_ = false;
};

// A file's bytes, mapped read-only.
class MappedFile {
public:
    explicit MappedFile(const std::string& path)
    {
        const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (descriptor < 0) throw FileError::InFile(path, "a readable scene file", SystemReason());
        struct stat status {};
        if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
            close(descriptor);
            throw FileError::InFile(path, "a regular file", "something else");
        }
        size_ = static_cast<size_t>(status.st_size);
        if (size_ > 0) {
            void* mapped = mmap(nullptr, size_, PROT_READ, MAP_PRIVATE | MAP_POPULATE, descriptor, 0);
            if (mapped == MAP_FAILED) {
                const std::string reason = SystemReason();
                close(descriptor);
                throw FileError::InFile(path, "a scene file that can be mapped", reason);
            }
            bytes_ = static_cast<const char*>(mapped);
        }
        close(descriptor);
    }
    ~MappedFile()
    {
        if (bytes_ != nullptr) munmap(const_cast<char*>(bytes_), size_);
    }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    std::string_view Bytes() const { return {bytes_ != nullptr ? bytes_ : "", size_}; }

private:
    const char* bytes_ = nullptr;
    size_t size_ = 0;
};

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

}  // namespace

void SaveScene(CBaseNode* root, const std::string& path)
{
    if (root == nullptr) throw FileError::InFile(path, "a scene to save", "none");
    const int streamSize = SizeOfByte(root);
    if (streamSize < 1) throw FileError::InFile(path, "a scene below 2 GB", "one too large to stream");

    const size_t fileSize = kSceneHeaderBytes + static_cast<size_t>(streamSize);
    std::unique_ptr<unsigned char[]> file(new unsigned char[fileSize]);
    AdviseLargePages(file.get(), fileSize);
    unsigned char* stream = file.get() + kSceneHeaderBytes;
    if (WriteNode(stream, root) != streamSize)
        throw FileError::InFile(path, "a scene that streams", "one that did not");

    SceneHeader header{};
    std::memcpy(header.magic, kMagic, sizeof kMagic);
    header.version = kSceneFormatVersion;
    header.length = static_cast<uint64_t>(streamSize);
    header.hash = XXH3_64bits(stream, header.length);
    std::memcpy(file.get(), &header, sizeof header);

    TemporaryFile temporary(path);
    temporary.WriteAll(file.get(), fileSize, path);
    temporary.Replace(path);
}

void SaveScene(CTree& tree, const std::string& path)
{
    SaveScene(tree.Root(), path);
}

CBaseNode* LoadScene(const std::string& path)
{
    MappedFile file(path);
    return LoadSceneFromMemory(file.Bytes(), path);
}

CBaseNode* LoadSceneFromMemory(std::string_view bytes, const std::string& name)
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
        throw FileError::AtByte(name, 16, "a stream length of " + Number(streamBytes) + " bytes",
                                Number(header.length));
    if (header.length > INT_MAX) throw FileError::AtByte(name, 16, "a stream below 2 GB", Number(header.length));
    const auto* file = reinterpret_cast<const unsigned char*>(bytes.data());
    const unsigned char* stream = file + kSceneHeaderBytes;
    if (XXH3_64bits(stream, header.length) != header.hash)
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
    const uint64_t used = static_cast<uint64_t>(SizeOfByte(root));
    if (used != header.length) {
        root->Release();
        throw FileError::AtByte(name, kSceneHeaderBytes + used, "the end of the stream",
                                Number(header.length - used) + " more bytes");
    }
    return root;
}

}  // namespace brell::io

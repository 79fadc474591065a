#include "io/WholeFile.h"

#include <brelldata/io/FileError.h>
#include <brelldata/scan/BulkMemory.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brell::io {
namespace {

// Pieces small enough to stay in the cache for the piece sink.
constexpr size_t kPieceBytes = size_t{1} << 20;

std::string SystemReason()
{
    return std::strerror(errno);
}

// Closes a descriptor and, unless kept, removes the temporary file it wrote.
class TemporaryFile {
public:
    // Under a name no other save uses.
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
        for (size_t done = 0; done < size;) {
            const ssize_t written = write(descriptor_, bytes + done, size - done);
            if (written < 0 && errno == EINTR) continue;
            if (written <= 0)
                throw FileError::AtByte(target, done, "room to write " + std::to_string(size) + " bytes", SystemReason());
            done += static_cast<size_t>(written);
        }
    }
    // Makes the file durable, then puts it in place of target.
    void Replace(const std::string& target)
    {
        if (fsync(descriptor_) != 0 || close(std::exchange(descriptor_, -1)) != 0)
            throw FileError::InFile(target, "the file written to disk", SystemReason());
        if (rename(path_.c_str(), target.c_str()) != 0)
            throw FileError::InFile(target, "the file moved into place", SystemReason());
        kept_ = true;
    }

private:
    std::string path_;
    int descriptor_ = -1;
    bool kept_ = false;
};

class Descriptor {
public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    ~Descriptor() { close(descriptor_); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Get() const { return descriptor_; }

private:
    int descriptor_;
};

}  // namespace

FileBytes::FileBytes(size_t size) : data_(static_cast<char*>(AllocateBulk(size))), size_(size)
{
    if (data_ == nullptr) throw std::bad_alloc();
}

FileBytes::FileBytes(FileBytes&& other) noexcept : data_(std::exchange(other.data_, nullptr)), size_(other.size_) {}

FileBytes::~FileBytes()
{
    FreeBulk(data_);
}

FileBytes ReadWholeFile(const std::string& path, const FilePieceSink& onPiece)
{
    const int opened = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (opened < 0) throw FileError::InFile(path, "a readable file", SystemReason());
    const Descriptor file(opened);
    struct stat status {};
    if (fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode))
        throw FileError::InFile(path, "a regular file", "something else");
    FileBytes bytes(static_cast<size_t>(status.st_size));
    for (size_t done = 0; done < bytes.Size();) {
        const size_t piece = std::min(kPieceBytes, bytes.Size() - done);
        const ssize_t got = read(file.Get(), bytes.Data() + done, piece);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) throw FileError::AtByte(path, done, "readable bytes", SystemReason());
        if (got == 0) throw FileError::AtByte(path, done, std::to_string(bytes.Size()) + " bytes", "the end of the file");
        if (onPiece) onPiece(done, {bytes.Data() + done, static_cast<size_t>(got)});
        done += static_cast<size_t>(got);
    }
    return bytes;
}

void WriteWholeFile(const std::string& path, const void* bytes, size_t size)
{
    TemporaryFile temporary(path);
    temporary.WriteAll(static_cast<const unsigned char*>(bytes), size, path);
    temporary.Replace(path);
}

}  // namespace brell::io

#include "io/FileBytes.h"

#include <brelldata/data/BulkMemory.h>
#include <brelldata/io/FileError.h>

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
// A window small enough to stay in the second-level cache while it is read.
constexpr size_t kWindowBytes = size_t{256} << 10;

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

// The descriptor of a regular file, which the caller closes, and its size.
int OpenRegularFile(const std::string& path, size_t& size)
{
    // Without O_NONBLOCK, opening a pipe would wait for a writer; regular
    // files ignore the flag.
    const int opened = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (opened < 0) throw FileError::InFile(path, "a readable file", SystemReason());
    struct stat status {};
    if (fstat(opened, &status) != 0 || !S_ISREG(status.st_mode)) {
        close(opened);
        throw FileError::InFile(path, "a regular file", "something else");
    }
    size = static_cast<size_t>(status.st_size);
    return opened;
}

// Fills into[0, count) from the file's current position, which is offset.
void ReadFully(int descriptor, char* into, size_t count, size_t offset, size_t fileSize, const std::string& path)
{
    for (size_t done = 0; done < count;) {
        const ssize_t got = read(descriptor, into + done, count - done);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) throw FileError::AtByte(path, offset + done, "readable bytes", SystemReason());
        if (got == 0)
            throw FileError::AtByte(path, offset + done, std::to_string(fileSize) + " bytes", "the end of the file");
        done += static_cast<size_t>(got);
    }
}

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
    size_t size = 0;
    const Descriptor file(OpenRegularFile(path, size));
    FileBytes bytes(size);
    for (size_t done = 0; done < size; done += kPieceBytes) {
        const size_t piece = std::min(kPieceBytes, size - done);
        ReadFully(file.Get(), bytes.Data() + done, piece, done, size, path);
        if (onPiece) onPiece(done, {bytes.Data() + done, piece});
    }
    return bytes;
}

FileWindow::FileWindow(std::string_view bytes) : data_(bytes.data()), size_(bytes.size()), fileSize_(bytes.size()) {}

FileWindow::FileWindow(const std::string& path) : path_(path)
{
    descriptor_ = OpenRegularFile(path, fileSize_);
    try {
        Slide(0, 0);
    } catch (...) {
        close(descriptor_);
        throw;
    }
}

FileWindow::~FileWindow()
{
    if (descriptor_ >= 0) close(descriptor_);
}

bool FileWindow::Slide(size_t from, size_t count)
{
    const size_t rest = fileSize_ - offset_ - from;
    if (count > rest) return false;
    if (descriptor_ < 0) {
        data_ += from;
        size_ -= from;
        offset_ += from;
        return true;
    }
    const size_t kept = size_ - from;
    const size_t wanted = std::min(std::max(count, kWindowBytes), rest);
    if (!buffer_ || buffer_->Size() < wanted) {
        FileBytes larger(wanted);
        if (kept > 0) std::memcpy(larger.Data(), data_ + from, kept);
        buffer_.emplace(std::move(larger));
    } else if (kept > 0) {
        std::memmove(buffer_->Data(), data_ + from, kept);
    }
    data_ = buffer_->Data();
    size_ = kept;
    offset_ += from;
    ReadFully(descriptor_, buffer_->Data() + kept, wanted - kept, offset_ + kept, fileSize_, path_);
    size_ = wanted;
    return true;
}

void WriteWholeFile(const std::string& path, const void* bytes, size_t size)
{
    TemporaryFile temporary(path);
    temporary.WriteAll(static_cast<const unsigned char*>(bytes), size, path);
    temporary.Replace(path);
}

}  // namespace brell::io

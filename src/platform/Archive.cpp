#include <brelldata/platform/Archive.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

CFileException::CFileException(const std::string& fileName, const std::string& reason, const std::string& detail)
    : fileName_(fileName), message_(reason + " " + fileName + ": " + detail)
{
}

const char* CFileException::what() const noexcept
{
    return message_.c_str();
}

CFile::CFile() = default;

CFile::CFile(const char* path, unsigned int openFlags) : fileName_(path != nullptr ? path : "")
{
    static const int kAccess[] = {O_RDONLY, O_WRONLY, O_RDWR, O_RDWR};
    int flags = kAccess[openFlags & 3] | O_CLOEXEC;
    if (openFlags & modeCreate) flags |= O_CREAT | O_TRUNC;
    descriptor_ = ::open(fileName_.c_str(), flags, 0666);
    if (descriptor_ < 0) Fail("cannot open", std::strerror(errno));
}

CFile::~CFile()
{
    if (descriptor_ >= 0) ::close(descriptor_);
}

void CFile::Fail(const char* reason, const char* detail) const
{
    throw CFileException(fileName_, reason, detail);
}

unsigned int CFile::Read(void* buffer, unsigned int count)
{
    auto* bytes = static_cast<uint8_t*>(buffer);
    unsigned int done = 0;
    while (done < count) {
        ssize_t got = ::read(descriptor_, bytes + done, count - done);
        if (got == 0) break;
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) Fail("cannot read", std::strerror(errno));
        done += static_cast<unsigned int>(got);
    }
    return done;
}

void CFile::Write(const void* buffer, unsigned int count)
{
    const auto* bytes = static_cast<const uint8_t*>(buffer);
    unsigned int done = 0;
    while (done < count) {
        ssize_t put = ::write(descriptor_, bytes + done, count - done);
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) Fail("cannot write", put < 0 ? std::strerror(errno) : "nothing was written");
        done += static_cast<unsigned int>(put);
    }
}

uint64_t CFile::Seek(int64_t offset, unsigned int from)
{
    off_t position = ::lseek(descriptor_, offset, static_cast<int>(from));
    if (position < 0) Fail("cannot seek", std::strerror(errno));
    return static_cast<uint64_t>(position);
}

void CFile::SeekToBegin()
{
    Seek(0, begin);
}

uint64_t CFile::GetLength() const
{
    struct stat status;
    if (::fstat(descriptor_, &status) != 0) Fail("cannot measure", std::strerror(errno));
    return static_cast<uint64_t>(status.st_size);
}

bool CFile::GetRemaining(uint64_t& bytes) const
{
    struct stat status;
    if (descriptor_ < 0 || ::fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) return false;
    const off_t position = ::lseek(descriptor_, 0, SEEK_CUR);
    if (position < 0) return false;
    bytes = status.st_size > position ? static_cast<uint64_t>(status.st_size - position) : 0;
    return true;
}

void CFile::Close()
{
    if (descriptor_ < 0) return;
    int descriptor = descriptor_;
    descriptor_ = -1;
    if (::close(descriptor) != 0) Fail("cannot close", std::strerror(errno));
}

CMemFile::CMemFile(unsigned int growBytes) : growBytes_(growBytes), ownsBuffer_(true)
{
    fileName_ = "memory file";
}

CMemFile::CMemFile(uint8_t* buffer, unsigned int size, unsigned int growBytes)
    : buffer_(buffer), size_(size), capacity_(size), growBytes_(growBytes), ownsBuffer_(false)
{
    fileName_ = "memory file";
}

CMemFile::~CMemFile()
{
    Reset();
}

void CMemFile::Reset()
{
    if (ownsBuffer_) std::free(buffer_);
    buffer_ = nullptr;
    size_ = capacity_ = position_ = 0;
    ownsBuffer_ = true;
}

unsigned int CMemFile::Read(void* buffer, unsigned int count)
{
    if (position_ >= size_) return 0;
    auto got = static_cast<unsigned int>(std::min<size_t>(count, size_ - position_));
    if (got != 0) std::memcpy(buffer, buffer_ + position_, got);
    position_ += got;
    return got;
}

void CMemFile::Write(const void* buffer, unsigned int count)
{
    if (count == 0) return;
    size_t end = position_ + count;
    if (end > capacity_) {
        if (growBytes_ == 0) Fail("cannot write", "the memory file cannot grow");
        size_t capacity = (end + growBytes_ - 1) / growBytes_ * growBytes_;
        auto* grown = static_cast<uint8_t*>(std::realloc(buffer_, capacity));
        if (grown == nullptr) Fail("cannot write", "out of memory");
        buffer_ = grown;
        capacity_ = capacity;
    }
    // Bytes skipped by a seek past the end read as zeros.
    if (position_ > size_) std::memset(buffer_ + size_, 0, position_ - size_);
    std::memcpy(buffer_ + position_, buffer, count);
    position_ = end;
    size_ = std::max(size_, end);
}

uint64_t CMemFile::Seek(int64_t offset, unsigned int from)
{
    const int64_t bases[] = {0, static_cast<int64_t>(position_), static_cast<int64_t>(size_)};
    if (from > end) Fail("cannot seek", "no such origin");
    int64_t position = bases[from] + offset;
    if (position < 0) Fail("cannot seek", "before the start");
    position_ = static_cast<size_t>(position);
    return position_;
}

uint64_t CMemFile::GetLength() const
{
    return size_;
}

bool CMemFile::GetRemaining(uint64_t& bytes) const
{
    bytes = size_ > position_ ? size_ - position_ : 0;
    return true;
}

void CMemFile::Close()
{
    Reset();
}

uint8_t* CMemFile::Detach()
{
    uint8_t* bytes = buffer_;
    ownsBuffer_ = false;
    Reset();
    return bytes;
}

CArchive::CArchive(CFile* file, unsigned int mode) : file_(file), mode_(mode) {}

CArchive::~CArchive()
{
    if (file_ == nullptr || !IsStoring()) return;
    try {
        Flush();
    } catch (const CFileException&) {
        // A destructor cannot report it; Close would have.
    }
}

unsigned int CArchive::Read(void* buffer, unsigned int count)
{
    if (file_ == nullptr || !IsLoading() || count == 0) return 0;
    auto* bytes = static_cast<uint8_t*>(buffer);
    unsigned int done = std::min(count, end_ - begin_);
    std::memcpy(bytes, buffer_ + begin_, done);
    begin_ += done;
    unsigned int rest = count - done;
    if (rest == 0) return done;
    // The buffer is empty now: large reads go straight into the caller's bytes.
    if (rest >= kBufferSize) return done + file_->Read(bytes + done, rest);
    end_ = file_->Read(buffer_, kBufferSize);
    begin_ = std::min(rest, end_);
    std::memcpy(bytes + done, buffer_, begin_);
    return done + begin_;
}

void CArchive::Write(const void* buffer, unsigned int count)
{
    if (file_ == nullptr || !IsStoring())
        throw CFileException("archive", "cannot write", file_ == nullptr ? "it is closed" : "it is loading");
    if (count == 0) return;
    if (count > kBufferSize - end_) {
        Flush();
        if (count >= kBufferSize) return file_->Write(buffer, count);
    }
    std::memcpy(buffer_ + end_, buffer, count);
    end_ += count;
}

bool CArchive::GetRemaining(uint64_t& bytes) const
{
    if (file_ == nullptr || !IsLoading() || !file_->GetRemaining(bytes)) return false;
    bytes += end_ - begin_;
    return true;
}

void CArchive::Flush()
{
    if (file_ == nullptr) return;
    unsigned int buffered = end_ - begin_;
    begin_ = end_ = 0;
    if (buffered == 0) return;
    if (IsStoring())
        file_->Write(buffer_, buffered);
    else
        file_->Seek(-static_cast<int64_t>(buffered), CFile::current);
}

void CArchive::Close()
{
    Flush();
    file_ = nullptr;
}

#include "io/FileBytes.h"

#include <brelldata/data/BulkMemory.h>
#include <brelldata/io/FileError.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brell::io {
namespace {

// Files are read and saved in pieces small enough to stay in the cache for
// the piece sink, and progress is told piece by piece.
constexpr size_t kPieceBytes = size_t{1} << 20;
// A window small enough to stay in the second-level cache while it is read.
constexpr size_t kWindowBytes = size_t{256} << 10;

// Mapped files that another program may cut short while they are read: a
// read of a page past the new end raises a bus error, which is caught here
// and answered with a page of zeros, so that the read goes on and the file
// is refused after it. Slots are claimed and freed with atomics, as the
// handler reads them at any moment.
struct GuardedMapping {
    std::atomic<bool> taken{false};
    std::atomic<char*> begin{nullptr};
    std::atomic<size_t> size{0};
    std::atomic<bool> cut{false};
};
GuardedMapping guardedMappings[64];
struct sigaction busErrorBefore {};
size_t pageBytes = 0;

void OnBusError(int signal, siginfo_t* info, void* context)
{
    auto* at = static_cast<char*>(info->si_addr);
    for (GuardedMapping& mapping : guardedMappings) {
        char* begin = mapping.begin.load();
        if (begin == nullptr || at < begin || at >= begin + mapping.size.load()) continue;
        void* page = reinterpret_cast<void*>(reinterpret_cast<uintptr_t>(at) / pageBytes * pageBytes);
        if (mmap(page, pageBytes, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) == MAP_FAILED) break;
        mapping.cut = true;
        return;
    }
    // Not a guarded page: what the handler before would do; by default the
    // access runs again and stops the process.
    if ((busErrorBefore.sa_flags & SA_SIGINFO) != 0) return busErrorBefore.sa_sigaction(signal, info, context);
    if (busErrorBefore.sa_handler != SIG_DFL && busErrorBefore.sa_handler != SIG_IGN)
        return busErrorBefore.sa_handler(signal);
    struct sigaction standard {};
    standard.sa_handler = SIG_DFL;
    sigaction(SIGBUS, &standard, nullptr);
}

// The slot guarding size bytes at begin; -1 when every slot is taken.
int Guard(char* begin, size_t size)
{
    static std::once_flag installed;
    std::call_once(installed, [] {
        pageBytes = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        struct sigaction action {};
        action.sa_sigaction = OnBusError;
        action.sa_flags = SA_SIGINFO;
        sigemptyset(&action.sa_mask);
        sigaction(SIGBUS, &action, &busErrorBefore);
    });
    for (int slot = 0; slot < static_cast<int>(std::size(guardedMappings)); ++slot) {
        GuardedMapping& mapping = guardedMappings[slot];
        bool free = false;
        if (!mapping.taken.compare_exchange_strong(free, true)) continue;
        mapping.size = size;
        mapping.cut = false;
        mapping.begin = begin;
        return slot;
    }
    return -1;
}

std::string SystemReason()
{
    return std::strerror(errno);
}

// This thread's observer of file reads and saves, and the part of a larger
// task that what is told now is (see ProgressPart).
thread_local FileProgress currentProgress;
thread_local uint64_t currentPart = 0;
thread_local uint64_t currentParts = 1;

void ReportProgress(uint64_t done, uint64_t total)
{
    if (currentProgress) currentProgress(currentPart * total + done, currentParts * total);
}

// What a file of that mode is, for messages.
std::string KindOfFile(mode_t mode)
{
    if (S_ISREG(mode)) return "a regular file";
    if (S_ISDIR(mode)) return "a folder";
    if (S_ISFIFO(mode)) return "a pipe";
    if (S_ISCHR(mode) || S_ISBLK(mode)) return "a device";
    if (S_ISSOCK(mode)) return "a socket";
    return "something else";
}

std::string FolderOf(const std::string& path)
{
    const size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// The file a save at path writes: the end of the chain of links at path, or
// path itself; a relative link is taken from the folder of the link.
std::string FollowLinks(const std::string& path)
{
    constexpr int kMostLinks = 40;
    std::string target = path;
    for (int hop = 0; hop < kMostLinks; ++hop) {
        struct stat status {};
        if (lstat(target.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return target;
        char text[PATH_MAX];
        const ssize_t length = readlink(target.c_str(), text, sizeof text);
        if (length <= 0 || static_cast<size_t>(length) == sizeof text)
            throw FileError::InFile(path, "a link that can be followed", SystemReason());
        std::string next(text, static_cast<size_t>(length));
        if (next.front() != '/' && target.find('/') != std::string::npos) next = FolderOf(target) + "/" + next;
        target = std::move(next);
    }
    throw FileError::InFile(path, "a link that leads to a file", "more than 40 links in a row");
}

// Refuses a target that a save must not replace: anything but a regular
// file, or a new name whose folder is missing.
void CheckSaveTarget(const std::string& path, const std::string& target)
{
    struct stat status {};
    if (lstat(target.c_str(), &status) == 0) {
        if (!S_ISREG(status.st_mode))
            throw FileError::InFile(path, "a regular file to replace or a new name", KindOfFile(status.st_mode));
        return;
    }
    if (errno != ENOENT && errno != ENOTDIR) throw FileError::InFile(path, "a name it can save under", SystemReason());
    const std::string folder = FolderOf(target);
    if (stat(folder.c_str(), &status) != 0)
        throw FileError::InFile(path, "an existing folder \"" + folder + "\"", "none");
    if (!S_ISDIR(status.st_mode))
        throw FileError::InFile(path, "a folder \"" + folder + "\"", KindOfFile(status.st_mode));
}

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
        const std::string found = KindOfFile(status.st_mode);
        close(opened);
        throw FileError::InFile(path, "a regular file", found);
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
        ReportProgress(offset + done, fileSize);
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

std::optional<MappedFile> MappedFile::Map(const std::string& path)
{
    size_t size = 0;
    const Descriptor file(OpenRegularFile(path, size));
    if (size == 0) return std::nullopt;
    void* data = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.Get(), 0);
    if (data == MAP_FAILED) return std::nullopt;
    const int slot = Guard(static_cast<char*>(data), size);
    if (slot < 0) {
        munmap(data, size);
        return std::nullopt;
    }
    return MappedFile(static_cast<char*>(data), size, slot);
}

MappedFile::MappedFile(MappedFile&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)), size_(other.size_), slot_(other.slot_), released_(other.released_)
{
}

MappedFile::~MappedFile()
{
    if (data_ == nullptr) return;
    GuardedMapping& mapping = guardedMappings[slot_];
    mapping.begin = nullptr;
    munmap(data_, size_);
    mapping.taken = false;
}

bool MappedFile::Cut() const
{
    return guardedMappings[slot_].cut;
}

void MappedFile::ReleaseBefore(const void* reached)
{
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t from = released_ / page * page;
    const size_t below = std::min(static_cast<size_t>(static_cast<const char*>(reached) - data_), size_) / page * page;
    if (below <= from) return;
    // Only advice: pages kept are let go of at the unmapping all the same.
    madvise(data_ + from, below - from, MADV_DONTNEED);
    released_ = below;
}

void RequireRegularFile(const std::string& path)
{
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) throw FileError::InFile(path, "a readable file", SystemReason());
    if (!S_ISREG(status.st_mode)) throw FileError::InFile(path, "a regular file", KindOfFile(status.st_mode));
}

void SaveFile(const std::string& path, const void* bytes, size_t size)
{
    FileSaver saver(path, size);
    saver.Put(bytes, size);
    saver.Commit();
}

FileSaver::FileSaver(const std::string& path, uint64_t expected)
    : path_(path), target_(FollowLinks(path)), expected_(expected)
{
    CheckSaveTarget(path, target_);
    // Beside the target, under a name no other save uses.
    for (int attempt = 0; descriptor_ < 0; ++attempt) {
        temporary_ = target_ + ".saving." + std::to_string(getpid()) + "." + std::to_string(attempt);
        descriptor_ = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor_ < 0 && (errno != EEXIST || attempt == 100))
            throw FileError::InFile(path, "a folder \"" + FolderOf(target_) + "\" to save in", SystemReason());
    }
}

FileSaver::~FileSaver()
{
    if (descriptor_ >= 0) close(descriptor_);
    if (!committed_) unlink(temporary_.c_str());
}

void FileSaver::Take(const char* bytes, size_t size)
{
    for (size_t done = 0; done < size;) {
        const ssize_t written = write(descriptor_, bytes + done, size - done);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0)
            throw FileError::AtByte(path_, written_, "room to write " + std::to_string(size - done) + " more bytes",
                                    SystemReason());
        done += static_cast<size_t>(written);
        written_ += static_cast<size_t>(written);
    }
    // The disk starts on what is written while the rest is made, so that the
    // sync at the end waits for the last step only, not for the whole file.
    if (written_ - writtenBack_ >= kWritebackStep) {
        sync_file_range(descriptor_, static_cast<off_t>(writtenBack_), static_cast<off_t>(written_ - writtenBack_),
                        SYNC_FILE_RANGE_WRITE);
        writtenBack_ = written_;
    }
    const uint64_t told = std::min(written_, expected_);
    if (told > told_) ReportProgress(told_ = told, expected_);
}

void FileSaver::Overwrite(uint64_t offset, const void* bytes, size_t size)
{
    Drain();
    const char* from = static_cast<const char*>(bytes);
    for (size_t done = 0; done < size;) {
        const ssize_t written = pwrite(descriptor_, from + done, size - done, static_cast<off_t>(offset + done));
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) throw FileError::AtByte(path_, offset + done, "room to write", SystemReason());
        done += static_cast<size_t>(written);
    }
}

void FileSaver::Commit()
{
    Drain();
    if (told_ < expected_) ReportProgress(told_ = expected_, expected_);
    if (fsync(descriptor_) != 0 || close(std::exchange(descriptor_, -1)) != 0)
        throw FileError::InFile(path_, "the file written to disk", SystemReason());
    if (rename(temporary_.c_str(), target_.c_str()) != 0)
        throw FileError::InFile(path_, "the saved file moved into place", SystemReason());
    committed_ = true;
}

void ReportFileProgress(uint64_t done, uint64_t total)
{
    ReportProgress(done, total);
}

ProgressPart::ProgressPart(uint64_t part, uint64_t parts)
    : previousPart_(std::exchange(currentPart, part)), previousParts_(std::exchange(currentParts, parts))
{
}

ProgressPart::~ProgressPart()
{
    currentPart = previousPart_;
    currentParts = previousParts_;
}

FileProgressScope::FileProgressScope(FileProgress progress)
    : previous_(std::exchange(currentProgress, std::move(progress)))
{
}

FileProgressScope::~FileProgressScope()
{
    currentProgress = std::move(previous_);
}

}  // namespace brell::io

#pragma once

// Files in: read whole into bulk memory or a window at a time. Files out:
// SaveFile of brelldata/io/Files.h, or a FileSaver for bytes made a piece at
// a time.

#include <brelldata/io/Files.h>
#include <brelldata/data/ByteOutput.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace brell::io {

// A file's bytes in bulk memory, which is not cleared before the read fills it.
class FileBytes {
public:
    explicit FileBytes(size_t size);
    FileBytes(FileBytes&& other) noexcept;
    FileBytes(const FileBytes&) = delete;
    FileBytes& operator=(const FileBytes&) = delete;
    ~FileBytes();

    char* Data() { return data_; }
    size_t Size() const { return size_; }
    std::string_view View() const { return {data_, size_}; }

private:
    char* data_;
    size_t size_;
};

// Tells this thread's observer (FileProgressScope) that done of total is done.
void ReportFileProgress(uint64_t done, uint64_t total);

// While it lives, what is told on this thread is the part-th of parts equal
// parts of one task, so that reading a text file and parsing it move one bar
// from start to end.
class ProgressPart {
public:
    ProgressPart(uint64_t part, uint64_t parts);
    ~ProgressPart();
    ProgressPart(const ProgressPart&) = delete;
    ProgressPart& operator=(const ProgressPart&) = delete;

private:
    uint64_t previousPart_;
    uint64_t previousParts_;
};

// Called with each piece of a file as it is read, while the piece is still
// in the cache: its offset in the file and its bytes.
using FilePieceSink = std::function<void(size_t offset, std::string_view piece)>;

// The whole of a regular file; FileError when it cannot be opened or read,
// or ends before the size it had when opened.
FileBytes ReadWholeFile(const std::string& path, const FilePieceSink& onPiece = {});

// A file's bytes a window at a time, in one buffer reused as the window slides
// on, for readers that need only the bytes at their cursor: no memory for the
// whole file, and the window stays in the cache while it is read. Made over
// bytes already in memory, the window holds all of them.
class FileWindow {
public:
    static FileWindow OverMemory(std::string_view bytes) { return FileWindow(bytes); }
    // Holds the start of the file; FileError when path cannot be opened or
    // read, or is no regular file.
    explicit FileWindow(const std::string& path);
    FileWindow(const FileWindow&) = delete;
    FileWindow& operator=(const FileWindow&) = delete;
    ~FileWindow();

    const char* Data() const { return data_; }
    size_t Size() const { return size_; }
    std::string_view View() const { return {data_, size_}; }
    // The file offset of the window's first byte.
    size_t Offset() const { return offset_; }
    size_t FileSize() const { return fileSize_; }

    // Starts the window at its byte from (at most Size()) and makes it hold
    // at least count bytes from there; false, with the window unchanged, when
    // the file has fewer. FileError when the file cannot be read or ends
    // before the size it had when opened.
    bool Slide(size_t from, size_t count);

private:
    // Named apart from the file's constructor, which a string of bytes would pick.
    explicit FileWindow(std::string_view bytes);

    std::string path_;
    int descriptor_ = -1;
    std::optional<FileBytes> buffer_;
    const char* data_ = nullptr;
    size_t size_ = 0;
    size_t offset_ = 0;
    size_t fileSize_ = 0;
};

// A regular file mapped read only, for a reader that passes through it once:
// the pages behind the reader are let go of as it goes (ReleaseBefore), so
// that the process holds a few MB of what was read, however large the file;
// the pages stay in the system's cache. The file must not shrink while mapped.
class BRELL_IO_API MappedFile {
public:
    // None for a regular file that cannot be mapped (an empty one among them);
    // FileError when path cannot be opened or is no regular file.
    // A page past the end of a file cut short while it is mapped reads as
    // zeros instead of stopping the process, and Cut() tells of it.
    static std::optional<MappedFile> Map(const std::string& path);
    MappedFile(MappedFile&& other) noexcept;
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    ~MappedFile();

    std::string_view View() const { return {data_, size_}; }
    // Lets go of the whole pages of the mapping below reached (an address in
    // it) that were not let go of before.
    void ReleaseBefore(const void* reached);
    // Whether the file was cut short while it was read: what was read may then be zeros.
    bool Cut() const;

private:
    MappedFile(char* data, size_t size, int slot) : data_(data), size_(size), slot_(slot) {}

    char* data_;
    size_t size_;
    int slot_;
    size_t released_ = 0;
};

// Output a piece at a time through a bounded buffer; it lives with the node
// data blocks that are put into it.
using ByteOutput = brell::ByteOutput;

// A file saved as SaveFile saves one (the same checks, the same temporary
// file beside the target), its bytes put a piece at a time: they reach the
// temporary file as the buffer fills, and Commit puts it in place. Destroyed
// without Commit, it leaves nothing behind. Progress is told against
// expected bytes, which may be an estimate: what passes it is told as it.
class FileSaver : public ByteOutput {
public:
    FileSaver(const std::string& path, uint64_t expected);
    ~FileSaver() override;
    // Drains the buffer, then writes bytes over some already put, from
    // offset on: a header whose fields are known only at the end.
    void Overwrite(uint64_t offset, const void* bytes, size_t size);
    // The bytes handed to the file so far.
    uint64_t Written() const { return written_; }
    // Drains the buffer, makes the file durable and renames it over the target.
    void Commit();

private:
    void Take(const char* bytes, size_t size) override;

    std::string path_;
    std::string target_;
    std::string temporary_;
    int descriptor_ = -1;
    bool committed_ = false;
    static constexpr uint64_t kWritebackStep = uint64_t{32} << 20;

    uint64_t written_ = 0;
    // Where the disk was last asked to start writing back.
    uint64_t writtenBack_ = 0;
    uint64_t expected_;
    uint64_t told_ = 0;
};

}  // namespace brell::io

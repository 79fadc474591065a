#pragma once

// Whole files in and out: read into bulk memory, written beside their place
// and moved into it only once they are safely on disk.

#include <cstddef>
#include <functional>
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

// Called with each piece of a file as it is read, while the piece is still
// in the cache: its offset in the file and its bytes.
using FilePieceSink = std::function<void(size_t offset, std::string_view piece)>;

// The whole of a regular file; FileError when it cannot be opened or read,
// or ends before the size it had when opened.
FileBytes ReadWholeFile(const std::string& path, const FilePieceSink& onPiece = {});

// Writes a temporary file beside path, made with the permissions any new file
// gets, makes it durable and then renames it to path: a failed write leaves
// no partial file and never touches a file already at path. FileError when
// any step fails.
void WriteWholeFile(const std::string& path, const void* bytes, size_t size);

}  // namespace brell::io

#pragma once

#include <brelldata/io/Export.h>
#include <brelldata/io/FileError.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

// Files as the io library opens and saves them, for the libraries and tools
// that build on it.

namespace brell::io {

// Throws FileError, as the readers do, unless path names a regular file
// (after links): a pipe, a device or a folder is refused before anything
// opens it, so nothing waits on a pipe without a writer.
BRELL_IO_API void RequireRegularFile(const std::string& path);

// Saves bytes at path safely: a link at path is followed and its target
// saved; only a regular file or a new name in an existing folder is taken,
// never a device, pipe or folder. The bytes go to a temporary file beside the
// target, made with the permissions any new file gets, which is made durable
// and then renamed over it, so a failed save leaves no partial file and never
// touches the file already there. FileError naming path when any step fails.
BRELL_IO_API void SaveFile(const std::string& path, const void* bytes, size_t size);

// Told, after each piece of a file this thread reads or saves, how many of
// the file's bytes are done and how many it has.
using FileProgress = std::function<void(uint64_t done, uint64_t total)>;

// Makes progress this thread's observer of file reads and saves while it
// lives; the observer before it comes back after.
class BRELL_IO_API FileProgressScope {
public:
    explicit FileProgressScope(FileProgress progress);
    ~FileProgressScope();
    FileProgressScope(const FileProgressScope&) = delete;
    FileProgressScope& operator=(const FileProgressScope&) = delete;

private:
    FileProgress previous_;
};

}  // namespace brell::io

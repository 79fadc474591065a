#include <brelldata/io/ScanFormats.h>

#include <cerrno>
#include <cstdio>
#include <cctype>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace brell::io {

namespace {

std::string SystemError()
{
    return std::strerror(errno);
}

// A file's bytes in bulk memory, which is not cleared before the read fills it.
class FileBytes {
public:
    explicit FileBytes(size_t size) : data_(static_cast<char*>(AllocateBulk(size))), size_(size) {}
    FileBytes(FileBytes&& other) noexcept : data_(std::exchange(other.data_, nullptr)), size_(other.size_) {}
    FileBytes(const FileBytes&) = delete;
    FileBytes& operator=(const FileBytes&) = delete;
    ~FileBytes() { FreeBulk(data_, size_); }

    char* Data() { return data_; }
    size_t Size() const { return size_; }
    std::string_view View() const { return {data_, size_}; }

private:
    char* data_;
    size_t size_;
};

FileBytes ReadWholeFile(const std::string& path)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) throw FileError::InFile(path, "a readable file", SystemError());
    struct stat status {};
    try {
        if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))
            throw FileError::InFile(path, "a regular file", "something else");
        FileBytes bytes(static_cast<size_t>(status.st_size));
        size_t done = 0;
        while (done < bytes.Size()) {
            const ssize_t got = ::read(fd, bytes.Data() + done, bytes.Size() - done);
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) throw FileError::AtByte(path, done, "readable bytes", SystemError());
            if (got == 0)
                throw FileError::AtByte(path, done, std::to_string(bytes.Size()) + " bytes", "the end of the file");
            done += static_cast<size_t>(got);
        }
        ::close(fd);
        return bytes;
    } catch (...) {
        ::close(fd);
        throw;
    }
}

void WriteWholeFile(const std::string& path, const std::string& bytes)
{
    const std::string temporary = path + ".partial";
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) throw FileError::InFile(temporary, "a file that can be created", SystemError());
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t put = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) {
            const std::string error = SystemError();
            ::close(fd);
            ::unlink(temporary.c_str());
            throw FileError::AtByte(temporary, done, "room to write " + std::to_string(bytes.size()) + " bytes", error);
        }
        done += static_cast<size_t>(put);
    }
    if (::close(fd) != 0 || ::rename(temporary.c_str(), path.c_str()) != 0) {
        const std::string error = SystemError();
        ::unlink(temporary.c_str());
        throw FileError::InFile(path, "a file that can be written", error);
    }
}

}  // namespace

ScanFormat FormatOfFileName(const std::string& path)
{
    const size_t dot = path.find_last_of("./");
    std::string extension = dot == std::string::npos || path[dot] != '.' ? "" : path.substr(dot + 1);
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (extension == "ply") return ScanFormat::ply;
    if (extension == "off") return ScanFormat::off;
    if (extension == "obj") return ScanFormat::obj;
    if (extension == "xyz") return ScanFormat::xyz;
    throw FileError::InFile(path, "a file name ending in .ply, .off, .obj or .xyz",
                            extension.empty() ? "no extension" : "." + extension);
}

ScanGeometry ReadScanFile(const std::string& path)
{
    const ScanFormat format = FormatOfFileName(path);
    const FileBytes bytes = ReadWholeFile(path);
    switch (format) {
        case ScanFormat::ply:
            return ReadPly(bytes.View(), path);
        case ScanFormat::off:
            return ReadOff(bytes.View(), path);
        case ScanFormat::obj:
            return ReadObj(bytes.View(), path);
        case ScanFormat::xyz:
            break;
    }
    return ReadXyz(bytes.View(), path);
}

void WriteScanFile(const ScanGeometry& geometry, const std::string& path, PlyEncoding plyEncoding)
{
    std::string bytes;
    switch (FormatOfFileName(path)) {
        case ScanFormat::ply:
            bytes = WritePly(geometry, path, plyEncoding);
            break;
        case ScanFormat::off:
            bytes = WriteOff(geometry, path);
            break;
        case ScanFormat::obj:
            bytes = WriteObj(geometry, path);
            break;
        case ScanFormat::xyz:
            bytes = WriteXyz(geometry, path);
            break;
    }
    WriteWholeFile(path, bytes);
}

}  // namespace brell::io

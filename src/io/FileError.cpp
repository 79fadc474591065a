#include <brelldata/io/FileError.h>

#include <utility>

namespace brell::io {

namespace {

std::string Message(const std::string& file, FileError::Place place, uint64_t position, const std::string& expected,
                    const std::string& found)
{
    std::string message = file.empty() ? std::string("(no name)") : file;
    if (place == FileError::Place::line) message += ": line " + std::to_string(position);
    if (place == FileError::Place::byte) message += ": byte " + std::to_string(position);
    return message + ": expected " + expected + ", found " + found;
}

}  // namespace

FileError::FileError(std::string file, Place place, uint64_t position, std::string expected, std::string found)
    : std::runtime_error(Message(file, place, position, expected, found)),
      file_(std::move(file)),
      place_(place),
      position_(position),
      expected_(std::move(expected)),
      found_(std::move(found))
{
}

FileError FileError::InFile(std::string file, std::string expected, std::string found)
{
    return FileError(std::move(file), Place::file, 0, std::move(expected), std::move(found));
}

FileError FileError::AtLine(std::string file, uint64_t line, std::string expected, std::string found)
{
    return FileError(std::move(file), Place::line, line, std::move(expected), std::move(found));
}

FileError FileError::AtByte(std::string file, uint64_t offset, std::string expected, std::string found)
{
    return FileError(std::move(file), Place::byte, offset, std::move(expected), std::move(found));
}

}  // namespace brell::io

#pragma once

#include <brelldata/io/Export.h>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace brell::io {

// The one error the io library throws for a file it refuses or cannot read or
// write: where (file, and a line or a byte offset when one applies), what was
// expected there and what was found. what() gives all of it in one line:
//   "scan.ply: line 12: expected a number, found \"1.2.3\""
class BRELL_IO_API FileError : public std::runtime_error {
public:
    enum class Place { file, line, byte };

    // An error about the file as a whole (cannot open it, unknown format).
    static FileError InFile(std::string file, std::string expected, std::string found);
    // An error at a line of a text file, counted from 1.
    static FileError AtLine(std::string file, uint64_t line, std::string expected, std::string found);
    // An error at a byte offset, counted from 0.
    static FileError AtByte(std::string file, uint64_t offset, std::string expected, std::string found);

    const std::string& File() const { return file_; }
    Place Where() const { return place_; }
    // The line or byte offset; 0 for an error about the whole file.
    uint64_t Position() const { return position_; }
    const std::string& Expected() const { return expected_; }
    const std::string& Found() const { return found_; }

private:
    FileError(std::string file, Place place, uint64_t position, std::string expected, std::string found);

    std::string file_;
    Place place_;
    uint64_t position_;
    std::string expected_;
    std::string found_;
};

}  // namespace brell::io

#pragma once

// What an operation on a file that ought to fail says.

#include <brelldata/io/FileError.h>

#include <string>

namespace brell::test {

// The message of the file error that operation throws, or "no error".
template <class Operation>
std::string FileErrorOf(Operation operation)
{
    try {
        operation();
    } catch (const io::FileError& error) {
        return error.what();
    }
    return "no error";
}

}  // namespace brell::test

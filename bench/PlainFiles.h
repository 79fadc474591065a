#pragma once

// The baselines of the file benchmarks: plain system calls on as many bytes
// as the step measured beside them moves.

#include <brelldata/data/BulkMemory.h>

#include <cstddef>
#include <string>
#include <vector>

size_t FileSize(const std::string& path);

// write() of the bytes to a new file, made durable as a save makes its file.
void PlainWrite(const std::string& path, const std::vector<char>& bytes);

// read() of the whole file into a new buffer of bulk memory, as a reader's:
// the floor for any reader.
void PlainRead(const std::string& path, size_t size);

// read() of the whole file into a buffer of bulk memory used again and again.
void PlainReadInto(const std::string& path, brell::BulkVector<char>& buffer);

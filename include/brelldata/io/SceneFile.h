#pragma once

#include <brelldata/io/Export.h>
#include <brelldata/io/FileError.h>

#include <cstdint>
#include <string>
#include <string_view>

class CBaseNode;
class CTree;

// Scene files: a 32-byte header, then a subtree's node stream exactly as the
// library writes it. Header, little-endian: "BRELSCN" and a zero byte, the
// format version (32 bits), 32 zero bits, the stream's length (64 bits) and
// the XXH3 64-bit hash of the stream.
//
// Loading trusts nothing: the header, the length and the hash are checked
// first, then the stream is read under bounds, so that no read leaves it and
// no count makes the loader allocate more than it can describe. Anything
// wrong throws FileError with the byte offset (from the start of the file)
// and what was wrong, and nothing made on the way is kept.

namespace brell::io {

constexpr uint32_t kSceneFormatVersion = 1;
constexpr size_t kSceneHeaderBytes = 32;

// Writes the subtree of root to path as SaveFile does (brelldata/io/Files.h),
// so a failed save leaves path as it was. FileError for a null root or when
// the file cannot be written.
BRELL_IO_API void SaveScene(CBaseNode* root, const std::string& path);
// The tree's root; FileError for a tree without one.
BRELL_IO_API void SaveScene(CTree& tree, const std::string& path);

// The root of the scene in path, with count 0: the caller takes the first reference.
BRELL_IO_API CBaseNode* LoadScene(const std::string& path);
// The same for a scene file's bytes; name is the file name errors carry.
BRELL_IO_API CBaseNode* LoadSceneFromMemory(std::string_view bytes, const std::string& name);

}  // namespace brell::io

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
// A tree whose stream would pass 128 MB (a sixteenth of a node stream's 2 GB
// limit) is saved as several streams, each of at most 128 MB or one node
// (format version 2), so that a tree of any size fits and saving and loading
// hold one stream in memory beside the tree. Every node's own record must
// stay within 2 GB.
//
// Loading trusts nothing: the header, the length and the hash are checked
// first, then the stream is read under bounds, so that no read leaves it and
// no count makes the loader allocate more than it can describe. Anything
// wrong throws FileError with the byte offset (from the start of the file)
// and what was wrong, and nothing made on the way is kept.

namespace brell::io {

constexpr uint32_t kSceneFormatVersion = 1;
// Several streams, for a tree larger than one stream takes.
constexpr uint32_t kSceneStreamsFormatVersion = 2;
constexpr size_t kSceneHeaderBytes = 32;

// Writes the subtree of root to path as SaveFile does (brelldata/io/Files.h),
// so a failed save leaves path as it was. FileError for a null root, when the
// file cannot be written, and, before anything is written, for a node whose
// record alone passes 2 GB (naming it and its size).
BRELL_IO_API void SaveScene(CBaseNode* root, const std::string& path);
// The tree's root; FileError for a tree without one.
BRELL_IO_API void SaveScene(CTree& tree, const std::string& path);

// How a scene file holds a tree: the bytes of its node stream (64-bit) and
// how many streams hold them.
struct SceneStreams {
    uint64_t bytes = 0;
    uint64_t streams = 0;
};
// Nothing for a null root; FileError as SaveScene gives for a node that no
// stream can hold, name standing for the file.
BRELL_IO_API SceneStreams MeasureSceneStreams(CBaseNode* root, const std::string& name);

// The root of the scene in path, with count 0: the caller takes the first reference.
BRELL_IO_API CBaseNode* LoadScene(const std::string& path);
// The same for a scene file's bytes; name is the file name errors carry.
BRELL_IO_API CBaseNode* LoadSceneFromMemory(std::string_view bytes, const std::string& name);

}  // namespace brell::io

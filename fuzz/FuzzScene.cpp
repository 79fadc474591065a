// libFuzzer target for the scene loader: an input is refused with FileError
// or loads into a tree that streams to exactly the bytes of its streams (a
// file of several also holds their table, 8 bytes of count and 24 a stream,
// and a hash of 8 bytes after each).
#include <brelldata/core/BaseNode.h>
#include <brelldata/core/NodeStream.h>
#include <brelldata/io/SceneFile.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CBaseNode* root = nullptr;
    try {
        root = brell::io::LoadSceneFromMemory(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz");
    } catch (const brell::io::FileError&) {
        return 0;
    }
    root->AddRef();
    size_t streamBytes = size - brell::io::kSceneHeaderBytes;
    uint32_t version = 0;
    std::memcpy(&version, data + 8, sizeof version);
    if (version == brell::io::kSceneStreamsFormatVersion) {
        uint64_t streams = 0;
        std::memcpy(&streams, data + brell::io::kSceneHeaderBytes, sizeof streams);
        streamBytes -= 8 + streams * (24 + 8);
    }
    if (static_cast<size_t>(SizeOfByte(root)) != streamBytes) std::abort();
    root->Release();
    return 0;
}

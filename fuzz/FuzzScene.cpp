// libFuzzer target for the scene loader: an input is refused with FileError
// or loads into a tree that streams to exactly the bytes it came from.
#include <brelldata/core/BaseNode.h>
#include <brelldata/core/NodeStream.h>
#include <brelldata/io/SceneFile.h>

#include <cstdint>
#include <cstdlib>
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
    if (static_cast<size_t>(SizeOfByte(root)) != size - brell::io::kSceneHeaderBytes) std::abort();
    root->Release();
    return 0;
}

// libFuzzer target of the glTF reader. It either refuses the input with
// FileError or returns a scene that is whole: the scene writes as .glb and
// reads back with the same triangles and points. What the bytes give in
// memory they also give as a file, whose BIN chunk is read from disk a piece
// at a time.
#include <brelldata/core/Tree.h>
#include <brelldata/io/Gltf.h>
#include <brelldata/io/ScanScene.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

// Triangles and points (of models that are not meshes) in the scene.
std::pair<size_t, size_t> Counts(CBaseNode* root)
{
    const brell::io::ScanGeometry geometry = brell::io::GeometryOfScene(root, "fuzz");
    return {geometry.faces.size(), geometry.faces.empty() ? geometry.positions.size() : 0};
}

// The counts of the scene the bytes make as a file alone in a folder of its
// own; none when they are refused.
std::optional<std::pair<size_t, size_t>> CountsFromFile(const uint8_t* data, size_t size)
{
    static const std::string path = [] {
        std::string folder = (std::filesystem::temp_directory_path() / "fuzz-gltf.XXXXXX").string();
        if (mkdtemp(folder.data()) == nullptr) std::abort();
        static const std::string made = folder;
        std::atexit([] { std::filesystem::remove_all(made); });
        return folder + "/input.glb";
    }();
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr || std::fwrite(data, 1, size, file) != size || std::fclose(file) != 0) std::abort();
    try {
        CTree scene(brell::io::ImportGltf(path));
        return Counts(scene.Root());
    } catch (const brell::io::FileError&) {
        return std::nullopt;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace brell::io;
    const std::optional<std::pair<size_t, size_t>> fromFile = CountsFromFile(data, size);
    std::string glb;
    std::pair<size_t, size_t> counts;
    try {
        CTree scene(ReadGltf(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz"));
        counts = Counts(scene.Root());
        glb = WriteGlb(scene.Root(), "fuzz.glb");
    } catch (const FileError&) {
        return 0;
    }
    // Bytes that read in memory read the same as a file; a file may also read
    // where they do not, as it may name itself as a buffer.
    if (fromFile != counts) std::abort();
    CTree again(ReadGltf(glb, "fuzz.glb"));
    if (Counts(again.Root()) != counts) std::abort();
    return 0;
}

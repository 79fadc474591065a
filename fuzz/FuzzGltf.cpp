// libFuzzer target of the glTF reader. It either refuses the input with
// FileError or returns a scene that is whole: the scene writes as .glb and
// reads back with the same triangles and points.
#include <brelldata/core/Tree.h>
#include <brelldata/io/Gltf.h>
#include <brelldata/io/ScanScene.h>

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

// Triangles and points (of models that are not meshes) in the scene.
std::pair<size_t, size_t> Counts(CBaseNode* root)
{
    const brell::io::ScanGeometry geometry = brell::io::GeometryOfScene(root, "fuzz");
    return {geometry.faces.size(), geometry.faces.empty() ? geometry.positions.size() : 0};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace brell::io;
    std::string glb;
    std::pair<size_t, size_t> counts;
    try {
        CTree scene(ReadGltf(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz"));
        counts = Counts(scene.Root());
        glb = WriteGlb(scene.Root(), "fuzz.glb");
    } catch (const FileError&) {
        return 0;
    }
    CTree again(ReadGltf(glb, "fuzz.glb"));
    if (Counts(again.Root()) != counts) std::abort();
    return 0;
}

// libFuzzer target for one scan format reader, named by BRELL_FUZZ_READ. A
// reader either refuses the input with FileError or returns geometry that is
// whole: it writes as PLY and reads back the same counts.
#include <brelldata/io/ScanFormats.h>

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace brell::io;
    ScanGeometry geometry;
    try {
        geometry = BRELL_FUZZ_READ(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz");
    } catch (const FileError&) {
        return 0;
    }
    const ScanGeometry again = ReadPly(WritePly(geometry, "fuzz.ply"), "fuzz.ply");
    if (again.positions.size() != geometry.positions.size() || again.faces.size() != geometry.faces.size() ||
        again.normals.size() != geometry.normals.size() || again.colors.size() != geometry.colors.size() ||
        again.texCoords.size() != geometry.texCoords.size())
        std::abort();
    return 0;
}

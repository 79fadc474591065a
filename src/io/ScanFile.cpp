#include "io/FileBytes.h"
#include "io/Geometry.h"

#include <brelldata/core/Tree.h>
#include <brelldata/io/Gltf.h>
#include <brelldata/io/ScanFormats.h>
#include <brelldata/io/ScanScene.h>

#include <cctype>

namespace brell::io {

namespace {

// A text scan is read whole, then parsed: each is half of the progress told.
ScanGeometry ReadText(const std::string& path, ScanFormat format)
{
    const FileBytes bytes = [&] {
        const ProgressPart reading(0, 2);
        return ReadWholeFile(path);
    }();
    const ProgressPart parsing(1, 2);
    ScanGeometry geometry = format == ScanFormat::off   ? ReadOff(bytes.View(), path)
                            : format == ScanFormat::obj ? ReadObj(bytes.View(), path)
                                                        : ReadXyz(bytes.View(), path);
    ReportFileProgress(bytes.Size(), bytes.Size());
    return geometry;
}

}  // namespace

ScanFormat FormatOfFileName(const std::string& path)
{
    const size_t dot = path.find_last_of("./");
    std::string extension = dot == std::string::npos || path[dot] != '.' ? "" : path.substr(dot + 1);
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (extension == "ply") return ScanFormat::ply;
    if (extension == "off") return ScanFormat::off;
    if (extension == "obj") return ScanFormat::obj;
    if (extension == "xyz") return ScanFormat::xyz;
    if (extension == "glb") return ScanFormat::glb;
    if (extension == "gltf") return ScanFormat::gltf;
    throw FileError::InFile(path, "a file name ending in .ply, .off, .obj, .xyz, .glb or .gltf",
                            extension.empty() ? "no extension" : "." + extension);
}

ScanGeometry ReadScanFile(const std::string& path)
{
    const ScanFormat format = FormatOfFileName(path);
    if (format == ScanFormat::ply) {
        FileWindow window(path);
        return detail::ReadPly(window, path);
    }
    if (format == ScanFormat::glb || format == ScanFormat::gltf) {
        std::vector<std::string> warnings;
        CTree scene(ImportGltf(path, &warnings));
        ScanGeometry geometry = GeometryOfScene(scene.Root(), path);
        geometry.warnings = std::move(warnings);
        return geometry;
    }
    return ReadText(path, format);
}

ScanGeometry detail::ReadScanFile(const std::string& path, CArrayDataStore<VERTEX>& positionStore)
{
    if (FormatOfFileName(path) == ScanFormat::ply) {
        FileWindow window(path);
        return detail::ReadPly(window, path, &positionStore);
    }
    ScanGeometry geometry = io::ReadScanFile(path);
    MovePositions(geometry, positionStore, path);
    return geometry;
}

void WriteScanFile(const ScanGeometry& geometry, const std::string& path, PlyEncoding plyEncoding)
{
    std::string bytes;
    switch (FormatOfFileName(path)) {
        case ScanFormat::ply:
            return detail::SavePly(geometry, path, plyEncoding);
        case ScanFormat::off:
            bytes = WriteOff(geometry, path);
            break;
        case ScanFormat::obj:
            bytes = WriteObj(geometry, path);
            break;
        case ScanFormat::xyz:
            bytes = WriteXyz(geometry, path);
            break;
        case ScanFormat::glb:
        case ScanFormat::gltf: {
            detail::CheckGeometry(geometry, path);
            CTree scene(SceneOfGeometry(geometry, path.substr(path.find_last_of('/') + 1)));
            ExportGltf(scene.Root(), path);
            return;
        }
    }
    SaveFile(path, bytes.data(), bytes.size());
}

}  // namespace brell::io

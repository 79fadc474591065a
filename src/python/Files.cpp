#include "python/Bindings.h"

#include <brelldata/io/FileError.h>
#include <brelldata/io/ScanScene.h>
#include <brelldata/io/SceneFile.h>

namespace brell::python {

namespace {

io::PlyEncoding EncodingNamed(const std::string& name)
{
    if (name == "binary_little_endian") return io::PlyEncoding::binaryLittleEndian;
    if (name == "binary_big_endian") return io::PlyEncoding::binaryBigEndian;
    if (name == "ascii") return io::PlyEncoding::ascii;
    throw py::value_error("ply_encoding is \"binary_little_endian\", \"binary_big_endian\" or \"ascii\", not \"" +
                          name + "\"");
}

const char* PlaceName(io::FileError::Place place)
{
    switch (place) {
        case io::FileError::Place::line:
            return "line";
        case io::FileError::Place::byte:
            return "byte";
        default:
            return "file";
    }
}

}  // namespace

void BindFiles(py::module_& module)
{
    static py::exception<io::FileError> fileError(module, "FileError");
    fileError.doc() = R"(A file the io library refused or could not read or write.

``str(error)`` is the whole message ("scan.ply: line 12: expected ..., found ...");
the parts are ``file``, ``place`` ("file", "line" or "byte"), ``position`` (the
line, counted from 1, or the byte offset, from 0; 0 for the whole file),
``expected`` and ``found``; ``reason`` is "expected ..., found ...".)";
    py::register_exception_translator([](std::exception_ptr raised) {
        try {
            if (raised) std::rethrow_exception(raised);
        } catch (const io::FileError& error) {
            py::object type = fileError;
            py::object instance = type(error.what());
            instance.attr("file") = error.File();
            instance.attr("place") = PlaceName(error.Where());
            instance.attr("position") = error.Position();
            instance.attr("expected") = error.Expected();
            instance.attr("found") = error.Found();
            instance.attr("reason") = "expected " + error.Expected() + ", found " + error.Found();
            PyErr_SetObject(fileError.ptr(), instance.ptr());
        }
    });

    module.def(
        "import_scan", [](const std::string& path) { return Held<CBaseNode>(io::ImportScan(path)); }, py::arg("path"),
        R"(Reads a scan file (.ply, .off, .obj or .xyz) as a new scene (ImportScan).

The root holds one ElementNode named after the file, which holds a ModelNode
for a point cloud or a MeshNode for a mesh. FileError when the file is refused.)");
    module.def(
        "export_scan",
        [](CBaseNode* root, const std::string& path, const std::string& plyEncoding) {
            const io::PlyEncoding encoding = EncodingNamed(plyEncoding);
            io::ExportScan(root, path, encoding);
        },
        py::arg("root"), py::arg("path"), py::arg("ply_encoding") = "binary_little_endian",
        R"(Writes every model and mesh under root to a scan file in the format of its extension (ExportScan).

ply_encoding ("binary_little_endian", "binary_big_endian" or "ascii") applies to
.ply files. The file is saved safely: a failed write leaves an old file whole.)");
    module.def(
        "save_scene", [](CBaseNode* root, const std::string& path) { io::SaveScene(root, path); }, py::arg("root"),
        py::arg("path"), "Saves the subtree of root as a scene file (SaveScene); FileError on failure.");
    module.def(
        "load_scene", [](const std::string& path) { return Held<CBaseNode>(io::LoadScene(path)); }, py::arg("path"),
        "The tree of a scene file (LoadScene); FileError naming the byte offset of what is wrong.");
}

}  // namespace brell::python

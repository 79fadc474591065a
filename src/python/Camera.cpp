#include "python/Bindings.h"

#include <brelldata/camera/CameraData.h>
#include <brelldata/io/CameraFile.h>
#include <brelldata/camera/KameraData.h>
#include <brelldata/platform/Archive.h>

#include <pybind11/stl.h>

#include <cstring>
#include <optional>

namespace brell::python {

namespace {

// One shot of either layout. Its blocks never change size once made, so the
// views of them stay valid for as long as the shot lives.
class CameraShot {
public:
    explicit CameraShot(bool second) : second_(second)
    {
        std::memset(&first_.header, 0, sizeof first_.header);
        std::memset(&second_data_.header, 0, sizeof second_data_.header);
    }

    bool Second() const { return second_; }
    void* Header() { return second_ ? static_cast<void*>(&second_data_.header) : &first_.header; }
    py::dtype HeaderDtype() const { return second_ ? py::dtype::of<KAMERAHEADER>() : py::dtype::of<CAMERAHEADER>(); }
    unsigned char* Data3D() { return second_ ? second_data_.data3D : first_.data3D; }
    unsigned char* Data2D() { return second_ ? second_data_.data2D : first_.data2D; }
    int Length3D() const { return second_ ? second_data_.length3D : first_.length3D; }
    int Length2D() const { return second_ ? second_data_.length2D : first_.length2D; }

    // Blocks of the given bytes, copied once.
    void SetBlocks(const py::buffer_info& data3D, const py::buffer_info& data2D)
    {
        const auto size3D = static_cast<int>(data3D.size * data3D.itemsize);
        const auto size2D = static_cast<int>(data2D.size * data2D.itemsize);
        const bool allocated =
            second_ ? (size3D < 1 || second_data_.Allocate3dData_K(size3D)) &&
                          (size2D < 1 || second_data_.Allocate2dData_K(size2D))
                    : (size3D < 1 || first_.Allocate3dData(size3D)) && (size2D < 1 || first_.Allocate2dData(size2D));
        if (!allocated) throw std::bad_alloc();
        if (size3D > 0) std::memcpy(Data3D(), data3D.ptr, static_cast<size_t>(size3D));
        if (size2D > 0) std::memcpy(Data2D(), data2D.ptr, static_cast<size_t>(size2D));
    }

    template <class Archive>
    void Stream(Archive& archive)
    {
        if (second_)
            archive << second_data_;
        else
            archive << first_;
    }
    void Read(CArchive& archive)
    {
        if (second_)
            archive >> second_data_;
        else
            archive >> first_;
    }

private:
    bool second_;
    CAMERADATA first_;
    KAMERADATA second_data_;
};

bool SecondLayout(const std::string& layout)
{
    if (layout != "first" && layout != "second")
        throw py::value_error("the layout is \"first\" (512-byte header) or \"second\" (1024-byte header)");
    return layout == "second";
}

py::array BlockView(const py::object& self, unsigned char* data, int length)
{
    if (data == nullptr || length < 1) return py::array_t<uint8_t>(0);
    return py::array(py::dtype::of<uint8_t>(), {py::ssize_t{length}}, data, self);
}

// The layout of the file by its headers and length; FileError when neither fits.
std::string DetectedLayout(const std::string& path)
{
    return io::CameraFileLayoutOf(path) == CameraFileLayout::first ? "first" : "second";
}

std::unique_ptr<CameraShot> ReadShot(const std::string& path, const std::optional<std::string>& chosenLayout)
{
    const std::string layout = chosenLayout ? *chosenLayout : DetectedLayout(path);
    auto shot = std::make_unique<CameraShot>(SecondLayout(layout));
    CFile file(path.c_str(), CFile::modeRead);
    CArchive archive(&file, CArchive::load);
    shot->Read(archive);
    if (shot->Data3D() == nullptr)
        throw py::value_error(path + ": not a camera data file of the " + layout +
                              " layout: its header is implausible or its 3-D block empty");
    return shot;
}

void WriteShot(CameraShot& shot, const std::string& path)
{
    CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
    CArchive archive(&file, CArchive::store);
    shot.Stream(archive);
    archive.Close();
}

}  // namespace

void BindCamera(py::module_& module)
{
    // The header records as numpy structured dtypes: their memory images are
    // their layouts, so a header is a record view and its fields keep their C++ names.
    PYBIND11_NUMPY_DTYPE(CALIBTABLE, words);
    PYBIND11_NUMPY_DTYPE(CAMERAHEADER, version, pitchPlaneWidth, pitchPlaneHeight, pitchPlaneNumber,
                         pitchPlanePixelBits, colorPlaneWidth, colorPlaneHeight, colorPlaneNumber, colorPlanePixelBits,
                         date, focalLength, referencePlane, shootingMode, principalPlane, galvanoStart, galvanoSpeed,
                         pitchOfPixels, cameraAngle, cameraPosition, projectionAngle, projectionPosition,
                         pitchCcdCenter, colorCcdPitch, colorCcdCenter, pitchCcdPeak, reserved1, fileMode, stageTotal,
                         stageNumber, stageAngle, temperatureData, gain, laserPower, minimumPixel, h8RomVersion,
                         reserved2, calibTables, reserved3);
    PYBIND11_NUMPY_DTYPE(K_DISTORTION, words);
    PYBIND11_NUMPY_DTYPE(K_CALIBTABLE, words);
    PYBIND11_NUMPY_DTYPE(KAMERAHEADER, bytes0, pitchPlaneWidth, pitchPlaneHeight, pitchPlaneNumber, pitchPlanePixelBits,
                         colorPlaneWidth, colorPlaneHeight, colorPlaneNumber, colorPlanePixelBits, words40, halves48,
                         words56, pitchOfPixels, words116, halves152, word160, half164, bytes166, halves176, bytes186,
                         halves222, bytes226, distortions, bytes396, calibTables);
    py::register_exception<CFileException>(module, "CameraFileError", PyExc_OSError).doc() =
        "A camera data file that cannot be opened, read or written (CFileException); an OSError.";
    py::class_<CameraShot>(module, "CameraShot", R"(One scanner shot of a camera data file (CAMERADATA or KAMERADATA).

``header`` is a record view of the header in host byte order, a numpy
structured scalar array whose fields are the C++ field names (for example
``shot.header["pitchPlaneWidth"]``); writing into it changes the shot.
``data_3d`` and ``data_2d`` are uint8 views of the blocks. A shot's blocks
never change size: make a new shot for new blocks.)")
        .def(py::init([](const std::string& layout, const py::buffer& data3D, const py::buffer& data2D) {
                 auto shot = std::make_unique<CameraShot>(SecondLayout(layout));
                 shot->SetBlocks(ContiguousBytes(data3D), ContiguousBytes(data2D));
                 return shot;
             }),
             py::arg("layout") = "first", py::arg("data_3d") = py::bytes(), py::arg("data_2d") = py::bytes(),
             "A new shot of the layout (\"first\" or \"second\") with a zero header and copies of the blocks.")
        .def_property_readonly(
            "layout", [](const CameraShot& s) { return s.Second() ? "second" : "first"; },
            "\"first\" (512-byte header) or \"second\" (1024-byte header).")
        .def_property_readonly(
            "header",
            [](py::object self) {
                auto& shot = self.cast<CameraShot&>();
                return py::array(shot.HeaderDtype(), std::vector<py::ssize_t>{}, shot.Header(), self);
            },
            "The header as a writable record view (host byte order); header.dtype.names lists the fields.")
        .def_property_readonly(
            "data_3d",
            [](py::object self) {
                auto& shot = self.cast<CameraShot&>();
                return BlockView(self, shot.Data3D(), shot.Length3D());
            },
            "The 3-D measurement block as a uint8 view (its recorded length, a multiple of 16).")
        .def_property_readonly(
            "data_2d",
            [](py::object self) {
                auto& shot = self.cast<CameraShot&>();
                return BlockView(self, shot.Data2D(), shot.Length2D());
            },
            "The 2-D colour block as a uint8 view (its recorded length).");

    module.def("read_camera_file", &ReadShot, py::arg("path"), py::arg("layout") = py::none(),
               R"(Reads a camera data file, blocks sized from its header.

The layout is "first" (512-byte header) or "second" (1024-byte header); left
out, it is told from the headers and the file's length (DetectCameraLayout),
and FileError names the file when neither layout fits it. ValueError when
the header is implausible for a layout given; CameraFileError (an OSError)
when the file cannot be opened.)");
    module.def("write_camera_file", &WriteShot, py::arg("shot"), py::arg("path"),
               "Writes a shot as a camera data file: big-endian header, then the blocks (operator<<).");
}

}  // namespace brell::python

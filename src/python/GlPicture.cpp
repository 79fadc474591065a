// The reference renderer from Python: geometry procedures and pictures.
#include "python/Bindings.h"

#include <brelldata/gl/Picture.h>
#include <brelldata/gl/Renderer.h>

#include <pybind11/stl.h>

#include <array>
#include <cstring>

namespace brell::python {

namespace {

using Colour = std::array<uint8_t, 4>;
using Direction = std::array<double, 3>;

gl::RenderOptions Options(int width, int height, const Colour& background, const Direction& direction, double fov)
{
    gl::RenderOptions options;
    options.width = width;
    options.height = height;
    options.background = RGBA{background[0], background[1], background[2], background[3]};
    options.direction = CVector_3<double>{direction[0], direction[1], direction[2]};
    options.fov = fov;
    return options;
}

py::array_t<uint8_t> Render(CBaseNode* root, int width, int height, const Colour& background,
                            const Direction& direction, double fov)
{
    gl::RegisterProcedures();
    gl::Renderer renderer(width, height);
    gl::RenderScene(renderer, root, Options(width, height, background, direction, fov));
    RaisePendingError();
    const std::vector<RGBA> pixels = renderer.ReadPixels();
    py::array_t<uint8_t> picture({py::ssize_t{height}, py::ssize_t{width}, py::ssize_t{4}});
    std::memcpy(picture.mutable_data(), pixels.data(), pixels.size() * sizeof(RGBA));
    return picture;
}

}  // namespace

void BindGl(py::module_& module)
{
    py::register_exception<gl::RenderError>(module, "RenderError", PyExc_RuntimeError).doc() =
        "The reference renderer could not draw: no OpenGL context, nothing to draw, or a picture it "
        "cannot save (brell::gl::RenderError).";
    module.attr("GL_RENDERER") = gl::kRendererName;
    py::tuple procedures(std::size(gl::kProcedures));
    for (size_t i = 0; i < std::size(gl::kProcedures); ++i) procedures[i] = gl::kProcedures[i];
    module.attr("GL_GEOMETRY_PROCEDURES") = procedures;
    module.def("register_gl_procedures", &gl::RegisterProcedures,
               R"(Registers the reference renderer's procedures (brell::gl::RegisterProcedures): its draw
procedures for the renderer GL_RENDERER and its geometry procedures
GL_GEOMETRY_PROCEDURES ("points", "wire", "shade", "smooth", "texture") for geo_calc.)");
    module.def("calculate_geometry", &gl::CalculateGeometry, py::arg("scan"), py::arg("procedure"),
               py::arg("output").none(false),
               R"(The geometry of a scan (a scan node, or a scene root whose children are) by one of
GL_GEOMETRY_PROCEDURES under output (brell::gl::CalculateGeometry); RenderError
for an unknown procedure or when nothing was calculated.)");

    const gl::RenderOptions defaults;
    const Colour background{defaults.background.r, defaults.background.g, defaults.background.b, defaults.background.a};
    const Direction direction{defaults.direction.x, defaults.direction.y, defaults.direction.z};
    module.def("render", &Render, py::arg("root"), py::arg("width") = defaults.width,
               py::arg("height") = defaults.height, py::arg("background") = background,
               py::arg("direction") = direction, py::arg("fov") = defaults.fov,
               R"(Draws a tree of geometry with the reference renderer into a new (H, W, 4) uint8 array.

Rows run from the top. The view is the tree's first shown camera node, or else
its box seen whole along direction with a vertical field of view of fov
degrees (SceneCamera). RenderError when no OpenGL context can be made or the
tree draws nothing.)");
    module.def(
        "render_png",
        [](CBaseNode* root, const std::string& path, int width, int height, const Colour& background,
           const Direction& direction, double fov) {
            gl::RenderToPng(root, Options(width, height, background, direction, fov), path);
            RaisePendingError();
        },
        py::arg("root"), py::arg("path"), py::arg("width") = defaults.width, py::arg("height") = defaults.height,
        py::arg("background") = background, py::arg("direction") = direction, py::arg("fov") = defaults.fov,
        "Renders as render does and saves the picture as a PNG file (brell::gl::RenderToPng).");
}

}  // namespace brell::python

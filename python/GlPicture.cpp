// The reference renderer from Python: geometry procedures and pictures.
#include "Bindings.h"

#include <brelldata/gl/Picture.h>
#include <brelldata/gl/Renderer.h>

#include <pybind11/stl.h>

#include <array>
#include <cstring>

namespace brell::python {

namespace {

RenderOptions Options(int width, int height, const std::array<uint8_t, 4>& background,
                      const std::array<double, 3>& direction, double fov)
{
    RenderOptions options;
    options.width = width;
    options.height = height;
    options.background = RGBA{background[0], background[1], background[2], background[3]};
    options.direction = CVector_3<double>{direction[0], direction[1], direction[2]};
    options.fov = fov;
    return options;
}

py::array_t<uint8_t> Render(CBaseNode* root, int width, int height, const std::array<uint8_t, 4>& background,
                            const std::array<double, 3>& direction, double fov)
{
    RegisterGlProcedures();
    CGlRenderer renderer(width, height);
    RenderScene(renderer, root, Options(width, height, background, direction, fov));
    RaisePendingError();
    const std::vector<RGBA> pixels = renderer.ReadPixels();
    py::array_t<uint8_t> picture({py::ssize_t{height}, py::ssize_t{width}, py::ssize_t{4}});
    std::memcpy(picture.mutable_data(), pixels.data(), pixels.size() * sizeof(RGBA));
    return picture;
}

}  // namespace

void BindGl(py::module_& module)
{
    py::register_exception<CGlError>(module, "GlError", PyExc_RuntimeError).doc() =
        "The reference renderer could not draw: no OpenGL context, or a picture it cannot save (CGlError).";
    module.attr("GL_RENDERER") = kGlRenderer;
    module.attr("GL_GEOMETRY_PROCEDURES") = py::make_tuple(kGlPoints, kGlWire, kGlShade, kGlSmooth, kGlTexture);
    module.def("register_gl_procedures", &RegisterGlProcedures,
               R"(Registers the reference renderer's procedures (RegisterGlProcedures): its draw procedures
for the renderer GL_RENDERER and its geometry procedures GL_GEOMETRY_PROCEDURES
("points", "wire", "shade", "smooth", "texture") for geo_calc.)");

    module.def("render", &Render, py::arg("root"), py::arg("width") = 800, py::arg("height") = 600,
               py::arg("background") = std::array<uint8_t, 4>{0, 0, 0, 255},
               py::arg("direction") = std::array<double, 3>{0, 0, -1}, py::arg("fov") = 45.0,
               R"(Draws a tree of geometry with the reference renderer into a new (H, W, 4) uint8 array.

Rows run from the top. The view is the tree's first shown camera node, or else
its box seen whole along direction with a vertical field of view of fov
degrees (SceneCamera). GlError when no OpenGL context can be made.)");
    module.def(
        "render_png",
        [](CBaseNode* root, const std::string& path, int width, int height, const std::array<uint8_t, 4>& background,
           const std::array<double, 3>& direction, double fov) {
            RenderToPng(root, Options(width, height, background, direction, fov), path.c_str());
            RaisePendingError();
        },
        py::arg("root"), py::arg("path"), py::arg("width") = 800, py::arg("height") = 600,
        py::arg("background") = std::array<uint8_t, 4>{0, 0, 0, 255},
        py::arg("direction") = std::array<double, 3>{0, 0, -1}, py::arg("fov") = 45.0,
        "Renders as render does and saves the picture as a PNG file (RenderToPng).");
}

}  // namespace brell::python

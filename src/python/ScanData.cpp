#include "python/Bindings.h"

#include <brelldata/io/ScanScene.h>
#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/ObjectNodes.h>

#include <cstddef>
#include <cstring>

namespace brell::python {

namespace {

using Floats = py::array_t<float, py::array::c_style | py::array::forcecast>;
using Doubles = py::array_t<double, py::array::c_style | py::array::forcecast>;
using Bytes = py::array_t<uint8_t, py::array::c_style | py::array::forcecast>;

// numpy records laid out as the polygon stores' rows.
struct PolygonRecord {
    int32_t corners[4];
    int32_t count;
};
struct TexCoordRecord {
    float corners[4][2];
    int32_t count;
};
static_assert(sizeof(PolygonRecord) == sizeof(CPolygon<int>) && offsetof(CPolygon<int>, count) == 16);
static_assert(sizeof(TexCoordRecord) == sizeof(CPolygon<CVector_2<float>>) &&
              offsetof(CPolygon<CVector_2<float>>, count) == 32);

py::dtype PolygonDtype()
{
    return py::dtype::of<PolygonRecord>();
}

py::dtype TexCoordDtype()
{
    return py::dtype::of<TexCoordRecord>();
}

// Checks an array's shape against the rows a store wants: any number of rows
// of rowShape. ValueError naming what otherwise.
void RequireRows(const py::array& array, const std::vector<py::ssize_t>& rowShape, const char* what)
{
    bool fits = array.ndim() == static_cast<py::ssize_t>(rowShape.size()) + 1;
    for (size_t axis = 0; fits && axis < rowShape.size(); ++axis) fits = array.shape(axis + 1) == rowShape[axis];
    if (fits) return;
    std::string shape = "(N";
    for (py::ssize_t extent : rowShape) shape += ", " + std::to_string(extent);
    throw py::value_error(std::string(what) + " must be an array of shape " + shape + ")");
}

// Copies rows into an array store, growing or shrinking it first; the size
// may change only while no numpy view of the store exists.
template <class T>
void AssignRows(CArrayDataStore<T>& store, const void* rows, py::ssize_t count, const char* what)
{
    if (count > INT_MAX) throw py::value_error(std::string(what) + ": more rows than a store holds");
    if (count != store.Number()) {
        RefuseResizeWhileViewed(&store, what);
        if (!store.Reserve(static_cast<int>(count))) throw std::bad_alloc();
        store.Number() = static_cast<int>(count);
    }
    // memmove: the rows may be a view of this very store.
    if (count != 0) std::memmove(store.Buffer(), rows, static_cast<size_t>(count) * sizeof(T));
}

template <class T>
void ResizeRows(CPolygonDataStore<T>& store, py::ssize_t count, const char* what)
{
    if (count == store.Number()) return;
    RefuseResizeWhileViewed(&store, what);
    store.rows.resize(static_cast<size_t>(count));
}

// A polygon store's rows as a view of record items.
template <class Item>
py::array PolygonRowsView(CPolygonDataStore<Item>& store, const py::dtype& record)
{
    return StoreView(&store, store.rows.data(), store.Number(), record, {});
}

// Rows of a polygon store from a structured array of its record dtype, or
// from an (N, 3, ...) or (N, 4, ...) array of Scalar items, one per corner,
// each of itemWidth scalars; expected says what is accepted.
template <class Item, class Scalar>
void AssignPolygonRows(CPolygonDataStore<Item>& store, const py::array& rows, const py::dtype& record, const char* what,
                       const char* expected)
{
    constexpr py::ssize_t itemWidth = sizeof(Item) / sizeof(Scalar);
    if (rows.dtype().equal(record)) {
        const auto records = py::array::ensure(rows, py::array::c_style);
        ResizeRows(store, records.shape(0), what);
        if (records.shape(0) != 0)
            std::memmove(store.rows.data(), records.data(), static_cast<size_t>(records.nbytes()));
        return;
    }
    using Scalars = py::array_t<Scalar, py::array::c_style | py::array::forcecast>;
    const Scalars corners = Scalars::ensure(rows);
    const py::ssize_t dimensions = itemWidth == 1 ? 2 : 3;
    if (!corners || corners.ndim() != dimensions || (corners.shape(1) != 3 && corners.shape(1) != 4) ||
        (itemWidth != 1 && corners.shape(2) != itemWidth))
        throw py::value_error(std::string(what) + " must be " + expected);
    const int perRow = static_cast<int>(corners.shape(1));
    ResizeRows(store, corners.shape(0), what);
    const Scalar* from = corners.data();
    for (CPolygon<Item>& row : store.rows) {
        row = CPolygon<Item>{};
        std::memcpy(row.items, from, static_cast<size_t>(perRow) * sizeof(Item));
        row.count = perRow;
        from += perRow * itemWidth;
    }
}

void AssignPixels(CMatrixDataStore<RGBA>& image, const py::array& pixels)
{
    const Bytes rgba = Bytes::ensure(pixels);
    if (!rgba || rgba.ndim() != 3 || rgba.shape(2) != 4)
        throw py::value_error("pixels must be an (H, W, 4) array of uint8");
    const py::ssize_t height = rgba.shape(0);
    const py::ssize_t width = rgba.shape(1);
    if (width < 1 || height * width > INT_MAX) throw py::value_error("pixels need a width of 1 to 2^31 pixels in all");
    if (height != image.height || width != image.width) {
        RefuseResizeWhileViewed(&image, "the pixels");
        image.width = static_cast<int>(width);
        image.height = 0;
        if (!image.ReserveRows(static_cast<int>(height))) throw std::bad_alloc();
        image.height = static_cast<int>(height);
    }
    if (height != 0) std::memmove(image.Buffer(), rgba.data(), static_cast<size_t>(rgba.nbytes()));
}

// A per-vertex attribute from an array of rows (copied once).
template <class Array>
void AssignPerVertex(CModelNode& model, const char* name, const py::array& values, py::ssize_t width)
{
    const Array rows = Array::ensure(values);
    if (!rows) throw py::value_error(std::string(name) + " must be a numeric array");
    RequireRows(rows, {width}, name);
    SetAttributeValue(&model, name, rows.data(), static_cast<size_t>(rows.nbytes()), VALUE_STRUCT);
}

}  // namespace

py::array VertexView(CArrayDataStore<VERTEX>& store)
{
    return StoreView(&store, store.Buffer(), store.Number(), py::dtype::of<double>(), {3});
}

void AssignVertices(CArrayDataStore<VERTEX>& store, const py::array& vertices)
{
    const Doubles rows = Doubles::ensure(vertices);
    if (!rows) throw py::value_error("vertices must be a numeric array");
    RequireRows(rows, {3}, "vertices");
    AssignRows(store, rows.data(), rows.shape(0), "the vertices");
}

void AssignIndices(CArrayDataStore<int>& store, const py::array& indices)
{
    using Ints = py::array_t<int32_t, py::array::c_style | py::array::forcecast>;
    const Ints rows = Ints::ensure(indices);
    if (!rows || rows.ndim() != 1) throw py::value_error("indices must be a one-dimensional array of integers");
    AssignRows(store, rows.data(), rows.shape(0), "the indices");
}

void BindScanData(py::module_& module)
{
    PYBIND11_NUMPY_DTYPE(PolygonRecord, corners, count);
    PYBIND11_NUMPY_DTYPE(TexCoordRecord, corners, count);
    module.attr("POLYGON_DTYPE") = PolygonDtype();
    module.attr("TEX_COORD_DTYPE") = TexCoordDtype();

    py::class_<CObjectNode, CBaseNode, Held<CObjectNode>>(module, "ObjectNode",
                                                          "The base of every scan-data node (CObjectNode).")
        .def(py::init(&MakeNode<CObjectNode>), py::arg("name") = "", "A new CObjectNode with that name.")
        .def(
            "geo_calc",
            [](CObjectNode& node, const std::string& procedure, CBaseNode* output) {
                const int result = node.GeoCalc(procedure.c_str(), output);
                RaisePendingError();
                return result != 0;
            },
            py::arg("procedure"), py::arg("output").none(false),
            R"(Calculates the node's geometry with a geometry procedure under output (GeoCalc).

A reference node named as this node, holding what the procedure made, is hung
under output, and so on for the scan-data children. False when a procedure
failed or none was found.)");

    py::class_<CElementNode, CObjectNode, Held<CElementNode>>(
        module, "ElementNode", "One scanned element: the parent of its models, meshes and images (CElementNode).")
        .def(py::init(&MakeNode<CElementNode>), py::arg("name") = "", "A new CElementNode with that name.");

    py::class_<CModelNode, CObjectNode, Held<CModelNode>>(module, "ModelNode",
                                                          R"(A cloud of measured points (CModelNode).

``vertices`` is an (N, 3) float64 view of the vertex store; ``normals`` and
``colors`` are views of the per-vertex attributes "normals" (N, 3) float32 and
"colors" (N, 4) uint8. Assigning an array copies it into the store once; the
row count can change only while no view of that store or attribute lives.)")
        .def(py::init(&MakeNode<CModelNode>), py::arg("name") = "", "A new CModelNode with that name.")
        .def_property_readonly(
            "vertex_count", [](CModelNode& m) { return m.VertexNumber(); }, "The number of vertices (VertexNumber).")
        .def_property(
            "vertices", [](CModelNode& m) { return VertexView(*m.vertices); },
            [](CModelNode& m, const py::array& vertices) { AssignVertices(*m.vertices, vertices); },
            "The vertices as an (N, 3) float64 view of the store's memory; assigning copies rows in.")
        .def_property(
            "normals",
            [](CModelNode& m) { return AttributeView(&m, io::kNormalsAttribute, py::dtype::of<float>(), {3}); },
            [](CModelNode& m, const py::array& normals) {
                AssignPerVertex<Floats>(m, io::kNormalsAttribute, normals, 3);
            },
            "The \"normals\" attribute as an (N, 3) float32 view, or None; assigning copies rows in.")
        .def_property(
            "colors",
            [](CModelNode& m) { return AttributeView(&m, io::kColorsAttribute, py::dtype::of<uint8_t>(), {4}); },
            [](CModelNode& m, const py::array& colors) { AssignPerVertex<Bytes>(m, io::kColorsAttribute, colors, 4); },
            "The \"colors\" attribute as an (N, 4) uint8 view (RGBA), or None; assigning copies rows in.");

    py::class_<CMeshNode, CModelNode, Held<CMeshNode>>(module, "MeshNode",
                                                       R"(A model whose vertices form polygons (CMeshNode).

``polygons`` and ``tex_coords`` are views of the polygon stores, one
POLYGON_DTYPE or TEX_COORD_DTYPE record per polygon: up to four corners and
their count.)")
        .def(py::init(&MakeNode<CMeshNode>), py::arg("name") = "", "A new CMeshNode with that name.")
        .def_property(
            "polygons", [](CMeshNode& m) { return PolygonRowsView(*m.polygons, PolygonDtype()); },
            [](CMeshNode& m, const py::array& polygons) {
                AssignPolygonRows<int, int32_t>(*m.polygons, polygons, PolygonDtype(), "the polygons",
                                                "POLYGON_DTYPE records or an (N, 3) or (N, 4) array of vertex indices");
            },
            R"(The polygons as a view of POLYGON_DTYPE records (corners, count).

Assigning takes such records, or an (N, 3) or (N, 4) array of vertex indices.)")
        .def_property(
            "tex_coords", [](CMeshNode& m) { return PolygonRowsView(*m.texCoords, TexCoordDtype()); },
            [](CMeshNode& m, const py::array& texCoords) {
                AssignPolygonRows<CVector_2<float>, float>(
                    *m.texCoords, texCoords, TexCoordDtype(), "the texture coordinates",
                    "TEX_COORD_DTYPE records or an (N, 3, 2) or (N, 4, 2) array of floats");
            },
            R"(The texture coordinates as a view of TEX_COORD_DTYPE records, one per polygon.

Assigning takes such records, or an (N, 3, 2) or (N, 4, 2) array of floats.)");

    py::class_<CImageNode, CObjectNode, Held<CImageNode>>(module, "ImageNode", "One colour image (CImageNode).")
        .def(py::init(&MakeNode<CImageNode>), py::arg("name") = "", "A new CImageNode with that name.")
        .def_property(
            "pixels",
            [](CImageNode& i) {
                auto& store = *i.image;
                return StoreView(&store, store.Buffer(), store.height, py::dtype::of<uint8_t>(), {store.width, 4});
            },
            [](CImageNode& i, const py::array& pixels) { AssignPixels(*i.image, pixels); },
            "The pixels as an (H, W, 4) uint8 view of the image store; assigning copies an (H, W, 4) array in.");
}

}  // namespace brell::python

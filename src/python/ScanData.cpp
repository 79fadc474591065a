#include "python/StoreRows.h"

#include <brelldata/io/ScanScene.h>
#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/ObjectNodes.h>

#include <cstddef>
#include <cstring>

namespace brell::python {

namespace {

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

template <class T>
void ResizeRows(CPolygonDataStore<T>& store, py::ssize_t count, const char* what)
{
    if (count == store.Number()) return;
    RefuseResizeWhileViewed(&store, what);
    store.rows.resize(static_cast<size_t>(count));
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

// A per-vertex attribute from an array of rows (copied once).
template <class Scalar>
void AssignPerVertex(CModelNode& model, const char* name, const py::handle& values, py::ssize_t width)
{
    const py::array rows = RowsOf(values, py::dtype::of<Scalar>(), {width}, name);
    SetAttributeValue(&model, name, rows.data(), static_cast<size_t>(rows.nbytes()), VALUE_STRUCT);
}

}  // namespace

void RequireRows(const py::array& array, const std::vector<py::ssize_t>& rowShape, const char* what)
{
    bool fits = array.ndim() == static_cast<py::ssize_t>(rowShape.size()) + 1;
    for (size_t axis = 0; fits && axis < rowShape.size(); ++axis) fits = array.shape(axis + 1) == rowShape[axis];
    if (fits) return;
    std::string shape = "(N";
    for (py::ssize_t extent : rowShape) shape += ", " + std::to_string(extent);
    throw py::value_error(std::string(what) + " must be an array of shape " + shape + ")");
}

py::array ContiguousOf(const py::handle& values, const py::dtype& dtype)
{
    return py::module_::import("numpy").attr("ascontiguousarray")(values, dtype);
}

py::array RowsOf(const py::handle& values, const py::dtype& dtype, const std::vector<py::ssize_t>& rowShape,
                 const char* what)
{
    py::array rows = ContiguousOf(values, dtype);
    RequireRows(rows, rowShape, what);
    return rows;
}

py::array PolygonsView(CPolygonDataStore<int>& store)
{
    return StoreView(&store, store.rows.data(), store.Number(), PolygonDtype(), {});
}

void AssignPolygons(CPolygonDataStore<int>& store, const py::array& polygons)
{
    AssignPolygonRows<int, int32_t>(store, polygons, PolygonDtype(), "polygons",
                                    "POLYGON_DTYPE records or an (N, 3) or (N, 4) array of vertex indices");
}

py::array TexCoordsView(CPolygonDataStore<CVector_2<float>>& store)
{
    return StoreView(&store, store.rows.data(), store.Number(), TexCoordDtype(), {});
}

void AssignTexCoords(CPolygonDataStore<CVector_2<float>>& store, const py::array& texCoords)
{
    AssignPolygonRows<CVector_2<float>, float>(store, texCoords, TexCoordDtype(), "texture coordinates",
                                               "TEX_COORD_DTYPE records or an (N, 3, 2) or (N, 4, 2) array of floats");
}

py::array PixelsView(CMatrixDataStore<RGBA>& image)
{
    return MatrixView(image, py::dtype::of<uint8_t>(), {4});
}

void AssignPixels(CMatrixDataStore<RGBA>& image, const py::handle& pixels)
{
    AssignMatrix(image, pixels, py::dtype::of<uint8_t>(), {4}, "pixels");
}

void BindScanData(py::module_& module)
{
    PYBIND11_NUMPY_DTYPE(PolygonRecord, corners, count);
    PYBIND11_NUMPY_DTYPE(TexCoordRecord, corners, count);
    module.attr("POLYGON_DTYPE") = PolygonDtype();
    module.attr("TEX_COORD_DTYPE") = TexCoordDtype();

    NodeClass<CObjectNode, CBaseNode>(module, "ObjectNode", "The base of every scan-data node (CObjectNode).")
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

    NodeClass<CElementNode, CObjectNode>(
        module, "ElementNode", "One scanned element: the parent of its models, meshes and images (CElementNode).");

    NodeClass<CModelNode, CObjectNode>(module, "ModelNode",
                                       R"(A cloud of measured points (CModelNode).

``vertices`` is an (N, 3) float64 view of the vertex store; ``normals`` and
``colors`` are views of the per-vertex attributes "normals" (N, 3) float32 and
"colors" (N, 4) uint8. Assigning an array copies it into the store once; the
row count can change only while no view of that store or attribute lives.)")
        .def_property_readonly(
            "vertex_count", [](CModelNode& m) { return m.VertexNumber(); }, "The number of vertices (VertexNumber).")
        .def_property(
            "vertices", [](CModelNode& m) { return ArrayRowsView<double>(*m.vertices); },
            [](CModelNode& m, const py::array& vertices) {
                AssignArrayRows<double>(*m.vertices, vertices, "vertices");
            },
            "The vertices as an (N, 3) float64 view of the store's memory; assigning copies rows in.")
        .def_property(
            "normals",
            [](CModelNode& m) { return AttributeView(&m, io::kNormalsAttribute, py::dtype::of<float>(), {3}); },
            [](CModelNode& m, const py::array& normals) {
                AssignPerVertex<float>(m, io::kNormalsAttribute, normals, 3);
            },
            "The \"normals\" attribute as an (N, 3) float32 view, or None; assigning copies rows in.")
        .def_property(
            "colors",
            [](CModelNode& m) { return AttributeView(&m, io::kColorsAttribute, py::dtype::of<uint8_t>(), {4}); },
            [](CModelNode& m, const py::array& colors) {
                AssignPerVertex<uint8_t>(m, io::kColorsAttribute, colors, 4);
            },
            "The \"colors\" attribute as an (N, 4) uint8 view (RGBA), or None; assigning copies rows in.");

    NodeClass<CMeshNode, CModelNode>(module, "MeshNode",
                                     R"(A model whose vertices form polygons (CMeshNode).

``polygons`` and ``tex_coords`` are views of the polygon stores, one
POLYGON_DTYPE or TEX_COORD_DTYPE record per polygon: up to four corners and
their count.)")
        .def_property(
            "polygons", [](CMeshNode& m) { return PolygonsView(*m.polygons); },
            [](CMeshNode& m, const py::array& polygons) { AssignPolygons(*m.polygons, polygons); },
            R"(The polygons as a view of POLYGON_DTYPE records (corners, count).

Assigning takes such records, or an (N, 3) or (N, 4) array of vertex indices.)")
        .def_property(
            "tex_coords", [](CMeshNode& m) { return TexCoordsView(*m.texCoords); },
            [](CMeshNode& m, const py::array& texCoords) { AssignTexCoords(*m.texCoords, texCoords); },
            R"(The texture coordinates as a view of TEX_COORD_DTYPE records, one per polygon.

Assigning takes such records, or an (N, 3, 2) or (N, 4, 2) array of floats.)");

    NodeClass<CImageNode, CObjectNode>(module, "ImageNode", "One colour image (CImageNode).")
        .def_property(
            "pixels", [](CImageNode& i) { return PixelsView(*i.image); },
            [](CImageNode& i, const py::handle& pixels) { AssignPixels(*i.image, pixels); },
            "The pixels as an (H, W, 4) uint8 view of the image store; assigning copies an (H, W, 4) array in.");

    NodeClass<CLodNode, CObjectNode>(module, "LodNode",
                                     "A coarser or finer version of its parent's data, skipped by geo_calc (CLodNode).")
        .def_readwrite("level", &CLodNode::level, "The level of detail; its meaning is the host's.");
}

}  // namespace brell::python

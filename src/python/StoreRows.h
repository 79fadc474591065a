#pragma once

#include "python/Bindings.h"

#include <brelldata/data/ArrayDataStore.h>
#include <brelldata/data/LineDataStore.h>
#include <brelldata/data/MatrixDataStore.h>
#include <brelldata/data/PolygonDataStore.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

// Stores as numpy views and numpy arrays copied into stores, for every node
// class. A view shows the store's memory itself; an assignment copies once
// and may change a store's size only while no view of it lives.

namespace brell::python {

// Checks an array's shape against the rows a store wants: any number of rows
// of rowShape. ValueError naming what otherwise.
void RequireRows(const py::array& array, const std::vector<py::ssize_t>& rowShape, const char* what);

// values as a C-contiguous array of dtype (converted by numpy when needed).
py::array ContiguousOf(const py::handle& values, const py::dtype& dtype);
// values as a C-contiguous array of dtype with rows of rowShape (converted by
// numpy when needed); ValueError naming what when they cannot be.
py::array RowsOf(const py::handle& values, const py::dtype& dtype, const std::vector<py::ssize_t>& rowShape,
                 const char* what);

// Copies count rows into an array store, growing or shrinking it first; the
// size may change only while no numpy view of the store exists.
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

// An array store of records of Scalar as an (N, width) view, or (N,) for
// records of one Scalar.
template <class Scalar, class T>
py::array ArrayRowsView(CArrayDataStore<T>& store)
{
    static_assert(sizeof(T) % sizeof(Scalar) == 0);
    constexpr py::ssize_t width = sizeof(T) / sizeof(Scalar);
    return StoreView(&store, store.Buffer(), store.Number(), py::dtype::of<Scalar>(),
                     width == 1 ? std::vector<py::ssize_t>{} : std::vector<py::ssize_t>{width});
}

// Copies an (N, width) array (or (N,) for records of one Scalar) into the store.
template <class Scalar, class T>
void AssignArrayRows(CArrayDataStore<T>& store, const py::handle& values, const char* what)
{
    constexpr py::ssize_t width = sizeof(T) / sizeof(Scalar);
    const py::array rows = RowsOf(values, py::dtype::of<Scalar>(),
                                  width == 1 ? std::vector<py::ssize_t>{} : std::vector<py::ssize_t>{width}, what);
    AssignRows(store, rows.data(), rows.shape(0), what);
}

// A matrix store's held rows as an (H, W, ...) view of dtype items, each of itemShape.
template <class T>
py::array MatrixView(CMatrixDataStore<T>& store, const py::dtype& dtype, const std::vector<py::ssize_t>& itemShape)
{
    std::vector<py::ssize_t> rowShape{std::max(store.width, 0)};
    rowShape.insert(rowShape.end(), itemShape.begin(), itemShape.end());
    return StoreView(&store, store.Buffer(), store.HeldRows(), dtype, rowShape);
}

// Copies an (H, W, ...) array of dtype items of itemShape into a matrix store,
// which takes its width; the height or width may change only while no view
// of the store exists.
template <class T>
void AssignMatrix(CMatrixDataStore<T>& store, const py::handle& values, const py::dtype& dtype,
                  const std::vector<py::ssize_t>& itemShape, const char* what)
{
    const py::array rows = ContiguousOf(values, dtype);
    const std::vector<py::ssize_t> shape(rows.shape(), rows.shape() + rows.ndim());
    if (shape.size() != itemShape.size() + 2 || !std::equal(itemShape.begin(), itemShape.end(), shape.begin() + 2)) {
        std::string wanted = "(H, W";
        for (py::ssize_t extent : itemShape) wanted += ", " + std::to_string(extent);
        throw py::value_error(std::string(what) + " must be an array of shape " + wanted + ")");
    }
    const py::ssize_t height = shape[0];
    const py::ssize_t width = shape[1];
    if (width < 1 || height * width > INT_MAX)
        throw py::value_error(std::string(what) + " need a width of 1 to 2^31 items in all");
    if (height != store.HeldRows() || width != store.width) {
        RefuseResizeWhileViewed(&store, what);
        store.width = static_cast<int>(width);
        store.height = 0;
        if (!store.ReserveRows(static_cast<int>(height))) throw std::bad_alloc();
        store.height = static_cast<int>(height);
    }
    if (height != 0) std::memmove(store.Buffer(), rows.data(), static_cast<size_t>(rows.nbytes()));
}

// A line store as a list of views, one per line, of dtype items of itemShape.
template <class T>
py::list LineViews(CLineDataStore<T>& store, const py::dtype& dtype, const std::vector<py::ssize_t>& itemShape)
{
    py::list views;
    for (std::vector<T>& line : store.lines)
        views.append(StoreView(&store, line.data(), static_cast<py::ssize_t>(line.size()), dtype, itemShape));
    return views;
}

// Copies a sequence of arrays, one per line, into a line store; the number
// of lines or the length of any may change only while no view of the store exists.
template <class T>
void AssignLines(CLineDataStore<T>& store, const py::iterable& values, const py::dtype& dtype,
                 const std::vector<py::ssize_t>& itemShape, const char* what)
{
    std::vector<py::array> lines;
    for (const py::handle line : values) lines.push_back(RowsOf(line, dtype, itemShape, what));
    bool sameSizes = lines.size() == store.lines.size();
    for (size_t i = 0; sameSizes && i < lines.size(); ++i)
        sameSizes = static_cast<size_t>(lines[i].shape(0)) == store.lines[i].size();
    if (!sameSizes) {
        RefuseResizeWhileViewed(&store, what);
        store.lines.resize(lines.size());
        for (size_t i = 0; i < lines.size(); ++i) store.lines[i].resize(static_cast<size_t>(lines[i].shape(0)));
    }
    for (size_t i = 0; i < lines.size(); ++i)
        if (!store.lines[i].empty())
            std::memmove(store.lines[i].data(), lines[i].data(), store.lines[i].size() * sizeof(T));
}

// The polygon and texture coordinate stores of meshes and shaded geometry,
// one POLYGON_DTYPE or TEX_COORD_DTYPE record per row.
py::array PolygonsView(CPolygonDataStore<int>& store);
void AssignPolygons(CPolygonDataStore<int>& store, const py::array& polygons);
py::array TexCoordsView(CPolygonDataStore<CVector_2<float>>& store);
void AssignTexCoords(CPolygonDataStore<CVector_2<float>>& store, const py::array& texCoords);

// An image store as an (H, W, 4) uint8 view, and pixels copied into one.
py::array PixelsView(CMatrixDataStore<RGBA>& image);
void AssignPixels(CMatrixDataStore<RGBA>& image, const py::handle& pixels);

}  // namespace brell::python

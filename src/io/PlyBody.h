#pragma once

// A PLY body read from any source of values (binary or ASCII): vertices into
// the geometry's arrays, faces split into rows, edges joined into lines, and
// the elements the geometry has no place for skipped.

#include "io/Geometry.h"
#include "io/PlyFormat.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <new>
#include <vector>

namespace brell::io::ply {

// The vertex arrays being filled, and where each slot's value goes.
struct VertexSink {
    ScanGeometry& geometry;
    BulkVector<CVector_2<float>>& uv;
    bool normals, colors, texture;
    // Room for every vertex's position, when they go there rather than into
    // the geometry.
    VERTEX* positionRoom = nullptr;
    VERTEX* positions = nullptr;
    size_t made = 0;
    // A sink that streams holds at most pieceVertices vertices, from vertex
    // first on, and hands them to onPiece before it takes more.
    size_t pieceVertices = SIZE_MAX;
    size_t first = 0;
    std::function<void(const ScanGeometry& piece)> onPiece = nullptr;

    // The vertices a reader takes in one go: few enough to stay in the cache.
    size_t Block() const { return std::min<size_t>(2048, pieceVertices); }

    // Room reserved for count vertices; none of them made yet.
    void Reserve(size_t count)
    {
        if (positionRoom == nullptr) geometry.positions.reserve(count);
        positions = positionRoom != nullptr ? positionRoom : geometry.positions.data();
        if (normals) geometry.normals.reserve(count);
        if (colors) geometry.colors.reserve(count);
        if (texture) uv.reserve(count);
    }
    // At least count vertices made, with their defaults. Growing a block at a
    // time writes the defaults in the cache just before the values replace
    // them, rather than in a pass of their own over the whole arrays. Room
    // for positions gets none when the vertices' values follow, as a vertex
    // element always holds x, y and z.
    void Grow(size_t count, bool valuesFollow = true)
    {
        if (count <= made) return;
        if (count - first > pieceVertices) HandOn();
        const size_t from = made - first, to = count - first;
        if (positionRoom != nullptr) {
            if (!valuesFollow) std::fill(positionRoom + from, positionRoom + to, VERTEX{});
        } else {
            geometry.positions.resize(to);
        }
        // Growing to a value fills element by element through the allocator,
        // many times slower than growing zeroed and setting what is not zero.
        if (normals) geometry.normals.resize(to);
        if (colors) {
            geometry.colors.resize(to);
            for (size_t i = from; i < to; ++i) geometry.colors[i].a = 255;
        }
        if (texture) uv.resize(to);
        made = count;
    }
    // Hands the vertices made since the last piece to onPiece, and empties
    // the arrays (keeping their room) for the next.
    void HandOn()
    {
        if (made > first) onPiece(geometry);
        first = made;
        geometry.positions.clear();
        geometry.normals.clear();
        geometry.colors.clear();
        uv.clear();
    }

    template <class Each>
    void ForSlot(Slot slot, bool floatColor, Each each)
    {
        auto channel = [floatColor](double value) { return Channel(value, floatColor); };
        // Vertex i lies at i - first in the arrays.
        VERTEX* const p = positions;
        CVector_3<float>* const n = geometry.normals.data();
        RGBA* const c = geometry.colors.data();
        CVector_2<float>* const t = uv.data();
        const size_t f = first;
        switch (slot) {
            case Slot::x:
                return each([p, f](size_t i, double value) { p[i - f].x = value; });
            case Slot::y:
                return each([p, f](size_t i, double value) { p[i - f].y = value; });
            case Slot::z:
                return each([p, f](size_t i, double value) { p[i - f].z = value; });
            case Slot::nx:
                return each([n, f](size_t i, double value) { n[i - f].x = static_cast<float>(value); });
            case Slot::ny:
                return each([n, f](size_t i, double value) { n[i - f].y = static_cast<float>(value); });
            case Slot::nz:
                return each([n, f](size_t i, double value) { n[i - f].z = static_cast<float>(value); });
            case Slot::red:
                return each([c, f, channel](size_t i, double value) { c[i - f].r = channel(value); });
            case Slot::green:
                return each([c, f, channel](size_t i, double value) { c[i - f].g = channel(value); });
            case Slot::blue:
                return each([c, f, channel](size_t i, double value) { c[i - f].b = channel(value); });
            case Slot::alpha:
                return each([c, f, channel](size_t i, double value) { c[i - f].a = channel(value); });
            case Slot::u:
                return each([t, f](size_t i, double value) { t[i - f].x = static_cast<float>(value); });
            case Slot::v:
                return each([t, f](size_t i, double value) { t[i - f].y = static_cast<float>(value); });
            default:
                return;
        }
    }
};

// What the geometry keeps of a vertex element: a normal when it has any of
// the normal's axes, a colour when it has any channel.
inline bool HasNormals(const Element& vertex)
{
    return vertex.Find(Slot::nx) || vertex.Find(Slot::ny) || vertex.Find(Slot::nz);
}
inline bool HasColors(const Element& vertex)
{
    return vertex.Find(Slot::red) || vertex.Find(Slot::green) || vertex.Find(Slot::blue) || vertex.Find(Slot::alpha);
}

// A sink with arrays for what the vertex element holds.
inline VertexSink SinkFor(const Element& vertex, ScanGeometry& geometry, BulkVector<CVector_2<float>>& uv)
{
    return {geometry, uv, HasNormals(vertex), HasColors(vertex), vertex.Find(Slot::u) || vertex.Find(Slot::v)};
}

template <class Source>
void ReadVertices(Source& source, const Element& element, VertexSink& sink)
{
    if (source.ReadFixed(element, sink)) return;
    const size_t block = sink.Block();
    for (size_t i = 0; i < element.count; ++i) {
        if (i == sink.made) sink.Grow(std::min<size_t>(i + block, element.count));
        for (const Property& property : element.properties) {
            if (property.list) {
                source.SkipList(property, source.ListCount(property));
                continue;
            }
            const double value = IsPosition(property.slot) ? source.Coordinate(property.type)
                                                           : source.Scalar(property.type, "a vertex property value");
            sink.ForSlot(property.slot, IsFloat(property.type), [&](auto store) { store(i, value); });
        }
    }
}

template <class Source>
void ReadFaces(Source& source, const Element& element, int vertices, const BulkVector<CVector_2<float>>& vertexUv,
               ScanGeometry& geometry, detail::PolygonSplitter& splitter)
{
    const bool perCornerUv = element.Find(Slot::texcoord) != nullptr;
    if (!perCornerUv && vertexUv.empty() && source.ReadPlainFaces(element, vertices, geometry, splitter)) return;
    std::vector<int> corners;
    std::vector<float> uvValues;
    std::vector<CVector_2<float>> uv;
    const bool colored =
        element.Find(Slot::red) || element.Find(Slot::green) || element.Find(Slot::blue) || element.Find(Slot::alpha);
    for (uint64_t f = 0; f < element.count; ++f) {
        const auto mark = source.Mark();
        RGBA color{0, 0, 0, 255};
        for (const Property& property : element.properties) {
            if (!property.list) {
                const double value = source.Scalar(property.type, "a face property value");
                const uint8_t channel = Channel(value, IsFloat(property.type));
                if (property.slot == Slot::red) color.r = channel;
                if (property.slot == Slot::green) color.g = channel;
                if (property.slot == Slot::blue) color.b = channel;
                if (property.slot == Slot::alpha) color.a = channel;
                continue;
            }
            const uint64_t count = source.ListCount(property);
            if (property.slot == Slot::corners) {
                corners.resize(count);
                for (int& corner : corners) corner = source.Index(property.type, vertices);
            } else if (property.slot == Slot::texcoord) {
                uvValues.resize(count);
                for (float& value : uvValues)
                    value = static_cast<float>(source.Scalar(property.type, "a texture coordinate"));
            } else {
                source.SkipList(property, count);
            }
        }
        if (corners.size() < 3)
            source.FailAt(mark, "a face of at least 3 corners", std::to_string(corners.size()) + " corners");
        const CVector_2<float>* faceUv = nullptr;
        if (perCornerUv) {
            if (uvValues.size() != 2 * corners.size())
                source.FailAt(mark,
                              std::to_string(2 * corners.size()) + " texture coordinate values for the face's corners",
                              std::to_string(uvValues.size()));
            uv.resize(corners.size());
            for (size_t k = 0; k < corners.size(); ++k) uv[k] = {uvValues[2 * k], uvValues[2 * k + 1]};
            faceUv = uv.data();
        } else if (!vertexUv.empty()) {
            uv.resize(corners.size());
            for (size_t k = 0; k < corners.size(); ++k) uv[k] = vertexUv[corners[k]];
            faceUv = uv.data();
        }
        splitter.Add(geometry, corners.data(), corners.data(), faceUv, corners.size(), colored ? &color : nullptr);
    }
}

// Edges as lines, joined into polylines where one edge starts at the end of the one before.
template <class Source>
void ReadEdges(Source& source, const Element& element, int vertices, ScanGeometry& geometry)
{
    for (uint64_t e = 0; e < element.count; ++e) {
        int ends[2] = {0, 0};
        for (const Property& property : element.properties) {
            if (property.list) {
                source.SkipList(property, source.ListCount(property));
            } else if (property.slot == Slot::from || property.slot == Slot::to) {
                ends[property.slot == Slot::to] = source.Index(property.type, vertices);
            } else {
                source.Scalar(property.type, "an edge property value");
            }
        }
        detail::AddEdge(geometry, ends[0], ends[1]);
    }
}

template <class Source>
void SkipElement(Source& source, const Element& element)
{
    if (element.properties.empty()) return;
    for (uint64_t i = 0; i < element.count; ++i) {
        for (const Property& property : element.properties) {
            if (property.list) {
                source.SkipList(property, source.ListCount(property));
            } else {
                source.Scalar(property.type, "a property value");
            }
        }
    }
}

template <class Source>
ScanGeometry ReadBody(Source& source, const Header& header, CArrayDataStore<VERTEX>* positionStore)
{
    ScanGeometry geometry;
    geometry.warnings = DroppedParts(header);
    BulkVector<CVector_2<float>> vertexUv;
    const Element* vertexElement = nullptr;
    for (const Element& element : header.elements) {
        if (element.name == "vertex") vertexElement = &element;
    }
    const int vertices = static_cast<int>(vertexElement->count);
    VertexSink sink = SinkFor(*vertexElement, geometry, vertexUv);
    detail::PolygonSplitter splitter;
    if (positionStore != nullptr) {
        positionStore->Clear();
        if (!positionStore->Append(vertices)) throw std::bad_alloc();
        sink.positionRoom = positionStore->Buffer();
        splitter.FindVerticesAt(sink.positionRoom);
    }
    sink.Reserve(vertices);
    for (const Element& element : header.elements) {
        if (&element == vertexElement) {
            ReadVertices(source, element, sink);
        } else if (element.name == "face") {
            sink.Grow(vertices, false);  // faces ahead of their vertices see the defaults
            geometry.faces.reserve(element.count);
            ReadFaces(source, element, vertices, vertexUv, geometry, splitter);
        } else if (IsEdgeElement(element)) {
            ReadEdges(source, element, vertices, geometry);
        } else {
            SkipElement(source, element);
        }
    }
    source.Finish();
    return geometry;
}

// The body of a file whose only element with any items is element, its
// vertices handed on a piece at a time through the sink.
template <class Source>
void StreamVertices(Source& source, const Element& element, VertexSink& sink)
{
    ReadVertices(source, element, sink);
    sink.HandOn();
    source.Finish();
}

void StreamBinaryVertices(FileWindow& window, const Header& header, const Element& element, const std::string& name,
                          VertexSink& sink);
void StreamAsciiVertices(std::string_view bytes, const Header& header, const Element& element,
                         const std::string& name, VertexSink& sink);

}  // namespace brell::io::ply

#pragma once

// A PLY body read from any source of values (binary or ASCII): vertices into
// the geometry's arrays, faces split into rows, edges joined into lines, and
// the elements the geometry has no place for skipped.

#include "io/Geometry.h"
#include "io/PlyFormat.h"

#include <algorithm>
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
        if (positionRoom != nullptr) {
            if (!valuesFollow) std::fill(positionRoom + made, positionRoom + count, VERTEX{});
        } else {
            geometry.positions.resize(count);
        }
        // Growing to a value fills element by element through the allocator,
        // many times slower than growing zeroed and setting what is not zero.
        if (normals) geometry.normals.resize(count);
        if (colors) {
            geometry.colors.resize(count);
            for (size_t i = made; i < count; ++i) geometry.colors[i].a = 255;
        }
        if (texture) uv.resize(count);
        made = count;
    }

    template <class Each>
    void ForSlot(Slot slot, bool floatColor, Each each)
    {
        auto channel = [floatColor](double value) { return Channel(value, floatColor); };
        VERTEX* const p = positions;
        auto& n = geometry.normals;
        auto& c = geometry.colors;
        switch (slot) {
            case Slot::x:
                return each([p](size_t i, double value) { p[i].x = value; });
            case Slot::y:
                return each([p](size_t i, double value) { p[i].y = value; });
            case Slot::z:
                return each([p](size_t i, double value) { p[i].z = value; });
            case Slot::nx:
                return each([&n](size_t i, double value) { n[i].x = static_cast<float>(value); });
            case Slot::ny:
                return each([&n](size_t i, double value) { n[i].y = static_cast<float>(value); });
            case Slot::nz:
                return each([&n](size_t i, double value) { n[i].z = static_cast<float>(value); });
            case Slot::red:
                return each([&c, channel](size_t i, double value) { c[i].r = channel(value); });
            case Slot::green:
                return each([&c, channel](size_t i, double value) { c[i].g = channel(value); });
            case Slot::blue:
                return each([&c, channel](size_t i, double value) { c[i].b = channel(value); });
            case Slot::alpha:
                return each([&c, channel](size_t i, double value) { c[i].a = channel(value); });
            case Slot::u:
                return each([this](size_t i, double value) { uv[i].x = static_cast<float>(value); });
            case Slot::v:
                return each([this](size_t i, double value) { uv[i].y = static_cast<float>(value); });
            default:
                return;
        }
    }
};

template <class Source>
void ReadVertices(Source& source, const Element& element, VertexSink& sink)
{
    if (source.ReadFixed(element, sink)) return;
    sink.Grow(element.count);
    for (size_t i = 0; i < element.count; ++i) {
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
    VertexSink sink{geometry, vertexUv,
                    vertexElement->Find(Slot::nx) || vertexElement->Find(Slot::ny) || vertexElement->Find(Slot::nz),
                    vertexElement->Find(Slot::red) || vertexElement->Find(Slot::green) ||
                        vertexElement->Find(Slot::blue) || vertexElement->Find(Slot::alpha),
                    vertexElement->Find(Slot::u) || vertexElement->Find(Slot::v)};
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

}  // namespace brell::io::ply

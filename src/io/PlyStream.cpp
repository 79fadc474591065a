// PLY point clouds copied to PLY files a piece of vertices at a time, through
// the reader's vertex sink and the writer's vertex rows.

#include "io/PlyStream.h"

#include "io/PlyBody.h"
#include "io/PlyWrite.h"

#include <algorithm>
#include <utility>

namespace brell::io {

namespace {

thread_local size_t pieceVertices = size_t{1} << 16;

// The vertex element of a file in which no other element has any items; null
// for any other file.
const ply::Element* PointCloud(const ply::Header& header)
{
    const ply::Element* vertex = nullptr;
    for (const ply::Element& element : header.elements) {
        if (element.name == "vertex" && vertex == nullptr && element.count > 0) {
            vertex = &element;
        } else if (element.count > 0 || element.name == "vertex") {
            return nullptr;
        }
    }
    return vertex;
}

// True when every value of the type is a float value.
bool FitsFloat(ply::Type type)
{
    return type != ply::Type::int32 && type != ply::Type::uint32 && type != ply::Type::float64;
}

// Reads the point cloud of vertices at path, handing its vertices to onPiece
// a piece at a time; FileError when the file no longer holds that cloud.
template <class OnPiece>
void ReadPieces(const std::string& path, size_t vertices, OnPiece onPiece)
{
    FileWindow window(path);
    const ply::Header header = ply::ReadHeader(window, path);
    const ply::Element* cloud = PointCloud(header);
    if (cloud == nullptr || cloud->count != vertices)
        throw FileError::InFile(path, "the same file on every pass", "a file changed while read");
    const ply::Element& vertex = *cloud;
    ScanGeometry piece;
    BulkVector<CVector_2<float>> uv;
    ply::VertexSink sink = ply::SinkFor(vertex, piece, uv);
    sink.pieceVertices = detail::PlyPieceVertices();
    sink.onPiece = [&](const ScanGeometry& geometry) { onPiece(geometry); };
    sink.Reserve(std::min<size_t>(vertex.count, sink.pieceVertices));
    if (header.encoding == PlyEncoding::ascii) {
        window.Slide(0, window.FileSize());
        ply::StreamAsciiVertices(window.View(), header, vertex, path, sink);
    } else {
        ply::StreamBinaryVertices(window, header, vertex, path, sink);
    }
}

detail::ScanPart PartOf(const ScanGeometry& piece)
{
    auto orNull = [](const auto& items) { return items.empty() ? nullptr : items.data(); };
    return {piece.positions.data(), piece.positions.size(), orNull(piece.normals), orNull(piece.colors)};
}

}  // namespace

size_t detail::PlyPieceVertices()
{
    return pieceVertices;
}

detail::PlyPieceScope::PlyPieceScope(size_t vertices) : previous_(std::exchange(pieceVertices, vertices)) {}

detail::PlyPieceScope::~PlyPieceScope()
{
    pieceVertices = previous_;
}

bool CopyPlyPointCloud(const std::string& in, const std::string& out, PlyEncoding encoding,
                       std::vector<std::string>* warnings, const std::function<void()>& onWriting)
{
    if (FormatOfFileName(in) != ScanFormat::ply) return false;
    try {
        if (FormatOfFileName(out) != ScanFormat::ply) return false;
    } catch (const FileError&) {
        return false;  // refused as the other path refuses it, once in is read
    }
    detail::PlyPointShape shape;
    {
        FileWindow window(in);
        const ply::Header header = ply::ReadHeader(window, in);
        const ply::Element* vertex = PointCloud(header);
        if (vertex == nullptr) return false;
        if (warnings != nullptr) {
            const std::vector<std::string> dropped = ply::DroppedParts(header);
            warnings->insert(warnings->end(), dropped.begin(), dropped.end());
        }
        shape.vertices = vertex->count;
        shape.normals = ply::HasNormals(*vertex);
        shape.colors = ply::HasColors(*vertex);
        for (const ply::Property& property : vertex->properties)
            shape.asFloat = shape.asFloat && (!ply::IsPosition(property.slot) || FitsFloat(property.type));
        // Doubles and wide integers may or may not fit floats, and alpha may
        // be opaque throughout: a first pass over the values decides.
        if (!shape.asFloat || vertex->Find(ply::Slot::alpha)) {
            bool fits = true;
            ReadPieces(in, shape.vertices, [&](const ScanGeometry& piece) {
                fits = fits && detail::PositionsFitFloat(piece.positions.data(), piece.positions.size());
                shape.alpha = shape.alpha || detail::AnyTranslucent(piece.colors.data(), piece.colors.size());
            });
            shape.asFloat = fits;
        }
    }
    if (onWriting) onWriting();
    detail::PlyPointSaver saver(out, shape, encoding);
    // The reading tells progress: the saver's estimate of the file is rough.
    const auto quietly = [](auto write) {
        const FileProgressScope quiet{FileProgress{}};
        write();
    };
    ReadPieces(in, shape.vertices, [&](const ScanGeometry& piece) { quietly([&] { saver.Put(PartOf(piece)); }); });
    quietly([&] { saver.Commit(); });
    return true;
}

}  // namespace brell::io

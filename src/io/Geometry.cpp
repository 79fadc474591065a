#include "io/Geometry.h"

#include "io/Text.h"

#include <brelldata/io/FileError.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <new>

#include <sys/mman.h>
#include <unistd.h>

namespace brell::io::detail {

namespace {

// Twice the signed area of the triangle a b c: positive when it turns left.
double Turn(double au, double av, double bu, double bv, double cu, double cv)
{
    return (bu - au) * (cv - av) - (bv - av) * (cu - au);
}

void CheckCornerCount(const CPolygon<int>& face, size_t f, const std::string& name)
{
    if (face.count < 3 || face.count > 4)
        throw FileError::InFile(name, "3 or 4 corners in face " + std::to_string(f), std::to_string(face.count));
}

// FileError for the first of count positions that is not finite, numbered
// from first.
void CheckFinite(const VERTEX* positions, size_t count, size_t first, const std::string& name)
{
    for (size_t v = 0; v < count; ++v) {
        const VERTEX& p = positions[v];
        if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z))
            throw FileError::InFile(name, "finite coordinates of vertex " + std::to_string(first + v),
                                    std::to_string(p.x) + ", " + std::to_string(p.y) + ", " + std::to_string(p.z));
    }
}

}  // namespace

void PolygonSplitter::Triangle(ScanGeometry& geometry, const int* corners, const CVector_2<float>* uv,
                               const RGBA* color, size_t a, size_t b, size_t c)
{
    geometry.faces.push_back({{corners[a], corners[b], corners[c], 0}, 3});
    if (uv != nullptr) geometry.texCoords.push_back({{uv[a], uv[b], uv[c], {}}, 3});
    if (color != nullptr) geometry.faceColors.push_back(*color);
}

// The corners in the plane through the first one across the Newell normal,
// turning left as the polygon runs; false when the polygon has no normal.
bool PolygonSplitter::Project(const VERTEX* positions, const int* vertices, size_t n)
{
    double nx = 0, ny = 0, nz = 0;
    for (size_t k = 0; k < n; ++k) {
        const VERTEX& a = positions[vertices[k]];
        const VERTEX& b = positions[vertices[(k + 1) % n]];
        nx += (a.y - b.y) * (a.z + b.z);
        ny += (a.z - b.z) * (a.x + b.x);
        nz += (a.x - b.x) * (a.y + b.y);
    }
    const double length = std::sqrt(nx * nx + ny * ny + nz * nz);
    if (!(length > 0) || !std::isfinite(length)) return false;
    nx /= length, ny /= length, nz /= length;
    // u across the normal and the axis it leans on least, v = normal x u.
    const double ax = std::fabs(nx), ay = std::fabs(ny), az = std::fabs(nz);
    double ux = 0, uy = 0, uz = 0;
    if (ax <= ay && ax <= az) {
        uy = nz, uz = -ny;
    } else if (ay <= az) {
        ux = -nz, uz = nx;
    } else {
        ux = ny, uy = -nx;
    }
    const double ulength = std::sqrt(ux * ux + uy * uy + uz * uz);
    ux /= ulength, uy /= ulength, uz /= ulength;
    const double vx = ny * uz - nz * uy, vy = nz * ux - nx * uz, vz = nx * uy - ny * ux;
    const VERTEX& origin = positions[vertices[0]];
    points_.resize(n);
    for (size_t k = 0; k < n; ++k) {
        const VERTEX& p = positions[vertices[k]];
        const double dx = p.x - origin.x, dy = p.y - origin.y, dz = p.z - origin.z;
        points_[k] = {dx * ux + dy * uy + dz * uz, dx * vx + dy * vy + dz * vz};
    }
    return true;
}

// Whether the corner turns left and no other corner left lies in or on the
// triangle it makes with its neighbours; a corner at the same place as one of
// the three (where a cut joins a hole to the outline) does not count.
bool PolygonSplitter::IsEar(size_t previous, size_t corner, size_t next)
{
    const Point a = points_[previous], b = points_[corner], c = points_[next];
    if (!(Turn(a.u, a.v, b.u, b.v, c.u, c.v) > 0)) return false;
    auto same = [](Point p, Point q) { return p.u == q.u && p.v == q.v; };
    for (size_t k = next_[next]; k != previous; k = next_[k]) {
        ++work_;
        const Point p = points_[k];
        if (same(p, a) || same(p, b) || same(p, c)) continue;
        if (Turn(a.u, a.v, b.u, b.v, p.u, p.v) >= 0 && Turn(b.u, b.v, c.u, c.v, p.u, p.v) >= 0 &&
            Turn(c.u, c.v, a.u, a.v, p.u, p.v) >= 0)
            return false;
    }
    return true;
}

void PolygonSplitter::Add(ScanGeometry& geometry, const int* corners, const int* vertices, const CVector_2<float>* uv,
                          size_t n, const RGBA* color)
{
    if (n <= 4) {
        if (color != nullptr) geometry.faceColors.push_back(*color);
        CPolygon<int> face{{}, static_cast<int>(n)};
        for (size_t k = 0; k < n; ++k) face.items[k] = corners[k];
        geometry.faces.push_back(face);
        if (uv == nullptr) return;
        CPolygon<CVector_2<float>> row{{}, static_cast<int>(n)};
        for (size_t k = 0; k < n; ++k) row.items[k] = uv[k];
        geometry.texCoords.push_back(row);
        return;
    }
    // A polygon without a plane (its corners on a line) has no inside to keep to.
    const bool planar = Project(positions_ != nullptr ? positions_ : geometry.positions.data(), vertices, n);
    bool convex = true;
    for (size_t k = 0; planar && convex && k < n; ++k) {
        const Point a = points_[k], b = points_[(k + 1) % n], c = points_[(k + 2) % n];
        convex = Turn(a.u, a.v, b.u, b.v, c.u, c.v) >= 0;
    }
    if (!planar || convex) {
        for (size_t k = 1; k + 1 < n; ++k) Triangle(geometry, corners, uv, color, 0, k, k + 1);
        return;
    }
    previous_.resize(n);
    next_.resize(n);
    for (size_t k = 0; k < n; ++k) {
        previous_[k] = (k + n - 1) % n;
        next_[k] = (k + 1) % n;
    }
    // Starting at corner 1 and going on from each cut makes convex stretches
    // fans around their first corner. A round without an ear (a polygon that
    // crosses itself) cuts the corner it ends at. Past a budget of corners
    // tested, which grows with the corners and only huge concave polygons
    // reach, what is left becomes a fan, so that no polygon hangs a read.
    const uint64_t budget = 64 * uint64_t{n} + (uint64_t{1} << 24);
    work_ = 0;
    size_t corner = 1, misses = 0;
    for (size_t left = n; left > 3;) {
        if (work_ > budget) {
            for (size_t k = next_[corner]; next_[k] != corner; k = next_[k])
                Triangle(geometry, corners, uv, color, corner, k, next_[k]);
            return;
        }
        const size_t before = previous_[corner], after = next_[corner];
        ++work_;
        if (IsEar(before, corner, after) || ++misses >= left) {
            Triangle(geometry, corners, uv, color, before, corner, after);
            next_[before] = after;
            previous_[after] = before;
            --left;
            misses = 0;
        }
        corner = after;
    }
    Triangle(geometry, corners, uv, color, previous_[corner], corner, next_[corner]);
}

void AddLine(ScanGeometry& geometry, const int* vertices, size_t n)
{
    geometry.lineStarts.push_back(static_cast<int>(geometry.lineVertices.size()));
    geometry.lineVertices.insert(geometry.lineVertices.end(), vertices, vertices + n);
}

void AddEdge(ScanGeometry& geometry, int a, int b)
{
    if (!geometry.lineVertices.empty() && geometry.lineVertices.back() == a) {
        geometry.lineVertices.push_back(b);
        return;
    }
    const int edge[2] = {a, b};
    AddLine(geometry, edge, 2);
}

std::string Dropped(uint64_t count, const std::string& what)
{
    return std::to_string(count) + " " + what + " dropped";
}

void CheckGeometry(const ScanGeometry& geometry, const std::string& name)
{
    const size_t vertices = geometry.positions.size();
    auto refuse = [&](const std::string& expected, const std::string& found) {
        throw FileError::InFile(name, expected, found);
    };
    if (vertices > INT32_MAX) refuse("at most 2147483647 vertices", std::to_string(vertices));
    if (!geometry.normals.empty() && geometry.normals.size() != vertices)
        refuse("one normal per vertex (" + std::to_string(vertices) + ")", std::to_string(geometry.normals.size()));
    if (!geometry.colors.empty() && geometry.colors.size() != vertices)
        refuse("one colour per vertex (" + std::to_string(vertices) + ")", std::to_string(geometry.colors.size()));
    if (!geometry.texCoords.empty() && geometry.texCoords.size() != geometry.faces.size())
        refuse("one texture coordinate row per face (" + std::to_string(geometry.faces.size()) + ")",
               std::to_string(geometry.texCoords.size()));
    if (!geometry.faceColors.empty() && geometry.faceColors.size() != geometry.faces.size())
        refuse("one colour per face (" + std::to_string(geometry.faces.size()) + ")",
               std::to_string(geometry.faceColors.size()));
    if (geometry.lineVertices.size() > INT32_MAX)
        refuse("at most 2147483647 line vertices", std::to_string(geometry.lineVertices.size()));
    for (size_t k = 0; k < geometry.lineStarts.size(); ++k) {
        const auto [from, to] = LineRange(geometry, k);
        if (from > to || to > geometry.lineVertices.size() || to - from < 2)
            refuse("2 or more vertices in line " + std::to_string(k), std::to_string(to - from));
        for (size_t i = from; i < to; ++i) {
            if (geometry.lineVertices[i] < 0 || static_cast<size_t>(geometry.lineVertices[i]) >= vertices)
                refuse("vertex indices of line " + std::to_string(k) + " below " + std::to_string(vertices),
                       std::to_string(geometry.lineVertices[i]));
        }
    }
    if (geometry.lineStarts.empty() && !geometry.lineVertices.empty())
        refuse("lines for the " + std::to_string(geometry.lineVertices.size()) + " line vertices", "none");
    for (size_t f = 0; f < geometry.faces.size(); ++f) {
        const CPolygon<int>& face = geometry.faces[f];
        CheckCornerCount(face, f, name);
        if (!geometry.texCoords.empty() && geometry.texCoords[f].count != face.count)
            refuse("one texture coordinate per corner of face " + std::to_string(f),
                   std::to_string(geometry.texCoords[f].count));
        for (int k = 0; k < face.count; ++k) {
            if (face.items[k] < 0 || static_cast<size_t>(face.items[k]) >= vertices)
                refuse("vertex indices of face " + std::to_string(f) + " below " + std::to_string(vertices),
                       std::to_string(face.items[k]));
        }
    }
}

void CheckWritable(const ScanGeometry& geometry, const std::string& name, const char* formatWithoutEmpty)
{
    CheckGeometry(geometry, name);
    if (formatWithoutEmpty != nullptr && geometry.positions.empty())
        throw FileError::InFile(
            name, std::string("at least one vertex, as ") + formatWithoutEmpty + " cannot hold an empty scan", "none");
    CheckFinite(geometry.positions.data(), geometry.positions.size(), 0, name);
}

void CheckWritable(const std::vector<ScanPart>& parts, const std::string& name)
{
    size_t before = 0;
    for (const ScanPart& part : parts) {
        for (size_t f = 0; f < part.faceCount; ++f) CheckCornerCount(part.faces[f], before + f, name);
        before += part.faceCount;
    }
    before = 0;
    for (const ScanPart& part : parts) {
        CheckFinite(part.positions, part.vertices, before, name);
        before += part.vertices;
    }
}

void MovePositions(ScanGeometry& geometry, CArrayDataStore<VERTEX>& store, const std::string& name)
{
    const size_t count = geometry.positions.size();
    if (count > INT_MAX) throw FileError::InFile(name, "at most 2147483647 vertices", std::to_string(count));
    store.Clear();
    if (!store.Append(static_cast<int>(count))) throw std::bad_alloc();
    constexpr size_t kPieceBytes = size_t{2} << 20;
    const uintptr_t page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const size_t bytes = count * sizeof(VERTEX);
    const auto from = reinterpret_cast<const char*>(geometry.positions.data());
    auto* to = reinterpret_cast<char*>(store.Buffer());
    // Only the whole pages inside the positions are given back.
    uintptr_t givenBack = (reinterpret_cast<uintptr_t>(from) + page - 1) & ~(page - 1);
    for (size_t done = 0; done < bytes; done += kPieceBytes) {
        const size_t piece = std::min(kPieceBytes, bytes - done);
        std::memcpy(to + done, from + done, piece);
        const uintptr_t copied = reinterpret_cast<uintptr_t>(from + done + piece) & ~(page - 1);
        if (copied <= givenBack) continue;
        madvise(reinterpret_cast<void*>(givenBack), copied - givenBack, MADV_DONTNEED);
        givenBack = copied;
    }
    BulkVector<VERTEX>().swap(geometry.positions);
}

bool PerVertexTexCoords(const ScanGeometry& geometry, BulkVector<CVector_2<float>>& perVertex)
{
    perVertex.assign(geometry.positions.size(), CVector_2<float>{});
    std::vector<bool> seen(geometry.positions.size());
    for (size_t f = 0; f < geometry.faces.size(); ++f) {
        for (int k = 0; k < geometry.faces[f].count; ++k) {
            const int v = geometry.faces[f].items[k];
            const CVector_2<float> uv = geometry.texCoords[f].items[k];
            if (!seen[v]) {
                seen[v] = true;
                perVertex[v] = uv;
            } else if (std::memcmp(&perVertex[v], &uv, sizeof uv) != 0) {
                return false;
            }
        }
    }
    return true;
}

bool PositionsFitFloat(const VERTEX* positions, size_t count)
{
    auto fits = [](double value) {
        return std::isnan(value) || static_cast<double>(static_cast<float>(value)) == value;
    };
    for (size_t i = 0; i < count; ++i) {
        const VERTEX& v = positions[i];
        if (!fits(v.x) || !fits(v.y) || !fits(v.z)) return false;
    }
    return true;
}

std::string Quote(std::string_view text)
{
    std::string quoted = "\"";
    for (size_t i = 0; i < text.size() && i < 24; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c >= 0x20 && c < 0x7f && c != '"' && c != '\\') {
            quoted += static_cast<char>(c);
        } else {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
            quoted += escaped;
        }
    }
    return quoted + (text.size() > 24 ? "...\"" : "\"");
}

std::string DescribeToken(std::string_view text)
{
    if (text.empty()) return "the end of the file";
    if (text[0] == '\n' || (text[0] == '\r' && text.size() > 1 && text[1] == '\n')) return "the end of the line";
    size_t length = 0;
    while (length < text.size() && !IsSpace(text[length])) ++length;
    return Quote(text.substr(0, length));
}

}  // namespace brell::io::detail

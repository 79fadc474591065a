// Cutting scan data by a region of the window that shows it, and putting it
// back. Removed items are kept as runs of places before the cut plus their
// bytes, so a step costs what it removed.

#include <brelldata/gl/Cut.h>

#include "gl/Matrix.h"

#include <brelldata/core/BaseNode.h>
#include <brelldata/io/ScanScene.h>
#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/ObjectNodes.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>

#include <sys/mman.h>
#include <unistd.h>

namespace brell::gl {

namespace {

// Consecutive removed places, as they were before the cut.
struct Run {
    int start;
    int count;
};
using Runs = std::vector<Run>;
using Bytes = std::vector<unsigned char>;

int Total(const Runs& runs)
{
    int total = 0;
    for (const Run& run : runs) total += run.count;
    return total;
}

// Gives the whole pages in [begin, end) back to the system; written again,
// they come back cleared.
void ReleasePages(unsigned char* begin, unsigned char* end)
{
    static const uintptr_t page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const uintptr_t first = (reinterpret_cast<uintptr_t>(begin) + page - 1) / page * page;
    const uintptr_t last = reinterpret_cast<uintptr_t>(end) / page * page;
    if (first < last) madvise(reinterpret_cast<void*>(first), last - first, MADV_DONTNEED);
}

// Closes the gaps of runs in items[0, count) of size bytes each, the removed
// bytes appended to taken; the count left. The gap that opens behind the kept
// items is given back as taken fills, so a large cut needs about no more
// memory than the items had.
size_t TakeOut(void* items, size_t size, size_t count, const Runs& runs, Bytes& taken)
{
    constexpr size_t kReleaseStep = size_t{8} << 20;
    auto* bytes = static_cast<unsigned char*>(items);
    taken.reserve(taken.size() + static_cast<size_t>(Total(runs)) * size);
    size_t write = 0, read = 0, released = 0;
    for (const Run& run : runs) {
        const size_t start = static_cast<size_t>(run.start), removed = static_cast<size_t>(run.count);
        std::memmove(bytes + write * size, bytes + read * size, (start - read) * size);
        write += start - read;
        taken.insert(taken.end(), bytes + start * size, bytes + (start + removed) * size);
        read = start + removed;
        if (read * size >= released + kReleaseStep) {
            ReleasePages(bytes + std::max(write * size, released), bytes + read * size);
            released = read * size;
        }
    }
    std::memmove(bytes + write * size, bytes + read * size, (count - read) * size);
    const size_t left = write + count - read;
    ReleasePages(bytes + std::max(left * size, released), bytes + count * size);
    return left;
}

// The inverse of TakeOut: items has room for kept plus the runs' items, and
// taken ends with their bytes; they go back to their places.
void PutBack(void* items, size_t size, size_t kept, const Runs& runs, const unsigned char* takenEnd)
{
    auto* bytes = static_cast<unsigned char*>(items);
    size_t end = kept + static_cast<size_t>(Total(runs)), keptEnd = kept;
    for (size_t i = runs.size(); i-- > 0;) {
        const size_t start = static_cast<size_t>(runs[i].start), removed = static_cast<size_t>(runs[i].count);
        const size_t tail = end - start - removed;
        std::memmove(bytes + (start + removed) * size, bytes + (keptEnd - tail) * size, tail * size);
        keptEnd -= tail;
        takenEnd -= removed * size;
        std::memcpy(bytes + start * size, takenEnd, removed * size);
        end = start;
    }
}

// Per-item struct attributes that follow the vertices or the polygons.
struct ItemAttribute {
    const char* name;
    size_t size;
};
constexpr ItemAttribute kVertexAttributes[] = {{io::kNormalsAttribute, sizeof(CVector_3<float>)},
                                               {io::kColorsAttribute, sizeof(RGBA)}};
constexpr ItemAttribute kPolygonAttributes[] = {{io::kFaceColorsAttribute, sizeof(RGBA)}};

// An attribute that held one item per vertex or polygon, and what the cut took from it.
struct TakenAttribute {
    ItemAttribute kind;
    Bytes taken;
};

// Takes runs out of the node's attributes that hold one item per each of
// count items; the ones taken from. An attribute would keep no bytes at all
// (the node cannot hold an empty one), so one that would be emptied stays.
std::vector<TakenAttribute> TakeOutOfAttributes(CBaseNode* node, const ItemAttribute* kinds, size_t kindCount,
                                                size_t count, const Runs& runs)
{
    std::vector<TakenAttribute> taken;
    const size_t left = count - static_cast<size_t>(Total(runs));
    for (size_t k = 0; k < kindCount; ++k) {
        int size = 0;
        void* items = node->QueryAttributeStruct(kinds[k].name, &size);
        if (items == nullptr || static_cast<size_t>(size) != count * kinds[k].size || left == 0) continue;
        TakenAttribute& attribute = taken.emplace_back(TakenAttribute{kinds[k], {}});
        TakeOut(items, kinds[k].size, count, runs, attribute.taken);
        node->SetAttributeStruct(kinds[k].name, items, static_cast<int>(left * kinds[k].size));
    }
    return taken;
}

void PutBackIntoAttributes(CBaseNode* node, const std::vector<TakenAttribute>& taken, size_t kept, const Runs& runs)
{
    for (const TakenAttribute& attribute : taken) {
        int size = 0;
        void* items = node->QueryAttributeStruct(attribute.kind.name, &size);
        if (items == nullptr) continue;
        Bytes whole(attribute.taken.size() + static_cast<size_t>(size));
        std::memcpy(whole.data(), items, static_cast<size_t>(size));
        PutBack(whole.data(), attribute.kind.size, kept, runs, attribute.taken.data() + attribute.taken.size());
        node->SetAttributeStruct(attribute.kind.name, whole.data(), static_cast<int>(whole.size()));
    }
}

// Runs of the places whose flag is set.
Runs RunsOf(const std::vector<unsigned char>& flags)
{
    Runs runs;
    const int count = static_cast<int>(flags.size());
    for (int i = 0; i < count;) {
        if (flags[static_cast<size_t>(i)] == 0) {
            ++i;
            continue;
        }
        const int start = i;
        while (i < count && flags[static_cast<size_t>(i)] != 0) ++i;
        runs.push_back({start, i - start});
    }
    return runs;
}

// For each place before the removal its place after, -1 for a removed one.
std::vector<int> PlacesAfter(int count, const Runs& runs)
{
    std::vector<int> after(static_cast<size_t>(count));
    int place = 0, next = 0;
    for (const Run& run : runs) {
        for (; next < run.start; ++next) after[static_cast<size_t>(next)] = place++;
        for (; next < run.start + run.count; ++next) after[static_cast<size_t>(next)] = -1;
    }
    for (; next < count; ++next) after[static_cast<size_t>(next)] = place++;
    return after;
}

// For each place after the removal its place before.
std::vector<int> PlacesBefore(int kept, const Runs& runs)
{
    std::vector<int> before(static_cast<size_t>(kept));
    int place = 0, old = 0;
    for (const Run& run : runs) {
        for (; old < run.start; ++old) before[static_cast<size_t>(place++)] = old;
        old = run.start + run.count;
    }
    while (place < kept) before[static_cast<size_t>(place++)] = old++;
    return before;
}

// Replaces each corner in 0 .. map.size() - 1 by its mapped place; others
// (corners that name no vertex) stay as they are.
void MapCorners(BulkVector<CPolygon<int>>& rows, const std::vector<int>& map)
{
    const int limit = static_cast<int>(map.size());
    for (CPolygon<int>& row : rows)
        for (int k = 0; k < std::clamp(row.count, 0, 4); ++k)
            if (row.items[k] >= 0 && row.items[k] < limit) row.items[k] = map[static_cast<size_t>(row.items[k])];
}

// The pixels of region inside a width x height window.
class PixelMask {
public:
    PixelMask(HRGN region, int width, int height)
        : width_(width), height_(height), inside_(static_cast<size_t>(width) * static_cast<size_t>(height))
    {
        const RECT* rects = nullptr;
        const int count = GetRegionRects(region, &rects);
        for (int i = 0; i < count; ++i) {
            const int left = std::max(rects[i].left, 0), right = std::min(rects[i].right, width);
            for (int y = std::max(rects[i].top, 0); y < std::min(rects[i].bottom, height); ++y)
                if (left < right) std::memset(&inside_[static_cast<size_t>(y) * width_ + left], 1, right - left);
        }
    }

    bool Holds(double x, double y) const
    {
        if (!(x >= 0.0 && y >= 0.0 && x < width_ && y < height_)) return false;
        return inside_[static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x)] != 0;
    }

private:
    int width_, height_;
    std::vector<unsigned char> inside_;
};

}  // namespace

WindowProjection::WindowProjection(const CAMERA_PARAM& camera, int width, int height) : width_(width), height_(height)
{
    const Matrix m =
        Multiply(ProjectionMatrix(camera, height > 0 ? static_cast<double>(width) / height : 1.0), ViewMatrix(camera));
    std::copy(m.begin(), m.end(), matrix_);
}

bool WindowProjection::Project(double x, double y, double z, double& windowX, double& windowY) const
{
    const double* m = matrix_;
    const double w = m[3] * x + m[7] * y + m[11] * z + m[15];
    if (!(w > 0.0)) return false;
    const double clipX = m[0] * x + m[4] * y + m[8] * z + m[12];
    const double clipY = m[1] * x + m[5] * y + m[9] * z + m[13];
    const double px = (clipX / w + 1.0) * 0.5 * width_, py = (1.0 - clipY / w) * 0.5 * height_;
    if (!std::isfinite(px) || !std::isfinite(py)) return false;
    windowX = px;
    windowY = py;
    return true;
}

// What a cut took from one model or mesh.
struct NodeCut {
    CModelNode* node;  // one reference held
    Runs vertexRuns;
    Bytes vertices;
    std::vector<TakenAttribute> vertexAttributes;
    Runs polygonRuns;
    Bytes polygons;
    bool texCoordsFollow = false;
    Bytes texCoords;
    std::vector<TakenAttribute> polygonAttributes;

    size_t Size() const
    {
        size_t bytes = vertices.size() + polygons.size() + texCoords.size() +
                       (vertexRuns.size() + polygonRuns.size()) * sizeof(Run);
        for (const auto* list : {&vertexAttributes, &polygonAttributes})
            for (const TakenAttribute& attribute : *list) bytes += attribute.taken.size();
        return bytes;
    }
};

struct CutStep::Impl {
    std::vector<NodeCut> cuts;
    bool undone = false;

    ~Impl()
    {
        for (NodeCut& cut : cuts) cut.node->Release();
    }

    // Takes cut's runs out of its node, recording what they held.
    static void TakeOutOf(NodeCut& cut)
    {
        CModelNode* model = cut.node;
        cut.vertices.clear();
        cut.polygons.clear();
        cut.texCoords.clear();
        const int vertexCount = model->VertexNumber();
        cut.vertexAttributes =
            TakeOutOfAttributes(model, kVertexAttributes, std::size(kVertexAttributes), vertexCount, cut.vertexRuns);
        model->VertexNumber() = static_cast<int>(
            TakeOut(model->vertices->Buffer(), sizeof(VERTEX), vertexCount, cut.vertexRuns, cut.vertices));
        auto* mesh = AsKindOf<CMeshNode>(model);
        if (mesh == nullptr) return;
        BulkVector<CPolygon<int>>& rows = mesh->polygons->rows;
        const size_t polygonCount = rows.size();
        cut.texCoordsFollow = mesh->texCoords->rows.size() == polygonCount;
        cut.polygonAttributes =
            TakeOutOfAttributes(mesh, kPolygonAttributes, std::size(kPolygonAttributes), polygonCount, cut.polygonRuns);
        rows.resize(TakeOut(rows.data(), sizeof(CPolygon<int>), polygonCount, cut.polygonRuns, cut.polygons));
        if (cut.texCoordsFollow) {
            auto& texRows = mesh->texCoords->rows;
            texRows.resize(TakeOut(texRows.data(), sizeof(texRows[0]), polygonCount, cut.polygonRuns, cut.texCoords));
        }
        if (!cut.vertexRuns.empty()) MapCorners(rows, PlacesAfter(vertexCount, cut.vertexRuns));
    }

    static void PutBackInto(NodeCut& cut)
    {
        CModelNode* model = cut.node;
        const int kept = model->VertexNumber();
        const int removed = Total(cut.vertexRuns);
        if (model->vertices->Reserve(kept + removed) == 0) return;
        model->VertexNumber() = kept + removed;
        PutBack(model->vertices->Buffer(), sizeof(VERTEX), kept, cut.vertexRuns,
                cut.vertices.data() + cut.vertices.size());
        PutBackIntoAttributes(model, cut.vertexAttributes, kept, cut.vertexRuns);
        auto* mesh = AsKindOf<CMeshNode>(model);
        if (mesh == nullptr) return;
        BulkVector<CPolygon<int>>& rows = mesh->polygons->rows;
        if (!cut.vertexRuns.empty()) MapCorners(rows, PlacesBefore(kept, cut.vertexRuns));
        const size_t keptRows = rows.size(), allRows = keptRows + static_cast<size_t>(Total(cut.polygonRuns));
        PutBackIntoAttributes(mesh, cut.polygonAttributes, keptRows, cut.polygonRuns);
        rows.resize(allRows);
        PutBack(rows.data(), sizeof(CPolygon<int>), keptRows, cut.polygonRuns,
                cut.polygons.data() + cut.polygons.size());
        if (cut.texCoordsFollow) {
            auto& texRows = mesh->texCoords->rows;
            texRows.resize(allRows);
            PutBack(texRows.data(), sizeof(texRows[0]), keptRows, cut.polygonRuns,
                    cut.texCoords.data() + cut.texCoords.size());
        }
    }
};

namespace {

// The models and meshes of the tree, level-of-detail children left out.
std::vector<CModelNode*> ModelsIn(CBaseNode* root)
{
    std::vector<CModelNode*> models;
    std::vector<CBaseNode*> pending{root};
    while (!pending.empty()) {
        CBaseNode* node = pending.back();
        pending.pop_back();
        if (auto* model = AsKindOf<CModelNode>(node)) models.push_back(model);
        const bool scanData = node->IsKindOf(CObjectNode::TypeId()) != 0;
        for (unsigned int i = node->GetChildNum(); i-- > 0;) {
            CBaseNode* child = node->GetChild(i);
            if (child != nullptr && (!scanData || node->IsChildEnable(static_cast<int>(i)) != 0))
                pending.push_back(child);
        }
    }
    return models;
}

// The vertices of model to cut, as runs.
Runs VerticesToCut(CModelNode* model, const WindowProjection& projection, const PixelMask& mask, bool keepInside)
{
    const int count = model->VertexNumber();
    const VERTEX* vertices = model->vertices->Buffer();
    Runs runs;
    for (int i = 0; i < count; ++i) {
        double x = 0.0, y = 0.0;
        const bool inside = projection.Project(vertices[i].x, vertices[i].y, vertices[i].z, x, y) && mask.Holds(x, y);
        if (inside == keepInside) continue;
        if (!runs.empty() && runs.back().start + runs.back().count == i)
            ++runs.back().count;
        else
            runs.push_back({i, 1});
    }
    return runs;
}

// The polygons of mesh with a corner among the vertex runs.
Runs PolygonsToCut(CMeshNode* mesh, const Runs& vertexRuns)
{
    const int vertexCount = mesh->VertexNumber();
    std::vector<unsigned char> removedVertex(static_cast<size_t>(vertexCount));
    for (const Run& run : vertexRuns) std::memset(&removedVertex[static_cast<size_t>(run.start)], 1, run.count);
    const BulkVector<CPolygon<int>>& rows = mesh->polygons->rows;
    std::vector<unsigned char> cut(rows.size());
    for (size_t i = 0; i < rows.size(); ++i)
        for (int k = 0; k < std::clamp(rows[i].count, 0, 4); ++k) {
            const int corner = rows[i].items[k];
            if (corner >= 0 && corner < vertexCount && removedVertex[static_cast<size_t>(corner)] != 0) cut[i] = 1;
        }
    return RunsOf(cut);
}

}  // namespace

CutStep::CutStep() : impl_(std::make_unique<Impl>()) {}
CutStep::CutStep(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
CutStep::~CutStep() = default;
CutStep::CutStep(CutStep&&) noexcept = default;
CutStep& CutStep::operator=(CutStep&&) noexcept = default;

int CutStep::RemovedVertices() const
{
    int removed = 0;
    for (const NodeCut& cut : impl_->cuts) removed += Total(cut.vertexRuns);
    return removed;
}

int CutStep::RemovedPolygons() const
{
    int removed = 0;
    for (const NodeCut& cut : impl_->cuts) removed += Total(cut.polygonRuns);
    return removed;
}

bool CutStep::Empty() const
{
    return impl_->cuts.empty();
}

size_t CutStep::Bytes() const
{
    size_t bytes = sizeof(Impl);
    for (const NodeCut& cut : impl_->cuts) bytes += sizeof(NodeCut) + cut.Size();
    return bytes;
}

std::vector<CBaseNode*> CutStep::Nodes() const
{
    std::vector<CBaseNode*> nodes;
    for (const NodeCut& cut : impl_->cuts) nodes.push_back(cut.node);
    return nodes;
}

void CutStep::Undo()
{
    if (impl_->undone) return;
    // The bytes are back in the scene; Redo takes them out again.
    for (size_t i = impl_->cuts.size(); i-- > 0;) {
        NodeCut& cut = impl_->cuts[i];
        Impl::PutBackInto(cut);
        for (std::vector<unsigned char>* bytes : {&cut.vertices, &cut.polygons, &cut.texCoords})
            std::vector<unsigned char>().swap(*bytes);
        cut.vertexAttributes.clear();
        cut.polygonAttributes.clear();
    }
    impl_->undone = true;
}

void CutStep::Redo()
{
    if (!impl_->undone) return;
    for (NodeCut& cut : impl_->cuts) Impl::TakeOutOf(cut);
    impl_->undone = false;
}

CutStep CutByRegion(CBaseNode* scene, const CAMERA_PARAM& camera, int width, int height, HRGN region, bool keepInside)
{
    auto step = std::make_unique<CutStep::Impl>();
    if (scene == nullptr || region == nullptr || width < 1 || height < 1) return CutStep(std::move(step));
    const WindowProjection projection(camera, width, height);
    const PixelMask mask(region, width, height);
    for (CModelNode* model : ModelsIn(scene)) {
        Runs vertexRuns = VerticesToCut(model, projection, mask, keepInside);
        if (vertexRuns.empty()) continue;
        model->AddRef();
        NodeCut& cut = step->cuts.emplace_back(NodeCut{model, std::move(vertexRuns), {}, {}, {}, {}, false, {}, {}});
        if (auto* mesh = AsKindOf<CMeshNode>(model)) cut.polygonRuns = PolygonsToCut(mesh, cut.vertexRuns);
        CutStep::Impl::TakeOutOf(cut);
    }
    return CutStep(std::move(step));
}

CutHistory::CutHistory(size_t depth) : depth_(std::max<size_t>(depth, 1)) {}

void CutHistory::Add(CutStep step)
{
    if (step.Empty()) return;
    steps_.resize(done_);
    steps_.push_back(std::move(step));
    if (steps_.size() > depth_) steps_.pop_front();
    done_ = steps_.size();
}

const CutStep* CutHistory::Undo()
{
    if (done_ == 0) return nullptr;
    CutStep& step = steps_[--done_];
    step.Undo();
    return &step;
}

const CutStep* CutHistory::Redo()
{
    if (done_ == steps_.size()) return nullptr;
    CutStep& step = steps_[done_++];
    step.Redo();
    return &step;
}

size_t CutHistory::Bytes() const
{
    size_t bytes = 0;
    for (const CutStep& step : steps_) bytes += step.Bytes();
    return bytes;
}

}  // namespace brell::gl

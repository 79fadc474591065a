#include <brelldata/geo/GroupNodes.h>
#include <brelldata/geo/MeshNodes.h>
#include <brelldata/gl/Picture.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <utility>

// The reference renderer at 1024x768: a point cloud of 1,000,000 points and
// a shaded mesh of 2,000,000 triangles, smooth and flat, each behind a
// CGeoRefNode.
// The first frame builds and uploads the cache, later frames draw it. Every
// frame ends by reading the picture back, which waits for the rasterizer.

namespace {

constexpr int kWidth = 1024;
constexpr int kHeight = 768;
constexpr int kPoints = 1'000'000;
constexpr int kGrid = 1000;  // quads per side: 2 triangles each

double Height(double x, double y)
{
    return 0.1 * std::sin(6.0 * x) * std::cos(4.0 * y);
}

// Points on a wavy sheet, in a spiral so that neighbours are far apart in memory.
CGeoBaseNode* PointCloud()
{
    auto* points = new CGeoPointNode;
    points->AppendVertex(kPoints);
    points->Append(kPoints);
    for (int i = 0; i < kPoints; ++i) {
        const double t = static_cast<double>(i) / kPoints, angle = 2000.0 * t;
        const double x = t * std::cos(angle), y = t * std::sin(angle);
        points->GetVertex(i) = {x, y, Height(x, y)};
        points->Index(i) = i;
    }
    points->color = {255, 200, 80, 255};
    return points;
}

// A height field of (kGrid + 1)^2 vertices with normals from its slopes,
// shaded smooth (shared vertex and normal buffers) or flat (every triangle
// corner with its own position and normal).
template <int smooth>
CGeoBaseNode* ShadedMesh()
{
    auto* mesh = new CGeoPolyShadeRefNode;
    const int side = kGrid + 1;
    mesh->AppendVertex(side * side);
    mesh->smoothNormals->Append(side * side);
    for (int i = 0; i < side; ++i) {
        for (int j = 0; j < side; ++j) {
            const double x = 2.0 * j / kGrid - 1.0, y = 2.0 * i / kGrid - 1.0;
            mesh->GetVertex(i * side + j) = {x, y, Height(x, y)};
            const double dx = 0.6 * std::cos(6.0 * x) * std::cos(4.0 * y);
            const double dy = -0.4 * std::sin(6.0 * x) * std::sin(4.0 * y);
            const double length = std::sqrt(dx * dx + dy * dy + 1.0);
            mesh->smoothNormals->Element(i * side + j) = {
                static_cast<float>(-dx / length), static_cast<float>(-dy / length), static_cast<float>(1.0 / length)};
        }
    }
    mesh->polygons->rows.reserve(2 * static_cast<size_t>(kGrid) * kGrid);
    for (int i = 0; i < kGrid; ++i) {
        for (int j = 0; j < kGrid; ++j) {
            const int a = i * side + j;
            mesh->polygons->rows.push_back({{a, a + 1, a + side + 1, 0}, 3});
            mesh->polygons->rows.push_back({{a, a + side + 1, a + side, 0}, 3});
        }
    }
    mesh->indices->Append(mesh->polygons->Number());
    for (int i = 0; i < mesh->polygons->Number(); ++i) mesh->indices->Element(i) = i;
    mesh->smooth = smooth;
    mesh->color = {180, 180, 220, 255};
    return mesh;
}

// A scene of one reference node to geometry, with a renderer of its own.
class Bench {
public:
    explicit Bench(CGeoBaseNode* geometry) : geometry_(geometry)
    {
        geometry_->AddRef();
        root_->AddRef();
        reference_->SetRefNode(geometry_);
        root_->AppendChild(reference_);
        options_.width = kWidth;
        options_.height = kHeight;
        options_.direction = {0.0, -1.0, -1.5};
        brell::gl::RegisterProcedures();
        renderer_ = std::make_unique<brell::gl::Renderer>(kWidth, kHeight);
    }
    ~Bench()
    {
        root_->Release();
        geometry_->Release();
    }

    void Run(benchmark::State& state, bool warm)
    {
        if (warm) Frame();
        uint64_t uploads = 0;
        for (auto _ : state) {
            if (!warm) {
                state.PauseTiming();
                reference_->ReleaseCache();
                state.ResumeTiming();
            }
            const uint64_t before = renderer_->Uploads();
            Frame();
            uploads += renderer_->Uploads() - before;
        }
        state.counters["uploads/frame"] = static_cast<double>(uploads) / static_cast<double>(state.iterations());
        state.SetLabel(renderer_->Description());
    }

private:
    void Frame()
    {
        brell::gl::RenderScene(*renderer_, root_, options_);
        benchmark::DoNotOptimize(renderer_->ReadPixels());
    }

    CGeoBaseNode* geometry_;
    CGeoBaseNode* root_ = new CGeoBaseNode;
    CGeoRefNode* reference_ = new CGeoRefNode;
    brell::gl::RenderOptions options_;
    std::unique_ptr<brell::gl::Renderer> renderer_;
};

template <CGeoBaseNode* (*Make)(), bool warm>
void BM_Frame(benchmark::State& state)
{
    try {
        Bench bench(Make());
        bench.Run(state, warm);
    } catch (const brell::gl::RenderError& error) {
        state.SkipWithError(error.what());
    }
}

// Wall time, since the rasterizer runs on threads of its own; five frames each.
const bool kRegistered = [] {
    using Frame = void (*)(benchmark::State&);
    const std::pair<const char*, Frame> frames[] = {{"GlPointCloud1M/FirstFrame", BM_Frame<PointCloud, false>},
                                                    {"GlPointCloud1M/WarmFrame", BM_Frame<PointCloud, true>},
                                                    {"GlShadedMesh2M/FirstFrame", BM_Frame<ShadedMesh<1>, false>},
                                                    {"GlShadedMesh2M/WarmFrame", BM_Frame<ShadedMesh<1>, true>},
                                                    {"GlFlatMesh2M/FirstFrame", BM_Frame<ShadedMesh<0>, false>},
                                                    {"GlFlatMesh2M/WarmFrame", BM_Frame<ShadedMesh<0>, true>}};
    for (const auto& [name, frame] : frames)
        benchmark::RegisterBenchmark(name, frame)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
    return true;
}();

}  // namespace

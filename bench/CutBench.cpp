#include "PathRegion.h"

#include <brelldata/gl/Cut.h>
#include <brelldata/scan/ModelNodes.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

// CutByRegion of a 1,000,000-point model seen whole at 800x600 through a
// 100-corner lasso that takes three fifths of it, and undoing that cut.

namespace {

constexpr int kPoints = 1'000'000;
constexpr int kWidth = 800;
constexpr int kHeight = 600;

// Points in a spiral on the unit disc, so that neighbours in memory are far
// apart on screen and runs of removed points are short.
CModelNode* Cloud()
{
    auto* model = new CModelNode;
    model->AppendVertex(kPoints);
    for (int i = 0; i < kPoints; ++i) {
        const double t = static_cast<double>(i) / kPoints, angle = 2000.0 * t;
        *model->GetVertex(i) = {t * std::cos(angle), t * std::sin(angle), 0.0};
    }
    model->AddRef();
    return model;
}

// A wavy ring of 100 corners round the middle of the window.
HRGN Lasso()
{
    return PathRegion(100, [](int k) {
        const double angle = 2.0 * 3.14159265358979 * k / 100, radius = 150.0 + 30.0 * std::sin(7.0 * angle);
        return POINT{static_cast<int>(400 + radius * std::cos(angle)), static_cast<int>(300 + radius * std::sin(angle))};
    });
}

CAMERA_PARAM Camera()
{
    return {1, 0.0, 0.0, 0.0, 0.0, 0.1, 100.0, 45.0, 0.0, {0.0, 0.0, 3.0}, {0.0, 0.0, 0.0}};
}

void BM_CutByRegion(benchmark::State& state)
{
    CModelNode* model = Cloud();
    HRGN lasso = Lasso();
    for (auto _ : state) {
        brell::gl::CutStep step = brell::gl::CutByRegion(model, Camera(), kWidth, kHeight, lasso);
        state.PauseTiming();
        state.counters["removed"] = step.RemovedVertices();
        state.counters["step MB"] = static_cast<double>(step.Bytes()) / 1e6;
        step.Undo();
        state.ResumeTiming();
    }
    DeleteObject(lasso);
    model->Release();
}
BENCHMARK(BM_CutByRegion)->Unit(benchmark::kMillisecond);

void BM_UndoCut(benchmark::State& state)
{
    CModelNode* model = Cloud();
    HRGN lasso = Lasso();
    for (auto _ : state) {
        state.PauseTiming();
        brell::gl::CutStep step = brell::gl::CutByRegion(model, Camera(), kWidth, kHeight, lasso);
        state.ResumeTiming();
        step.Undo();
    }
    DeleteObject(lasso);
    model->Release();
}
BENCHMARK(BM_UndoCut)->Unit(benchmark::kMillisecond);

}  // namespace

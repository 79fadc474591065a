#include "PathRegion.h"

#include <brelldata/platform/Region.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <vector>

// A region of a full camera image: a 100-vertex star that spans 640x480,
// concave at every second vertex, so each row holds several spans.

namespace {

HRGN CameraImageStar()
{
    return PathRegion(100, [](int k) {
        const double angle = 2 * std::acos(-1.0) * k / 100, reach = k % 2 == 0 ? 1.0 : 0.6;
        return POINT{static_cast<int>(std::lround(320 + 320 * reach * std::cos(angle))),
                     static_cast<int>(std::lround(240 + 240 * reach * std::sin(angle)))};
    });
}

void CountRects(benchmark::State& state, HRGN region)
{
    state.counters["rects"] = GetRegionRects(region, nullptr);
}

void BM_RegionPathToRegionOf100VertexStar(benchmark::State& state)
{
    for (auto _ : state) {
        HRGN region = CameraImageStar();
        benchmark::DoNotOptimize(region);
        DeleteObject(region);
    }
    HRGN region = CameraImageStar();
    CountRects(state, region);
    DeleteObject(region);
}
BENCHMARK(BM_RegionPathToRegionOf100VertexStar)->Unit(benchmark::kMicrosecond);

void BM_RegionPtInRegionOfTheStar(benchmark::State& state)
{
    HRGN region = CameraImageStar();
    // Points spread over the whole image by a fixed linear congruential sequence.
    std::vector<POINT> points(4096);
    uint32_t seed = 12345;
    for (POINT& p : points) {
        seed = seed * 1664525u + 1013904223u;
        p = {static_cast<int32_t>((seed >> 8) % 640), static_cast<int32_t>((seed >> 20) % 480)};
    }
    size_t i = 0;
    for (auto _ : state) {
        const POINT& p = points[i++ & 4095];
        benchmark::DoNotOptimize(PtInRegion(region, p.x, p.y));
    }
    CountRects(state, region);
    DeleteObject(region);
}
BENCHMARK(BM_RegionPtInRegionOfTheStar);

}  // namespace

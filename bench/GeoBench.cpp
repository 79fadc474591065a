#include "AllocationCounter.h"

#include <brelldata/geo/GroupNodes.h>
#include <brelldata/geo/VertexNodes.h>
#include <brelldata/procedures/DApi.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <string>

// Drawing and geometry at scene sizes. Lookups run in a directory of 200
// procedures; the box and nearest-vertex benchmarks run next to a plain loop
// over the same arrays, so their ratio reads directly from one run.

namespace {

constexpr int kDirectorySize = 200;
constexpr int kPointNodes = 100'000;
constexpr int kVertices = 1'000'000;

int DrawNothing(void*, void*)
{
    return 1;
}

// 200 procedures under names shaped like the library's, removed again at the end.
class Directory {
public:
    Directory()
    {
        for (int i = 0; i < kDirectorySize - 2; ++i) Add("DrawCBench" + std::to_string(i) + "NodeByR");
        Add("DrawCGeoBaseNodeByR");
        Add("DrawCGeoPointNodeByR");
    }
    ~Directory()
    {
        for (const std::string& name : names_) GetDApiManager()->Unregister("DrawProc", name.c_str());
    }
    void Add(const std::string& name)
    {
        names_.push_back(name);
        GetDApiManager()->Register("DrawProc", name.c_str(), DrawNothing);
    }

private:
    std::vector<std::string> names_;
};

// One lookup with its name built, and the call: a hit for renderer R, a miss for Q.
void BM_ProcedureLookup(benchmark::State& state, const char* renderer)
{
    Directory directory;
    CGeoBaseNode node;
    uint64_t before = AllocationCount();
    for (auto _ : state) benchmark::DoNotOptimize(node.DrawThis(renderer, nullptr));
    ReportAllocations(state, before);
}
BENCHMARK_CAPTURE(BM_ProcedureLookup, Hit, "R");
BENCHMARK_CAPTURE(BM_ProcedureLookup, Miss, "Q");

// 100,000 point nodes under 10 group nodes. With only the points' Draw
// procedure (false), each EndDraw looks up its whole chain in vain; with
// their EndDraw procedure too (true), each point node asks for two names.
void BM_DrawTreeOfPointNodes(benchmark::State& state, bool withEndDraw)
{
    Directory directory;
    if (withEndDraw) directory.Add("EndDrawCGeoPointNodeByR");
    auto* root = new CGeoBaseNode;
    root->AddRef();
    for (int group = 0; group < 10; ++group) {
        auto* parent = new CGeoBaseNode;
        root->AppendChild(parent);
        for (int i = 0; i < kPointNodes / 10; ++i) parent->AppendChild(new CGeoPointNode);
    }
    uint64_t before = AllocationCount();
    for (auto _ : state) benchmark::DoNotOptimize(DrawTree(root, "R", nullptr));
    state.counters["allocs/node"] = benchmark::Counter(static_cast<double>(AllocationCount() - before) / kPointNodes,
                                                       benchmark::Counter::kAvgIterations);
    state.counters["per_node"] =
        benchmark::Counter(kPointNodes, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    root->Release();
}
BENCHMARK_CAPTURE(BM_DrawTreeOfPointNodes, DrawOnly, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_DrawTreeOfPointNodes, DrawAndEndDraw, true)->Unit(benchmark::kMillisecond);

struct PointCloud {
    PointCloud()
    {
        node->AddRef();
        node->AppendVertex(kVertices);
        node->Append(kVertices);
        for (int i = 0; i < kVertices; ++i) {
            node->GetVertex(i) = {i * 0.5, -i * 0.25, (i % 1000) * 0.125};
            node->Index(i) = static_cast<int>(int64_t{i} * 7919 % kVertices);
        }
    }
    ~PointCloud() { node->Release(); }
    CGeoPointNode* node = new CGeoPointNode;
};

void BM_BoxOfIndexedPoints(benchmark::State& state)
{
    PointCloud cloud;
    double box[6];
    for (auto _ : state) {
        EvalBBoxForNode(cloud.node, box[0], box[1], box[2], box[3], box[4], box[5]);
        benchmark::DoNotOptimize(box);
    }
}
BENCHMARK(BM_BoxOfIndexedPoints)->Unit(benchmark::kMillisecond);

void BM_BoxOfIndexedPointsPlainLoop(benchmark::State& state)
{
    PointCloud cloud;
    const VERTEX* v = cloud.node->VertexBuffer();
    const int* index = cloud.node->IndexBuffer();
    for (auto _ : state) {
        VERTEX low = v[index[0]], high = low;
        for (int i = 1; i < kVertices; ++i) {
            const VERTEX& p = v[index[i]];
            low.x = std::min(low.x, p.x), high.x = std::max(high.x, p.x);
            low.y = std::min(low.y, p.y), high.y = std::max(high.y, p.y);
            low.z = std::min(low.z, p.z), high.z = std::max(high.z, p.z);
        }
        benchmark::DoNotOptimize(low);
        benchmark::DoNotOptimize(high);
    }
}
BENCHMARK(BM_BoxOfIndexedPointsPlainLoop)->Unit(benchmark::kMillisecond);

void BM_FindNearestVertex(benchmark::State& state)
{
    PointCloud cloud;
    for (auto _ : state) benchmark::DoNotOptimize(cloud.node->FindNearestVertex(1000.0, -500.0, 3.0, 0));
}
BENCHMARK(BM_FindNearestVertex)->Unit(benchmark::kMillisecond);

void BM_FindNearestVertexPlainLoop(benchmark::State& state)
{
    PointCloud cloud;
    const VERTEX* v = cloud.node->VertexBuffer();
    for (auto _ : state) {
        double best = 1e38;
        int nearest = -1;
        for (int k = 0; k < kVertices; ++k) {
            const double dx = 1000.0 - v[k].x, dy = -500.0 - v[k].y, dz = 3.0 - v[k].z;
            const double distance = dx * dx + dy * dy + dz * dz;
            if (distance < best) best = distance, nearest = k;
        }
        benchmark::DoNotOptimize(nearest);
    }
}
BENCHMARK(BM_FindNearestVertexPlainLoop)->Unit(benchmark::kMillisecond);

}  // namespace

// Export and import of a 1,000,000-vertex, 2,000,000-triangle mesh with
// normals as .glb, each beside a plain write() or read() of as many bytes.
#include <brelldata/core/Tree.h>
#include <brelldata/data/BulkMemory.h>
#include <brelldata/io/Gltf.h>
#include <brelldata/io/ScanScene.h>

#include "PlainFiles.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace brell::io;
using Clock = std::chrono::steady_clock;

constexpr int kSide = 1000;
constexpr int kTriangles = 2000000;

// A scan-like grid with a height field and unit normals; its triangles wrap
// round to make exactly 2,000,000.
CBaseNode* GridScene()
{
    ScanGeometry mesh;
    mesh.positions.resize(kSide * kSide);
    mesh.normals.resize(kSide * kSide);
    for (int i = 0; i < kSide * kSide; ++i) {
        mesh.positions[i] = {static_cast<float>(i % kSide) * 0.37f, static_cast<float>(i / kSide) * 0.41f,
                             static_cast<float>((i * int64_t{7919}) % 10007) * 0.0013f};
        mesh.normals[i] = {0.6f, 0, 0.8f};
    }
    mesh.faces.resize(kTriangles);
    for (int t = 0; t < kTriangles; ++t) {
        const int corner = (t / 2) % (kSide * kSide - kSide - 1);
        mesh.faces[t] = t % 2 == 0 ? CPolygon<int>{{corner, corner + 1, corner + kSide, 0}, 3}
                                   : CPolygon<int>{{corner + 1, corner + kSide + 1, corner + kSide, 0}, 3};
    }
    return SceneOfGeometry(std::move(mesh), "grid");
}

std::string BenchPath(const char* what)
{
    return "/tmp/brell-gltf-bench-" + std::to_string(getpid()) + "-" + what;
}

enum class Transfer { exportGlb, importGlb };

// Each iteration exports or imports the .glb file, then writes or reads as
// many bytes plainly. The iteration time is the glTF step's; "ratio" is its
// time over the plain step's, "plain MB/s" the plain step's rate.
void AgainstPlainFile(benchmark::State& state, Transfer transfer)
{
    CTree scene(GridScene());
    const std::string path = BenchPath("grid.glb"), plainPath = BenchPath("plain");
    ExportGltf(scene.Root(), path);
    const size_t size = FileSize(path);
    const std::vector<char> bytes(size, 'x');
    double gltfTime = 0, plainTime = 0;
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        if (transfer == Transfer::exportGlb) {
            ExportGltf(scene.Root(), path);
        } else {
            CTree again(ImportGltf(path));
        }
        const Clock::time_point middle = Clock::now();
        if (transfer == Transfer::exportGlb) {
            PlainWrite(plainPath, bytes);
        } else {
            PlainRead(path, size);
        }
        const Clock::time_point end = Clock::now();
        gltfTime += std::chrono::duration<double>(middle - start).count();
        plainTime += std::chrono::duration<double>(end - middle).count();
        state.SetIterationTime(std::chrono::duration<double>(middle - start).count());
    }
    unlink(path.c_str());
    unlink(plainPath.c_str());
    state.counters["ratio"] = gltfTime / plainTime;
    state.counters["plain MB/s"] =
        static_cast<double>(size) * static_cast<double>(state.iterations()) / plainTime / 1e6;
    state.counters["file MB"] = static_cast<double>(size) / 1e6;
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
}

void BM_ExportGlb(benchmark::State& state)
{
    AgainstPlainFile(state, Transfer::exportGlb);
}
BENCHMARK(BM_ExportGlb)->UseManualTime()->Unit(benchmark::kMillisecond);

void BM_ImportGlb(benchmark::State& state)
{
    AgainstPlainFile(state, Transfer::importGlb);
}
BENCHMARK(BM_ImportGlb)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

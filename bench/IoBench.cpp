#include <brelldata/core/BaseNode.h>
#include <brelldata/io/ScanFormats.h>
#include <brelldata/io/ScanScene.h>
#include <brelldata/io/SceneFile.h>

#include <benchmark/benchmark.h>

#include "PlainFiles.h"
#include "ScanShapes.h"

#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace brell::io;
using Clock = std::chrono::steady_clock;

std::string BenchPath(PlyEncoding encoding)
{
    return "/tmp/brell-io-bench-" + std::to_string(getpid()) +
           (encoding == PlyEncoding::ascii ? "-ascii.ply" : "-binary.ply");
}

// The mesh's file in the encoding, written on first use.
std::string MeshFile(PlyEncoding encoding)
{
    const std::string path = BenchPath(encoding);
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) WriteScanFile(GridMesh(), path, encoding);
    return path;
}

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Each iteration imports the file and then reads it plainly. The iteration
// time is the import's; "ratio" is import time over plain read time, and
// "plain MB/s" the plain read's rate.
void ImportAgainstPlainRead(benchmark::State& state, PlyEncoding encoding)
{
    const std::string path = MeshFile(encoding);
    const size_t size = FileSize(path);
    double importTime = 0, plainTime = 0;
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        const ScanGeometry mesh = ReadScanFile(path);
        const Clock::time_point middle = Clock::now();
        PlainRead(path, size);
        const Clock::time_point end = Clock::now();
        if (mesh.positions.size() != kMeshVertices || mesh.faces.size() != kMeshTriangles)
            state.SkipWithError("wrong mesh");
        importTime += std::chrono::duration<double>(middle - start).count();
        plainTime += std::chrono::duration<double>(end - middle).count();
        state.SetIterationTime(std::chrono::duration<double>(middle - start).count());
    }
    state.counters["ratio"] = importTime / plainTime;
    state.counters["plain MB/s"] =
        static_cast<double>(size) * static_cast<double>(state.iterations()) / plainTime / 1e6;
    state.counters["file MB"] = static_cast<double>(size) / 1e6;
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
}

void BM_ImportBinaryPly(benchmark::State& state)
{
    ImportAgainstPlainRead(state, PlyEncoding::binaryLittleEndian);
}
BENCHMARK(BM_ImportBinaryPly)->UseManualTime()->Unit(benchmark::kMillisecond);

void BM_ImportAsciiPly(benchmark::State& state)
{
    ImportAgainstPlainRead(state, PlyEncoding::ascii);
}
BENCHMARK(BM_ImportAsciiPly)->UseManualTime()->Unit(benchmark::kMillisecond);

constexpr int kCloudPoints = 5000000;

std::string CloudPath()
{
    return "/tmp/brell-io-bench-" + std::to_string(getpid()) + "-cloud.ply";
}

// Each iteration imports the coloured cloud as a scene, then reads the file
// into one buffer that every iteration uses again; "ratio" as above.
void BM_ImportColouredCloud(benchmark::State& state)
{
    const std::string path = CloudPath();
    WriteScanFile(PointCloud(kCloudPoints, true), path);
    const size_t size = FileSize(path);
    std::vector<char> buffer(size);
    double importTime = 0, plainTime = 0;
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        CBaseNode* scene = ImportScan(path);
        scene->AddRef();
        scene->Release();
        const Clock::time_point middle = Clock::now();
        const int descriptor = open(path.c_str(), O_RDONLY);
        for (size_t done = 0; done < size;) {
            const ssize_t got = read(descriptor, buffer.data() + done, size - done);
            if (got <= 0) break;
            done += static_cast<size_t>(got);
        }
        close(descriptor);
        const Clock::time_point end = Clock::now();
        importTime += std::chrono::duration<double>(middle - start).count();
        plainTime += std::chrono::duration<double>(end - middle).count();
        state.SetIterationTime(std::chrono::duration<double>(middle - start).count());
    }
    state.counters["ratio"] = importTime / plainTime;
    state.counters["file MB"] = static_cast<double>(size) / 1e6;
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
}
BENCHMARK(BM_ImportColouredCloud)->UseManualTime()->Unit(benchmark::kMillisecond);

std::string ScenePath(const char* what)
{
    return "/tmp/brell-io-bench-" + std::to_string(getpid()) + "-" + what + ".scene";
}

enum class SceneTransfer { save, load, loadAgain, loadFromMemory };

// Saving (to a temporary file, made durable, renamed into place) and checked
// loading of the mesh as a scene, each beside its plain counterpart; "ratio"
// as for the imports. Loading from memory leaves out the file and its hash:
// what is left is the floor of any loader that makes the nodes from the
// whole stream.
void SceneAgainstPlainFile(benchmark::State& state, SceneTransfer transfer)
{
    CBaseNode* scene = SceneOfGeometry(GridMesh(), "grid");
    scene->AddRef();
    const std::string path = ScenePath("mesh"), plainPath = ScenePath("plain");
    SaveScene(scene, path);
    const size_t size = FileSize(path);
    const std::vector<char> bytes(size, 'x');
    std::string file;
    if (transfer == SceneTransfer::loadFromMemory) file = ReadFile(path);
    brell::BulkVector<char> reused(transfer == SceneTransfer::loadAgain ? size : 0);
    double sceneTime = 0, plainTime = 0;
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        if (transfer == SceneTransfer::save) {
            SaveScene(scene, path);
        } else {
            CBaseNode* loaded =
                transfer == SceneTransfer::loadFromMemory ? LoadSceneFromMemory(file, "mesh") : LoadScene(path);
            loaded->AddRef();
            loaded->Release();
        }
        const Clock::time_point middle = Clock::now();
        if (transfer == SceneTransfer::save) {
            PlainWrite(plainPath, bytes);
        } else if (transfer == SceneTransfer::loadAgain) {
            PlainReadInto(path, reused);
        } else {
            PlainRead(path, size);
        }
        const Clock::time_point end = Clock::now();
        sceneTime += std::chrono::duration<double>(middle - start).count();
        plainTime += std::chrono::duration<double>(end - middle).count();
        state.SetIterationTime(std::chrono::duration<double>(middle - start).count());
    }
    scene->Release();
    state.counters["ratio"] = sceneTime / plainTime;
    state.counters["file MB"] = static_cast<double>(size) / 1e6;
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
}

void BM_SaveScene(benchmark::State& state)
{
    SceneAgainstPlainFile(state, SceneTransfer::save);
}
BENCHMARK(BM_SaveScene)->UseManualTime()->Unit(benchmark::kMillisecond);

void BM_LoadSceneChecked(benchmark::State& state)
{
    SceneAgainstPlainFile(state, SceneTransfer::load);
}
BENCHMARK(BM_LoadSceneChecked)->UseManualTime()->Unit(benchmark::kMillisecond);

// The same file loaded again and again in one process, as a host loads scene
// after scene, beside a plain read into one buffer used again and again.
void BM_LoadSceneCheckedAgain(benchmark::State& state)
{
    SceneAgainstPlainFile(state, SceneTransfer::loadAgain);
}
BENCHMARK(BM_LoadSceneCheckedAgain)->UseManualTime()->Unit(benchmark::kMillisecond);

void BM_LoadSceneCheckedFromMemory(benchmark::State& state)
{
    SceneAgainstPlainFile(state, SceneTransfer::loadFromMemory);
}
BENCHMARK(BM_LoadSceneCheckedFromMemory)->UseManualTime()->Unit(benchmark::kMillisecond);

// Each iteration writes the geometry as a binary PLY file (safely, as every
// save), then writes as many bytes plainly into the same folder; "ratio" as
// for the imports.
void ExportAgainstPlainWrite(benchmark::State& state, const ScanGeometry& geometry)
{
    const std::string path = ScenePath("export") + ".ply", plainPath = ScenePath("plain");
    WriteScanFile(geometry, path);
    const std::vector<char> bytes(FileSize(path), 'x');
    double exportTime = 0, plainTime = 0;
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        WriteScanFile(geometry, path);
        const Clock::time_point middle = Clock::now();
        PlainWrite(plainPath, bytes);
        const Clock::time_point end = Clock::now();
        exportTime += std::chrono::duration<double>(middle - start).count();
        plainTime += std::chrono::duration<double>(end - middle).count();
        state.SetIterationTime(std::chrono::duration<double>(middle - start).count());
    }
    std::remove(path.c_str());
    state.counters["ratio"] = exportTime / plainTime;
    state.counters["file MB"] = static_cast<double>(bytes.size()) / 1e6;
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
}

void BM_ExportMeshPly(benchmark::State& state)
{
    ExportAgainstPlainWrite(state, GridMesh());
}
BENCHMARK(BM_ExportMeshPly)->UseManualTime()->Unit(benchmark::kMillisecond);

void BM_ExportColouredCloudPly(benchmark::State& state)
{
    ExportAgainstPlainWrite(state, PointCloud(kCloudPoints, true));
}
BENCHMARK(BM_ExportColouredCloudPly)->UseManualTime()->Unit(benchmark::kMillisecond);

// Removes the files when the program ends.
struct RemoveFiles {
    ~RemoveFiles()
    {
        std::remove(BenchPath(PlyEncoding::ascii).c_str());
        std::remove(BenchPath(PlyEncoding::binaryLittleEndian).c_str());
        std::remove(ScenePath("mesh").c_str());
        std::remove(ScenePath("plain").c_str());
        std::remove(CloudPath().c_str());
    }
} removeFiles;

}  // namespace

#include <brelldata/core/BaseNode.h>
#include <brelldata/io/ScanFormats.h>
#include <brelldata/io/ScanScene.h>
#include <brelldata/io/SceneFile.h>

#include <benchmark/benchmark.h>

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

constexpr int kVertices = 1000000;
constexpr int kTriangles = 2000000;

// A scan-like mesh: a 1000 x 1000 grid of float positions with a height
// field, and 2,000,000 triangles over it.
ScanGeometry GridMesh()
{
    ScanGeometry mesh;
    mesh.positions.resize(kVertices);
    for (int i = 0; i < kVertices; ++i) {
        const float x = static_cast<float>(i % 1000) * 0.37f;
        const float y = static_cast<float>(i / 1000) * 0.41f;
        mesh.positions[i] = {x, y, static_cast<float>((i * int64_t{7919}) % 10007) * 0.0013f};
    }
    mesh.faces.resize(kTriangles);
    for (int t = 0; t < kTriangles; ++t) {
        const int corner = (t / 2) % (kVertices - 1001);
        mesh.faces[t] = t % 2 == 0 ? CPolygon<int>{{corner, corner + 1, corner + 1000, 0}, 3}
                                   : CPolygon<int>{{corner + 1, corner + 1001, corner + 1000, 0}, 3};
    }
    return mesh;
}

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

size_t FileSize(const std::string& path)
{
    struct stat status {};
    stat(path.c_str(), &status);
    return static_cast<size_t>(status.st_size);
}

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// read() of the whole file into a new buffer, the floor for any reader; the
// buffer is bulk memory, as the importer's.
void PlainRead(const std::string& path, size_t size)
{
    char* buffer = static_cast<char*>(brell::AllocateBulk(size));
    const int descriptor = open(path.c_str(), O_RDONLY);
    for (size_t done = 0; done < size;) {
        const ssize_t got = read(descriptor, buffer + done, size - done);
        if (got <= 0) break;
        done += static_cast<size_t>(got);
    }
    close(descriptor);
    benchmark::DoNotOptimize(buffer);
    brell::FreeBulk(buffer);
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
        if (mesh.positions.size() != kVertices || mesh.faces.size() != kTriangles) state.SkipWithError("wrong mesh");
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

std::string ScenePath(const char* what)
{
    return "/tmp/brell-io-bench-" + std::to_string(getpid()) + "-" + what + ".scene";
}

// write() of the same number of bytes to a new file, made durable as a save
// makes its file.
void PlainWrite(const std::string& path, const std::vector<char>& bytes)
{
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    for (size_t done = 0; done < bytes.size();) {
        const ssize_t put = write(descriptor, bytes.data() + done, bytes.size() - done);
        if (put <= 0) break;
        done += static_cast<size_t>(put);
    }
    fsync(descriptor);
    close(descriptor);
}

// read() of the whole file into a buffer of bulk memory that is used again and again.
void PlainReadInto(const std::string& path, brell::BulkVector<char>& buffer)
{
    const int descriptor = open(path.c_str(), O_RDONLY);
    for (size_t done = 0; done < buffer.size();) {
        const ssize_t got = read(descriptor, buffer.data() + done, buffer.size() - done);
        if (got <= 0) break;
        done += static_cast<size_t>(got);
    }
    close(descriptor);
    benchmark::DoNotOptimize(buffer.data());
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

// Removes the files when the program ends.
struct RemoveFiles {
    ~RemoveFiles()
    {
        std::remove(BenchPath(PlyEncoding::ascii).c_str());
        std::remove(BenchPath(PlyEncoding::binaryLittleEndian).c_str());
        std::remove(ScenePath("mesh").c_str());
        std::remove(ScenePath("plain").c_str());
    }
} removeFiles;

}  // namespace

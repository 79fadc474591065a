#include <brelldata/brelldata.h>

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <cstdlib>
#include <cstring>
#include <vector>

// Scan data at scan sizes. Each node benchmark runs next to a memcpy of the
// same number of bytes, allocated the same way, so that their ratio reads
// directly from one run. Reading and copying allocate stores of tens of
// megabytes, which glibc maps afresh for each allocation, so that page faults
// can dominate them; with the argument 1 they run with glibc keeping freed
// memory for reuse, which shows the library's own cost.

namespace {

constexpr int kVertices = 1'000'000;
constexpr int kTriangles = 2'000'000;
constexpr int kImageWidth = 640;
constexpr int kImageHeight = 480;
constexpr int kElements = 10'000;

// A mesh of kVertices vertices and kTriangles textured triangles, with one
// image child of kImageWidth x kImageHeight pixels.
CTree MakeMesh()
{
    auto* mesh = static_cast<CMeshNode*>(CMeshNode::Create());
    CTree tree(mesh);
    mesh->SetName("scan");
    mesh->AppendVertex(kVertices);
    for (int i = 0; i < kVertices; ++i) *mesh->GetVertex(i) = VERTEX{i * 0.5, i * 0.25, i * 0.125};
    mesh->polygons->rows.resize(kTriangles);
    mesh->texCoords->rows.resize(kTriangles);
    for (int i = 0; i < kTriangles; ++i) {
        const int first = i / 2;
        mesh->polygons->rows[i] = {{first, first + 1, first + 2, 0}, 3};
        mesh->texCoords->rows[i] = {{{0.0f, 0.0f}, {1.0f, 0.0f}, {0.0f, 1.0f}, {0.0f, 0.0f}}, 3};
    }
    CRefData<CMatrixDataStore<RGBA>> image;
    image->width = kImageWidth;
    image->AppendRows(kImageHeight);
    std::memset(image->Buffer(), 0x7F, sizeof(RGBA) * kImageWidth * kImageHeight);
    mesh->AppendImage(image);
    return tree;
}

// The bytes that a private copy of the mesh's stores copies: vertices, polygons and coordinates.
size_t CopiedBytes(CMeshNode& mesh)
{
    return sizeof(VERTEX) * static_cast<size_t>(mesh.VertexNumber()) +
           sizeof(CPolygon<int>) * mesh.polygons->rows.size() +
           sizeof(CPolygon<CVector_2<float>>) * mesh.texCoords->rows.size();
}

// With keep non-zero, glibc serves large allocations from a heap that it
// keeps, while this lives; afterwards its defaults are back.
class HeapPages {
public:
    explicit HeapPages(int64_t keep) : keep_(keep != 0)
    {
        if (keep_) SetThresholds(1 << 30);
    }
    ~HeapPages()
    {
        if (!keep_) return;
        SetThresholds(kDefaultThreshold);
        malloc_trim(0);
    }
    HeapPages(const HeapPages&) = delete;
    HeapPages& operator=(const HeapPages&) = delete;

private:
    static constexpr int kDefaultThreshold = 128 * 1024;
    static void SetThresholds(int bytes)
    {
        mallopt(M_MMAP_THRESHOLD, bytes);
        mallopt(M_TRIM_THRESHOLD, bytes);
    }
    bool keep_;
};

// A block written once, so that its pages are mapped before timing.
std::vector<unsigned char> Block(size_t size)
{
    return std::vector<unsigned char>(size, 0);
}

void ReportBytes(benchmark::State& state, size_t bytes)
{
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes));
}

// Memcpy of bytes from one block to another; fresh allocates the target
// afresh each time. Like TimeNewNodes, it first lets a kept heap grow.
void Memcpy(benchmark::State& state, size_t bytes, bool fresh)
{
    HeapPages pages(fresh ? state.range(0) : 0);
    std::vector<unsigned char> source = Block(bytes), target = Block(bytes);
    if (fresh) std::free(std::memset(std::malloc(bytes), 0, bytes));
    for (auto _ : state) {
        void* to = fresh ? std::malloc(bytes) : target.data();
        std::memcpy(to, source.data(), bytes);
        benchmark::DoNotOptimize(to);
        benchmark::ClobberMemory();
        if (fresh) std::free(to);
    }
    ReportBytes(state, bytes);
}

// Times make, which returns new nodes, but not their release. One run before
// timing lets a kept heap grow to its size.
template <class Make>
void TimeNewNodes(benchmark::State& state, Make make)
{
    make()->Release();
    for (auto _ : state) {
        CBaseNode* made = make();
        benchmark::DoNotOptimize(made);
        state.PauseTiming();
        made->Release();
        state.ResumeTiming();
    }
}

void BM_ScanMeshWriteNode(benchmark::State& state)
{
    CTree mesh = MakeMesh();
    std::vector<unsigned char> block = Block(static_cast<size_t>(SizeOfByte(mesh.Root())));
    for (auto _ : state) {
        benchmark::DoNotOptimize(WriteNode(block.data(), mesh.Root()));
        benchmark::ClobberMemory();
    }
    ReportBytes(state, block.size());
}
BENCHMARK(BM_ScanMeshWriteNode)->Unit(benchmark::kMillisecond);

void BM_ScanMeshStreamMemcpyIntoExistingBlock(benchmark::State& state)
{
    Memcpy(state, static_cast<size_t>(SizeOfByte(MakeMesh().Root())), false);
}
BENCHMARK(BM_ScanMeshStreamMemcpyIntoExistingBlock)->Unit(benchmark::kMillisecond);

void BM_ScanMeshReadNode(benchmark::State& state)
{
    HeapPages pages(state.range(0));
    CTree mesh = MakeMesh();
    std::vector<unsigned char> block = Block(static_cast<size_t>(SizeOfByte(mesh.Root())));
    WriteNode(block.data(), mesh.Root());
    TimeNewNodes(state, [&] { return ReadNode(block.data()); });
    ReportBytes(state, block.size());
}
BENCHMARK(BM_ScanMeshReadNode)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_ScanMeshStreamMemcpyIntoFreshBlock(benchmark::State& state)
{
    Memcpy(state, static_cast<size_t>(SizeOfByte(MakeMesh().Root())), true);
}
BENCHMARK(BM_ScanMeshStreamMemcpyIntoFreshBlock)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// The mesh gets private copies of its stores; the image child shares its pixels.
void BM_ScanMeshCopyTree(benchmark::State& state)
{
    HeapPages pages(state.range(0));
    CTree mesh = MakeMesh();
    TimeNewNodes(state, [&] { return CopyTree(mesh.Root()); });
    ReportBytes(state, CopiedBytes(*static_cast<CMeshNode*>(mesh.Root())));
}
BENCHMARK(BM_ScanMeshCopyTree)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_ScanMeshCopyMemcpyIntoFreshBlock(benchmark::State& state)
{
    Memcpy(state, CopiedBytes(*static_cast<CMeshNode*>(MakeMesh().Root())), true);
}
BENCHMARK(BM_ScanMeshCopyMemcpyIntoFreshBlock)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

int TrivialProcedure(void*, void*)
{
    return 1;
}

// kElements elements of one model each, calculated into a fresh output node.
void BM_ScanGeoCalc(benchmark::State& state)
{
    GetDApiManager()->Register("GeoProc", "GeoCElementNode_bench", &TrivialProcedure);
    GetDApiManager()->Register("GeoProc", "GeoCModelNode_bench", &TrivialProcedure);
    CTree scene(CBaseNode::Create());
    for (int i = 0; i < kElements; ++i) {
        auto* element = static_cast<CElementNode*>(CElementNode::Create());
        element->AppendChild(CModelNode::Create());
        AppendElementToScene(element, &scene);
    }
    for (auto _ : state) {
        state.PauseTiming();
        CTree output(CBaseNode::Create());
        state.ResumeTiming();
        for (unsigned int i = 0; i < scene.Root()->GetChildNum(); ++i)
            static_cast<CElementNode*>(scene.Root()->GetChild(i))->GeoCalc("bench", output.Root());
        state.PauseTiming();
        if (output.Root()->GetChildNum() != kElements) state.SkipWithError("elements were not calculated");
        output.SetRoot(nullptr);
        state.ResumeTiming();
    }
    state.counters["time/node"] =
        benchmark::Counter(2 * kElements, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    GetDApiManager()->Unregister("GeoProc", "GeoCElementNode_bench");
    GetDApiManager()->Unregister("GeoProc", "GeoCModelNode_bench");
}
BENCHMARK(BM_ScanGeoCalc)->Unit(benchmark::kMillisecond);

}  // namespace

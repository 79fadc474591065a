#include <brelldata/data/ArrayDataStore.h>
#include <brelldata/data/Normal.h>
#include <brelldata/data/PolygonDataStore.h>
#include <brelldata/data/Records.h>
#include <brelldata/data/RefData.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>

// Store throughput at scan sizes. The vertex block benchmarks run next to a
// plain memcpy of the same bytes, allocated the same way, so their ratio reads
// directly from one run.

namespace {

constexpr int kAppends = 10'000'000;
constexpr int kVertices = 1'000'000;
constexpr int kTriangles = 2'000'000;
constexpr int kNormals = 1'000'000;

// Seconds per item, shown by the benchmark library with an SI prefix ("1.2n" is 1.2 ns).
benchmark::Counter TimePerItem(int itemsPerIteration)
{
    return benchmark::Counter(itemsPerIteration,
                              benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

CRefData<CArrayDataStore<VERTEX>> MakeVertices()
{
    CRefData<CArrayDataStore<VERTEX>> vertices;
    vertices->Append(kVertices);
    for (int i = 0; i < kVertices; ++i) vertices->Element(i) = VERTEX{i * 0.5, i * 0.25, i * 0.125};
    return vertices;
}

// A block that has been written once, so its pages are mapped before timing.
struct Block {
    explicit Block(int size) : size(static_cast<size_t>(size)), bytes(std::malloc(this->size))
    {
        std::memset(bytes, 0, this->size);
    }
    ~Block() { std::free(bytes); }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;

    size_t size;
    void* bytes;
};

void BM_AppendOneIntTenMillionTimes(benchmark::State& state)
{
    for (auto _ : state) {
        CRefData<CArrayDataStore<int>> array;
        for (int i = 0; i < kAppends; ++i) array->Append(1);
        benchmark::DoNotOptimize(array->Buffer());
        benchmark::ClobberMemory();
    }
    state.counters["per_append"] = TimePerItem(kAppends);
}
BENCHMARK(BM_AppendOneIntTenMillionTimes)->Unit(benchmark::kMillisecond);

void ReportBlockBytes(benchmark::State& state, const Block& block)
{
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(block.size));
}

CRefData<CPolygonDataStore<int>> MakeTriangles()
{
    CRefData<CPolygonDataStore<int>> triangles;
    triangles->rows.resize(kTriangles);
    for (int i = 0; i < kTriangles; ++i) triangles->rows[i] = CPolygon<int>{{i, i + 1, i + 2, 0}, 3};
    return triangles;
}

// Writing a store into an existing block.
template <class Handle, Handle (*Make)()>
void BM_StoreWrite(benchmark::State& state)
{
    const Handle store = Make();
    Block block(store->SizeOfByte());
    for (auto _ : state) {
        store->Write(block.bytes);
        benchmark::ClobberMemory();
    }
    ReportBlockBytes(state, block);
}
BENCHMARK(BM_StoreWrite<CRefData<CArrayDataStore<VERTEX>>, MakeVertices>)
    ->Name("BM_VertexArrayWrite")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StoreWrite<CRefData<CPolygonDataStore<int>>, MakeTriangles>)
    ->Name("BM_TriangleStoreWrite")
    ->Unit(benchmark::kMillisecond);

// Reading a block into a new store, which allocates its buffer afresh.
template <class Handle, Handle (*Make)()>
void BM_StoreReadIntoNewStore(benchmark::State& state)
{
    const Handle source = Make();
    Block block(source->SizeOfByte());
    source->Write(block.bytes);
    for (auto _ : state) {
        Handle read;
        benchmark::DoNotOptimize(read->Read(block.bytes));
        benchmark::ClobberMemory();
    }
    ReportBlockBytes(state, block);
}
BENCHMARK(BM_StoreReadIntoNewStore<CRefData<CArrayDataStore<VERTEX>>, MakeVertices>)
    ->Name("BM_VertexArrayReadIntoNewStore")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StoreReadIntoNewStore<CRefData<CPolygonDataStore<int>>, MakeTriangles>)
    ->Name("BM_TriangleStoreReadIntoNewStore")
    ->Unit(benchmark::kMillisecond);

// The baselines copy the vertex items (the block less its count) with memcpy:
// into an existing block, and into a fresh allocation.
void BM_VertexArrayWriteMemcpyBaseline(benchmark::State& state)
{
    const auto vertices = MakeVertices();
    Block block(vertices->SizeOfByte());
    for (auto _ : state) {
        std::memcpy(static_cast<char*>(block.bytes) + 4, vertices->Buffer(), block.size - 4);
        benchmark::ClobberMemory();
    }
    ReportBlockBytes(state, block);
}
BENCHMARK(BM_VertexArrayWriteMemcpyBaseline)->Unit(benchmark::kMillisecond);

void BM_VertexArrayReadMemcpyBaseline(benchmark::State& state)
{
    const auto vertices = MakeVertices();
    Block block(vertices->SizeOfByte());
    vertices->Write(block.bytes);
    for (auto _ : state) {
        void* fresh = std::malloc(block.size - 4);
        std::memcpy(fresh, static_cast<char*>(block.bytes) + 4, block.size - 4);
        benchmark::DoNotOptimize(fresh);
        benchmark::ClobberMemory();
        std::free(fresh);
    }
    ReportBlockBytes(state, block);
}
BENCHMARK(BM_VertexArrayReadMemcpyBaseline)->Unit(benchmark::kMillisecond);

// After the first pass the normals are already unit length; every pass still
// measures and scales each one.
void BM_UnitFloatNormalOneMillion(benchmark::State& state)
{
    CRefData<CArrayDataStore<CVector_3<float>>> normals;
    normals->Append(kNormals);
    for (int i = 0; i < kNormals; ++i) {
        normals->Element(i) = CVector_3<float>{static_cast<float>(i % 7) - 3.0f, static_cast<float>(i % 11) + 0.5f,
                                               static_cast<float>(i % 13) - 6.0f};
    }
    for (auto _ : state) {
        UnitFloatNormal(normals);
        benchmark::ClobberMemory();
    }
    state.counters["per_normal"] = TimePerItem(kNormals);
}
BENCHMARK(BM_UnitFloatNormalOneMillion)->Unit(benchmark::kMillisecond);

}  // namespace

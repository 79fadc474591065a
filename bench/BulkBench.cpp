// Filling a fresh mapping, as a new store of scan size is filled, with and
// without asking for 2 MB pages, beside filling memory already touched.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>

#include <sys/mman.h>

namespace {

enum Pages : int64_t { smallPages, largePages, touchedAlready };

// Fills the block and reads it once, as an export reads the store it filled.
void FillAndRead(unsigned char* block, size_t bytes)
{
    std::memset(block, 0x5a, bytes);
    uint64_t sum = 0;
    for (size_t i = 0; i < bytes; i += 64) sum += block[i];
    benchmark::DoNotOptimize(sum);
}

// Arguments: MB, then Pages.
void BM_FillFreshBulk(benchmark::State& state)
{
    const size_t bytes = static_cast<size_t>(state.range(0)) << 20;
    const auto pages = static_cast<Pages>(state.range(1));
    void* touched = nullptr;
    if (pages == touchedAlready) {
        touched = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (touched == MAP_FAILED) return state.SkipWithError("no memory");
        madvise(touched, bytes, MADV_HUGEPAGE);
        std::memset(touched, 0, bytes);
    }
    for (auto _ : state) {
        void* block = touched;
        if (block == nullptr) {
            block = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
            if (block == MAP_FAILED) return state.SkipWithError("no memory");
            if (pages == largePages) madvise(block, bytes, MADV_HUGEPAGE);
        }
        FillAndRead(static_cast<unsigned char*>(block), bytes);
        if (block != touched) munmap(block, bytes);
    }
    if (touched != nullptr) munmap(touched, bytes);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_FillFreshBulk)
    ->ArgsProduct({{64, 512}, {smallPages, largePages, touchedAlready}})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FillFreshBulk)
    ->ArgsProduct({{2048}, {smallPages, largePages, touchedAlready}})
    ->Iterations(2)
    ->Unit(benchmark::kMillisecond);

}  // namespace

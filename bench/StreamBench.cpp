#include "AllocationCounter.h"

#include <brelldata/brelldata.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr int kFlatNodes = 100000;
constexpr int kLargeStructBytes = 24 * 1024 * 1024;
constexpr int kGroups = 999;
constexpr int kLeavesPerGroup = 1000;
constexpr int kWalkNodes = 1 + kGroups + kGroups * kLeavesPerGroup;

// Time per node, shown in seconds with an SI prefix (45n is 45 ns).
void ReportPerNode(benchmark::State& state, int nodes, uint64_t allocations)
{
    state.counters["time/node"] =
        benchmark::Counter(nodes, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.counters["allocs/node"] =
        benchmark::Counter(static_cast<double>(allocations) / nodes, benchmark::Counter::kAvgIterations);
}

// A root and kFlatNodes - 1 children, each named with 12 characters and
// holding two int attributes.
CTree FlatTree()
{
    CTree tree(CreateNode("CBaseNode"));
    char name[16];
    for (int i = 0; i < kFlatNodes; ++i) {
        CBaseNode* node = i == 0 ? tree.Root() : CreateNode("CBaseNode");
        std::snprintf(name, sizeof name, "scanpart%04d", i % 10000);
        node->SetName(name);
        node->SetAttributeInt("index", i);
        node->SetAttributeInt("flags", i & 7);
        if (i != 0) tree.Root()->AppendChild(node);
    }
    return tree;
}

void BM_WriteNodeFlatTree(benchmark::State& state)
{
    CTree tree = FlatTree();
    std::vector<unsigned char> block(static_cast<size_t>(tree.SizeOfByte()));
    uint64_t before = AllocationCount();
    for (auto _ : state) benchmark::DoNotOptimize(WriteNode(block.data(), tree.Root()));
    ReportPerNode(state, kFlatNodes, AllocationCount() - before);
}
BENCHMARK(BM_WriteNodeFlatTree)->Unit(benchmark::kMillisecond);

// Only ReadNode is timed and counted; releasing the copy is not.
void BM_ReadNodeFlatTree(benchmark::State& state)
{
    CTree tree = FlatTree();
    std::vector<unsigned char> block(static_cast<size_t>(tree.SizeOfByte()));
    WriteNode(block.data(), tree.Root());
    uint64_t allocations = 0;
    for (auto _ : state) {
        uint64_t before = AllocationCount();
        CBaseNode* copy = ReadNode(block.data());
        allocations += AllocationCount() - before;
        state.PauseTiming();
        copy->Release();
        state.ResumeTiming();
    }
    ReportPerNode(state, kFlatNodes, allocations);
}
BENCHMARK(BM_ReadNodeFlatTree)->Unit(benchmark::kMillisecond);

CTree LargeStructNode()
{
    CTree tree(CreateNode("CBaseNode"));
    std::vector<unsigned char> bytes(kLargeStructBytes, 0x5A);
    tree.Root()->SetAttributeStruct("scan", bytes.data(), kLargeStructBytes);
    return tree;
}

// Writing into an existing block, next to memcpy of the same bytes into an
// existing block of the same size.
void BM_WriteNodeLargeStruct(benchmark::State& state)
{
    CTree tree = LargeStructNode();
    std::vector<unsigned char> block(static_cast<size_t>(tree.SizeOfByte()));
    for (auto _ : state) benchmark::DoNotOptimize(WriteNode(block.data(), tree.Root()));
    state.SetBytesProcessed(state.iterations() * kLargeStructBytes);
}
BENCHMARK(BM_WriteNodeLargeStruct)->Unit(benchmark::kMillisecond);

void BM_MemcpyLargeStructIntoExistingBlock(benchmark::State& state)
{
    CTree tree = LargeStructNode();
    const void* value = tree.Root()->QueryAttributeStruct("scan", nullptr);
    std::vector<unsigned char> block(static_cast<size_t>(tree.SizeOfByte()));
    for (auto _ : state) {
        std::memcpy(block.data(), value, kLargeStructBytes);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * kLargeStructBytes);
}
BENCHMARK(BM_MemcpyLargeStructIntoExistingBlock)->Unit(benchmark::kMillisecond);

// Reading allocates the value afresh with malloc, as the memcpy next to it does.
void BM_ReadNodeLargeStruct(benchmark::State& state)
{
    CTree tree = LargeStructNode();
    std::vector<unsigned char> block(static_cast<size_t>(tree.SizeOfByte()));
    WriteNode(block.data(), tree.Root());
    for (auto _ : state) {
        CBaseNode* copy = ReadNode(block.data());
        state.PauseTiming();
        copy->Release();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * kLargeStructBytes);
}
BENCHMARK(BM_ReadNodeLargeStruct)->Unit(benchmark::kMillisecond);

void BM_MemcpyLargeStructIntoFreshBlock(benchmark::State& state)
{
    CTree tree = LargeStructNode();
    const void* value = tree.Root()->QueryAttributeStruct("scan", nullptr);
    for (auto _ : state) {
        void* copy = std::malloc(kLargeStructBytes);
        std::memcpy(copy, value, kLargeStructBytes);
        benchmark::DoNotOptimize(copy);
        state.PauseTiming();
        std::free(copy);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * kLargeStructBytes);
}
BENCHMARK(BM_MemcpyLargeStructIntoFreshBlock)->Unit(benchmark::kMillisecond);

int CountNode(CBaseNode*, int, void* data)
{
    ++*static_cast<int*>(data);
    return 0;
}

// A root with kGroups children of kLeavesPerGroup leaves each.
void BM_ForEachNodeMillionNodes(benchmark::State& state)
{
    CTree tree(CreateNode("CBaseNode"));
    for (int g = 0; g < kGroups; ++g) {
        CBaseNode* group = CreateNode("CBaseNode");
        for (int i = 0; i < kLeavesPerGroup; ++i) group->AppendChild(CreateNode("CBaseNode"));
        tree.Root()->AppendChild(group);
    }
    int visited = 0;
    uint64_t before = AllocationCount();
    for (auto _ : state) {
        visited = 0;
        benchmark::DoNotOptimize(ForEachNode(tree.Root(), &CountNode, 0, &visited, 1));
    }
    ReportPerNode(state, kWalkNodes, AllocationCount() - before);
    if (visited != kWalkNodes) state.SkipWithError("the walk missed nodes");
}
BENCHMARK(BM_ForEachNodeMillionNodes)->Unit(benchmark::kMillisecond);

}  // namespace

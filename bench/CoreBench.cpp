#include "AllocationCounter.h"

#include <brelldata/brelldata.h>

#include <benchmark/benchmark.h>

#include <string>

// A five-class chain; IsKindOf of the root's name walks all five levels.
class CBenchANode : public CBaseNode {
    BRELL_NODE_TYPE(CBenchANode, CBaseNode)
};
class CBenchBNode : public CBenchANode {
    BRELL_NODE_TYPE(CBenchBNode, CBenchANode)
};
class CBenchCNode : public CBenchBNode {
    BRELL_NODE_TYPE(CBenchCNode, CBenchBNode)
};
class CBenchDNode : public CBenchCNode {
    BRELL_NODE_TYPE(CBenchDNode, CBenchCNode)
};
BRELL_NODE_TYPE_DEFINE(CBenchANode, CBaseNode)
BRELL_NODE_TYPE_DEFINE(CBenchBNode, CBenchANode)
BRELL_NODE_TYPE_DEFINE(CBenchCNode, CBenchBNode)
BRELL_NODE_TYPE_DEFINE(CBenchDNode, CBenchCNode)

namespace {

void BM_IsKindOfFiveClassChain(benchmark::State& state)
{
    CBenchDNode node;
    const CBaseNode* base = &node;
    const std::string& name = CBaseNode::TypeId();
    uint64_t before = AllocationCount();
    for (auto _ : state) benchmark::DoNotOptimize(base->IsKindOf(name));
    ReportAllocations(state, before);
}
BENCHMARK(BM_IsKindOfFiveClassChain);

void BM_IsKindOfLiteralName(benchmark::State& state)
{
    CBenchDNode node;
    const CBaseNode* base = &node;
    uint64_t before = AllocationCount();
    for (auto _ : state) benchmark::DoNotOptimize(base->IsKindOf("CBaseNode"));
    ReportAllocations(state, before);
}
BENCHMARK(BM_IsKindOfLiteralName);

// The node itself and its attribute store are the only allocations.
void BM_CreateNodeByName(benchmark::State& state)
{
    uint64_t before = AllocationCount();
    for (auto _ : state) {
        CBaseNode* node = CreateNode("CRefNode");
        benchmark::DoNotOptimize(node);
        node->Release();
    }
    ReportAllocations(state, before);
}
BENCHMARK(BM_CreateNodeByName);

void FillSixteenAttributes(CBaseNode& node)
{
    for (int i = 0; i < 16; ++i) node.SetAttributeInt(("attribute" + std::to_string(i)).c_str(), i);
}

void BM_SetAttributeIntAmongSixteen(benchmark::State& state)
{
    CBaseNode node;
    FillSixteenAttributes(node);
    int value = 0;
    uint64_t before = AllocationCount();
    for (auto _ : state) node.SetAttributeInt("attribute7", ++value);
    ReportAllocations(state, before);
}
BENCHMARK(BM_SetAttributeIntAmongSixteen);

void BM_QueryAttributeIntAmongSixteen(benchmark::State& state)
{
    CBaseNode node;
    FillSixteenAttributes(node);
    int value = 0;
    uint64_t before = AllocationCount();
    for (auto _ : state) {
        benchmark::DoNotOptimize(node.QueryAttributeInt("attribute7", value));
        benchmark::DoNotOptimize(value);
    }
    ReportAllocations(state, before);
}
BENCHMARK(BM_QueryAttributeIntAmongSixteen);

}  // namespace

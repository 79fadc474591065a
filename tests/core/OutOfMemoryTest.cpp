// Every allocation of the program goes through a counter that can make the
// k-th one fail, so that each operation is run with each of its allocations
// failing in turn. Leaks show as allocations still live afterwards.

#include <brelldata/brelldata.h>

#include "support/RegisteredTypes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <new>
#include <string>
#include <vector>

namespace {

long allocations = 0;
long failingAllocation = 0;  // 0: none fails
long live = 0;

void* Allocate(std::size_t size)
{
    if (failingAllocation != 0 && ++allocations == failingAllocation) return nullptr;
    void* block = std::malloc(size == 0 ? 1 : size);
    if (block != nullptr) ++live;
    return block;
}

// The replaced operator new allocates with malloc, so free is its match.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif
void Free(void* block)
{
    if (block == nullptr) return;
    --live;
    std::free(block);
}

}  // namespace

void* operator new(std::size_t size)
{
    void* block = Allocate(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void* operator new[](std::size_t size)
{
    return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}
void operator delete(void* block) noexcept
{
    Free(block);
}
void operator delete[](void* block) noexcept
{
    Free(block);
}
void operator delete(void* block, std::size_t) noexcept
{
    Free(block);
}
void operator delete[](void* block, std::size_t) noexcept
{
    Free(block);
}

namespace {

// Runs operation with its first, second, ... allocation failing until it
// runs through without a failure. It must neither throw nor leak; what it
// returns is its own affair. The failures are given as the k that failed.
std::vector<long> FailuresOf(const std::function<void()>& operation)
{
    std::vector<long> failures;
    failures.reserve(64);
    for (long k = 1;; ++k) {
        const long liveBefore = live;
        allocations = 0;
        failingAllocation = k;
        bool threw = false;
        try {
            operation();
        } catch (...) {
            threw = true;
        }
        const bool ranThrough = allocations < k;
        failingAllocation = 0;
        if (threw || live != liveBefore) failures.push_back(k);
        if (ranThrough) return failures;
    }
}

TEST(OutOfMemory, EveryNodeClassCreatesANodeOrNullLeakingNothing)
{
    for (const std::string& type : brell::test::kRegisteredTypes) {
        const auto createAndRelease = [&type] {
            if (CBaseNode* node = CreateNode(type.c_str())) node->Release();
        };
        EXPECT_EQ(FailuresOf(createAndRelease), std::vector<long>{}) << type;
    }
}

TEST(OutOfMemory, StoreAndImageOperationsFailWithoutThrowingOrLeaking)
{
    CRefData<CMatrixDataStore<RGBA>> image;
    image->width = 2;
    image->AppendRows(2);
    CRefData<CLineDataStore<VERTEX>> lines;
    lines->lines.assign(3, std::vector<VERTEX>(5));
    CRefData<CPolygonDataStore<int>> polygons;
    polygons->rows.resize(3);
    const std::pair<const char*, std::function<void()>> operations[] = {
        {"Unshare and Assign",
         [&] {
             CRefData<CLineDataStore<VERTEX>> lineCopy = lines;
             lineCopy.Unshare();
             CRefData<CPolygonDataStore<int>> polygonCopy = polygons;
             polygonCopy.Unshare();
         }},
        {"AppendImage, InsertImage and CopyTree",
         [&] {
             CBaseNode* mesh = CMeshNode::Create();
             if (mesh == nullptr) return;
             mesh->AddRef();
             static_cast<CMeshNode*>(mesh)->AppendImage(image);
             static_cast<CMeshNode*>(mesh)->InsertImage(0, image);
             if (CBaseNode* copy = CopyTree(mesh)) copy->Release();
             mesh->Release();
         }},
    };
    for (const auto& [name, operation] : operations) EXPECT_EQ(FailuresOf(operation), std::vector<long>{}) << name;
}

TEST(OutOfMemory, NodeStreamsOfDeepTreesFailWithoutThrowingOrLeaking)
{
    // Each level's deeper child comes before a leaf, so that every walk holds
    // all levels at once, more than its stack has room for without allocating.
    CTree chain(CBaseNode::Create());
    CBaseNode* deepest = chain.Root();
    for (int depth = 0; depth < 100; ++depth) {
        CBaseNode* child = CBaseNode::Create();
        deepest->AppendChild(child);
        deepest->AppendChild(CBaseNode::Create());
        deepest = child;
    }
    std::vector<unsigned char> stream(static_cast<size_t>(SizeOfByte(chain.Root())));
    WriteNode(stream.data(), chain.Root());
    const std::pair<const char*, std::function<void()>> operations[] = {
        {"SizeOfByte", [&] { SizeOfByte(chain.Root()); }},
        {"WriteNode", [&] { WriteNode(stream.data(), chain.Root()); }},
        {"ReadNode",
         [&] {
             if (CBaseNode* copy = ReadNode(stream.data())) copy->Release();
         }},
    };
    for (const auto& [name, operation] : operations) EXPECT_EQ(FailuresOf(operation), std::vector<long>{}) << name;
}

}  // namespace

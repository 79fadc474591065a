#include "core/TreeFixtures.h"
#include "support/SmallStack.h"

#include <brelldata/core/NodeStream.h>
#include <brelldata/core/Walk.h>

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace {

using namespace brell::test;

// Far deeper than a walk that recursed per level could go on the small stack.
constexpr int kDepth = 20'000;

// A chain of depth nodes, each the only child of the one before.
CBaseNode* Chain(int depth)
{
    CBaseNode* top = CBaseNode::Create();
    for (CBaseNode* at = top; --depth > 0; at = at->GetFirstChild()) at->AppendChild(CBaseNode::Create());
    return top;
}

int Depth(CBaseNode* node)
{
    int depth = 0;
    for (; node != nullptr; node = node->GetFirstChild()) ++depth;
    return depth;
}

int CountNode(CBaseNode*, int, void* count)
{
    ++*static_cast<int*>(count);
    return 0;
}

TEST(DeepTrees, AreWalkedStreamedCopiedListedAndReleasedAtAnyDepth)
{
    struct Walk {
        const char* title;
        int depth;
        std::function<void(CBaseNode* top)> check;
    };
    // Searches go down by the loop the ForEachNode walk takes.
    const Walk walks[] = {
        {"ForEachNode", kDepth,
         [](CBaseNode* top) {
             int count = 0;
             EXPECT_EQ(ForEachNode(top, CountNode, 0, &count, 1), 0);
             EXPECT_EQ(count, kDepth);
         }},
        {"streams", kDepth,
         [](CBaseNode* top) {
             std::vector<unsigned char> stream(static_cast<size_t>(SizeOfByte(top)));
             EXPECT_EQ(WriteNode(stream.data(), top), static_cast<int>(stream.size()));
             CTree back(ReadNode(stream.data()));
             EXPECT_EQ(Depth(back.Root()), kDepth);
         }},
        {"CopyTree", kDepth, [](CBaseNode* top) { EXPECT_EQ(Depth(CTree(CopyTree(top)).Root()), kDepth); }},
        // A listing's lines grow with the depth: a shallower chain does.
        {"DisplayTree", kDepth / 4, [](CBaseNode* top) { DisplayTree(top); }},
        {"release", kDepth, [](CBaseNode*) {}},
    };
    for (const Walk& walk : walks) {
        SCOPED_TRACE(walk.title);
        RunOnSmallStack([&] { walk.check(CTree(Chain(walk.depth)).Root()); });
    }
}

}  // namespace

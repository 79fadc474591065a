#include "core/TreeFixtures.h"
#include "diag/Recording.h"

#include <brelldata/core/NodeRegistry.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace brell::test;

TEST(NodeRegistry, LibraryTypesAreCreatedByExactNameWithCountZero)
{
    CBaseNode* node = CreateNode("CRefNode");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->Type(), "CRefNode");
    EXPECT_EQ(node->RefCount(), 0);
    node->Release();
    for (const char* name : {"crefnode", "CTestCubeNode", ""}) EXPECT_EQ(CreateNode(name), nullptr) << name;
}

TEST(NodeRegistry, CallersRegisterTypesOnceAndEveryCallWritesItsTraceLine)
{
    Recording recording(testing::TempDir() + "brell-registry-trace");
    RegisterNodeType("CTestCubeNode", &CTestCubeNode::Create);
    RegisterNodeType("CBaseNode", &CTestCubeNode::Create);  // the first factory stays
    RegisterNodeType("CTestNullNode", []() -> CBaseNode* { return nullptr; });
    CBaseNode* cube = CreateNode("CTestCubeNode");
    CBaseNode* base = CreateNode("CBaseNode");
    EXPECT_EQ(cube->Type(), "CTestCubeNode");
    EXPECT_EQ(base->Type(), "CBaseNode");
    EXPECT_EQ(CreateNode("CTestNullNode"), nullptr);
    cube->Release();
    base->Release();

    UnRegisterNodeType("CTestCubeNode");
    UnRegisterNodeType("CTestNullNode");
    UnRegisterNodeType("CTestNeverRegistered");
    EXPECT_EQ(CreateNode("CTestCubeNode"), nullptr);
    EXPECT_EQ(recording.Texts(),
              (std::vector<std::string>{"Register node type CTestCubeNode\n", "Register node type CBaseNode\n",
                                        "Register node type CTestNullNode\n", "Unregister node type CTestCubeNode\n",
                                        "Unregister node type CTestNullNode\n",
                                        "Unregister node type CTestNeverRegistered\n"}));
    EXPECT_EQ(recording.Lines().front(), "output 0 0 Register node type CTestCubeNode\n");
}

}  // namespace

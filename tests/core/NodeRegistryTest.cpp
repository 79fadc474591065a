#include "core/TestNodes.h"
#include "diag/Recording.h"

#include <brelldata/core/NodeRegistry.h>
#include <brelldata/core/RefNode.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using brell::test::Recording;

std::string RecordPath()
{
    return testing::TempDir() + "brell-registry-" + testing::UnitTest::GetInstance()->current_test_info()->name();
}

CBaseNode* MakeCube()
{
    return CTestCubeNode::Create();
}

CBaseNode* MakeNothing()
{
    return nullptr;
}

TEST(NodeRegistry, LibraryTypesCanBeCreatedByExactName)
{
    CBaseNode* node = CreateNode("CRefNode");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->Type(), "CRefNode");
    EXPECT_EQ(node->RefCount(), 0);
    node->Release();

    EXPECT_EQ(CreateNode("crefnode"), nullptr);
    EXPECT_EQ(CreateNode("CTestCubeNode"), nullptr);
    EXPECT_EQ(CreateNode(""), nullptr);
    EXPECT_EQ(CreateNode(nullptr), nullptr);
}

TEST(NodeRegistry, CallersRegisterAndUnregisterTheirOwnTypesWithTraceLines)
{
    Recording recording(RecordPath());
    RegisterNodeType("CTestCubeNode", &MakeCube);
    CBaseNode* cube = CreateNode("CTestCubeNode");
    ASSERT_NE(cube, nullptr);
    EXPECT_EQ(cube->Type(), "CTestCubeNode");
    cube->Release();

    UnRegisterNodeType("CTestCubeNode");
    UnRegisterNodeType("CTestNeverRegistered");
    EXPECT_EQ(CreateNode("CTestCubeNode"), nullptr);
    EXPECT_EQ(recording.Lines(), (std::vector<std::string>{"output 0 0 Register node type CTestCubeNode\n",
                                                           "output 0 0 Unregister node type CTestCubeNode\n",
                                                           "output 0 0 Unregister node type CTestNeverRegistered\n"}));
}

TEST(NodeRegistry, FirstFactoryStaysWhenANameIsRegisteredAgain)
{
    Recording recording(RecordPath());
    RegisterNodeType("CBaseNode", &MakeCube);
    CBaseNode* node = CreateNode("CBaseNode");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->Type(), "CBaseNode");
    node->Release();
    EXPECT_EQ(recording.Texts(), (std::vector<std::string>{"Register node type CBaseNode\n"}));
}

TEST(NodeRegistry, NullFactoryCreatesNothing)
{
    RegisterNodeType("CTestNullNode", &MakeNothing);
    EXPECT_EQ(CreateNode("CTestNullNode"), nullptr);
    UnRegisterNodeType("CTestNullNode");
}

}  // namespace

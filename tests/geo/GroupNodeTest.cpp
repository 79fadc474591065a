#include "support/Held.h"

#include <brelldata/core/RefNode.h>
#include <brelldata/core/Tree.h>
#include <brelldata/core/Walk.h>
#include <brelldata/geo/GroupNodes.h>
#include <brelldata/geo/MeshNodes.h>

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace {

using brell::test::Held;

std::vector<int> Enabled(CBaseNode& node)
{
    std::vector<int> flags;
    for (unsigned int i = 0; i < node.GetChildNum(); ++i) flags.push_back(node.IsChildEnable(static_cast<int>(i)));
    return flags;
}

std::vector<CBaseNode*> Children(CBaseNode& node)
{
    std::vector<CBaseNode*> children;
    for (unsigned int i = 0; i < node.GetChildNum(); ++i) children.push_back(node.GetChild(i));
    return children;
}

CGeoSwitchNode* SwitchOf(int children)
{
    auto* node = new CGeoSwitchNode;
    for (int i = 0; i < children; ++i) node->AppendChild(new CGeoBaseNode);
    return node;
}

// Counts its discards in a counter of the test's.
class CountingCache final : public CGeoCache {
public:
    explicit CountingCache(int& discards) : discards_(discards) {}
    void Discard() override
    {
        ++discards_;
        delete this;
    }
    int Execute(void*) override { return 0; }

private:
    int& discards_;
};

TEST(SwitchNodes, FlagsFollowEnablesDefaultsAndCopies)
{
    Held three(SwitchOf(3));
    EXPECT_EQ(Enabled(*three.node), (std::vector<int>{1, 1, 1}));
    three->SetDefault(0);
    EXPECT_EQ(Enabled(*three.node), (std::vector<int>{0, 0, 0}));
    three->SetDefault(1);
    EXPECT_EQ(three->Enable(1, 0), 1);
    EXPECT_EQ(three->Comment(), "Default: Enable < x-x >");
    EXPECT_EQ(three->Enable(3, 0), 1);
    three->DeleteFlag(0);
    three->DeleteFlag(7);
    EXPECT_EQ(three->flags, (std::vector<int>{0, 1}));

    Held five(SwitchOf(5));
    five->EnableOnly(2, 1);
    EXPECT_EQ(Enabled(*five.node), (std::vector<int>{0, 0, 1, 0, 0}));
    five->EnableOnly(2, 0);
    EXPECT_EQ(Enabled(*five.node), (std::vector<int>{1, 1, 0, 1, 1}));

    Held two(SwitchOf(2));
    two->InsertFlag(0, 0);
    two->InsertFlag(4, 0);
    EXPECT_EQ(two->flags, (std::vector<int>{0, 1, 1}));
    two->SetDefault(0);
    Held<CGeoSwitchNode> copy;
    copy->Copy(two.node);
    EXPECT_EQ(copy->Comment(), "Default: Disable < -xx >");
}

TEST(ModeNodes, KeepMembersInOrderAndReleaseReplacedOnes)
{
    Held<CGeoModeNode> mode;
    auto* other = new CGeoBaseNode;
    auto *line = new CGeoBaseNode, *normal = new CGeoBaseNode, *point = new CGeoBaseNode;
    mode->AppendChild(other);
    EXPECT_EQ(mode->SetNormalNode(normal), 1);
    EXPECT_EQ(mode->SetLineNode(line), 1);
    EXPECT_EQ(mode->SetPointNode(point), 1);
    EXPECT_EQ(Children(*mode.node), (std::vector<CBaseNode*>{other, point, line, normal}));
    EXPECT_EQ(Enabled(*mode.node), (std::vector<int>{1, 0, 1, 0}));

    point->AddRef();
    EXPECT_EQ(mode->SetPointNode(mode->GetPointNode()), 1);  // the same node again survives
    EXPECT_EQ(point->RefCount(), 2);
    auto* secondPoint = new CGeoBaseNode;
    EXPECT_EQ(mode->SetPointNode(secondPoint), 1);
    EXPECT_EQ(point->RefCount(), 1);
    point->Release();
    EXPECT_EQ(mode->GetPointNode(), secondPoint);

    mode->RemoveChild(line, 1);
    EXPECT_EQ(mode->GetLineNode(), nullptr);
    EXPECT_EQ(mode->SetPointNode(nullptr), 0);
    EXPECT_EQ(mode->GetPointNode(), nullptr);
    EXPECT_EQ(Children(*mode.node), (std::vector<CBaseNode*>{other, normal}));

    EXPECT_EQ(mode->SetMode(CGeoModeNode::kPoint | CGeoModeNode::kShading), CGeoModeNode::kWireframe);
    EXPECT_EQ(mode->Comment(), "Point,Shading");
    mode->SetMode(64);
    EXPECT_EQ(mode->Comment(), "<None>");
}

TEST(ModeNodes, ModeReachesShadedMeshesBelow)
{
    Held<CGeoModeNode> shading;
    auto* polygon = new CGeoPolyShadeRefNode;
    auto* deep = new CGeoPolyShadeRefNode;
    auto* middle = new CGeoBaseNode;
    middle->AppendChild(deep);
    polygon->AppendChild(middle);
    shading->SetMode(CGeoModeNode::kTexture);
    shading->SetPolygonNode(polygon);
    EXPECT_EQ(std::tuple(polygon->texture, deep->texture), std::tuple(1, 0));

    shading->SetMode(CGeoModeNode::kSmooth);
    EXPECT_EQ(std::tuple(polygon->smooth, polygon->texture, deep->smooth), std::tuple(1, 0, 1));
}

TEST(GeoRefNodes, DiscardTheirCacheExactlyOnceOnEveryPath)
{
    CBaseNode target;
    struct Path {
        const char* title;
        void (*letGo)(CGeoRefNode& node, CBaseNode& target);
        int discards;
    };
    const Path paths[] = {
        {"release", [](CGeoRefNode& node, CBaseNode&) { node.ReleaseCache(); }, 1},
        {"same reference", [](CGeoRefNode& node, CBaseNode& target) { node.SetRefNode(&target); }, 0},
        {"other reference", [](CGeoRefNode& node, CBaseNode&) { node.SetRefNode(nullptr); }, 1},
        {"copy", [](CGeoRefNode& node, CBaseNode&) { node.Copy(&node); }, 1},
        {"copy of a plain node", [](CGeoRefNode& node, CBaseNode& target) { node.Copy(&target); }, 0},
        {"same cache", [](CGeoRefNode& node, CBaseNode&) { node.SetCache(node.GetCache()); }, 0},
    };
    for (const Path& path : paths) {
        SCOPED_TRACE(path.title);
        int discards = 0;
        auto* node = new CGeoRefNode;
        node->AddRef();
        node->SetRefNode(&target);
        node->SetCache(new CountingCache(discards));
        EXPECT_EQ(node->Comment().substr(node->Comment().size() - 12), "[Have cache]");
        path.letGo(*node, target);
        EXPECT_EQ(discards, path.discards);
        int second = 0;
        node->SetCache(new CountingCache(second));
        EXPECT_EQ(discards, 1);
        node->Release();
        EXPECT_EQ(std::tuple(second, discards), std::tuple(1, 1));
    }
    EXPECT_EQ(target.RefCount(), 0);
}

TEST(GeoRefNodes, FollowMixedChainsAndAreFoundBySearch)
{
    CTree tree(new CBaseNode);
    auto* referred = new CGeoPolygonNode;
    auto* toPolygon = new CRefNode;
    auto* geoToRef = new CGeoRefNode;
    auto* refToGeo = new CRefNode;
    auto* geoToGeo = new CGeoRefNode;
    for (CBaseNode* node : std::vector<CBaseNode*>{referred, toPolygon, geoToRef, refToGeo, geoToGeo})
        tree.Root()->AppendChild(node);
    toPolygon->SetRefNode(referred);
    geoToRef->SetRefNode(toPolygon);
    refToGeo->SetRefNode(geoToRef);
    geoToGeo->SetRefNode(geoToRef);
    EXPECT_EQ((std::vector<CBaseNode*>{geoToRef->Reference(), refToGeo->Reference(), geoToGeo->Reference()}),
              std::vector<CBaseNode*>(3, referred));
    EXPECT_EQ(CGeoRefNode().Reference(), nullptr);

    int counter = 1;
    EXPECT_EQ(SearchNode(tree.Root(), IsRefNode, counter, referred), geoToRef);
    counter = 3;
    EXPECT_EQ(SearchNode(tree.Root(), IsRefNode, counter, referred), geoToGeo);
    EXPECT_EQ(IsRefNode(referred, counter, nullptr), 0);
}

TEST(GeoRefNodes, ChainsThatComeBackResolveToNothing)
{
    Held<CBaseNode> root(CBaseNode::Create());
    auto* self = new CRefNode;
    self->SetRefNode(self);
    auto* geoFirst = new CGeoRefNode;
    auto* second = new CRefNode;
    geoFirst->SetRefNode(second);
    second->SetRefNode(geoFirst);
    for (CBaseNode* node : std::vector<CBaseNode*>{self, geoFirst, second}) root->AppendChild(node);
    EXPECT_EQ((std::vector<CBaseNode*>{self->Reference(), geoFirst->Reference(), second->Reference()}),
              std::vector<CBaseNode*>(3, nullptr));
    int counter = 0;
    EXPECT_EQ(SearchNode(root.node, IsRefNode, counter, root.node), nullptr);
}

}  // namespace

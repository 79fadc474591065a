#include "support/Bytes.h"

#include <brelldata/core/BaseNode.h>
#include <brelldata/core/Tree.h>
#include <brelldata/platform/DataManager.h>
#include <brelldata/shared/NameList.h>
#include <brelldata/shared/SharedObjects.h>

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace {

using brell::test::Bytes;

std::vector<std::string> Names(const CNameList& list)
{
    std::vector<std::string> names;
    for (CNameList::CONST_POS pos = list.Begin(); pos != list.End(); ++pos) names.push_back(pos.Value());
    return names;
}

CNameList ListOf(std::initializer_list<const char*> names)
{
    CNameList list;
    for (const char* name : names) list.Append(name);
    return list;
}

// An object of the host's own class.
class CHostObject : public CDataObjectBase {
public:
    int SizeOfByte() override { return 0; }
    int Read(void*) override { return 0; }
    int Write(void*) override { return 0; }
};

TEST(NameLists, WriteAndReadTheirBlocks)
{
    CNameList list = ListOf({"a", "", "bc"});
    Bytes expected = Bytes().I32(3).I32(2).Raw({'a', 0}).I32(1).Raw({0}).I32(3).Raw({'b', 'c', 0});
    ASSERT_EQ(list.SizeOfByte(), 22);
    std::vector<uint8_t> block(22, 0xEE);
    EXPECT_EQ(list.Write(block.data()), 1);
    EXPECT_EQ(block, expected.Data());

    CNameList back = ListOf({"old"});
    EXPECT_EQ(back.Read(expected.Mutable()), 1);
    EXPECT_EQ(Names(back), (std::vector<std::string>{"a", "", "bc"}));

    EXPECT_EQ(list.Write(nullptr), 0);
    EXPECT_EQ(list.Read(nullptr), 0);
    EXPECT_EQ(std::tuple(list.Size(), list.SizeOfByte()), std::tuple(0u, 4));
}

TEST(NameLists, PositionsStepRoundThroughTheEndBothWays)
{
    CNameList list = ListOf({"a", "b", nullptr});
    CNameList::POS pos = list.End();
    EXPECT_EQ((++pos).Value(), "a");
    EXPECT_EQ((--pos), list.End());
    EXPECT_EQ((--pos).Value(), "");
    EXPECT_EQ((pos--).Value(), "");
    EXPECT_EQ(pos.Value(), "b");
    EXPECT_EQ(--list.Begin(), list.End());
    EXPECT_EQ(++CNameList::POS(), CNameList::POS()) << "a default position stays put";

    pos.Value() = "B";
    list.Remove(list.End());
    list.Remove(CNameList::POS());
    list.Remove(list.Begin());
    EXPECT_EQ(Names(list), (std::vector<std::string>{"B", ""}));
    EXPECT_EQ(list.Size(), 2u);
    const CNameList& constant = list;
    EXPECT_EQ(CNameList::CONST_POS(list.Begin()), constant.Begin());
}

TEST(NameLists, CopiesAndAssignmentsCopyEveryNameInOrder)
{
    CNameList source = ListOf({"x", "", "x"});
    CNameList copy(source);
    CNameList assigned = ListOf({"old"});
    assigned = source;
    source.Clear();
    EXPECT_EQ(Names(copy), (std::vector<std::string>{"x", "", "x"}));
    EXPECT_EQ(std::tuple(Names(assigned), copy.Size()), std::tuple(Names(copy), 3u));
    CNameList self = ListOf({"s"});
    CNameList& alias = self;
    self = alias;
    EXPECT_EQ(Names(self), (std::vector<std::string>{"s"}));
}

TEST(TreesByName, AreOneTreeThatNoOtherLookUpSees)
{
    CDataManager manager;
    CTree* tree = CreateTree(&manager, "scene");
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(tree->Root(), nullptr);
    EXPECT_EQ(CreateTree(&manager, "scene"), tree);
    EXPECT_EQ(std::tuple(GetTree(&manager, "scene"), GetNameList("scene", &manager)), std::tuple(tree, nullptr));
    EXPECT_EQ(FreeNameList("scene", &manager), 0);
    EXPECT_EQ(GetTree(&manager, "scene"), tree) << "a failed FreeNameList leaves the tree";

    ASSERT_NE(CreateNameList("names", &manager), nullptr);
    EXPECT_EQ(GetTree(&manager, "names"), nullptr);
    EXPECT_EQ(CreateTree(&manager, "names"), nullptr) << "the name is taken by a list";
    EXPECT_EQ(CreateNameList(nullptr, &manager), nullptr);
    EXPECT_EQ(FreeNameList("names", &manager), 1);
    EXPECT_EQ(manager.GetData("names"), nullptr);
}

// The host's object has no record code to read: its class alone must refuse it.
TEST(SharedObjects, SeeNoTreeOrListInAnObjectOfTheHostsOwnClass)
{
    CDataManager manager;
    CHostObject host;
    ASSERT_EQ(manager.Register("host", &host), 1);
    EXPECT_EQ(std::tuple(GetTree(&manager, "host"), GetNameList("host", &manager)), std::tuple(nullptr, nullptr));
    EXPECT_EQ(FreeNameList("host", &manager), 0);
    EXPECT_EQ(manager.UnRegister("host"), &host) << "still registered";
}

TEST(SharedObjects, NeedAManager)
{
    EXPECT_EQ(CreateTree(nullptr, "t"), nullptr);
    EXPECT_EQ(GetTree(nullptr, "t"), nullptr);
    EXPECT_EQ(FreeTree(nullptr, "t"), 1);
    EXPECT_EQ(CreateNameList("l", nullptr), nullptr);
    EXPECT_EQ(GetNameList("l", nullptr), nullptr);
    EXPECT_EQ(FreeNameList("l", nullptr), 0);
}

TEST(TreesByName, ReleaseTheRootOnceWhenFreedOrTheManagerEnds)
{
    CBaseNode* root = CBaseNode::Create();
    root->AddRef();  // the test's own reference shows each release
    {
        CDataManager ending;
        CreateTree(&ending, "freed")->SetRoot(root);
        CreateTree(&ending, "kept")->SetRoot(root);
        EXPECT_EQ(root->RefCount(), 3);
        EXPECT_EQ(FreeTree(&ending, "freed"), 1);
        EXPECT_EQ(std::tuple(ending.GetData("freed"), root->RefCount()), std::tuple(nullptr, 2));
        EXPECT_EQ(FreeTree(&ending, "freed"), 1);
        EXPECT_EQ(root->RefCount(), 2);
    }
    EXPECT_EQ(root->RefCount(), 1);
    root->Release();
}

TEST(SharedObjects, HandTheirPayloadThroughAFlatBlock)
{
    CDataManager manager;
    CTree* sourceTree = CreateTree(&manager, "source");
    CTree* target = CreateTree(&manager, "target");
    EXPECT_EQ(manager.GetData("source")->MakeBlock(), nullptr) << "an empty tree makes no block";
    CBaseNode* named = CBaseNode::Create();
    named->SetName("R");
    named->AppendChild(CBaseNode::Create());
    sourceTree->SetRoot(named);
    target->SetRoot(CBaseNode::Create());
    manager.GetData("target")->TakeBlock(manager.GetData("source")->MakeBlock());
    ASSERT_NE(target->Root(), named);
    EXPECT_EQ(std::tuple(target->Root()->Name(), target->Root()->GetChildNum()), std::tuple("R", 1u));

    CreateNameList("from", &manager)->Append("n");
    CNameList* to = CreateNameList("to", &manager);
    to->Append("old");
    manager.GetData("to")->TakeBlock(manager.GetData("from")->MakeBlock());
    EXPECT_EQ(Names(*to), (std::vector<std::string>{"n"}));
    EXPECT_EQ(manager.GetData("to")->SizeOfByte(), 10);
    FreeNameList("from", &manager);
    FreeNameList("to", &manager);
}

}  // namespace

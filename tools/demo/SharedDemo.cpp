#include "DemoSections.h"

#include <brelldata/brelldata.h>

#include <cstdio>

namespace {

CBaseNode* AddNode(CBaseNode* parent, const char* name)
{
    CBaseNode* node = CreateNode("CBaseNode");
    node->SetName(name);
    if (parent != nullptr) parent->AppendChild(node);
    return node;
}

void PrintTree(const char* label, CTree& tree)
{
    std::printf("%s:", label);
    for (CTree::POS pos = tree.Begin(CTree::FIRST_CHILD_FIRST); pos != tree.End(CTree::FIRST_CHILD_FIRST); ++pos)
        std::printf(" \"%s\"", pos.Value()->Name().c_str());
    std::printf("\n");
}

}  // namespace

void ShowSharedObjects()
{
    CDataManager manager;
    CTree* scene = CreateTree(&manager, "scene");
    CBaseNode* root = AddNode(nullptr, "scene");
    scene->SetRoot(root);
    AddNode(AddNode(root, "shot 1"), "range block");
    AddNode(root, "shot 2");
    std::printf("\"scene\" kept in the data manager; made again under that name it is the same tree: %s\n",
                CreateTree(&manager, "scene") == scene ? "yes" : "no");
    std::printf("looked up as a name list it is %s\n",
                GetNameList("scene", &manager) == nullptr ? "not found" : "found");

    // The manager's road for a tree: its data object writes a flat block, and
    // another tree's object reads it.
    CTree* copy = CreateTree(&manager, "copy");
    void* block = manager.GetData("scene")->MakeBlock();
    std::printf("flat block of \"scene\": %d bytes\n", manager.GetData("scene")->SizeOfByte());
    manager.GetData("copy")->TakeBlock(block);
    PrintTree("\"copy\" read back from it", *copy);

    CNameList* shots = CreateNameList("shots", &manager);
    shots->Append("shot 1");
    shots->Append("");
    shots->Append("shot 2");
    CNameList* again = CreateNameList("shots again", &manager);
    manager.GetData("shots again")->TakeBlock(manager.GetData("shots")->MakeBlock());
    std::printf("name list of %u names through a %d-byte block:", again->Size(), again->SizeOfByte());
    for (CNameList::POS pos = again->Begin(); pos != again->End(); ++pos) std::printf(" \"%s\"", pos.Value().c_str());
    std::printf("\n");
    FreeNameList("shots", &manager);
    FreeNameList("shots again", &manager);

    root->AddRef();  // watch the tree let go of its root
    FreeTree(&manager, "scene");
    std::printf("after FreeTree the root is held only by the demo: count %d; \"scene\" found again: %s\n",
                root->RefCount(), GetTree(&manager, "scene") != nullptr ? "yes" : "no");
    root->Release();
    std::printf("\"copy\" is still kept; the manager ends it when it goes\n");
}

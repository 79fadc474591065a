#include "DemoSections.h"

#include <brelldata/brelldata.h>

#include <cstdio>
#include <vector>

namespace {

CBaseNode* AddNode(CBaseNode* parent, const char* type, const char* name)
{
    CBaseNode* node = CreateNode(type);
    node->SetName(name);
    if (parent != nullptr) parent->AppendChild(node);
    return node;
}

}  // namespace

void ShowTrees()
{
    CTree scene(AddNode(nullptr, "CBaseNode", "scene"));
    CBaseNode* shot = AddNode(scene.Root(), "CBaseNode", "shot 1");
    shot->SetAttributeInt("points", 307200);
    shot->SetAttributeDouble("distance", 1.25);
    AddNode(shot, "CBaseNode", "range block");
    CBaseNode* image = AddNode(shot, "CBaseNode", "colour image");
    const char format[] = "RGB 640x480";
    image->SetAttributeString("format", format, sizeof format);
    CBaseNode* marker = AddNode(scene.Root(), "CRefNode", "");
    static_cast<CRefNode*>(marker)->SetRefNode(shot);

    std::puts("the scene, listed through the diagnostic output (stderr):");
    std::fflush(stdout);
    DisplayTree(scene);

    std::printf("walk, last child first:");
    for (CTree::POS pos = scene.Begin(CTree::LAST_CHILD_FIRST); pos != scene.End(CTree::LAST_CHILD_FIRST); ++pos)
        std::printf(" \"%s\"", pos.Value()->Name().c_str());
    std::printf("\nparent of \"colour image\": \"%s\"\n", scene.FindParent(image)->Name().c_str());

    std::vector<unsigned char> block(static_cast<size_t>(scene.SizeOfByte()));
    std::printf("node stream: %d bytes written\n", WriteNode(block.data(), scene.Root()));
    CTree copy;
    std::printf("read back: %s; the copy:\n", copy.Read(block.data()) ? "yes" : "no");
    std::fflush(stdout);
    DisplayTree(copy);

    int points = 0;
    SetConfigInt("scanner.points", 307200);
    SetConfigString("scanner.unit", "mm");
    SetConfigDouble("scanner.points", 0.5);  // replaces the int: queries as an int now fail
    std::printf("configuration: %d settings, first \"%s\"; unit %s; points as an int: %s\n", ConfigNumber(),
                ConfigName(0).c_str(), QueryConfigString("scanner.unit", nullptr),
                QueryConfigInt("scanner.points", points) ? "found" : "not found");
    DelConfig("scanner.points");
    DelConfig("scanner.unit");
}

// Builds a small scene of named nodes with attributes, streams it to a flat
// block and reads it back.
#include <brelldata/brelldata.h>

#include <cstdio>
#include <vector>

int main()
{
    CTree scene(CreateNode("CBaseNode"));  // the tree holds the root
    scene.Root()->SetName("scene");
    for (int shot = 1; shot <= 3; ++shot) {
        CBaseNode* scan = CreateNode("CBaseNode");
        const std::string name = "shot " + std::to_string(shot);
        scan->SetName(name.c_str());
        scan->SetAttributeInt("points", 1000 * shot);
        scan->SetAttributeDouble("angle", 120.0 * (shot - 1));
        scene.Root()->AppendChild(scan);  // the parent holds the child
    }

    std::vector<unsigned char> block(static_cast<size_t>(scene.SizeOfByte()));
    scene.Write(block.data());
    std::printf("the scene streams to %zu bytes\n", block.size());

    CTree copy;
    if (!copy.Read(block.data())) return 1;
    for (unsigned int i = 0; i < copy.Root()->GetChildNum(); ++i) {
        CBaseNode* scan = copy.Root()->GetChild(i);
        int points = 0;
        double angle = 0.0;
        scan->QueryAttributeInt("points", points);
        scan->QueryAttributeDouble("angle", angle);
        std::printf("%s: %d points at %.0f degrees\n", scan->Name().c_str(), points, angle);
    }
    return 0;
}

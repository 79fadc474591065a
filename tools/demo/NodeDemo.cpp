#include "DemoSections.h"

#include <brelldata/brelldata.h>

#include <cstdio>

void ShowNodes()
{
    CBaseNode* scene = CreateNode("CBaseNode");
    CBaseNode* reference = CreateNode("CRefNode");
    CBaseNode* scan = CreateNode("CBaseNode");
    std::printf("made by type name: %s, %s, %s (unknown names give %p)\n", scene->Type().c_str(),
                reference->Type().c_str(), scan->Type().c_str(), static_cast<void*>(CreateNode("CNoSuchNode")));

    scene->AddRef();  // the demo is the scene's owner
    scene->SetName("scene");
    scan->SetName("scan 1");
    scan->SetAttributeInt("points", 307200);
    scan->SetAttributeDouble("resolution", 0.25);
    const char unit[] = "mm";
    scan->SetAttributeString("unit", unit, sizeof unit);
    scene->AppendChild(scan);
    scene->AppendChild(reference);
    static_cast<CRefNode*>(reference)->SetRefNode(scan);

    for (unsigned int i = 0; i < scene->GetChildNum(); ++i) {
        CBaseNode* child = scene->GetChild(i);
        std::printf("child %u: \"%s\" %s, count %d, %s\n", i, child->Name().c_str(), child->Type().c_str(),
                    child->RefCount(), child->Comment().c_str());
    }
    for (int i = 0; i < scan->AttributeNumber(); ++i) std::printf("  attribute %s\n", scan->AttributeName(i));
    int points = 0;
    double resolution = 0;
    float asFloat = 0;
    scan->QueryAttributeInt("points", points);
    scan->QueryAttributeDouble("resolution", resolution);
    std::printf("points %d, resolution %g, unit %s; as a float \"points\" is %s\n", points, resolution,
                scan->QueryAttributeString("unit", nullptr),
                scan->QueryAttributeFloat("points", asFloat) ? "found" : "not found");
    std::printf("the reference node resolves to \"%s\"; CRefNode is a CBaseNode: %d, a CGeoBaseNode: %d\n",
                static_cast<CRefNode*>(reference)->Reference()->Name().c_str(), reference->IsKindOf("CBaseNode"),
                reference->IsKindOf("CGeoBaseNode"));

    scan->AddRef();  // keep the scan while the scene goes
    scene->Release();
    std::printf("after the scene is released the scan lives on with count %d\n", scan->RefCount());
    scan->Release();
}

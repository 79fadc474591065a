// Draws a tree with draw procedures of one's own: a renderer named "Text"
// that prints what it is handed.
#include <brelldata/brelldata.h>

#include <cstdio>

namespace {

struct TextContext {
    int drawn = 0;
};

int DrawPoints(void* node, void* context)
{
    auto* points = static_cast<CGeoPointNode*>(node);
    for (int i = 0; i < points->Number(); ++i) {
        const VERTEX& v = points->Vertex(i);
        std::printf("  point (%g, %g, %g) of size %g\n", v.x, v.y, v.z, points->size);
    }
    ++static_cast<TextContext*>(context)->drawn;
    return 1;
}

// Every geometry class without a procedure of its own falls back to this one.
int DrawAnything(void* node, void* context)
{
    std::printf("  a %s\n", static_cast<CBaseNode*>(node)->Type().c_str());
    ++static_cast<TextContext*>(context)->drawn;
    return 1;
}

}  // namespace

int main()
{
    GetDApiManager()->Register("DrawProc", "DrawCGeoPointNodeByText", DrawPoints);
    GetDApiManager()->Register("DrawProc", "DrawCGeoBaseNodeByText", DrawAnything);

    CTree scene(CreateNode("CBaseNode"));
    auto* points = static_cast<CGeoPointNode*>(CreateNode("CGeoPointNode"));
    points->AppendVertex(2);
    points->GetVertex(0) = {0.0, 0.0, 0.0};
    points->GetVertex(1) = {1.0, 2.0, 3.0};
    points->Append(2);
    points->Index(0) = 0;
    points->Index(1) = 1;
    points->size = 4.0;
    scene.Root()->AppendChild(points);
    scene.Root()->AppendChild(CreateNode("CGeoLineNode"));  // drawn by the fall-back

    TextContext context;
    std::puts("drawing:");
    DrawTree(scene.Root(), "Text", &context);
    std::printf("%d nodes drawn\n", context.drawn);
    return context.drawn == 2 ? 0 : 1;
}

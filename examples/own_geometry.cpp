// Calculates display geometry from scan data with a geometry procedure of
// one's own: every tenth point of a model becomes a point node that shares
// the model's vertex store.
#include <brelldata/brelldata.h>

#include <cmath>
#include <cstdio>

namespace {

int EveryTenthPoint(void* node, void* output)
{
    auto* model = static_cast<CModelNode*>(node);
    auto* points = static_cast<CGeoPointNode*>(CreateNode("CGeoPointNode"));
    points->vertices = model->vertices;  // shared, not copied
    for (int i = 0; i < model->VertexNumber(); i += 10) {
        points->Append(1);
        points->Index(points->Number() - 1) = i;
    }
    static_cast<CBaseNode*>(output)->AppendChild(points);
    return 1;
}

// An element builds nothing itself; succeeding lets GeoCalc go on into its children.
int Descend(void*, void*)
{
    return 1;
}

}  // namespace

int main()
{
    GetDApiManager()->Register("GeoProc", "GeoCElementNode_Sparse", Descend);
    GetDApiManager()->Register("GeoProc", "GeoCModelNode_Sparse", EveryTenthPoint);

    CTree scene(CreateNode("CBaseNode"));
    auto* element = static_cast<CElementNode*>(CreateNode("CElementNode"));
    AppendElementToScene(element, &scene);
    auto* model = static_cast<CModelNode*>(CreateNode("CModelNode"));
    model->AppendVertex(100);
    for (int i = 0; i < 100; ++i) *model->GetVertex(i) = {std::cos(i * 0.1), std::sin(i * 0.1), i * 0.01};
    element->AppendChild(model);

    CTree display(CreateNode("CBaseNode"));
    element->GeoCalc("Sparse", display.Root());

    int counter = 0;
    auto* points = static_cast<CGeoPointNode*>(
        SearchNode(display.Root(), IsSameType, counter, const_cast<char*>("CGeoPointNode")));
    if (points == nullptr) return 1;
    double box[6];
    EvalBBoxForNode(display.Root(), box[0], box[1], box[2], box[3], box[4], box[5]);
    std::printf("%d of %d points selected, box from (%.2f, %.2f, %.2f) to (%.2f, %.2f, %.2f)\n", points->Number(),
                model->VertexNumber(), box[0], box[1], box[2], box[3], box[4], box[5]);
    return 0;
}

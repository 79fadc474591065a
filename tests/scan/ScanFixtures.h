#pragma once

// Scan-data nodes with small, distinct contents, and a scene holding one of each.

#include <brelldata/core/Tree.h>
#include <brelldata/scan/LineNodes.h>
#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/ObjectNodes.h>

#include <vector>

namespace brell::test {

template <class Node>
Node* Make(const char* name)
{
    Node* node = static_cast<Node*>(Node::Create());
    node->SetName(name);
    node->SetAttributeInt("k", 5);
    return node;
}

// Zeroed, so that its padding is zero in the stream, with values first + 0 .. first + 8.
inline BEZIER_POINT3D Bezier(double first, int tag)
{
    std::vector<BEZIER_POINT3D> item(1);
    for (int i = 0; i < 9; ++i) item[0].values[i] = first + i;
    item[0].tag = tag;
    return item[0];
}

// Vertices (1, 2, 3) and (4, 5, 6).
inline CModelNode* MakeModel()
{
    CModelNode* model = Make<CModelNode>("M");
    model->AppendVertex(2);
    *model->GetVertex(0) = {1, 2, 3};
    *model->GetVertex(1) = {4, 5, 6};
    return model;
}

// A model of scan size: its vertices reserved and counted, their pages never
// touched (bulk blocks are mapped, so they cost nothing).
inline CModelNode* UntouchedModel(int vertices)
{
    auto* model = static_cast<CModelNode*>(CModelNode::Create());
    model->vertices->Reserve(vertices);
    model->vertices->Number() = vertices;
    return model;
}

// Polygon 0-1-2 with its coordinates, list 1 empty, list 2 {7}, list 3 {8, 9}, vertex (1, 2, 3).
inline CMeshNode* MakeMesh()
{
    CMeshNode* mesh = Make<CMeshNode>("S");
    mesh->polygons->rows = {{{0, 1, 2, 0}, 3}};
    mesh->texCoords->rows = {{{{0, 0}, {1, 0}, {0, 1}, {0, 0}}, 3}};
    mesh->intList2->Append(1);
    mesh->intList2->Element(0) = 7;
    mesh->intList3->Append(2);
    mesh->intList3->Element(0) = 8;
    mesh->intList3->Element(1) = 9;
    mesh->AppendVertex(1);
    *mesh->GetVertex(0) = {1, 2, 3};
    return mesh;
}

// 3 x 2 pixels, pixel i being (i, i + 1, i + 2, i + 3).
inline CImageNode* MakeImage()
{
    CImageNode* image = Make<CImageNode>("I");
    image->image->width = 3;
    image->image->AppendRows(2);
    for (uint8_t i = 0; i < 6; ++i) image->image->Buffer()[i] = {i, uint8_t(i + 1), uint8_t(i + 2), uint8_t(i + 3)};
    return image;
}

inline CLodNode* MakeLod()
{
    CLodNode* lod = Make<CLodNode>("L");
    lod->level = -3;
    return lod;
}

// Lines of 3 points (0.5, 1, 1.5) .. (2.5, 3, 3.5), and of none.
inline CLinearLineNode* MakeLinearLine()
{
    CLinearLineNode* line = Make<CLinearLineNode>("N");
    line->lines->lines = {{{0.5, 1, 1.5}, {1.5, 2, 2.5}, {2.5, 3, 3.5}}, {}};
    return line;
}

// One line of two items.
inline CBezierLineNode* MakeBezierLine()
{
    CBezierLineNode* line = Make<CBezierLineNode>("B");
    line->lines->lines = {{Bezier(1, 11), Bezier(2, 12)}};
    return line;
}

// A first set of one line of one item, an empty second set, parameters 1 to 19 in field order.
inline CCharLineNode* MakeCharLine()
{
    CCharLineNode* line = Make<CCharLineNode>("C");
    line->lines1->lines = {{Bezier(3, 13)}};
    line->transient = 99;
    line->vector1 = {1, 2, 3};
    line->vector2 = {4, 5, 6};
    line->vector3 = {7, 8, 9};
    line->vector4 = {10, 11, 12};
    line->intParam1 = 13;
    line->realParam1 = 14.5;
    line->realParam2 = 15.5;
    line->vector5 = {16, 17, 18};
    line->intParam2 = 19;
    return line;
}

// Root(E(M, S(I), L(M), N, B, C, G)): G a plain node, L holding a model of its own.
struct Scene {
    Scene()
    {
        CBaseNode* root = CBaseNode::Create();
        root->SetName("Root");
        tree.SetRoot(root);
        AppendElementToScene(element, &tree);
        mesh->AppendChild(image);
        lod->AppendChild(MakeModel());
        for (CBaseNode* node : std::vector<CBaseNode*>{model, mesh, lod, linear, bezier, charLine, plain})
            element->AppendChild(node);
    }
    CTree tree;
    CElementNode* element = Make<CElementNode>("E");
    CModelNode* model = MakeModel();
    CMeshNode* mesh = MakeMesh();
    CImageNode* image = MakeImage();
    CLodNode* lod = MakeLod();
    CLinearLineNode* linear = MakeLinearLine();
    CBezierLineNode* bezier = MakeBezierLine();
    CCharLineNode* charLine = MakeCharLine();
    CBaseNode* plain = Make<CBaseNode>("G");
};

}  // namespace brell::test

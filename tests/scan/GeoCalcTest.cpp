#include "scan/ScanFixtures.h"

#include <brelldata/core/RefNode.h>
#include <brelldata/procedures/DApi.h>

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

using namespace brell::test;

// What the geometry procedures saw: "<class of the procedure> <node> -> <output>",
// a new reference node, not yet named, showing as "*".
std::vector<std::string> calls;
// The "<class of the procedure> <node>" calls that fail.
std::set<std::string> failing;

// Hangs a geometry node named "g" + the node's name under the output, also
// when it then fails, so that a released reference node must take it along.
template <class Node>
int Procedure(void* node, void* output)
{
    auto* scanNode = static_cast<CBaseNode*>(node);
    auto* outputNode = static_cast<CBaseNode*>(output);
    const std::string call = Node::TypeId() + " " + scanNode->Name();
    calls.push_back(call + " -> " + (outputNode->Name().empty() ? "*" : outputNode->Name()));
    CBaseNode* geometry = CBaseNode::Create();
    geometry->SetName(("g" + scanNode->Name()).c_str());
    outputNode->AppendChild(geometry);
    return failing.count(call) != 0 ? 0 : 1;
}

// The output tree: a node's name and its children's in brackets; a reference
// node also shows the name of the node it refers to.
std::string Shape(CBaseNode* node)
{
    std::string shape = node->Name();
    if (node->IsKindOf("CRefNode")) shape += "=" + static_cast<CRefNode*>(node)->Reference()->Name();
    if (node->GetChildNum() == 0) return shape;
    shape += "(";
    for (unsigned int i = 0; i < node->GetChildNum(); ++i) shape += (i ? " " : "") + Shape(node->GetChild(i));
    return shape + ")";
}

class GeoCalc : public testing::Test {
protected:
    GeoCalc()
    {
        calls.clear();
        failing.clear();
        Register<CObjectNode, CElementNode, CLodNode, CModelNode, CMeshNode, CImageNode, CLinearLineNode,
                 CBezierLineNode, CCharLineNode>();
        output->SetName("out");
    }
    ~GeoCalc() override
    {
        for (const std::string& name : registered) GetDApiManager()->Unregister("GeoProc", name.c_str());
    }

    template <class... Node>
    void Register()
    {
        (GetDApiManager()->Register("GeoProc", registered.emplace_back("Geo" + Node::TypeId() + "_test").c_str(),
                                    &Procedure<Node>),
         ...);
    }
    void Unregister(const char* name) { GetDApiManager()->Unregister("GeoProc", name); }

    std::vector<std::string> registered;
    CBaseNode* output = CBaseNode::Create();
    CTree outputTree{output};
};

TEST_F(GeoCalc, EveryClassCallsItsOwnProcedureAndEveryNodeGetsAReferenceNode)
{
    Scene scene;
    EXPECT_EQ(scene.element->GeoCalc("test", output), 1);
    EXPECT_EQ(calls, (std::vector<std::string>{"CElementNode E -> *", "CModelNode M -> *", "CMeshNode S -> *",
                                               "CImageNode I -> *", "CLinearLineNode N -> *", "CBezierLineNode B -> *",
                                               "CCharLineNode C -> *"}))
        << "the level of detail and the plain node are skipped";
    EXPECT_EQ(Shape(output), "out(E=E(gE M=M(gM) S=S(gS I=I(gI)) N=N(gN) B=B(gB) C=C(gC)))");
    EXPECT_EQ(output->GetChild(0)->RefCount(), 1);
    EXPECT_EQ(scene.element->RefCount(), 1) << "reference nodes do not count their targets";

    calls.clear();
    EXPECT_EQ(scene.lod->GeoCalc("test", output), 1);
    EXPECT_EQ(calls, (std::vector<std::string>{"CLodNode L -> *", "CModelNode M -> *"}));
    EXPECT_EQ(output->GetChildNum(), 2u) << "each calculation adds its own reference nodes";
}

TEST_F(GeoCalc, AMissingProcedureFallsBackToTheGenericOneWithoutVisitingChildren)
{
    Scene scene;
    Unregister("GeoCElementNode_test");
    EXPECT_EQ(scene.element->GeoCalc("test", output), 1);
    EXPECT_EQ(calls, (std::vector<std::string>{"CObjectNode E -> out"}));
    EXPECT_EQ(Shape(output), "out(gE)");

    Unregister("GeoCObjectNode_test");
    calls.clear();
    EXPECT_EQ(scene.element->GeoCalc("test", output), 0);
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(output->GetChildNum(), 1u);
}

TEST_F(GeoCalc, AFailingChildFallsBackUnderItsParentAndItsSiblingsAreStillCalculated)
{
    CTree scene(Make<CElementNode>("E"));
    for (const char* name : {"M1", "M2", "M3"}) scene.Root()->AppendChild(Make<CModelNode>(name));
    failing = {"CModelNode M2"};
    auto* element = static_cast<CElementNode*>(scene.Root());

    EXPECT_EQ(element->GeoCalc("test", output), 1) << "the generic procedure took over";
    EXPECT_EQ(calls, (std::vector<std::string>{"CElementNode E -> *", "CModelNode M1 -> *", "CModelNode M2 -> *",
                                               "CObjectNode M2 -> E", "CModelNode M3 -> *"}));
    EXPECT_EQ(Shape(output), "out(E=E(gE M1=M1(gM1) gM2 M3=M3(gM3)))");

    Unregister("GeoCObjectNode_test");
    EXPECT_EQ(element->GeoCalc("test", output), 0);
    EXPECT_EQ(Shape(output->GetChild(1)), "E=E(gE M1=M1(gM1) M3=M3(gM3))");
}

TEST_F(GeoCalc, ANullOutputGivesZeroWhenTheProcedureIsPresent)
{
    Scene scene;
    EXPECT_EQ(scene.element->GeoCalc("test", nullptr), 0);
    EXPECT_EQ(calls, (std::vector<std::string>{"CElementNode E -> *"})) << "the children are not calculated";
}

// Takes the model out of the element it hangs under while it is calculated.
CBaseNode* modelParent = nullptr;
int LeaveParent(void* node, void*)
{
    modelParent->RemoveChild(static_cast<CBaseNode*>(node), 1);
    return 1;
}

TEST_F(GeoCalc, AProcedureMayTakeItsNodeOutOfItsParent)
{
    CTree scene(Make<CElementNode>("E"));
    CModelNode* model = Make<CModelNode>("M");
    model->AppendChild(Make<CImageNode>("I"));
    scene.Root()->AppendChild(model);
    modelParent = scene.Root();
    GetDApiManager()->Register("GeoProc", "GeoCModelNode_test", LeaveParent);

    EXPECT_EQ(static_cast<CElementNode*>(scene.Root())->GeoCalc("test", output), 1);
    EXPECT_EQ(calls, (std::vector<std::string>{"CElementNode E -> *", "CImageNode I -> *"}))
        << "the model's children are calculated after it left";
    EXPECT_EQ(scene.Root()->GetChildNum(), 0u);
}

}  // namespace

// The procedure directory: lookups by kind and exact name, replacement,
// removal, and items that stay where they are while others come and go; and
// the names under which the library looks procedures up.

#include <brelldata/procedures/DApi.h>
#include <brelldata/procedures/ProcedureNames.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

int One(void*, void*)
{
    return 1;
}

int Two(void*, void*)
{
    return 2;
}

constexpr const char* kName = "DrawCGeoBaseNodeByR";

// A directory of the test's own, holding One under kName.
struct ProcedureDirectory : testing::Test {
    ProcedureDirectory() { directory.Register("DrawProc", kName, One); }
    CDApiManager directory;
};

TEST_F(ProcedureDirectory, FindsOnlyTheExactNameOfTheSameKind)
{
    EXPECT_NE(directory.GetDApi("DrawProc", kName), nullptr);
    EXPECT_EQ(directory.GetDApi("GeoProc", kName), nullptr);
    EXPECT_EQ(directory.GetDApi("DrawProc", "DrawCGeoBaseNodeByr"), nullptr);
    EXPECT_EQ(directory.GetDApi("DrawProc", "DrawCGeoBaseNodeBy"), nullptr);
}

TEST_F(ProcedureDirectory, KeepsItemsInPlaceWhileOthersComeAndGo)
{
    CDApiItem* first = directory.GetDApi("DrawProc", kName);
    std::vector<std::string> names;
    for (int i = 0; i < 1000; ++i) names.push_back("Draw" + std::to_string(i * 7919) + "ByR");
    for (const std::string& name : names) directory.Register("DrawProc", name.c_str(), One);
    for (size_t i = 0; i < names.size(); i += 2) EXPECT_EQ(directory.Unregister("DrawProc", names[i].c_str()), 1);

    for (size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(directory.GetDApi("DrawProc", names[i].c_str()) != nullptr, i % 2 == 1) << names[i];
    EXPECT_EQ(directory.GetDApi("DrawProc", kName), first);
}

TEST_F(ProcedureDirectory, ReplacesAProcedureInTheSameItem)
{
    CDApiItem* item = directory.GetDApi("DrawProc", kName);
    EXPECT_EQ(directory.Register("DrawProc", kName, Two), 1);
    EXPECT_EQ(item->proc(nullptr, nullptr), 2);
}

TEST_F(ProcedureDirectory, RemovesAProcedureOnce)
{
    EXPECT_EQ(directory.Unregister("DrawProc", kName), 1);
    EXPECT_EQ(directory.Unregister("DrawProc", kName), 0);
    EXPECT_EQ(directory.Unregister("NoKind", "x"), 0);
}

TEST_F(ProcedureDirectory, RefusesNullKindsNamesAndProcedures)
{
    EXPECT_EQ(directory.Register(nullptr, "x", One), 0);
    EXPECT_EQ(directory.Register("DrawProc", "x", nullptr), 0);
    EXPECT_EQ(directory.GetDApi("DrawProc", nullptr), nullptr);
}

TEST(ProcedureNames, JoinPrefixTypeSeparatorAndCaller)
{
    EXPECT_EQ(brell::ProcedureName(brell::kDrawProcedure, "CGeoPointNode", "GL"), "DrawCGeoPointNodeByGL");
    EXPECT_EQ(brell::ProcedureName(brell::kEndDrawProcedure, "CGeoBaseNode", "GL"), "EndDrawCGeoBaseNodeByGL");
    EXPECT_EQ(brell::ProcedureName(brell::kGeoProcedure, "CMeshNode", "shade"), "GeoCMeshNode_shade");
}

}  // namespace

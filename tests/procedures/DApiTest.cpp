// The procedure directory: lookups by kind and exact name, replacement,
// removal, and items that stay where they are while others come and go.

#include <brelldata/platform/DApi.h>

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

TEST(ProcedureDirectory, FindsExactNamesOfItsKindThroughGrowthAndRemoval)
{
    CDApiManager directory;
    EXPECT_EQ(directory.GetDApi("DrawProc", "DrawCGeoBaseNodeByR"), nullptr);
    ASSERT_EQ(directory.Register("DrawProc", "DrawCGeoBaseNodeByR", One), 1);
    CDApiItem* first = directory.GetDApi("DrawProc", "DrawCGeoBaseNodeByR");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(directory.GetDApi("GeoProc", "DrawCGeoBaseNodeByR"), nullptr);
    EXPECT_EQ(directory.GetDApi("DrawProc", "DrawCGeoBaseNodeByr"), nullptr);
    EXPECT_EQ(directory.GetDApi("DrawProc", "DrawCGeoBaseNodeBy"), nullptr);

    std::vector<std::string> names;
    for (int i = 0; i < 1000; ++i) names.push_back("Draw" + std::to_string(i * 7919) + "ByR");
    for (const std::string& name : names) directory.Register("DrawProc", name.c_str(), One);
    for (size_t i = 0; i < names.size(); i += 2) EXPECT_EQ(directory.Unregister("DrawProc", names[i].c_str()), 1);
    for (size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(directory.GetDApi("DrawProc", names[i].c_str()) != nullptr, i % 2 == 1) << names[i];
    EXPECT_EQ(directory.GetDApi("DrawProc", "DrawCGeoBaseNodeByR"), first);

    EXPECT_EQ(directory.Register("DrawProc", "DrawCGeoBaseNodeByR", Two), 1);
    EXPECT_EQ(first->proc(nullptr, nullptr), 2);
    EXPECT_EQ(directory.Unregister("DrawProc", "DrawCGeoBaseNodeByR"), 1);
    EXPECT_EQ(directory.Unregister("DrawProc", "DrawCGeoBaseNodeByR"), 0);
    EXPECT_EQ(directory.Unregister("NoKind", "x"), 0);
    EXPECT_EQ(directory.Register(nullptr, "x", One), 0);
    EXPECT_EQ(directory.Register("DrawProc", "x", nullptr), 0);
    EXPECT_EQ(directory.GetDApi("DrawProc", nullptr), nullptr);
    EXPECT_EQ(GetDApiManager(), GetDApiManager());
}

}  // namespace

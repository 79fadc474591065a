#include <brelldata/core/Config.h>

#include <gtest/gtest.h>

#include <cstring>

namespace {

// The store is process-wide: each test starts and leaves it empty.
class ConfigStore : public testing::Test {
protected:
    void SetUp() override { Clear(); }
    void TearDown() override { Clear(); }
    static void Clear()
    {
        while (ConfigNumber() > 0) DelConfig(ConfigName(0).c_str());
    }
};

TEST_F(ConfigStore, StringsAndBlocksAreFoundOnlyUnderTheirOwnTypes)
{
    SetConfigString("unit", "milli");
    int size = 0;
    int type = 0;
    const char* text = QueryConfigString("unit", &size);
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text, "milli");
    EXPECT_EQ(size, 6);
    EXPECT_EQ(QueryConfig("unit", nullptr, &type), text);
    EXPECT_EQ(type, VALUE_STRING);
    size = -1;
    EXPECT_EQ(QueryConfigStruct("unit", &size), nullptr);
    EXPECT_EQ(size, -1);

    char block[] = {1, 2, 3};
    SetConfigStruct("block", block, sizeof block);
    void* stored = QueryConfigStruct("block", &size);
    ASSERT_NE(stored, nullptr);
    EXPECT_EQ(size, 3);
    EXPECT_EQ(std::memcmp(stored, block, 3), 0);
    EXPECT_EQ(QueryConfigString("block", nullptr), nullptr);
}

TEST_F(ConfigStore, SettingANameAgainReplacesItsType)
{
    SetConfigInt("n", 3);
    SetConfigDouble("n", 2.5);
    int asInt = 7;
    double asDouble = 0;
    EXPECT_EQ(QueryConfigInt("n", asInt), 0);
    EXPECT_EQ(asInt, 7);
    EXPECT_EQ(QueryConfigDouble("n", asDouble), 1);
    EXPECT_EQ(asDouble, 2.5);
    EXPECT_EQ(ConfigNumber(), 1);
}

TEST_F(ConfigStore, RefusedSetsAndShortValuesChangeAndFindNothing)
{
    SetConfigInt("kept", 4);
    int zero = 0;
    EXPECT_EQ(SetConfig("kept", &zero, 0, VALUE_INT), 0);
    EXPECT_EQ(SetConfig("kept", &zero, 4, 0), 0);
    SetConfigString("kept", nullptr);
    int value = 0;
    EXPECT_EQ(QueryConfigInt("kept", value), 1);
    EXPECT_EQ(value, 4);

    char twoBytes[] = {1, 2};
    EXPECT_EQ(SetConfig("short", twoBytes, 2, VALUE_INT), 1);
    EXPECT_EQ(QueryConfigInt("short", value), 0);
    EXPECT_EQ(QueryConfigBool("kept", value), 0);
}

TEST_F(ConfigStore, NamesAreEnumeratedInByteOrderAndMissingNamesGiveNothing)
{
    SetConfigInt("b", 1);
    SetConfigInt("a", 2);
    EXPECT_EQ(ConfigName(0), "a");
    EXPECT_EQ(ConfigName(1), "b");
    EXPECT_EQ(ConfigName(5), "");
    EXPECT_EQ(ConfigName(-1), "a");

    DelConfig("missing");
    DelConfig("a");
    EXPECT_EQ(ConfigNumber(), 1);
    int size = 5;
    int type = 5;
    EXPECT_EQ(QueryConfig("a", &size, &type), nullptr);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(type, 0);
}

}  // namespace

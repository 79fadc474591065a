#include <brelldata/core/Config.h>

#include <gtest/gtest.h>

#include <cstring>
#include <tuple>
#include <utility>

namespace {

// The store is process-wide: each test starts and leaves it empty.
class ConfigStore : public testing::Test {
protected:
    ConfigStore() { Clear(); }
    ~ConfigStore() override { Clear(); }
    static void Clear()
    {
        while (ConfigNumber() > 0) DelConfig(ConfigName(0).c_str());
    }
};

TEST_F(ConfigStore, ValuesAreFoundOnlyByTheQueryOfTheirType)
{
    char block[] = {1, 2, 3};
    SetConfigString("unit", "milli");
    SetConfigStruct("block", block, sizeof block);
    int size = 0, type = 0;
    EXPECT_STREQ(QueryConfigString("unit", &size), "milli");
    QueryConfig("unit", nullptr, &type);
    EXPECT_EQ(std::pair(size, type), std::pair(6, 6));  // with the zero byte, as VALUE_STRING

    void* stored = QueryConfigStruct("block", &size);
    ASSERT_NE(stored, nullptr);
    EXPECT_EQ(std::memcmp(stored, block, 3), 0);
    QueryConfig("block", nullptr, &type);
    EXPECT_EQ(std::pair(size, type), std::pair(3, 5));  // as VALUE_STRUCT

    EXPECT_EQ(QueryConfigString("block", &size), nullptr);
    EXPECT_EQ(QueryConfigStruct("unit", &size), nullptr);
    EXPECT_EQ(size, 3);  // nothing written for another type
}

TEST_F(ConfigStore, SettingANameAgainReplacesItsType)
{
    for (const char* neighbour : {"a", "z"}) SetConfigString(neighbour, "");  // n stays between them
    SetConfigInt("n", 3);
    SetConfigDouble("n", 2.5);
    SetConfigString("n", nullptr);  // a null text changes nothing

    int asInt = 7;
    double asDouble = 0;
    EXPECT_EQ(QueryConfigInt("n", asInt), 0);
    EXPECT_EQ(asInt, 7);
    EXPECT_EQ(QueryConfigDouble("n", asDouble), 1);
    EXPECT_EQ(std::tuple(asDouble, ConfigNumber(), ConfigName(1)), std::tuple(2.5, 3, "n"));
}

}  // namespace

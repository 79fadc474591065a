#include "support/Bytes.h"

#include <brelldata/core/Attribute.h>
#include <brelldata/core/BaseNode.h>

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace {

using brell::test::Bytes;

std::vector<uint8_t> WriteBlock(CBaseNodeAttribute& store)
{
    std::vector<uint8_t> block(static_cast<size_t>(store.SizeOfByte()), 0xEE);
    EXPECT_EQ(store.Write(block.data()), 1);
    return block;
}

int StoredInt(CBaseNodeAttribute& store, const char* name)
{
    void* data = store.QueryAttribute(name, nullptr, nullptr);
    return data ? *static_cast<int*>(data) : -1;
}

TEST(AttributeBlocks, HoldTheEntriesInNameOrder)
{
    CStandardAttribute sorted;
    int answer = 42;
    double scale = 0.5;
    char text[] = "mm";
    sorted.SetAttribute("unit", text, 3, VALUE_STRUCT);
    sorted.SetAttribute("Zeta", &answer, 4, VALUE_INT);
    sorted.SetAttribute("scale", &scale, 8, VALUE_DOUBLE);
    sorted.SetAttribute("\xE9t\xE9", &answer, 4, VALUE_BOOL);  // high bytes sort after ASCII
    EXPECT_EQ(std::tuple(sorted.AttributeName(-1), sorted.AttributeName(4)), std::tuple("Zeta", ""));

    // The library writes 1 as the reserved word of an entry with data.
    Bytes expected;
    expected.I32(4)
        .Attribute("Zeta", 1, VALUE_INT, Bytes().I32(42))
        .Attribute("scale", 1, VALUE_DOUBLE, Bytes().F64(0.5))
        .Attribute("unit", 1, VALUE_STRUCT, Bytes().Raw({'m', 'm', 0}))
        .Attribute("\xE9t\xE9", 1, VALUE_BOOL, Bytes().I32(42));
    EXPECT_EQ(WriteBlock(sorted), expected.Data());
    EXPECT_EQ(WriteBlock(*std::make_unique<CStandardAttribute>()), Bytes().I32(0).Data());
}

TEST(Attributes, ManyKeepTheirNameOrderAndValuesThroughDeletesAndCopies)
{
    CStandardAttribute store;
    std::map<std::string, int> expected;
    for (int i = 0; i < 40; ++i) {
        int value = (i * 17) % 40;
        const std::string name = "a" + std::to_string(value);
        store.SetAttribute(name.c_str(), &value, 4, VALUE_INT);
        expected[name] = value;
    }
    for (int value = 0; value < 40; value += 3) {
        const std::string name = "a" + std::to_string(value);
        store.DelAttribute(name.c_str());
        expected.erase(name);
    }
    CStandardAttribute copy(store);
    for (CStandardAttribute* held : {&store, &copy}) {
        ASSERT_EQ(held->AttributeNumber(), static_cast<int>(expected.size()));
        int index = 0;
        for (const auto& [name, value] : expected) {
            EXPECT_EQ(held->AttributeName(index++), name);
            EXPECT_EQ(StoredInt(*held, name.c_str()), value);
        }
    }
}

TEST(AttributeBlocks, ReplaceTheStoreThatReadsThem)
{
    Bytes block;
    block.I32(2)
        .Attribute("blob", 1, VALUE_STRUCT, Bytes().Raw({1, 2, 3, 4, 5, 6, 7, 8, 9, 10}))
        .Attribute("s", 0, VALUE_STRING, Bytes().Raw({'h', 'i', 0}));
    CStandardAttribute store;
    int old = 1;
    store.SetAttribute("old", &old, 4, VALUE_INT);
    ASSERT_EQ(store.Read(block.Mutable()), 1);
    EXPECT_EQ(store.AttributeNumber(), 2);
    int size = 0, type = 0;
    auto* blob = static_cast<uint8_t*>(store.QueryAttribute("blob", &size, &type));
    ASSERT_NE(blob, nullptr);
    EXPECT_EQ(std::vector<uint8_t>(blob, blob + size), (std::vector<uint8_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
    EXPECT_STREQ(static_cast<char*>(store.QueryAttribute("s", &size, &type)), "hi");
    EXPECT_EQ(type, VALUE_STRING);
}

TEST(AttributeBlocks, DropBadEntriesAndReadBadCountsAsEmpty)
{
    CStandardAttribute store;
    Bytes bad;
    bad.I32(4)
        .Attribute("", 1, VALUE_INT, Bytes().I32(1))
        .Attribute("d", 1, VALUE_INT, Bytes().I32(2))
        .Attribute("d", 1, VALUE_INT, Bytes().I32(3))
        .Attribute("e", 1, VALUE_INT, Bytes().I32(4));
    ASSERT_EQ(store.Read(bad.Mutable()), 1);
    EXPECT_EQ(store.AttributeNumber(), 2);
    EXPECT_EQ(StoredInt(store, "d"), 2);  // the first of two equal names stays
    EXPECT_EQ(store.Read(nullptr), 0);
    EXPECT_EQ(store.AttributeNumber(), 2);
    EXPECT_EQ(store.Read(Bytes().I32(-3).Mutable()), 1);
    EXPECT_EQ(store.AttributeNumber(), 0);
}

// It is dropped only when read back.
TEST(AttributeBlocks, HoldAnEntryOfTheEmptyName)
{
    CStandardAttribute store;
    int value = 9;
    store.SetAttribute("", &value, 4, VALUE_INT);
    EXPECT_EQ(WriteBlock(store), Bytes().I32(1).Attribute("", 1, VALUE_INT, Bytes().I32(9)).Data());
}

TEST(Attributes, SetReplacesAValueOrRefusesAndKeepsTheOlder)
{
    CStandardAttribute kept;
    int first = 5, other = 6;
    double twice = 2.5;
    ASSERT_EQ(kept.SetAttribute("w", &first, 4, VALUE_INT), 1);
    EXPECT_EQ(kept.SetAttribute("w", &other, 0, VALUE_INT) + kept.SetAttribute("w", &other, 4, 0), 0);
    EXPECT_EQ(StoredInt(kept, "w"), 5);
    EXPECT_EQ(kept.SetAttribute("w", &twice, 8, VALUE_DOUBLE), 1);
    int size = 0, type = 0;
    EXPECT_EQ(*static_cast<double*>(kept.QueryAttribute("w", &size, &type)), 2.5);
    EXPECT_EQ(std::make_tuple(size, type, kept.AttributeNumber()), std::make_tuple(8, VALUE_DOUBLE, 1));

    // A value can be set again from the store's own bytes, short or long.
    char big[40] = "a value longer than eight bytes";
    kept.SetAttribute("big", big, sizeof big, VALUE_STRUCT);
    kept.SetAttribute("big", kept.QueryAttribute("big", nullptr, nullptr), sizeof big, VALUE_STRUCT);
    kept.SetAttribute("w", kept.QueryAttribute("w", nullptr, nullptr), 8, VALUE_DOUBLE);
    EXPECT_STREQ(static_cast<char*>(kept.QueryAttribute("big", nullptr, nullptr)), big);
    EXPECT_EQ(*static_cast<double*>(kept.QueryAttribute("w", nullptr, nullptr)), 2.5);

    kept.DelAttribute("big");
    size = type = 3;
    EXPECT_EQ(kept.QueryAttribute("big", &size, &type), nullptr);
    EXPECT_EQ(std::make_tuple(size, type), std::make_tuple(0, 0));
}

// Strings share the struct type.
TEST(Attributes, KeepEveryByteOfValuesOfEachSmallSize)
{
    const std::vector<uint8_t> pattern = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    CStandardAttribute store;
    for (int size = 1; size <= 9; ++size) {
        store.SetAttribute("v", const_cast<uint8_t*>(pattern.data()), size, VALUE_STRUCT);
        int stored = 0;
        const auto* bytes = static_cast<uint8_t*>(store.QueryAttribute("v", &stored, nullptr));
        EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + stored),
                  std::vector<uint8_t>(pattern.begin(), pattern.begin() + size));
    }
}

TEST(NodeAttributes, TypedQueriesMatchOnlyTheirOwnType)
{
    CBaseNode node;
    node.SetAttributeInt("i", 5);
    node.SetAttributeFloat("f", 1.25f);
    node.SetAttributeBool("b", 3);
    node.SetAttributeDouble("d", -0.125);
    int asInt = 0, asBool = 0;
    float asFloat = 0;
    double asDouble = 0;
    ASSERT_EQ(node.QueryAttributeInt("i", asInt) + node.QueryAttributeFloat("f", asFloat) +
                  node.QueryAttributeBool("b", asBool) + node.QueryAttributeDouble("d", asDouble),
              4);
    EXPECT_EQ(std::make_tuple(asInt, asFloat, asBool, asDouble), std::make_tuple(5, 1.25f, 3, -0.125));
    EXPECT_EQ(node.QueryAttributeFloat("i", asFloat) + node.QueryAttributeInt("b", asInt) +
                  node.QueryAttributeBool("i", asBool) + node.QueryAttributeDouble("f", asDouble),
              0);
    EXPECT_EQ(std::make_tuple(asInt, asFloat, asBool, asDouble), std::make_tuple(5, 1.25f, 3, -0.125));

    const char scan[] = "scan";
    node.SetAttributeString("s", scan, sizeof scan);
    int size = 0;
    EXPECT_STREQ(static_cast<char*>(node.QueryAttributeStruct("s", &size)), "scan");
    EXPECT_EQ(size, 5);
    EXPECT_EQ(node.QueryAttributeString("i", &size), nullptr);
    EXPECT_EQ(size, 5);
}

TEST(NodeAttributes, StructQueriesOfAnEntryWithoutBytesGiveSizeZero)
{
    Bytes block = Bytes().I32(1).Attribute("empty", 0, VALUE_STRUCT, Bytes());
    CBaseNode node;
    ASSERT_EQ(node.Read(block.Mutable()), 1);
    int stringSize = 9, structSize = 9;
    EXPECT_EQ(node.QueryAttributeString("empty", &stringSize), nullptr);
    EXPECT_EQ(node.QueryAttributeStruct("empty", &structSize), nullptr);
    EXPECT_EQ(std::tuple(stringSize, structSize), std::tuple(0, 0));
}

}  // namespace

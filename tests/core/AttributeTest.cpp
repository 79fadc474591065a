#include "support/Bytes.h"

#include <brelldata/core/Attribute.h>
#include <brelldata/core/BaseNode.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

using brell::test::Bytes;

std::vector<uint8_t> WriteBlock(CBaseNodeAttribute& store)
{
    std::vector<uint8_t> block(static_cast<size_t>(store.SizeOfByte()), 0xEE);
    EXPECT_EQ(store.Write(block.data()), 1);
    return block;
}

// The reserved word of an entry with data is any non-zero value: take the
// writer's choice over into the expected bytes, after checking it is non-zero.
int32_t ReservedAt(const std::vector<uint8_t>& block, size_t offset)
{
    int32_t word;
    std::memcpy(&word, block.data() + offset, 4);
    EXPECT_NE(word, 0);
    return word;
}

TEST(AttributeBlock, StoreWithSeveralAttributesWritesNamesInByteOrder)
{
    CStandardAttribute store;
    int answer = 42;
    double scale = 0.5;
    const char text[] = "mm";
    store.SetAttribute("unit", const_cast<char*>(text), 3, VALUE_STRUCT);
    store.SetAttribute("Zeta", &answer, 4, VALUE_INT);
    store.SetAttribute("scale", &scale, 8, VALUE_DOUBLE);
    store.SetAttribute("\xE9t\xE9", &answer, 4, VALUE_BOOL);  // high bytes sort after ASCII

    std::vector<uint8_t> block = WriteBlock(store);
    // Entries start at 4, 29, 59 and 83; each reserved word follows L and the name.
    int32_t r1 = ReservedAt(block, 4 + 4 + 5);
    int32_t r2 = ReservedAt(block, 29 + 4 + 6);
    int32_t r3 = ReservedAt(block, 59 + 4 + 5);
    int32_t r4 = ReservedAt(block, 83 + 4 + 4);
    Bytes expected;
    expected.I32(4)
        .Attribute("Zeta", r1, VALUE_INT, Bytes().I32(42))
        .Attribute("scale", r2, VALUE_DOUBLE, Bytes().F64(0.5))
        .Attribute("unit", r3, VALUE_STRUCT, Bytes().Raw({'m', 'm', 0}))
        .Attribute("\xE9t\xE9", r4, VALUE_BOOL, Bytes().I32(42));
    EXPECT_EQ(block, expected.Data());
    EXPECT_EQ(store.SizeOfByte(), static_cast<int>(expected.Size()));
}

TEST(AttributeBlock, EmptyStoreIsTheCountZero)
{
    CStandardAttribute store;
    EXPECT_EQ(WriteBlock(store), Bytes().I32(0).Data());
    EXPECT_EQ(store.Write(nullptr), 0);
}

TEST(AttributeBlock, ReadingRestoresValuesSizesAndTypes)
{
    Bytes block;
    block.I32(3)
        .Attribute("a", 7, VALUE_FLOAT, Bytes().F32(1.5f))
        .Attribute("blob", 1, VALUE_STRUCT, Bytes().Raw({1, 2, 3, 4, 5, 6, 7, 8, 9, 10}))
        .Attribute("s", 0, VALUE_STRING, Bytes().Raw({'h', 'i', 0}));
    CStandardAttribute store;
    store.SetAttribute("old", block.Mutable(), 4, VALUE_INT);
    ASSERT_EQ(store.Read(block.Mutable()), 1);

    ASSERT_EQ(store.AttributeNumber(), 3);
    int size = 0, type = 0;
    auto* blob = static_cast<uint8_t*>(store.QueryAttribute("blob", &size, &type));
    ASSERT_NE(blob, nullptr);
    EXPECT_EQ(std::vector<uint8_t>(blob, blob + size), (std::vector<uint8_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
    EXPECT_EQ(type, VALUE_STRUCT);
    EXPECT_STREQ(static_cast<char*>(store.QueryAttribute("s", &size, &type)), "hi");
    EXPECT_EQ(size, 3);
    EXPECT_EQ(type, VALUE_STRING);
    EXPECT_EQ(store.QueryAttribute("old", nullptr, nullptr), nullptr);

    // Reading back what was written gives the same bytes.
    std::vector<uint8_t> again = WriteBlock(store);
    CStandardAttribute copy;
    copy.Read(again.data());
    EXPECT_EQ(WriteBlock(copy), again);
}

TEST(AttributeBlock, NegativeCountReadsAsEmptyStore)
{
    CStandardAttribute store;
    int value = 1;
    store.SetAttribute("x", &value, 4, VALUE_INT);
    Bytes block;
    block.I32(-3);
    EXPECT_EQ(store.Read(block.Mutable()), 1);
    EXPECT_EQ(store.AttributeNumber(), 0);
}

TEST(AttributeBlock, DuplicateAndEmptyNamesAreDroppedOnRead)
{
    Bytes block;
    block.I32(4)
        .Attribute("", 1, VALUE_INT, Bytes().I32(1))
        .Attribute("d", 1, VALUE_INT, Bytes().I32(2))
        .Attribute("d", 1, VALUE_INT, Bytes().I32(3))
        .Attribute("e", 1, VALUE_INT, Bytes().I32(4));
    CStandardAttribute store;
    ASSERT_EQ(store.Read(block.Mutable()), 1);
    EXPECT_EQ(store.AttributeNumber(), 2);
    EXPECT_EQ(*static_cast<int*>(store.QueryAttribute("d", nullptr, nullptr)), 2);
    EXPECT_EQ(*static_cast<int*>(store.QueryAttribute("e", nullptr, nullptr)), 4);
    EXPECT_EQ(store.QueryAttribute("", nullptr, nullptr), nullptr);
}

TEST(AttributeBlock, EmptyNameIsWrittenButNotReadBack)
{
    CStandardAttribute store;
    int value = 9;
    store.SetAttribute("", &value, 4, VALUE_INT);
    EXPECT_EQ(store.AttributeNumber(), 1);
    std::vector<uint8_t> block = WriteBlock(store);
    EXPECT_EQ(block.size(), 4u + 4 + 1 + 12 + 4);
    CStandardAttribute copy;
    copy.Read(block.data());
    EXPECT_EQ(copy.AttributeNumber(), 0);
}

TEST(AttributeBlock, NullBlockLeavesTheStoreAsItWas)
{
    CStandardAttribute store;
    int value = 9;
    store.SetAttribute("k", &value, 4, VALUE_INT);
    EXPECT_EQ(store.Read(nullptr), 0);
    EXPECT_EQ(store.AttributeNumber(), 1);
}

TEST(AttributeStore, RefusedSetKeepsTheOlderValue)
{
    CStandardAttribute store;
    int value = 5;
    ASSERT_EQ(store.SetAttribute("w", &value, 4, VALUE_INT), 1);
    int other = 6;
    EXPECT_EQ(store.SetAttribute("w", &other, 0, VALUE_INT), 0);
    EXPECT_EQ(store.SetAttribute("w", &other, 4, 0), 0);
    EXPECT_EQ(*static_cast<int*>(store.QueryAttribute("w", nullptr, nullptr)), 5);
}

TEST(AttributeStore, SettingANameAgainReplacesValueSizeAndType)
{
    CStandardAttribute store;
    int value = 5;
    double twice = 2.5;
    store.SetAttribute("w", &value, 4, VALUE_INT);
    store.SetAttribute("w", &twice, 8, VALUE_DOUBLE);
    int size = 0, type = 0;
    void* data = store.QueryAttribute("w", &size, &type);
    EXPECT_EQ(store.AttributeNumber(), 1);
    EXPECT_EQ(size, 8);
    EXPECT_EQ(type, VALUE_DOUBLE);
    EXPECT_EQ(*static_cast<double*>(data), 2.5);

    // A value can be set from the store's own bytes.
    char big[40] = "a value longer than eight bytes";
    store.SetAttribute("big", big, sizeof big, VALUE_STRUCT);
    store.SetAttribute("big", store.QueryAttribute("big", nullptr, nullptr), sizeof big, VALUE_STRUCT);
    store.SetAttribute("w", store.QueryAttribute("w", nullptr, nullptr), 8, VALUE_DOUBLE);
    EXPECT_STREQ(static_cast<char*>(store.QueryAttribute("big", nullptr, nullptr)), big);
    EXPECT_EQ(*static_cast<double*>(store.QueryAttribute("w", nullptr, nullptr)), 2.5);
}

TEST(AttributeStore, MissingNameWritesZeroThroughBothOutputs)
{
    CStandardAttribute store;
    int size = 3, type = 3;
    EXPECT_EQ(store.QueryAttribute("missing", &size, &type), nullptr);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(type, 0);
    store.DelAttribute("missing");
    EXPECT_EQ(store.AttributeNumber(), 0);
}

TEST(AttributeStore, NamesAreIndexedInNameOrderWithClampedIndices)
{
    CStandardAttribute store;
    int value = 1;
    store.SetAttribute("b", &value, 4, VALUE_INT);
    store.SetAttribute("a", &value, 4, VALUE_INT);
    store.SetAttribute("B", &value, 4, VALUE_INT);
    EXPECT_EQ(store.AttributeName(0), "B");
    EXPECT_EQ(store.AttributeName(1), "a");
    EXPECT_EQ(store.AttributeName(2), "b");
    EXPECT_EQ(store.AttributeName(3), "");
    EXPECT_EQ(store.AttributeName(-1), "B");
    EXPECT_STREQ(store.AttributeType(), "Standard BaseNode Attribute");
}

TEST(NodeAttributes, TypedQueriesMatchOnlyTheirOwnType)
{
    CBaseNode node;
    node.SetAttributeInt("w", 5);
    int asInt = 0;
    float asFloat = 7.0f;
    int asBool = 8;
    double asDouble = 9.0;
    EXPECT_EQ(node.QueryAttributeInt("w", asInt), 1);
    EXPECT_EQ(asInt, 5);
    EXPECT_EQ(node.QueryAttributeFloat("w", asFloat), 0);
    EXPECT_EQ(asFloat, 7.0f);
    EXPECT_EQ(node.QueryAttributeBool("w", asBool), 0);
    EXPECT_EQ(asBool, 8);

    node.SetAttributeFloat("f", 1.25f);
    node.SetAttributeBool("b", 3);
    node.SetAttributeDouble("d", -0.125);
    EXPECT_EQ(node.QueryAttributeFloat("f", asFloat), 1);
    EXPECT_EQ(asFloat, 1.25f);
    EXPECT_EQ(node.QueryAttributeBool("b", asBool), 1);
    EXPECT_EQ(asBool, 3);  // stored unchanged, not folded to 1
    EXPECT_EQ(node.QueryAttributeDouble("d", asDouble), 1);
    EXPECT_EQ(asDouble, -0.125);
    EXPECT_EQ(node.QueryAttributeDouble("w", asDouble), 0);
}

TEST(NodeAttributes, StringsAndStructuresShareOneType)
{
    CBaseNode node;
    const char text[] = "scan";
    node.SetAttributeString("s", text, sizeof text);
    int size = 0;
    void* data = node.QueryAttributeStruct("s", &size);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(size, 5);
    EXPECT_STREQ(static_cast<char*>(data), "scan");

    int missingSize = 77;
    EXPECT_EQ(node.QueryAttributeString("absent", &missingSize), nullptr);
    node.SetAttributeInt("i", 1);
    EXPECT_EQ(node.QueryAttributeString("i", &missingSize), nullptr);
    EXPECT_EQ(missingSize, 77);
}

TEST(NodeAttributes, CopyAttributeLeavesExactlyTheSourcesOwnCopies)
{
    CBaseNode source, target;
    source.SetAttributeInt("a", 1);
    source.SetAttributeInt("b", 2);
    target.SetAttributeInt("x", 1);
    target.SetAttributeInt("y", 1);
    target.SetAttributeInt("z", 1);
    EXPECT_EQ(target.CopyAttribute(&source), 1);
    EXPECT_EQ(target.AttributeNumber(), 2);
    EXPECT_STREQ(target.AttributeName(0), "a");
    EXPECT_STREQ(target.AttributeName(1), "b");
    EXPECT_NE(target.QueryAttribute("a", nullptr, nullptr), source.QueryAttribute("a", nullptr, nullptr));
    source.SetAttributeInt("a", 100);
    int a = 0;
    target.QueryAttributeInt("a", a);
    EXPECT_EQ(a, 1);
    EXPECT_EQ(target.CopyAttribute(nullptr), 0);
    EXPECT_EQ(target.AttributeNumber(), 2);
}

}  // namespace

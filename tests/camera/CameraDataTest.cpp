#include "camera/ShotFixtures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <fstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

namespace {

using namespace brell::test;

template <class Layout>
class Shots : public testing::Test {
};
using Layouts = testing::Types<FirstLayout, SecondLayout>;
TYPED_TEST_SUITE(Shots, Layouts);

std::string Traced(const char* what, int32_t bytes)
{
    return "output 0 60 " + std::string(what) + "( " + std::to_string(bytes) + " bytes )\n";
}

bool Holds(const unsigned char* array, const Buffer& file, size_t from, size_t count)
{
    return std::equal(array, array + count, file.begin() + static_cast<std::ptrdiff_t>(from));
}

TYPED_TEST(Shots, WriteBackTheFileTheyWereReadFromLeavingTheHeaderInHostOrder)
{
    using Shot = typename TypeParam::Shot;
    const Buffer file = SmallFile<TypeParam>();
    Shot shot;
    ReadShot(file, shot);  // the read itself is checked at every cut below, the whole file included
    ASSERT_EQ(shot.length3D, TypeParam::kSmall3dArray);
    const Buffer hostOrder = ImageOf(shot.header);
    EXPECT_EQ(WriteShot(shot), file);
    EXPECT_EQ(ImageOf(shot.header), hostOrder);
}

// A block's trace gives the bytes written, not the length of its array.
TYPED_TEST(Shots, WritingTracesTheHeaderAndTheBytesOfEachBlock)
{
    typename TypeParam::Shot shot;
    ReadShot(SmallFile<TypeParam>(), shot);
    Recording recording(testing::TempDir() + "brell-camera-write");
    WriteShot(shot);
    const std::vector<std::string> outputs = recording.Outputs();
    ASSERT_EQ(outputs.size(), 3 + TypeParam::kListingLines);
    EXPECT_EQ(std::tuple(outputs.front(), outputs[1 + TypeParam::kListingLines], outputs.back()),
              std::tuple("output 0 60 Write camera header data:\n", Traced("Write 3D data", TypeParam::kSmall3d),
                         Traced("Write 2D data", TypeParam::kSmall2d)));
}

TYPED_TEST(Shots, CopiesHoldArraysOfTheirOwnWithEveryByte)
{
    using Shot = typename TypeParam::Shot;
    const Buffer file = SmallFile<TypeParam>();
    Shot shot;
    ReadShot(file, shot);
    const size_t last3d = static_cast<size_t>(shot.length3D) * TypeParam::k3dArrayFactor - 1;
    shot.data3D[last3d] = 0x77;
    if constexpr (std::is_same_v<Shot, KAMERADATA>) shot.reserved = 9;
    const Buffer expected = WriteShot(shot);
    Shot assigned;
    assigned = shot;
    Shot copied(shot);
    for (Shot* copy : {&assigned, &copied}) {
        EXPECT_NE(copy->data3D, shot.data3D);
        EXPECT_NE(copy->data2D, shot.data2D);
        EXPECT_EQ(copy->data3D[last3d], 0x77) << "the whole 3-D array is copied";
        EXPECT_EQ(TypeParam::Reserved(*copy), TypeParam::Reserved(shot));
        EXPECT_EQ(WriteShot(*copy), expected);
    }
}

TYPED_TEST(Shots, ArraysRoundUpToSixteenAndAreKeptForSmallerRequests)
{
    using Shot = typename TypeParam::Shot;
    Shot sized;
    EXPECT_EQ(TypeParam::Allocate3d(sized, 100), 1);
    ASSERT_EQ(sized.length3D, 112);
    sized.data3D[112 * TypeParam::k3dArrayFactor - 1] = 1;
    unsigned char* kept = sized.data3D;
    EXPECT_EQ(TypeParam::Allocate3d(sized, 50), 1);
    EXPECT_EQ(sized.data3D, kept);
    EXPECT_EQ(TypeParam::Allocate3d(sized, 112), 1);
    EXPECT_EQ(TypeParam::Allocate3d(sized, 0) + TypeParam::Allocate3d(sized, -5), 0);
    EXPECT_EQ(sized.length3D, 112);
    EXPECT_EQ(TypeParam::Allocate2d(sized, 1), 1);
    EXPECT_EQ(sized.length2D, 16);
    EXPECT_EQ(TypeParam::Allocate2d(sized, INT_MAX), 0) << "a length past 32 bits cannot be had";
    EXPECT_EQ(std::tuple(sized.data2D, sized.length2D), std::tuple(nullptr, 0));
}

// The header keeps what was read and zeros, each array what was read; before
// the size fields are whole there is no 3-D block.
TYPED_TEST(Shots, AStreamCutAnywhereKeepsWhatWasRead)
{
    using Shot = typename TypeParam::Shot;
    const Buffer file = SmallFile<TypeParam>();
    const size_t h = TypeParam::kHeaderBytes, size3d = TypeParam::kSmall3d;
    for (size_t size = 0; size <= file.size(); ++size) {
        Shot cut;
        ReadShot(Buffer(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size)), cut, Device::stream);
        if (size < TypeParam::kSizeFieldsEnd) {
            ExpectEmpty<TypeParam>(cut);
            continue;
        }
        Buffer header(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(std::min(size, h)));
        header.resize(h, 0);
        ReverseOrder(cut.header);  // back to file order
        ASSERT_EQ(ImageOf(cut.header), header) << size;
        ASSERT_EQ(cut.length3D, TypeParam::kSmall3dArray) << size;
        bool colorRead = size >= TypeParam::kColorPlane + 8;
        ASSERT_EQ(cut.length2D, colorRead ? TypeParam::kSmall2d : TypeParam::kEmpty2d) << size;
        size_t read = std::max(size, h) - h;
        ASSERT_TRUE(Holds(cut.data3D, file, h, std::min(read, size3d))) << size;
        if (read > size3d) {
            ASSERT_TRUE(Holds(cut.data2D, file, h + size3d, read - size3d)) << size;
        }
    }
}

TYPED_TEST(Shots, EachErrorLeavesAnAllZeroRecordAndOneErrorLine)
{
    using Shot = typename TypeParam::Shot;
    struct Case {
        Planes pitch, color;
        std::string error;
    };
    const Case cases[] = {
        {{2001, 4, 2, 16}, kSmallColor, "Error: The camera header data is error.\n"},
        {TypeParam::kNo3d, kSmallColor, "Error: No 3D data in camera data.\n"},
        {kSmallPitch, TypeParam::kHuge2d,
         "Error: No memory for 2D data in camera data( " + std::to_string(TypeParam::kHuge2dBytes) + " bytes ).\n"},
    };
    for (const Case& c : cases) {
        Recording recording(testing::TempDir() + "brell-camera-errors");
        Shot failed;
        TypeParam::Allocate3d(failed, 100);
        TypeParam::Allocate2d(failed, 10);
        std::memset(&failed.header, 0x5A, sizeof failed.header);
        if constexpr (std::is_same_v<Shot, KAMERADATA>) failed.reserved = 7;
        ReadShot(Join({HeaderBytes<TypeParam>(c.pitch, c.color), Pattern(256, 5)}), failed, Device::stream);
        ExpectEmpty<TypeParam>(failed);
        std::vector<std::string> outputs = recording.Outputs();
        ASSERT_GE(outputs.size(), 3u);
        EXPECT_EQ(std::tuple(outputs[0], outputs[1], outputs.back()),
                  std::tuple("output 0 60 Clear 3d data and 2d data in Camera data.\n",
                             "output 0 60 Read camera header data:\n", "output 0 -2 " + c.error));
        EXPECT_EQ(std::count_if(outputs.begin(), outputs.end(), [](auto& o) { return o.rfind("output 0 -2", 0) == 0; }),
                  1);
    }
}

TYPED_TEST(Shots, WithoutColourPlanesOnlyTheSecondLayoutReadsA2DBlock)
{
    using Shot = typename TypeParam::Shot;
    Recording recording(testing::TempDir() + "brell-camera-no-colour");
    Shot failed;
    ReadShot(Join({HeaderBytes<TypeParam>(kSmallPitch, {4, 4, 0, 8}), Pattern(5000, 5)}), failed);
    EXPECT_EQ(failed.length2D, TypeParam::kEmpty2d);
    EXPECT_EQ(failed.data2D == nullptr, TypeParam::kEmpty2d == 0);
    std::vector<std::string> outputs = recording.Outputs();
    EXPECT_EQ(outputs.size(), 3 + TypeParam::kListingLines + (TypeParam::kEmpty2d != 0));
    EXPECT_EQ(outputs.back(), TypeParam::kEmpty2d != 0 ? Traced("Read 2D data in camera data", 3840)
                                                       : Traced("Read 3D data in camera data", TypeParam::kSmall3d));
}

// A file cut anywhere in a block, or a header that promises gigabytes: the reader
// refuses the block before it allocates it, wherever the archive knows its length.
TYPED_TEST(Shots, ABlockLongerThanTheFileIsRefusedBeforeAnythingIsAllocated)
{
    using Shot = typename TypeParam::Shot;
    const Buffer file = SmallFile<TypeParam>();
    const struct {
        Buffer bytes;
        int32_t size2d;
    } cases[] = {
        {Buffer(file.begin(), file.end() - 1), TypeParam::kSmall2d},
        {Join({HeaderBytes<TypeParam>(kSmallPitch, TypeParam::kHuge2d), Pattern(256, 5)}), TypeParam::kHuge2dBytes},
    };
    const std::string path = testing::TempDir() + "brell-camera-huge";
    for (const auto& [bytes, size2d] : cases) {
        for (bool onDisk : {false, true}) {
            Recording recording(testing::TempDir() + "brell-camera-short");
            Shot shot;
            if (onDisk) {
                std::ofstream(path, std::ios::binary)
                    .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
                CFile in(path.c_str(), CFile::modeRead);
                CArchive load(&in, CArchive::load);
                load >> shot;
            } else {
                ReadShot(bytes, shot);
            }
            ExpectEmpty<TypeParam>(shot);
            EXPECT_EQ(recording.Outputs().back(),
                      "output 0 -2 Error: The file ends before the 2D data in camera data( " + std::to_string(size2d) +
                          " bytes ).\n");
        }
    }
    std::remove(path.c_str());
}

}  // namespace

#include "camera/ShotFixtures.h"

#include <brelldata/camera/CameraLayout.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace brell::test;

template <class Layout>
class Headers : public testing::Test {
};
using Layouts = testing::Types<FirstLayout, SecondLayout>;
TYPED_TEST_SUITE(Headers, Layouts);

// A header read from the file's bytes, zeros past them.
template <class Header>
Header HeaderOf(const Buffer& file)
{
    Header header;
    ReadShot(file, header);
    return header;
}

TYPED_TEST(Headers, ReverseOrderSwapsEachFieldWithItsWidthAndPlausibilityStopsJustPastEachBound)
{
    using Header = typename TypeParam::Header;
    const Buffer file = Pattern(sizeof(Header), 3);
    Buffer expected = file;
    for (const Run& run : TypeParam::kRuns)
        for (size_t field = run.offset; field < run.offset + run.bytes; field += run.width)
            for (size_t i = 0; i < run.width; ++i) expected[field + i] = file[field + run.width - 1 - i];

    Header header = HeaderOf<Header>(file);
    EXPECT_EQ(ImageOf(header), expected);
    ReverseOrder(header);
    EXPECT_EQ(ImageOf(header), file) << "twice restores the record";

    // Plausibility stops just past each bound.
    struct Case {
        const char* rule;
        Planes pitch;
        float pitchOfPixels1, pitchOfPixels2;
        int plausible;
    };
    const Case cases[] = {
        {"every bound reached", {2000, 2000, 10, 64}, 0.0f, 0.0f, 1},
        {"width past", {2001, 2000, 10, 64}, 0.0f, 0.0f, 0},
        {"height past", {2000, 2001, 10, 64}, 0.0f, 0.0f, 0},
        {"number past", {2000, 2000, 11, 64}, 0.0f, 0.0f, 0},
        {"pixel bits past", {2000, 2000, 10, 65}, 0.0f, 0.0f, 0},
        {"negative zeros are not below zero", {1, 1, 1, 8}, -0.0f, -0.0f, 1},
        {"first pitch of pixels below zero", {1, 1, 1, 8}, -1e-30f, 0.0f, 0},
        {"second pitch of pixels below zero", {1, 1, 1, 8}, 0.0f, -1e-30f, 0},
    };
    for (const Case& c : cases) {
        auto checked = HeaderOf<typename TypeParam::Header>(
            HeaderBytes<TypeParam>(c.pitch, {65535, 65535, 65535, 65535}, c.pitchOfPixels1, c.pitchOfPixels2));
        EXPECT_EQ(TypeParam::Check(&checked), c.plausible) << c.rule;
    }
    EXPECT_EQ(TypeParam::Check(nullptr), 0);
}

// Every field of the first layout, big-endian, with values whose listing is exact.
Buffer ListedHeader()
{
    Bytes b;
    b.Raw({'R', 'S', '1', '0'}).Be16(640).Be16(480).Be16(1).Be16(16).Be16(1280).Be16(960).Be16(3).Be16(24);
    b.Be32(0x20240917).BeF32(8.5f).Be16(3).Be16(1).BeF32(12.25f).BeF32(-30.5f).BeF32(2.125f).BeF32(0.25f).BeF32(0.5f);
    for (float v : {1.5f, -2.25f, 3.0f, 100.0f, 200.5f, -300.25f, 0.125f, 0.0625f, -45.0f, 10.0f, 20.0f, 30.0f, 320.5f,
                    240.25f, 0.0625f, 0.125f, 640.5f, 480.75f})
        b.BeF32(v);
    b.Raw({200, 0xEE}).Be16(static_cast<uint16_t>(-3)).Be16(12).Be16(static_cast<uint16_t>(-1)).BeF32(15.0f);
    b.Be16(static_cast<uint16_t>(-5)).Raw({250, 128, 7, 0x01, 0x02, 0x0a, 0x0b, 0xab, 0xcd, 0xef}).Fill(108, 0x11);
    for (uint32_t word = 0; word < 56; ++word) b.Be32(0x01000000 * word + 0x10203);
    b.Fill(32, 0x22);
    return b.Data();
}

TEST(FirstLayoutHeader, ReadsInHostOrderAndListsThirtyTwoLinesAtLevelSixty)
{
    Recording recording(testing::TempDir() + "brell-camera-listing");
    Buffer file = ListedHeader();
    ASSERT_EQ(file.size(), 512u);
    CAMERAHEADER h;
    ReadShot(file, h);

    const std::vector<std::string> listing = {
        "---------------- Header of Camera Data ----------------\n",
        "Version:          0x 52 53 31 30 \"RS10\"\n",
        "Pitch plane:      Horizon - 640, Vertical - 480\n",
        "  number:         1\n",
        "  pixel bits:     16\n",
        "Color plane:      Horizon - 1280, Vertical - 960\n",
        "  number:         3\n",
        "  pixel bits:     24\n",
        "Date:             20240917\n",
        "Focal Length:     8.500000\n",
        "Reference plane:  3\n",
        "Shooting mode:    calibration\n",
        "Principal plane:  12.250000\n",
        "Galvano:          Start - -30.500000, Speed - 2.125000\n",
        "Pitch of pixels:  0.250000, 0.500000\n",
        "Camera:           Angle   X - 1.500000, Y - -2.250000, Z - 3.000000\n",
        "                  Positon X - 100.000000, Y - 200.500000, Z - -300.250000\n",
        "Projection System:Angle   X - 0.125000, Y - 0.062500, Z - -45.000000\n",
        "                  Positon X - 10.000000, Y - 20.000000, Z - 30.000000\n",
        "Pitch CCD center: u - 320.500000, v - 240.250000\n",
        "Color CCD pitch:  0.062500, 0.125000 between pixels\n",
        "          center: u - 640.500000, v - 480.750000\n",
        "Pitch CCD peak:   200\n",
        "File Mode:        -3\n",
        "Stage total:      12\n",
        "      number:     -1\n",
        "      angle:      15.000000\n",
        "Temperture data:  -5\n",
        "Gain:             250\n",
        "Laser power:      128\n",
        "Minimium pixel:   7 * 8\n",
        "H8 ROM Version:   0x 01 02 0a 0b ab cd ef\n"};
    std::vector<std::string> expected;
    for (const std::string& line : listing) expected.push_back("output 0 60 " + line);
    EXPECT_EQ(recording.Outputs(), expected);
}

// Sizes are worked out as the reader works them out, in 32 bits: a colour plane of
// 64-bit pixels 65535 wide and 65535 deep wraps to no 2-D block at all.
TEST(CameraLayouts, AreTheOnesWhoseHeaderAndBlocksMakeUpTheFile)
{
    const Buffer first = SmallFile<FirstLayout>(), second = SmallFile<SecondLayout>();
    const Buffer wrapped = Join({HeaderBytes<FirstLayout>({4, 4, 1, 8}, {65535, 1, 65535, 64}), Pattern(16, 5)});
    Buffer longer = first;
    longer.push_back(0);
    const struct {
        const Buffer& file;
        brell::CameraFileLayout layout;
    } cases[] = {
        {first, brell::CameraFileLayout::first},
        {second, brell::CameraFileLayout::second},
        {wrapped, brell::CameraFileLayout::first},
        {longer, brell::CameraFileLayout::none},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(
            brell::DetectCameraLayout(HeaderOf<CAMERAHEADER>(c.file), HeaderOf<KAMERAHEADER>(c.file), c.file.size()),
            c.layout)
            << c.file.size() << " bytes";
    }
    const CAMERAHEADER header = HeaderOf<CAMERAHEADER>(wrapped);
    EXPECT_EQ(brell::CameraBlockSize2d(header), -1048568);
    EXPECT_EQ(brell::CameraFileBytes(header), 528);
}

}  // namespace

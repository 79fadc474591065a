#include "camera/ShotFixtures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace brell::test;

// Records where each transfer of the archive's file went.
class SpyFile : public CMemFile {
public:
    struct Call {
        const void* buffer;
        unsigned int count;
    };
    unsigned int Read(void* buffer, unsigned int count) override
    {
        reads.push_back({buffer, count});
        return CMemFile::Read(buffer, count);
    }
    void Write(const void* buffer, unsigned int count) override
    {
        writes.push_back({buffer, count});
        CMemFile::Write(buffer, count);
    }
    std::vector<Call> reads, writes;
};

TEST(Archive, BuffersSmallTransfersAndPassesLargeOnesStraightToTheFile)
{
    const Buffer bytes = Pattern(10024, 1);
    SpyFile file;
    CArchive store(&file, CArchive::store);
    store.Write(bytes.data(), 16);
    store.Write(bytes.data() + 16, 10000);
    store.Write(bytes.data() + 10016, 8);
    store.Close();
    ASSERT_EQ(file.writes.size(), 3u);
    EXPECT_EQ(file.writes[0].count + file.writes[2].count, 16u + 8);
    EXPECT_EQ(file.writes[1].buffer, bytes.data() + 16);
    EXPECT_EQ(file.GetLength(), 10024u);

    file.SeekToBegin();
    Buffer read(10024);
    CArchive load(&file, CArchive::load);
    EXPECT_EQ(load.Read(read.data(), 16) + load.Read(read.data() + 16, 10000), 10016u);
    ASSERT_EQ(file.reads.size(), 2u);
    EXPECT_EQ(file.reads[1].buffer, read.data() + 4096) << "the rest of the buffer first, then straight";
    EXPECT_EQ(load.Read(read.data() + 10016, 2) + load.Read(read.data() + 10018, 100), 8u) << "fewer at the end";
    EXPECT_EQ(read, bytes);
    EXPECT_EQ(load.Read(read.data(), 1), 0u);

    file.Seek(4, CFile::begin);
    EXPECT_EQ(load.Read(read.data(), 1), 1u);
    load.Close();
    EXPECT_EQ(file.Seek(0, CFile::current), 5u) << "closing a loading archive gives back what it read ahead";
}

TEST(DeviceFailures, NameThePathAndTheReason)
{
    EXPECT_THAT(
        [] { CFile("/nonexistent-brell/shot.dat", CFile::modeRead); },
        testing::ThrowsMessage<CFileException>("cannot open /nonexistent-brell/shot.dat: No such file or directory"));
    uint8_t fixed[8] = {};
    EXPECT_THAT([&] { CMemFile(fixed, 8).Write(fixed, 9); },
                testing::ThrowsMessage<CFileException>("cannot write memory file: the memory file cannot grow"));
}

// A 3-D block of 4096 bytes leaves the archive's buffer on the way out.
TEST(DeviceFailures, PassThroughTheShotOperators)
{
    CAMERADATA shot;
    ReadShot(Join({HeaderBytes<FirstLayout>({64, 64, 1, 8}, {0, 0, 0, 0}), Pattern(4096, 5)}), shot);
    ASSERT_EQ(shot.length3D, 4096);
    CFile full("/dev/full", CFile::modeWrite);
    CArchive toFull(&full, CArchive::store);
    EXPECT_THAT([&] { toFull << shot; },
                testing::ThrowsMessage<CFileException>("cannot write /dev/full: No space left on device"));
}

}  // namespace

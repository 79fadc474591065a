#include <brelldata/camera/KameraData.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int k3dBytes = 640 * 480 * 9;
constexpr int k2dBytes = 640 * 480 * 3 + 3840;
constexpr size_t kFileBytes = sizeof(KAMERAHEADER) + k3dBytes + k2dBytes;

std::string TempPath()
{
    return "/tmp/brell-camera-bench-" + std::to_string(getpid()) + ".kam";
}

// A shot of the second layout: a 640 x 480 pitch plane and a 640 x 480, 24-bit colour plane.
void MakeShot(KAMERADATA& shot)
{
    std::memset(&shot.header, 0, sizeof shot.header);
    shot.header.pitchPlaneWidth = shot.header.colorPlaneWidth = 640;
    shot.header.pitchPlaneHeight = shot.header.colorPlaneHeight = 480;
    shot.header.pitchPlaneNumber = shot.header.colorPlaneNumber = 1;
    shot.header.pitchPlanePixelBits = 16;
    shot.header.colorPlanePixelBits = 24;
    shot.Allocate3dData_K(k3dBytes);
    shot.Allocate2dData_K(k2dBytes);
    std::memset(shot.data3D, 0x3D, k3dBytes);
    std::memset(shot.data2D, 0x2D, k2dBytes);
}

void WriteWithArchive(const std::string& path, KAMERADATA& shot)
{
    CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
    CArchive archive(&file, CArchive::store);
    archive << shot;
    archive.Close();
}

void ReadWithArchive(const std::string& path, KAMERADATA& shot)
{
    CFile file(path.c_str(), CFile::modeRead);
    CArchive archive(&file, CArchive::load);
    archive >> shot;
}

void PlainRead(const std::string& path, std::vector<unsigned char>& buffer)
{
    int descriptor = open(path.c_str(), O_RDONLY);
    for (size_t done = 0; done < buffer.size();) {
        ssize_t got = read(descriptor, buffer.data() + done, buffer.size() - done);
        if (got <= 0) break;
        done += static_cast<size_t>(got);
    }
    close(descriptor);
}

void PlainWrite(const std::string& path, const std::vector<unsigned char>& buffer)
{
    int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    for (size_t done = 0; done < buffer.size();) {
        ssize_t put = write(descriptor, buffer.data() + done, buffer.size() - done);
        if (put <= 0) break;
        done += static_cast<size_t>(put);
    }
    close(descriptor);
}

double Seconds(Clock::time_point from, Clock::time_point to)
{
    return std::chrono::duration<double>(to - from).count();
}

// Each iteration transfers the same file through the library and plainly,
// back to back. The iteration time is the library's; "ratio" is library time
// over plain time, "plain" the plain time per iteration.
template <class LibraryTransfer, class PlainTransfer>
void TimeAgainstPlain(benchmark::State& state, LibraryTransfer library, PlainTransfer plain)
{
    double libraryTime = 0, plainTime = 0;
    for (auto _ : state) {
        Clock::time_point start = Clock::now();
        library();
        Clock::time_point middle = Clock::now();
        plain();
        Clock::time_point end = Clock::now();
        libraryTime += Seconds(start, middle);
        plainTime += Seconds(middle, end);
        state.SetIterationTime(Seconds(start, middle));
    }
    state.counters["ratio"] = libraryTime / plainTime;
    state.counters["plain"] = benchmark::Counter(plainTime, benchmark::Counter::kAvgIterations);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kFileBytes));
}

// The file is in the page cache: it was written just before.
void BM_CameraReadShotAgainstPlainRead(benchmark::State& state)
{
    const std::string path = TempPath();
    KAMERADATA shot;
    MakeShot(shot);
    WriteWithArchive(path, shot);
    KAMERADATA read;
    std::vector<unsigned char> buffer(kFileBytes);
    TimeAgainstPlain(
        state, [&] { ReadWithArchive(path, read); }, [&] { PlainRead(path, buffer); });
    if (read.length2D != k2dBytes || std::memcmp(read.data2D, shot.data2D, k2dBytes) != 0)
        state.SkipWithError("the shot did not read back");
    std::remove(path.c_str());
}
BENCHMARK(BM_CameraReadShotAgainstPlainRead)->UseManualTime()->Unit(benchmark::kMillisecond);

void BM_CameraWriteShotAgainstPlainWrite(benchmark::State& state)
{
    const std::string path = TempPath();
    KAMERADATA shot;
    MakeShot(shot);
    WriteWithArchive(path, shot);
    std::vector<unsigned char> buffer(kFileBytes);
    PlainRead(path, buffer);
    TimeAgainstPlain(
        state, [&] { WriteWithArchive(path, shot); }, [&] { PlainWrite(path, buffer); });
    std::remove(path.c_str());
}
BENCHMARK(BM_CameraWriteShotAgainstPlainWrite)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

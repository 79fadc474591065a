// The first checked load of a scene file in a fresh process, beside a plain
// read of the file into fresh memory, both with the file in the page cache:
//   build/bin/brell_first_load FILE.scene
// Run it in a process of its own for each figure; the benchmarks
// (BM_LoadSceneCheckedAgain) give the loads that follow.

#include <brelldata/core/BaseNode.h>
#include <brelldata/io/SceneFile.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;

double Milliseconds(Clock::time_point since)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: brell_first_load FILE.scene\n");
        return 2;
    }
    const std::string path = argv[1];
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file) {
        std::fprintf(stderr, "brell_first_load: %s: cannot open\n", path.c_str());
        return 1;
    }
    const auto size = static_cast<size_t>(file.tellg());
    file.seekg(0);
    // Memory from new[], not bulk memory, so that the load after it finds
    // no freed block to use again and takes fresh pages as a new process does.
    Clock::time_point start = Clock::now();
    std::unique_ptr<char[]> bytes(new char[size]);
    file.read(bytes.get(), static_cast<std::streamsize>(size));
    const double plain = Milliseconds(start);
    bytes.reset();
    try {
        start = Clock::now();
        CBaseNode* scene = brell::io::LoadScene(path);
        const double load = Milliseconds(start);
        scene->AddRef();
        scene->Release();
        std::printf("%s: %zu bytes; plain read into fresh memory %.1f ms, first checked load %.1f ms (%.2fx)\n",
                    path.c_str(), size, plain, load, load / plain);
    } catch (const brell::io::FileError& error) {
        std::fprintf(stderr, "brell_first_load: %s\n", error.what());
        return 1;
    }
    return 0;
}

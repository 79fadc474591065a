// A test double of the diagnostic output library. It appends one record per
// call to the file named by SCRIVO_RECORD_FILE (nothing while that is unset):
// "load", "open <channel>", "output <channel> <level> <text>", "close <channel>",
// "unload", each ended by a zero byte so that texts keep their line feeds.
// Built in three variants:
//   SCRIVO_OPEN_FAILS   OpenDebugOutput returns 0
//   SCRIVO_OMIT_REOPEN  ReopenDebugOutput is missing

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#define SCRIVO_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

void Record(const char* format, int32_t channel = 0, int32_t level = 0, const char* text = nullptr)
{
    const char* path = std::getenv("SCRIVO_RECORD_FILE");
    if (path == nullptr) return;
    FILE* out = std::fopen(path, "a");
    if (out == nullptr) return;
    std::fprintf(out, format, channel, level);
    if (text != nullptr) std::fputs(text, out);
    std::fputc('\0', out);
    std::fclose(out);
}

__attribute__((constructor)) void Loaded()
{
    Record("load");
}

__attribute__((destructor)) void Unloaded()
{
    Record("unload");
}

}  // namespace

SCRIVO_EXPORT void DebugOutput(int32_t channel, int32_t level, const char* text)
{
    Record("output %d %d ", channel, level, text);
}

SCRIVO_EXPORT bool OpenDebugOutput(int32_t channel)
{
    Record("open %d", channel);
#ifdef SCRIVO_OPEN_FAILS
    return false;
#else
    return true;
#endif
}

#ifndef SCRIVO_OMIT_REOPEN
SCRIVO_EXPORT void ReopenDebugOutput(int32_t channel)
{
    Record("reopen %d", channel);
}
#endif

SCRIVO_EXPORT void CloseDebugOutput(int32_t channel)
{
    Record("close %d", channel);
}

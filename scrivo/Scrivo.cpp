// Reference output library for the diagnostic channels of libbrelldata.so.
//
// Each message becomes one line on standard error, or is appended to the file
// named by SCRIVO_FILE. SCRIVO_LEVEL=N keeps trace messages of level N and
// below; errors and warnings always pass. Lines start with the channel and
// level: "[C00 Error]: ", "[C00 Warning]: " or "[C00 L60]: ".

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#define SCRIVO_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

FILE* destination = nullptr;
int openChannels = 0;

FILE* Destination()
{
    if (destination == nullptr) {
        const char* path = std::getenv("SCRIVO_FILE");
        if (path != nullptr && *path != '\0') destination = std::fopen(path, "a");
        if (destination == nullptr) destination = stderr;
    }
    return destination;
}

bool Passes(int32_t level)
{
    const char* limit = std::getenv("SCRIVO_LEVEL");
    return level < 0 || limit == nullptr || *limit == '\0' || level <= std::atoi(limit);
}

}  // namespace

SCRIVO_EXPORT void DebugOutput(int32_t channel, int32_t level, const char* text)
{
    if (text == nullptr || !Passes(level)) return;
    FILE* out = Destination();
    if (level == -2)
        std::fprintf(out, "[C%02d Error]: ", channel);
    else if (level == -1)
        std::fprintf(out, "[C%02d Warning]: ", channel);
    else
        std::fprintf(out, "[C%02d L%02d]: ", channel, level);
    size_t length = std::strlen(text);
    std::fwrite(text, 1, length, out);
    if (length == 0 || text[length - 1] != '\n') std::fputc('\n', out);
    std::fflush(out);
}

SCRIVO_EXPORT bool OpenDebugOutput(int32_t)
{
    ++openChannels;
    return true;
}

SCRIVO_EXPORT void ReopenDebugOutput(int32_t) {}

SCRIVO_EXPORT void CloseDebugOutput(int32_t)
{
    if (--openChannels > 0 || destination == nullptr) return;
    if (destination != stderr) std::fclose(destination);
    destination = nullptr;
}

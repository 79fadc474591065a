// Reference output library for the diagnostic channels of libbrelldata.so.
//
// Each message becomes one line on standard error, or is appended to the file
// named by SCRIVO_FILE. Errors and warnings always pass; trace messages only
// when SCRIVO_LEVEL=N asks for those of level N and below. Lines start with
// the channel and level: "[C00 Error]: ", "[C00 Warning]: " or "[C00 L60]: ".
//
// The library's text is in code page 932 (tree listings use its box-drawing
// characters); it is written as UTF-8, or unchanged where it does not convert.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iconv.h>
#include <string>

#define SCRIVO_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

FILE* destination = nullptr;
iconv_t converter = reinterpret_cast<iconv_t>(-1);
int openChannels = 0;

FILE* Destination()
{
    if (destination == nullptr) {
        const char* path = std::getenv("SCRIVO_FILE");
        if (path != nullptr && *path != '\0') destination = std::fopen(path, "a");
        if (destination == nullptr) destination = stderr;
        converter = iconv_open("UTF-8", "CP932");
    }
    return destination;
}

std::string ToUtf8(const char* text, size_t length)
{
    if (converter == reinterpret_cast<iconv_t>(-1)) return std::string(text, length);
    std::string converted(length * 3, '\0');
    char* in = const_cast<char*>(text);
    char* out = converted.data();
    size_t inLeft = length;
    size_t outLeft = converted.size();
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    if (iconv(converter, &in, &inLeft, &out, &outLeft) == static_cast<size_t>(-1)) return std::string(text, length);
    converted.resize(converted.size() - outLeft);
    return converted;
}

// Trace lines are for those who ask for them: a host program, and the tools,
// show warnings and errors only unless SCRIVO_LEVEL is set.
bool Passes(int32_t level)
{
    const char* limit = std::getenv("SCRIVO_LEVEL");
    return level < 0 || (limit != nullptr && *limit != '\0' && level <= std::atoi(limit));
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
    std::string line = ToUtf8(text, std::strlen(text));
    if (line.empty() || line.back() != '\n') line += '\n';
    std::fwrite(line.data(), 1, line.size(), out);
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
    if (converter != reinterpret_cast<iconv_t>(-1)) iconv_close(converter);
    converter = reinterpret_cast<iconv_t>(-1);
}

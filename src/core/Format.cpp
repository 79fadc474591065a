#include "core/Format.h"

#include <cstdarg>
#include <cstdio>

namespace brell {

std::string FormatText(const char* format, ...)
{
    char text[256];
    va_list args;
    va_start(args, format);
    const int length = std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    if (length < 0) return {};
    if (static_cast<size_t>(length) < sizeof text) return text;
    std::string longer(static_cast<size_t>(length), '\0');
    va_start(args, format);
    std::vsnprintf(longer.data(), longer.size() + 1, format, args);
    va_end(args);
    return longer;
}

}  // namespace brell

#pragma once

#include <string>

namespace brell {

// printf into a string; texts of up to 255 bytes are formatted on the stack.
std::string FormatText(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace brell

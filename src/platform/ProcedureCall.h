#pragma once

// The library's calls into the procedure directory.

#include <string_view>

namespace brell {

// Looks up the procedure of that kind named prefix + typeName + separator +
// callerName (a null caller name counts as empty) afresh, and calls it with
// (node, argument): its result, or 0 when there is none. Names up to a few
// hundred bytes are built on the stack.
int CallProcedure(const char* kind, std::string_view prefix, std::string_view typeName, std::string_view separator,
                  const char* callerName, void* node, void* argument);

}  // namespace brell

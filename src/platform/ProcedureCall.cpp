#include "platform/ProcedureCall.h"

#include <brelldata/platform/DApi.h>

#include <string>

namespace brell {

int CallProcedure(const char* kind, std::string_view prefix, std::string_view typeName, std::string_view separator,
                  const char* callerName, void* node, void* argument)
{
    const std::string_view caller = callerName != nullptr ? callerName : "";
    const std::string_view pieces[] = {prefix, typeName, separator, caller};
    size_t length = 0;
    for (std::string_view piece : pieces) length += piece.size();

    char onStack[320];
    std::string onHeap;
    char* name = onStack;
    if (length >= sizeof onStack) {
        onHeap.resize(length);
        name = onHeap.data();
    }
    // Names are short: a plain loop beats a library call per piece.
    char* end = name;
    for (std::string_view piece : pieces) {
        for (char c : piece) *end++ = c;
    }
    *end = '\0';

    CDApiItem* item = GetDApiManager()->GetDApi(kind, name);
    return item == nullptr ? 0 : item->proc(node, argument);
}

}  // namespace brell

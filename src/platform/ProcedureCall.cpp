#include "platform/ProcedureCall.h"

#include <brelldata/platform/DApi.h>

#include <cstring>
#include <string>

namespace brell {

int CallProcedure(const char* kind, std::initializer_list<std::string_view> namePieces, void* node, void* argument)
{
    size_t length = 0;
    for (std::string_view piece : namePieces) length += piece.size();

    char onStack[320];
    std::string onHeap;
    char* name = onStack;
    if (length >= sizeof onStack) {
        onHeap.resize(length);
        name = onHeap.data();
    }
    char* end = name;
    for (std::string_view piece : namePieces) {
        if (!piece.empty()) std::memcpy(end, piece.data(), piece.size());
        end += piece.size();
    }
    *end = '\0';

    CDApiItem* item = GetDApiManager()->GetDApi(kind, name);
    return item == nullptr ? 0 : item->proc(node, argument);
}

}  // namespace brell

#include "platform/ProcedureCall.h"

#include <brelldata/platform/DApi.h>

#include <cstring>
#include <string>

namespace brell {

int CallProcedure(const char* kind, std::initializer_list<const char*> namePieces, void* node, void* argument)
{
    size_t length = 0;
    for (const char* piece : namePieces) length += piece != nullptr ? std::strlen(piece) : 0;

    char onStack[320];
    std::string onHeap;
    char* name = onStack;
    if (length >= sizeof onStack) {
        onHeap.resize(length);
        name = onHeap.data();
    }
    char* end = name;
    for (const char* piece : namePieces) {
        const size_t size = piece != nullptr ? std::strlen(piece) : 0;
        if (size != 0) std::memcpy(end, piece, size);
        end += size;
    }
    *end = '\0';

    CDApiItem* item = GetDApiManager()->GetDApi(kind, name);
    return item == nullptr ? 0 : item->proc(node, argument);
}

}  // namespace brell

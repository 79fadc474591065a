#include "procedures/ProcedureCall.h"

#include <brelldata/procedures/DApi.h>

#include <string>

namespace brell {
namespace {

struct NamePieces {
    std::string_view pieces[4];

    size_t Length() const
    {
        size_t length = 0;
        for (std::string_view piece : pieces) length += piece.size();
        return length;
    }
    // Names are short: a plain loop beats a library call per piece.
    void WriteTo(char* name) const
    {
        for (std::string_view piece : pieces) {
            for (char c : piece) *name++ = c;
        }
    }
};

NamePieces Pieces(const ProcedureNaming& naming, std::string_view typeName, std::string_view callerName)
{
    return {{naming.prefix, typeName, naming.separator, callerName}};
}

std::string_view OrEmpty(const char* text)
{
    return text != nullptr ? text : "";
}

}  // namespace

std::string ProcedureName(const ProcedureNaming& naming, std::string_view typeName, std::string_view callerName)
{
    const NamePieces pieces = Pieces(naming, typeName, callerName);
    std::string name(pieces.Length(), '\0');
    pieces.WriteTo(name.data());
    return name;
}

int CallProcedure(const ProcedureNaming& naming, const char* typeName, const char* callerName, void* node,
                  void* argument)
{
    const NamePieces pieces = Pieces(naming, OrEmpty(typeName), OrEmpty(callerName));
    const size_t length = pieces.Length();

    char onStack[320];
    std::string onHeap;
    char* name = onStack;
    if (length >= sizeof onStack) {
        onHeap.resize(length);
        name = onHeap.data();
    }
    pieces.WriteTo(name);
    name[length] = '\0';

    CDApiItem* item = GetDApiManager()->GetDApi(naming.kind, name);
    return item == nullptr ? 0 : item->proc(node, argument);
}

}  // namespace brell

#pragma once

#include <brelldata/Export.h>

#include <string>
#include <string_view>

namespace brell {

// How the library names the procedures it looks up: prefix + node type name +
// separator + the caller's name (a renderer, a geometry procedure), of a kind.
struct ProcedureNaming {
    const char* kind;
    std::string_view prefix;
    std::string_view separator;
};

// "Draw" + type + "By" + renderer, of kind "DrawProc".
inline constexpr ProcedureNaming kDrawProcedure{"DrawProc", "Draw", "By"};
// "EndDraw" + type + "By" + renderer, of kind "DrawProc".
inline constexpr ProcedureNaming kEndDrawProcedure{"DrawProc", "EndDraw", "By"};
// "Geo" + type + "_" + procedure, of kind "GeoProc".
inline constexpr ProcedureNaming kGeoProcedure{"GeoProc", "Geo", "_"};

// The name under which the library looks for a procedure of that naming for
// the node type and the caller's name.
BRELL_API std::string ProcedureName(const ProcedureNaming& naming, std::string_view typeName,
                                    std::string_view callerName);

}  // namespace brell

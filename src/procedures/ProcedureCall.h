#pragma once

// The library's calls into the procedure directory.

#include <brelldata/procedures/ProcedureNames.h>

namespace brell {

// Looks up the procedure named by the naming for typeName and callerName
// (null names count as empty) afresh, and calls it with (node, argument): its
// result, or 0 when there is none. Names up to a few hundred bytes are built
// on the stack.
int CallProcedure(const ProcedureNaming& naming, const char* typeName, const char* callerName, void* node,
                  void* argument);

}  // namespace brell

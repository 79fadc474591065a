#pragma once

// The library's calls into the procedure directory.

#include <initializer_list>

namespace brell {

// Joins the name pieces (a null piece counts as empty), looks the procedure of that kind and name up afresh
// and calls it with (node, argument): its result, or 0 when there is none.
// Names up to a few hundred bytes are built on the stack.
int CallProcedure(const char* kind, std::initializer_list<const char*> namePieces, void* node, void* argument);

}  // namespace brell

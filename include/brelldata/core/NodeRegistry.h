#pragma once

#include <brelldata/Export.h>

class CBaseNode;

// Makes a new node with reference count 0 (every node class's Create()).
using NodeFactory = CBaseNode* (*)();

// Writes the trace line "Register node type %s\n", then adds the type unless
// the name is already registered (the first factory stays).
BRELL_API void RegisterNodeType(const char* typeName, NodeFactory factory);
// Writes the trace line "Unregister node type %s\n", then removes the type if present.
BRELL_API void UnRegisterNodeType(const char* typeName);
// A new node of the registered type (count 0), or null for an unknown name.
BRELL_API CBaseNode* CreateNode(const char* typeName);

#pragma once

#include <brelldata/core/NodeRegistry.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace brell {

// The registered node types by name.
using NodeTypeTable = std::map<std::string, NodeFactory, std::less<>>;

// The process's table, kept with the rest of the process state.
NodeTypeTable& NodeTypes();

// The factory registered for typeName; null for an unknown name.
NodeFactory FindNodeFactory(std::string_view typeName);

// Changes whenever a type is registered or unregistered, so that a reader
// may keep the factories it found for as long as it stays the same.
unsigned long NodeTypesVersion();

}  // namespace brell

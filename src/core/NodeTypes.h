#pragma once

#include <brelldata/core/NodeRegistry.h>

#include <functional>
#include <map>
#include <string>

namespace brell {

// The registered node types by name.
using NodeTypeTable = std::map<std::string, NodeFactory, std::less<>>;

// The process's table, kept with the rest of the process state.
NodeTypeTable& NodeTypes();

}  // namespace brell

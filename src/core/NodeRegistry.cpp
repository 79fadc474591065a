#include <brelldata/core/NodeRegistry.h>

#include "core/NodeTypes.h"
#include "diag/Diagnostic.h"

#include <string_view>

void RegisterNodeType(const char* typeName, NodeFactory factory)
{
    if (typeName == nullptr) return;
    brell::diag::DebugTrace("Register node type %s\n", typeName);
    brell::NodeTypes().emplace(typeName, factory);
}

void UnRegisterNodeType(const char* typeName)
{
    if (typeName == nullptr) return;
    brell::diag::DebugTrace("Unregister node type %s\n", typeName);
    auto& types = brell::NodeTypes();
    auto found = types.find(std::string_view(typeName));
    if (found != types.end()) types.erase(found);
}

CBaseNode* CreateNode(const char* typeName)
{
    if (typeName == nullptr) return nullptr;
    const auto& types = brell::NodeTypes();
    auto found = types.find(std::string_view(typeName));
    if (found == types.end() || found->second == nullptr) return nullptr;
    return found->second();
}

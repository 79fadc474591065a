#include <brelldata/core/Walk.h>

#include "diag/Diagnostic.h"

#include <brelldata/core/BaseNode.h>
#include <brelldata/core/NodeRegistry.h>
#include <brelldata/core/Tree.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <string>

namespace {

// The walks of the second kind ask the top node's IsChildEnable; further
// down they go on as the first kind.
template <bool kAskTopNode>
int Walk(CBaseNode* node, NodeCallback callback, int value, void* data, int stopAll)
{
    if (node == nullptr || callback == nullptr) return 0;
    if (callback(node, value, data) != 0) return 1;
    for (unsigned int i = 0; i < node->GetChildNum(); ++i) {
        if (kAskTopNode && node->IsChildEnable(static_cast<int>(i)) == 0) continue;
        if (Walk<false>(node->GetChild(i), callback, value, data, stopAll) != 0) return stopAll != 0 ? 1 : 0;
    }
    return 0;
}

template <bool kAskTopNode>
CBaseNode* Search(CBaseNode* node, NodePredicate predicate, int& counter, void* data)
{
    if (node == nullptr || predicate == nullptr) return nullptr;
    if (predicate(node, counter, data) != 0) return node;
    for (unsigned int i = 0; i < node->GetChildNum(); ++i) {
        if (kAskTopNode && node->IsChildEnable(static_cast<int>(i)) == 0) continue;
        if (CBaseNode* found = Search<false>(node->GetChild(i), predicate, counter, data)) return found;
    }
    return nullptr;
}

int CountMatch(bool match, int& counter)
{
    if (!match) return 0;
    return --counter < 0 ? 1 : 0;
}

// Two-byte markers of code page 932.
const char kTopMarker[] = "\x81\xA5";         // black down-pointing triangle
const char kMiddleMarker[] = "\x84\xB0";      // heavy vertical and right
const char kLastMarker[] = "\x84\xAF";        // heavy up and right
const char kContinuingIndent[] = "\x84\xAB";  // heavy vertical
const char kClosedIndent[] = "  ";

// position counts siblings from 1; 0 marks the top node.
void DisplayNode(CBaseNode* node, std::string& prefix, int position, bool hasLaterSiblings)
{
    std::string line = prefix;
    line += position == 0 ? kTopMarker : hasLaterSiblings ? kMiddleMarker : kLastMarker;
    char number[48];
    if (position != 0) {
        std::snprintf(number, sizeof number, "%d: ", position);
        line += number;
    }
    line += node->Name().empty() ? "<Noname> " : node->Name();
    std::snprintf(number, sizeof number, " : 0x%" PRIxPTR, reinterpret_cast<uintptr_t>(node));
    line += "(" + node->Type() + number + ")";
    line += " [ " + node->Comment() + " ]\n";
    brell::diag::DebugTrace("%s", line.c_str());

    const size_t parentPrefix = prefix.size();
    prefix += position != 0 && hasLaterSiblings ? kContinuingIndent : kClosedIndent;
    const unsigned int count = node->GetChildNum();
    for (unsigned int i = 0; i < count; ++i)
        DisplayNode(node->GetChild(i), prefix, static_cast<int>(i) + 1, i + 1 < count);
    prefix.resize(parentPrefix);
}

}  // namespace

int ForEachNode(CBaseNode* node, NodeCallback callback, int value, void* data, int stopAll)
{
    return Walk<false>(node, callback, value, data, stopAll);
}

int ForEachNode2(CBaseNode* node, NodeCallback callback, int value, void* data, int stopAll)
{
    return Walk<true>(node, callback, value, data, stopAll);
}

CBaseNode* SearchNode(CBaseNode* node, NodePredicate predicate, int& counter, void* data)
{
    return Search<false>(node, predicate, counter, data);
}

CBaseNode* SearchNode2(CBaseNode* node, NodePredicate predicate, int& counter, void* data)
{
    return Search<true>(node, predicate, counter, data);
}

int IsSameName(CBaseNode* node, int& counter, void* name)
{
    if (node == nullptr || name == nullptr) return 0;
    return CountMatch(node->Name() == static_cast<const char*>(name), counter);
}

int IsSameType(CBaseNode* node, int& counter, void* typeName)
{
    if (node == nullptr || typeName == nullptr) return 0;
    return CountMatch(node->Type() == static_cast<const char*>(typeName), counter);
}

CBaseNode* CopyTree(CBaseNode* node)
{
    if (node == nullptr) return nullptr;
    CBaseNode* copy = CreateNode(node->Type().c_str());
    if (copy == nullptr) return nullptr;
    copy->Copy(node);
    for (unsigned int i = 0; i < node->GetChildNum(); ++i) copy->AppendChild(CopyTree(node->GetChild(i)));
    return copy;
}

void DisplayTree(CBaseNode* node)
{
    if (node == nullptr) return;
    std::string prefix;
    DisplayNode(node, prefix, 0, false);
}

void DisplayTree(CTree& tree)
{
    DisplayTree(tree.Root());
}

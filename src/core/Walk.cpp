#include <brelldata/core/Walk.h>

#include "core/Adopt.h"
#include "core/WalkStack.h"
#include "diag/Diagnostic.h"

#include <brelldata/core/BaseNode.h>
#include <brelldata/core/NodeRegistry.h>
#include <brelldata/core/Tree.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <string>

namespace {

// What a walk does after visiting a node.
enum class Next { kDescend, kSkipLaterSiblings, kStop };

// Visits the nodes below node, depth first, a node before its children. The
// walks of the second kind ask the top node's IsChildEnable; further down
// they go on as the first kind. True when a visit stopped the walk.
template <bool kAskTopNode, class Visit>
bool WalkBelow(CBaseNode* node, Visit visit)
{
    brell::WalkStack<brell::ChildCursor> stack;
    stack.Push({node, 0});
    while (!stack.Empty()) {
        brell::ChildCursor& top = stack.Top();
        if (top.next >= top.node->GetChildNum()) {
            stack.Pop();
            continue;
        }
        const unsigned int index = top.next++;
        if (kAskTopNode && stack.Size() == 1 && top.node->IsChildEnable(static_cast<int>(index)) == 0) continue;
        CBaseNode* child = top.node->GetChild(index);
        switch (visit(child)) {
            case Next::kDescend:
                stack.Push({child, 0});
                break;
            case Next::kSkipLaterSiblings:
                stack.Pop();
                break;
            case Next::kStop:
                return true;
        }
    }
    return false;
}

// A non-zero callback at a node ends its parent's run of children, and with
// stopAll the whole walk.
template <bool kAskTopNode>
int Walk(CBaseNode* node, NodeCallback callback, int value, void* data, int stopAll)
{
    if (node == nullptr || callback == nullptr) return 0;
    if (callback(node, value, data) != 0) return 1;
    const bool stopped = WalkBelow<kAskTopNode>(node, [&](CBaseNode* child) {
        if (callback(child, value, data) == 0) return Next::kDescend;
        return stopAll != 0 ? Next::kStop : Next::kSkipLaterSiblings;
    });
    return stopped ? 1 : 0;
}

template <bool kAskTopNode>
CBaseNode* Search(CBaseNode* node, NodePredicate predicate, int& counter, void* data)
{
    if (node == nullptr || predicate == nullptr) return nullptr;
    if (predicate(node, counter, data) != 0) return node;
    CBaseNode* found = nullptr;
    WalkBelow<kAskTopNode>(node, [&](CBaseNode* child) {
        if (predicate(child, counter, data) == 0) return Next::kDescend;
        found = child;
        return Next::kStop;
    });
    return found;
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
void DisplayLine(CBaseNode* node, const std::string& prefix, int position, bool hasLaterSiblings)
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
}

// A listed node whose children are being listed, and the length of the
// prefix in front of its own line.
struct ListedNode {
    CBaseNode* node;
    unsigned int next;
    size_t prefixLength;
};

// A node's children continue its prefix: a vertical line while the node has
// later siblings, blanks under the top node and under a last child.
void ListChildrenOf(brell::WalkStack<ListedNode>& stack, CBaseNode* node, std::string& prefix, bool continuing)
{
    stack.Push({node, 0, prefix.size()});
    prefix += continuing ? kContinuingIndent : kClosedIndent;
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

namespace {

// A node of the source and its copy, whose children are being copied.
struct CopiedNode {
    CBaseNode* source;
    CBaseNode* copy;
    unsigned int next;
};

// A copy of node alone through the registry; null for an unregistered type.
CBaseNode* CopyOne(CBaseNode* node)
{
    CBaseNode* copy = CreateNode(node->Type().c_str());
    if (copy != nullptr) copy->Copy(node);
    return copy;
}

}  // namespace

CBaseNode* CopyTree(CBaseNode* node)
{
    if (node == nullptr) return nullptr;
    CBaseNode* top = CopyOne(node);
    if (top == nullptr) return nullptr;
    brell::WalkStack<CopiedNode> stack;
    stack.Push({node, top, 0});
    while (!stack.Empty()) {
        CopiedNode& parent = stack.Top();
        if (parent.next >= parent.source->GetChildNum()) {
            stack.Pop();
            continue;
        }
        CBaseNode* child = parent.source->GetChild(parent.next++);
        CBaseNode* copy = CopyOne(child);
        if (copy == nullptr || !brell::AppendOrRelease(*parent.copy, copy)) continue;
        stack.Push({child, copy, 0});
    }
    return top;
}

void DisplayTree(CBaseNode* node)
{
    if (node == nullptr) return;
    std::string prefix;
    brell::WalkStack<ListedNode> stack;
    DisplayLine(node, prefix, 0, false);
    ListChildrenOf(stack, node, prefix, false);
    while (!stack.Empty()) {
        ListedNode& parent = stack.Top();
        const unsigned int count = parent.node->GetChildNum();
        if (parent.next >= count) {
            prefix.resize(parent.prefixLength);
            stack.Pop();
            continue;
        }
        const unsigned int index = parent.next++;
        const bool hasLaterSiblings = index + 1 < count;
        CBaseNode* child = parent.node->GetChild(index);
        DisplayLine(child, prefix, static_cast<int>(index) + 1, hasLaterSiblings);
        ListChildrenOf(stack, child, prefix, hasLaterSiblings);
    }
}

void DisplayTree(CTree& tree)
{
    DisplayTree(tree.Root());
}

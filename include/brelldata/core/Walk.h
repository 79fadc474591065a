#pragma once

#include <brelldata/Export.h>

class CBaseNode;
class CTree;

// Called at each node of a walk with the walk's value and data; non-zero stops.
using NodeCallback = int (*)(CBaseNode* node, int value, void* data);
// Asked at each node of a search with the search's counter (shared by all
// calls) and data; non-zero means found.
using NodePredicate = int (*)(CBaseNode* node, int& counter, void* data);

// Calls callback on node and its subtree, depth first, a node before its
// children. A non-zero result skips that node's subtree and its later
// siblings; with stopAll non-zero it ends the whole walk. The result is 1 when
// the walk was ended (or the callback stopped at node itself), else 0; 0 for a
// null node or callback.
BRELL_API int ForEachNode(CBaseNode* node, NodeCallback callback, int value, void* data, int stopAll);
// ForEachNode that skips the children node's IsChildEnable rejects; only node
// itself is asked, the children's subtrees are walked whole.
BRELL_API int ForEachNode2(CBaseNode* node, NodeCallback callback, int value, void* data, int stopAll);

// The first node of the subtree, depth first, a node before its children, for
// which predicate is non-zero; null when none (or for a null node or predicate).
BRELL_API CBaseNode* SearchNode(CBaseNode* node, NodePredicate predicate, int& counter, void* data);
// SearchNode that skips the children node's IsChildEnable rejects; only node
// itself is asked.
BRELL_API CBaseNode* SearchNode2(CBaseNode* node, NodePredicate predicate, int& counter, void* data);

// Predicates for SearchNode: name is a zero-terminated string. A match
// decrements counter and succeeds once it is below 0, so a counter of k finds
// the (k + 1)-th match. 0 for a null node or name.
BRELL_API int IsSameName(CBaseNode* node, int& counter, void* name);
// The same for nodes whose Type() is exactly the type name (not derived types).
BRELL_API int IsSameType(CBaseNode* node, int& counter, void* typeName);

// A deep copy made through the registry, with count 0. Null for a null node or
// an unregistered type at the top; below it, children of unregistered types
// are left out with their subtrees.
BRELL_API CBaseNode* CopyTree(CBaseNode* node);

// Lists the subtree on the diagnostic channel, one trace line per node, with
// box-drawing markers of code page 932; nothing for a null node.
BRELL_API void DisplayTree(CBaseNode* node);
// Lists the tree's root.
BRELL_API void DisplayTree(CTree& tree);

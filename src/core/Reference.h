#pragma once

#include <string>

class CBaseNode;

// Reference nodes of every class are followed by one loop: each class that
// stands for another node registers how to take one step from a node of its
// kind to the node it refers to directly.

namespace brell {

using ReferenceStep = CBaseNode* (*)(CBaseNode* node);

// Nodes whose IsKindOf accepts typeId() are reference nodes that step with
// step. Kinds are asked in the order registered; registering one again
// changes nothing.
void RegisterReferenceKind(const std::string& (*typeId)(), ReferenceStep step);

// The node finally meant by a reference node: its target, followed through
// every reference node. Null for a node that is no reference node, for a
// missing target, and for a chain that comes back to a node already on it.
CBaseNode* FinalReference(CBaseNode* node);

}  // namespace brell

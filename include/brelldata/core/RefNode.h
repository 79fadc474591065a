#pragma once

#include <brelldata/core/BaseNode.h>

// A node that stands for another node. The target is not counted: whoever
// sets it keeps it alive while the reference node may be asked for it. The
// target is not part of the node stream, so a reference node read back from
// a stream refers to nothing.
class BRELL_API CRefNode : public CBaseNode {
    BRELL_NODE_TYPE(CRefNode, CBaseNode)

public:
    CRefNode() = default;

    // "Reference node: %x" with the target's address (0 without a target).
    std::string Comment() override;
    // Takes over a reference node's target (others keep this target), then
    // the name and attributes; 0 for a null source.
    int Copy(CBaseNode* source) override;

    // Replaces the target; no counting, no checks.
    void SetRefNode(CBaseNode* target) { target_ = target; }
    // The target as set, not followed.
    CBaseNode* Target() const { return target_; }
    // The node finally meant: chains of CRefNode and CGeoRefNode are followed
    // to their end; null without a target, and for a chain that comes back
    // to a node already on it.
    CBaseNode* Reference();

private:
    CBaseNode* target_ = nullptr;
};

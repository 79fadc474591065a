#pragma once

#include <brelldata/geo/GeoBaseNode.h>

#include <vector>

class CGeoPolyShadeRefNode;

// A renderer's cache for the node a CGeoRefNode stands for. The reference
// node owns the cache it is given and calls Discard exactly once when it lets
// go of it, never touching it afterwards: Discard frees whatever the cache
// holds, the cache itself included.
class CGeoCache {
public:
    virtual void Discard() = 0;
    // For the renderer's own use; the library never calls it.
    virtual int Execute(void* context) = 0;

protected:
    ~CGeoCache() = default;
};

// Stands for another node, uncounted, and keeps a renderer's cache for it.
// Only its draw procedures reach the node it stands for: the library neither
// draws it nor counts it toward boxes.
class BRELL_API CGeoRefNode : public CGeoBaseNode {
    BRELL_NODE_TYPE(CGeoRefNode, CGeoBaseNode)
    BRELL_GEO_DRAW(CGeoRefNode, CGeoBaseNode)

public:
    CGeoRefNode();
    // Copies refer to the same node and start without a cache, so that no
    // cache is ever discarded twice.
    CGeoRefNode(const CGeoRefNode& other);
    CGeoRefNode& operator=(const CGeoRefNode& other);
    // Discards the cache; the node referred to is left alone.
    ~CGeoRefNode() override;

    // "Geo-Reference node: %x " with the address, then "[Have cache]" or "[No cache]".
    std::string Comment() override;
    // Takes a geometry reference node's reference and discards the cache,
    // then the show flag, name and attributes.
    int Copy(CBaseNode* source) override;

    // A different node discards the cache; the same node changes nothing.
    void SetRefNode(CBaseNode* node);
    // The node finally meant, through any chain of CRefNode and CGeoRefNode;
    // null without a reference, and for a chain that comes back to a node
    // already on it.
    CBaseNode* Reference();
    // Discards the held cache and owns the new one; the cache already held
    // changes nothing.
    void SetCache(CGeoCache* newCache);
    CGeoCache* GetCache() { return cache; }
    // Discards the held cache, if any.
    void ReleaseCache();

    CGeoCache* cache = nullptr;
    CBaseNode* reference = nullptr;
};

// Enables or disables each child position by a flag; positions without a
// flag of their own have defaultFlag. Flags follow positions, not children:
// callers pair child edits with InsertFlag and DeleteFlag.
class BRELL_API CGeoSwitchNode : public CGeoBaseNode {
    BRELL_NODE_TYPE(CGeoSwitchNode, CGeoBaseNode)
    BRELL_GEO_DRAW(CGeoSwitchNode, CGeoBaseNode)

public:
    CGeoSwitchNode() = default;

    // The flag at index, defaultFlag past the flags.
    int IsChildEnable(int index) override;
    // "Default: Enable < " or "Default: Disable < ", x or - per flag, " >".
    std::string Comment() override;
    // Takes a switch node's flags and default, then down the chain of bases.
    int Copy(CBaseNode* source) override;

    int Default() { return defaultFlag; }
    void SetDefault(int flag) { defaultFlag = flag; }
    // Grows the flags to the children; stores flag at i and returns the
    // previous one, or returns defaultFlag and stores nothing past the flags.
    int Enable(int i, int flag);
    // Grows the flags to the children and sets every one; 1.
    int EnableAll(int flag);
    // Sets i to flag and every other position to its opposite; 1.
    int EnableOnly(int i, int flag);
    // Grows the flags to the children, then inserts at pos when pos is not
    // past the end.
    void InsertFlag(int pos, int flag);
    // Removes the flag at pos, when there is one.
    void DeleteFlag(int pos);

    std::vector<int> flags;
    int defaultFlag = 1;

protected:
    // Appends defaultFlag until there is a flag per child; never shortens.
    void Grow();
};

// Groups a point, a line, a polygon and a normal node among its children
// (kept in that order) and enables them by the bits of mode: 1 point,
// 2 wireframe, 4 shading, 32 normal; 8 texture and 16 smooth go to the
// shaded meshes under the polygon node. Other children are always enabled.
class BRELL_API CGeoModeNode : public CGeoBaseNode {
    BRELL_NODE_TYPE(CGeoModeNode, CGeoBaseNode)
    BRELL_GEO_DRAW(CGeoModeNode, CGeoBaseNode)

    // Mode bits.
    enum : int { kPoint = 1, kWireframe = 2, kShading = 4, kTexture = 8, kSmooth = 16, kNormal = 32 };

    CGeoModeNode() = default;

    int IsChildEnable(int index) override;
    // The names of the set bits, "Point,Wireframe,Shading,Texture,Smooth,Normal"
    // in that order, or "<None>".
    std::string Comment() override;
    // Takes a mode node's mode and members (forgotten unless they are children
    // here), then down the chain of bases.
    int Copy(CBaseNode* source) override;

    // Stores the mode, returns the previous one and hands the texture and
    // smooth bits to every shaded mesh of the polygon member's subtree.
    int SetMode(int newMode);
    // Replaces the member (the old one is removed from the children and
    // released) and keeps the member order. 1 when the new node is a child
    // afterwards; a null node only removes.
    int SetPointNode(CGeoBaseNode* node);
    int SetLineNode(CGeoBaseNode* node);
    int SetPolygonNode(CGeoBaseNode* node);
    int SetNormalNode(CGeoBaseNode* node);
    // The member, null when it is no longer a child.
    CGeoBaseNode* GetPointNode();
    CGeoBaseNode* GetLineNode();
    CGeoBaseNode* GetPolygonNode();
    CGeoBaseNode* GetNormalNode();

    int mode = kWireframe;
    CGeoBaseNode* pointNode = nullptr;
    CGeoBaseNode* lineNode = nullptr;
    CGeoBaseNode* polygonNode = nullptr;
    CGeoBaseNode* normalNode = nullptr;

protected:
    // The members' last child positions (-1 when absent); members that are no
    // longer children are forgotten.
    void CheckNode(int& point, int& line, int& polygon, int& normal);

private:
    enum Member : int { kPointMember, kLineMember, kPolygonMember, kNormalMember };
    CGeoBaseNode*& MemberNode(Member member);
    CGeoBaseNode* CheckedMember(Member member);
    int SetMember(Member member, CGeoBaseNode* node);
};

// Search predicate: a CRefNode or CGeoRefNode finally meaning target (a
// CBaseNode*) counts down counter; found once it falls below 0. 0 for a null
// node or target.
BRELL_API int IsRefNode(CBaseNode* node, int& counter, void* target);

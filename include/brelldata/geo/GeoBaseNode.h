#pragma once

#include <brelldata/core/BaseNode.h>

class CTree;

// The base of every drawable node. Drawing walks a tree and calls, for each
// geometry node, the host's "DrawProc" procedures named "Draw" + type name +
// "By" + renderer and "EndDraw" + type name + "By" + renderer, falling back
// along the chain of base classes while a procedure is missing or returns 0.
// The renderer name and the context travel unread into every procedure.
// Boxes are always minimum x, y, z, then maximum x, y, z.
class BRELL_API CGeoBaseNode : public CBaseNode {
    BRELL_NODE_TYPE(CGeoBaseNode, CBaseNode)

public:
    CGeoBaseNode() = default;

    // CBaseNode's comment directly followed by "[Show]" or "[Hide]".
    std::string Comment() override;
    // Takes a geometry node's show flag, then the name and attributes; 0 for a null source.
    int Copy(CBaseNode* source) override;

    // Draws this node, its enabled children and its end; 1 at once when hidden.
    // A child that is not a geometry node is drawn with DrawTree, and here its
    // failure fails the whole; in derived classes it does not.
    virtual int Draw(const char* renderer, void* context);
    // This class's procedure's result, 0 when there is none.
    virtual int DrawThis(const char* renderer, void* context);
    virtual int EndDraw(const char* renderer, void* context);
    // 1 and the box of the node's own geometry; 0 with nothing written when it has none.
    virtual int EvalBBoxThis(double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ);
    virtual int IsShow();
    // Stores the flag and returns the previous one.
    virtual int ShowEnable(int show);

    // Merges the box of this subtree into the six values: with empty non-zero
    // they hold no box yet. Hidden nodes count, disabled children do not. 1
    // when empty is 0 afterwards.
    int EvalBBox(double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ, int& empty);

protected:
    // The "DrawProc" procedure "Draw" + typeName + "By" + renderer called with
    // (this, context): its result, 0 when there is none.
    int _DrawThis(const char* renderer, const char* typeName, void* context);
    // The same with "EndDraw".
    int _EndDraw(const char* renderer, const char* typeName, void* context);

    // Draw of the derived classes: the result starts as DrawThis's, and
    // children that are not geometry nodes don't change it.
    int DrawDerived(const char* renderer, void* context);

private:
    int DrawSubtree(const char* renderer, void* context, bool derived);

    int show_ = 1;
};

// The three drawing slots every class derived from CGeoBaseNode overrides:
// Draw, and DrawThis and EndDraw that try the class's own procedure and fall
// back to Base's. One line in the class body, one in its source file.
#define BRELL_GEO_DRAW(Class, Base)                             \
public:                                                         \
    int Draw(const char* renderer, void* context) override;     \
    int DrawThis(const char* renderer, void* context) override; \
    int EndDraw(const char* renderer, void* context) override;

#define BRELL_GEO_DRAW_DEFINE(Class, Base)                                                                  \
    int Class::Draw(const char* renderer, void* context)                                                    \
    {                                                                                                       \
        return DrawDerived(renderer, context);                                                              \
    }                                                                                                       \
    int Class::DrawThis(const char* renderer, void* context)                                                \
    {                                                                                                       \
        return _DrawThis(renderer, TypeId().c_str(), context) != 0 ? 1 : Base::DrawThis(renderer, context); \
    }                                                                                                       \
    int Class::EndDraw(const char* renderer, void* context)                                                 \
    {                                                                                                       \
        return _EndDraw(renderer, TypeId().c_str(), context) != 0 ? 1 : Base::EndDraw(renderer, context);   \
    }

// Draws any subtree: a geometry node with its own Draw; any other node passes
// drawing on to every child. 0 for a null node or when anything failed.
BRELL_API int DrawTree(CBaseNode* node, const char* renderer, void* context);
// 1 and the box of the subtree's geometry; 0 with the six values untouched when it has none.
BRELL_API int EvalBBoxForNode(CBaseNode* node, double& minX, double& minY, double& minZ, double& maxX, double& maxY,
                              double& maxZ);
// The same for the tree's root; 0 without a root.
BRELL_API int EvalBBox(CTree* tree, double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ);

#include "core/Format.h"
#include "core/Reference.h"

#include <brelldata/core/Walk.h>
#include <brelldata/geo/GroupNodes.h>
#include <brelldata/geo/MeshNodes.h>

#include <cinttypes>
#include <iterator>

BRELL_NODE_TYPE_DEFINE(CGeoRefNode, CGeoBaseNode)
BRELL_GEO_DRAW_DEFINE(CGeoRefNode, CGeoBaseNode)
BRELL_NODE_TYPE_DEFINE(CGeoSwitchNode, CGeoBaseNode)
BRELL_GEO_DRAW_DEFINE(CGeoSwitchNode, CGeoBaseNode)
BRELL_NODE_TYPE_DEFINE(CGeoModeNode, CGeoBaseNode)
BRELL_GEO_DRAW_DEFINE(CGeoModeNode, CGeoBaseNode)

namespace {

CBaseNode* GeoRefNodeStep(CBaseNode* node)
{
    return static_cast<CGeoRefNode*>(node)->reference;
}

// A chain can pass through a geometry reference node only once one exists,
// so the first one made registers the kind.
void RegisterGeoReferenceKind()
{
    static const bool registered = (brell::RegisterReferenceKind(&CGeoRefNode::TypeId, &GeoRefNodeStep), true);
    (void)registered;
}

}  // namespace

CGeoRefNode::CGeoRefNode()
{
    RegisterGeoReferenceKind();
}

CGeoRefNode::CGeoRefNode(const CGeoRefNode& other) : CGeoBaseNode(other), reference(other.reference)
{
    RegisterGeoReferenceKind();
}

CGeoRefNode& CGeoRefNode::operator=(const CGeoRefNode& other)
{
    if (this == &other) return *this;
    CGeoBaseNode::operator=(other);
    reference = other.reference;
    ReleaseCache();
    return *this;
}

CGeoRefNode::~CGeoRefNode()
{
    ReleaseCache();
}

std::string CGeoRefNode::Comment()
{
    return brell::FormatText("Geo-Reference node: %" PRIxPTR " %s", reinterpret_cast<uintptr_t>(reference),
                             cache != nullptr ? "[Have cache]" : "[No cache]");
}

int CGeoRefNode::Copy(CBaseNode* source)
{
    if (auto* other = brell::AsKindOf<CGeoRefNode>(source)) {
        reference = other->reference;
        ReleaseCache();
    }
    return CGeoBaseNode::Copy(source);
}

void CGeoRefNode::SetRefNode(CBaseNode* node)
{
    if (node == reference) return;
    reference = node;
    ReleaseCache();
}

CBaseNode* CGeoRefNode::Reference()
{
    return brell::FinalReference(this);
}

void CGeoRefNode::SetCache(CGeoCache* newCache)
{
    if (newCache == cache) return;
    ReleaseCache();
    cache = newCache;
}

// The pointer is cleared before Discard runs, so nothing reaches a discarded cache.
void CGeoRefNode::ReleaseCache()
{
    CGeoCache* held = cache;
    cache = nullptr;
    if (held != nullptr) held->Discard();
}

int CGeoSwitchNode::IsChildEnable(int index)
{
    return index >= 0 && static_cast<size_t>(index) < flags.size() ? flags[static_cast<size_t>(index)] : defaultFlag;
}

std::string CGeoSwitchNode::Comment()
{
    std::string text = defaultFlag != 0 ? "Default: Enable < " : "Default: Disable < ";
    for (int flag : flags) text += flag != 0 ? 'x' : '-';
    return text + " >";
}

int CGeoSwitchNode::Copy(CBaseNode* source)
{
    if (auto* other = brell::AsKindOf<CGeoSwitchNode>(source)) {
        defaultFlag = other->defaultFlag;
        flags = other->flags;
    }
    return CGeoBaseNode::Copy(source);
}

void CGeoSwitchNode::Grow()
{
    if (flags.size() < GetChildNum()) flags.resize(GetChildNum(), defaultFlag);
}

int CGeoSwitchNode::Enable(int i, int flag)
{
    Grow();
    if (i < 0 || static_cast<size_t>(i) >= flags.size()) return defaultFlag;
    const int previous = flags[static_cast<size_t>(i)];
    flags[static_cast<size_t>(i)] = flag;
    return previous;
}

int CGeoSwitchNode::EnableAll(int flag)
{
    Grow();
    flags.assign(flags.size(), flag);
    return 1;
}

int CGeoSwitchNode::EnableOnly(int i, int flag)
{
    EnableAll(flag == 0 ? 1 : 0);
    Enable(i, flag);
    return 1;
}

void CGeoSwitchNode::InsertFlag(int pos, int flag)
{
    Grow();
    if (pos >= 0 && static_cast<size_t>(pos) <= flags.size()) flags.insert(flags.begin() + pos, flag);
}

void CGeoSwitchNode::DeleteFlag(int pos)
{
    if (pos >= 0 && static_cast<size_t>(pos) < flags.size()) flags.erase(flags.begin() + pos);
}

namespace {

int ApplyShading(CBaseNode* node, int mode, void*)
{
    if (auto* shade = brell::AsKindOf<CGeoPolyShadeRefNode>(node)) {
        shade->smooth = (mode & CGeoModeNode::kSmooth) != 0 ? 1 : 0;
        shade->texture = (mode & CGeoModeNode::kTexture) != 0 ? 1 : 0;
    }
    return 0;
}

}  // namespace

int CGeoModeNode::IsChildEnable(int index)
{
    int positions[4];
    CheckNode(positions[0], positions[1], positions[2], positions[3]);
    const int bits[4] = {kPoint, kWireframe, kShading, kNormal};
    for (int member = 0; member < 4; ++member) {
        if (index >= 0 && positions[member] == index) return (mode & bits[member]) != 0 ? 1 : 0;
    }
    return 1;
}

std::string CGeoModeNode::Comment()
{
    static const struct {
        int bit;
        const char* name;
    } kNames[] = {{kPoint, ",Point"},     {kWireframe, ",Wireframe"}, {kShading, ",Shading"},
                  {kTexture, ",Texture"}, {kSmooth, ",Smooth"},       {kNormal, ",Normal"}};
    std::string text;
    for (const auto& name : kNames) {
        if ((mode & name.bit) != 0) text += name.name;
    }
    return text.empty() ? "<None>" : text.substr(1);
}

int CGeoModeNode::Copy(CBaseNode* source)
{
    if (auto* other = brell::AsKindOf<CGeoModeNode>(source)) {
        mode = other->mode;
        pointNode = other->pointNode;
        lineNode = other->lineNode;
        polygonNode = other->polygonNode;
        normalNode = other->normalNode;
    }
    return CGeoBaseNode::Copy(source);
}

int CGeoModeNode::SetMode(int newMode)
{
    const int previous = mode;
    mode = newMode;
    if (IsChild(polygonNode)) ForEachNode(polygonNode, ApplyShading, mode, nullptr, 0);
    return previous;
}

int CGeoModeNode::SetPointNode(CGeoBaseNode* node)
{
    return SetMember(kPointMember, node);
}

int CGeoModeNode::SetLineNode(CGeoBaseNode* node)
{
    return SetMember(kLineMember, node);
}

int CGeoModeNode::SetPolygonNode(CGeoBaseNode* node)
{
    const int result = SetMember(kPolygonMember, node);
    if (node != nullptr && node->IsKindOf(CGeoPolyShadeRefNode::TypeId())) ApplyShading(node, mode, nullptr);
    return result;
}

int CGeoModeNode::SetNormalNode(CGeoBaseNode* node)
{
    return SetMember(kNormalMember, node);
}

CGeoBaseNode* CGeoModeNode::GetPointNode()
{
    return CheckedMember(kPointMember);
}

CGeoBaseNode* CGeoModeNode::GetLineNode()
{
    return CheckedMember(kLineMember);
}

CGeoBaseNode* CGeoModeNode::GetPolygonNode()
{
    return CheckedMember(kPolygonMember);
}

CGeoBaseNode* CGeoModeNode::GetNormalNode()
{
    return CheckedMember(kNormalMember);
}

void CGeoModeNode::CheckNode(int& point, int& line, int& polygon, int& normal)
{
    int* positions[4] = {&point, &line, &polygon, &normal};
    for (int* position : positions) *position = -1;
    for (unsigned int i = 0; i < GetChildNum(); ++i) {
        for (int member = 0; member < 4; ++member) {
            if (GetChild(i) == MemberNode(static_cast<Member>(member))) *positions[member] = static_cast<int>(i);
        }
    }
    for (int member = 0; member < 4; ++member) {
        if (*positions[member] == -1) MemberNode(static_cast<Member>(member)) = nullptr;
    }
}

CGeoBaseNode* CGeoModeNode::CheckedMember(Member member)
{
    int positions[4];
    CheckNode(positions[0], positions[1], positions[2], positions[3]);
    return MemberNode(member);
}

CGeoBaseNode*& CGeoModeNode::MemberNode(Member member)
{
    switch (member) {
        case kPointMember:
            return pointNode;
        case kLineMember:
            return lineNode;
        case kPolygonMember:
            return polygonNode;
        case kNormalMember:
            break;
    }
    return normalNode;
}

// The new node is held for the duration, so replacing a member by itself
// never destroys it on the way.
int CGeoModeNode::SetMember(Member member, CGeoBaseNode* node)
{
    if (node != nullptr) node->AddRef();
    int positions[4];
    CheckNode(positions[0], positions[1], positions[2], positions[3]);
    if (positions[member] >= 0) RemoveChild(static_cast<unsigned int>(positions[member]), 1);
    MemberNode(member) = nullptr;

    CheckNode(positions[0], positions[1], positions[2], positions[3]);
    unsigned int at = GetChildNum();
    for (int later = member + 1; later < 4; ++later) {
        if (positions[later] >= 0) {
            at = static_cast<unsigned int>(positions[later]);
            break;
        }
    }
    InsertChild(at, node);
    MemberNode(member) = node;
    CheckNode(positions[0], positions[1], positions[2], positions[3]);
    if (node != nullptr) node->Release();
    return IsChild(node);
}

int IsRefNode(CBaseNode* node, int& counter, void* target)
{
    if (node == nullptr || target == nullptr) return 0;
    if (brell::FinalReference(node) != target) return 0;
    return --counter < 0 ? 1 : 0;
}

#include <brelldata/core/BaseNode.h>

#include "core/WalkStack.h"

#include <cstdio>
#include <new>

CBaseNode::CBaseNode() : attributes_(new CStandardAttribute) {}

CBaseNode::CBaseNode(const CBaseNode& other)
    : name_(other.name_), children_(other.children_), attributes_(new CStandardAttribute(*other.attributes_))
{
    for (CBaseNode* child : children_) child->AddRef();
}

CBaseNode& CBaseNode::operator=(const CBaseNode& other)
{
    if (this == &other) return *this;
    name_ = other.name_;
    *attributes_ = *other.attributes_;
    std::vector<CBaseNode*> previous = children_;
    children_ = other.children_;
    for (CBaseNode* child : children_) child->AddRef();
    for (auto child = previous.rbegin(); child != previous.rend(); ++child) (*child)->Release();
    return *this;
}

namespace {

using OwedReleases = brell::WalkStack<CBaseNode*, 32>;

// The releases owed by the destructors running on this thread. The outermost
// one carries them out one after another, so that releasing a tree of any
// depth takes no stack; a destructor inside it leaves its children's here.
thread_local OwedReleases* owedReleases = nullptr;

// Pushed first to last, so that they are released last first.
void OweReleases(std::vector<CBaseNode*>& children)
{
    for (CBaseNode* child : children) {
        try {
            owedReleases->Push(child);
        } catch (const std::bad_alloc&) {
            child->Release();
        }
    }
    children.clear();
}

}  // namespace

CBaseNode::~CBaseNode()
{
    if (owedReleases != nullptr) {
        OweReleases(children_);
    } else {
        OwedReleases owed;
        owedReleases = &owed;
        OweReleases(children_);
        while (!owed.Empty()) {
            CBaseNode* next = owed.Top();
            owed.Pop();
            next->Release();
        }
        owedReleases = nullptr;
    }
    delete attributes_;
}

const std::string& CBaseNode::TypeId()
{
    static const std::string id("CBaseNode");
    return id;
}

const std::string& CBaseNode::BaseTypeId()
{
    static const std::string none;
    return none;
}

CBaseNode* CBaseNode::Create()
{
    return brell::NewNode<CBaseNode>();
}

const std::string& CBaseNode::Type() const
{
    return TypeId();
}

int CBaseNode::IsKindOf(const std::string& name) const
{
    return name == TypeId() ? 1 : 0;
}

int CBaseNode::SizeOfByte()
{
    return attributes_->SizeOfByte();
}

int CBaseNode::Read(void* block)
{
    return attributes_->Read(block);
}

int CBaseNode::Write(void* block)
{
    return attributes_->Write(block);
}

int CBaseNode::IsChildEnable(int)
{
    return 1;
}

std::string CBaseNode::Comment()
{
    char text[32];
    std::snprintf(text, sizeof text, "Attribute: %d", AttributeNumber());
    return text;
}

int CBaseNode::Copy(CBaseNode* source)
{
    if (source == nullptr) return 0;
    name_ = source->name_;
    return attributes_->CopyAttribute(source->attributes_);
}

void CBaseNode::Release()
{
    if (--refCount_ < 1) delete this;
}

void CBaseNode::SetName(const char* name)
{
    name_ = name ? name : "";
}

int CBaseNode::ChildIndex(CBaseNode* node) const
{
    if (node == nullptr) return -1;
    for (size_t i = 0; i < children_.size(); ++i)
        if (children_[i] == node) return static_cast<int>(i);
    return -1;
}

void CBaseNode::InsertChild(unsigned int index, CBaseNode* child)
{
    if (child == nullptr || index > children_.size()) return;
    try {
        children_.insert(children_.begin() + index, child);
    } catch (const std::bad_alloc&) {
        return;
    }
    child->AddRef();
}

void CBaseNode::AppendChild(CBaseNode* child)
{
    if (child == nullptr) return;
    try {
        children_.push_back(child);
    } catch (const std::bad_alloc&) {
        return;
    }
    child->AddRef();
}

void CBaseNode::RemoveChild(unsigned int index, int release)
{
    if (index >= children_.size()) return;
    CBaseNode* child = children_[index];
    children_.erase(children_.begin() + index);
    if (release) child->Release();
}

int CBaseNode::RemoveChild(CBaseNode* child, int release)
{
    int index = ChildIndex(child);
    if (index < 0) return 0;
    RemoveChild(static_cast<unsigned int>(index), release);
    return 1;
}

void* CBaseNode::QueryAttribute(const char* name, int* size, int* type)
{
    return attributes_->QueryAttribute(name, size, type);
}

void CBaseNode::SetAttribute(const char* name, void* data, int size, int type)
{
    attributes_->SetAttribute(name, data, size, type);
}

int CBaseNode::QueryAttributeInt(const char* name, int& value)
{
    return attributes_->QueryTyped(name, VALUE_INT, &value, sizeof value);
}

int CBaseNode::QueryAttributeFloat(const char* name, float& value)
{
    return attributes_->QueryTyped(name, VALUE_FLOAT, &value, sizeof value);
}

int CBaseNode::QueryAttributeBool(const char* name, int& value)
{
    return attributes_->QueryTyped(name, VALUE_BOOL, &value, sizeof value);
}

int CBaseNode::QueryAttributeDouble(const char* name, double& value)
{
    return attributes_->QueryTyped(name, VALUE_DOUBLE, &value, sizeof value);
}

void* CBaseNode::QueryAttributeStruct(const char* name, int* size)
{
    return attributes_->QueryTypedBytes(name, VALUE_STRUCT, size);
}

const char* CBaseNode::QueryAttributeString(const char* name, int* size)
{
    return static_cast<const char*>(QueryAttributeStruct(name, size));
}

void CBaseNode::SetAttributeInt(const char* name, int value)
{
    attributes_->SetAttribute(name, &value, sizeof value, VALUE_INT);
}

void CBaseNode::SetAttributeFloat(const char* name, float value)
{
    attributes_->SetAttribute(name, &value, sizeof value, VALUE_FLOAT);
}

void CBaseNode::SetAttributeBool(const char* name, int value)
{
    attributes_->SetAttribute(name, &value, sizeof value, VALUE_BOOL);
}

void CBaseNode::SetAttributeDouble(const char* name, double value)
{
    attributes_->SetAttribute(name, &value, sizeof value, VALUE_DOUBLE);
}

void CBaseNode::SetAttributeString(const char* name, const char* text, int size)
{
    attributes_->SetAttribute(name, const_cast<char*>(text), size, VALUE_STRUCT);
}

void CBaseNode::SetAttributeStruct(const char* name, void* data, int size)
{
    attributes_->SetAttribute(name, data, size, VALUE_STRUCT);
}

void CBaseNode::DelAttribute(const char* name)
{
    attributes_->DelAttribute(name);
}

int CBaseNode::CopyAttribute(CBaseNode* source)
{
    if (source == nullptr) return 0;
    return attributes_->CopyAttribute(source->attributes_);
}

const char* CBaseNode::AttributeType()
{
    return attributes_->AttributeType();
}

int CBaseNode::AttributeNumber()
{
    return attributes_->AttributeNumber();
}

const char* CBaseNode::AttributeName(int index)
{
    return attributes_->AttributeNameChars(index);
}

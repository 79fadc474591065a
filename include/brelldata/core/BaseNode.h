#pragma once

#include <brelldata/Export.h>
#include <brelldata/core/Attribute.h>
#include <brelldata/core/NodeType.h>

#include <string>
#include <vector>

namespace brell {
struct ChildList;
}

// The base of every node: a name, ordered children (each entry holds one
// reference), an attribute store and a reference count. A new node has count
// 0; the Release that brings it below 1 destroys it. Nodes are never deleted
// from outside.
class BRELL_API CBaseNode {
public:
    CBaseNode();
    // A copy is a new node with count 0, the same name, its own copies of the
    // attributes and a reference of its own on each of the source's children.
    CBaseNode(const CBaseNode& other);
    // Takes the name, attributes and children of other; keeps its own count.
    CBaseNode& operator=(const CBaseNode& other);

    // Releases the children, last first, and destroys the attribute store. A
    // tree of any depth is released without recursion: the outermost
    // destructor carries out the releases that the ones inside it owe.
    virtual ~CBaseNode();
    virtual const std::string& Type() const;
    // 1 when name is this class's type name or one of its bases' (exact bytes).
    virtual int IsKindOf(const std::string& name) const;
    // The node's data block in a node stream: by default its attribute block.
    virtual int SizeOfByte();
    virtual int Read(void* block);
    virtual int Write(void* block);
    // Whether walks that honour it go into the child at index: 1 here.
    virtual int IsChildEnable(int index);
    // "Attribute: %d" with the number of attributes.
    virtual std::string Comment();
    // Takes the source's name and attributes; 0 and no change for a null source.
    virtual int Copy(CBaseNode* source);

    static const std::string& TypeId();
    static const std::string& BaseTypeId();
    static CBaseNode* Create();

    void AddRef() { ++refCount_; }
    void Release();
    int RefCount() const { return refCount_; }

    std::string& Name() { return name_; }
    const std::string& Name() const { return name_; }
    // A null name gives the empty name.
    void SetName(const char* name);

    unsigned int GetChildNum() const { return static_cast<unsigned int>(children_.size()); }
    // Null when index is not below the child count.
    CBaseNode* GetChild(unsigned int index) const { return index < children_.size() ? children_[index] : nullptr; }
    CBaseNode* GetFirstChild() const { return children_.empty() ? nullptr : children_.front(); }
    CBaseNode* GetLastChild() const { return children_.empty() ? nullptr : children_.back(); }
    // Index of the first entry equal to node; -1 when none (also for null).
    int ChildIndex(CBaseNode* node) const;
    int IsChild(CBaseNode* node) const { return ChildIndex(node) >= 0 ? 1 : 0; }
    // Inserts before index (index == count appends) and takes a reference;
    // nothing for a null child, an index above the count, or when the list
    // cannot grow.
    void InsertChild(unsigned int index, CBaseNode* child);
    // Appends and takes a reference; nothing for a null child or when the
    // list cannot grow.
    void AppendChild(CBaseNode* child);
    // Takes the entry out; a non-zero release flag drops its reference, zero
    // hands the reference to the caller. Nothing for an index out of range.
    void RemoveChild(unsigned int index, int release);
    // The same for the first entry equal to child; 0 when there is none.
    int RemoveChild(CBaseNode* child, int release);

    void* QueryAttribute(const char* name, int* size, int* type);
    void SetAttribute(const char* name, void* data, int size, int type);
    // Removes the attribute and frees its bytes; nothing when there is none.
    void DelAttribute(const char* name);
    // The typed queries give 1 and the value when the attribute holds that
    // type, else 0 with the value unchanged.
    int QueryAttributeInt(const char* name, int& value);
    int QueryAttributeFloat(const char* name, float& value);
    int QueryAttributeBool(const char* name, int& value);
    int QueryAttributeDouble(const char* name, double& value);
    // Type 5 values (strings and structures alike): the bytes and their size;
    // null and size 0 for one without bytes (only a read block makes one);
    // null with nothing written for any other attribute or a missing one.
    const char* QueryAttributeString(const char* name, int* size);
    void* QueryAttributeStruct(const char* name, int* size);
    void SetAttributeInt(const char* name, int value);
    void SetAttributeFloat(const char* name, float value);
    void SetAttributeBool(const char* name, int value);
    void SetAttributeDouble(const char* name, double value);
    // Stores size bytes of text, normally its length plus 1 for the zero byte.
    void SetAttributeString(const char* name, const char* text, int size);
    void SetAttributeStruct(const char* name, void* data, int size);
    // Replaces the attributes with copies of source's; 0 for a null source.
    int CopyAttribute(CBaseNode* source);
    const char* AttributeType();
    int AttributeNumber();
    // The name at index in name order, valid while that attribute exists
    // (an empty string when out of range).
    const char* AttributeName(int index);

private:
    friend struct brell::ChildList;

    int refCount_ = 0;
    std::string name_;
    std::vector<CBaseNode*> children_;
    CStandardAttribute* attributes_;
};

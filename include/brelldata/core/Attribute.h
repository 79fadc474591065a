#pragma once

#include <brelldata/Export.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

// Value type codes of attributes and configuration settings.
enum : int {
    VALUE_INT = 1,     // 4 bytes, signed 32-bit
    VALUE_FLOAT = 2,   // 4 bytes, IEEE single
    VALUE_BOOL = 3,    // 4 bytes, non-zero for true
    VALUE_DOUBLE = 4,  // 8 bytes, IEEE double
    VALUE_STRUCT = 5,  // any bytes; node attribute strings use it too
    VALUE_STRING = 6,  // zero-terminated string with its zero byte (configuration)
};

// A store of named, typed values. Names are unique, case-sensitive and ordered
// by unsigned byte value; indices and the attribute block follow that order.
class BRELL_API CBaseNodeAttribute {
public:
    virtual ~CBaseNodeAttribute();
    virtual const char* AttributeType() = 0;
    virtual void* QueryAttribute(const char* name, int* size, int* type) = 0;
    virtual int SetAttribute(const char* name, void* data, int size, int type) = 0;
    virtual void DelAttribute(const char* name) = 0;
    virtual void ClearAttribute() = 0;
    virtual int AttributeNumber() = 0;
    virtual std::string AttributeName(int index) = 0;
    virtual int CopyAttribute(CBaseNodeAttribute* source) = 0;
    virtual int SizeOfByte() = 0;
    virtual int Read(void* block) = 0;
    virtual int Write(void* block) = 0;
};

class BRELL_API CStandardAttribute : public CBaseNodeAttribute {
public:
    CStandardAttribute() = default;
    CStandardAttribute(const CStandardAttribute& other);
    CStandardAttribute& operator=(const CStandardAttribute& other);
    ~CStandardAttribute() override;

    // "Standard BaseNode Attribute".
    const char* AttributeType() override;
    // The value's own bytes (valid until it is set again, deleted or cleared),
    // with its size and type written through the non-null pointers; for a
    // missing name null, with 0 written through both.
    void* QueryAttribute(const char* name, int* size, int* type) override;
    // Stores a copy of size bytes; refuses (0, old value kept) when size is
    // below 1, type is 0 or the copy cannot be allocated.
    int SetAttribute(const char* name, void* data, int size, int type) override;
    void DelAttribute(const char* name) override;
    void ClearAttribute() override;
    int AttributeNumber() override;
    // The name at index in name order; an index of 0 or below gives the first,
    // one at or beyond the count the empty string.
    std::string AttributeName(int index) override;
    // Replaces every entry with copies of the source's (another CStandardAttribute).
    int CopyAttribute(CBaseNodeAttribute* source) override;
    // The attribute block's size; brell::kSizeTooLarge past 2 GB.
    int SizeOfByte() override;
    // Reads an attribute block; entries with an empty name, and repeated names
    // after their first, are dropped. A null block gives 0 and changes nothing.
    int Read(void* block) override;
    int Write(void* block) override;

    // Copies the value of name into value and gives 1 when it holds type with
    // at least size bytes; else 0 with value unchanged.
    int QueryTyped(const char* name, int type, void* value, int size);
    // The bytes of name when it holds type, with the size written through a
    // non-null pointer (null and size 0 for an entry without bytes); else
    // null with nothing written.
    void* QueryTypedBytes(const char* name, int type, int* size);
    // The name at index as characters owned by the store (an empty string when
    // out of range); valid while that attribute exists.
    const char* AttributeNameChars(int index);

private:
    // Values of up to eight bytes (ints, floats, bools, doubles) live inside
    // the entry, so setting and reading them costs no allocation of their own.
    class Value {
    public:
        Value() = default;
        Value(const Value&) = delete;
        Value& operator=(const Value&) = delete;
        ~Value() { Free(); }

        // Takes a copy of size bytes (none when size is below 1); false, with
        // nothing changed, when the copy cannot be allocated.
        bool Assign(const void* data, int size, int type);
        // Takes over other's bytes, leaving other empty.
        void MoveFrom(Value& other);
        unsigned char* Data() { return size_ <= 0 ? nullptr : size_ <= kInline ? inline_ : heap_; }
        int Size() const { return size_; }
        int Type() const { return type_; }

    private:
        static constexpr int kInline = 8;
        void Free();

        int size_ = 0;
        int type_ = 0;
        static_assert(sizeof(unsigned char*) <= kInline, "the heap pointer shares the inline bytes");
        union {
            unsigned char inline_[kInline] = {};
            unsigned char* heap_;
        };
    };

    struct Entry {
        Entry(std::string_view name) : name(name) {}
        Entry(Entry&& other) noexcept : name(std::move(other.name)) { value.MoveFrom(other.value); }
        Entry& operator=(Entry&& other) noexcept
        {
            name = std::move(other.name);
            value.MoveFrom(other.value);
            return *this;
        }

        std::string name;
        Value value;
    };

    // The entry of name, or the place where it would go in name order.
    Entry* LowerBound(std::string_view name);
    Entry* Find(std::string_view name);
    // A new entry of name at place; null when there is no memory for it.
    Entry* InsertAt(Entry* place, std::string_view name);
    // Room for at least count entries; false when there is no memory for it.
    bool Reserve(int count);
    Entry* begin() { return entries_; }
    Entry* end() { return entries_ + count_; }

    // Entries in name order. The first few live inside the store, so a node
    // with a handful of attributes costs no allocation for them.
    static constexpr int kInlineEntries = 4;
    Entry* entries_ = reinterpret_cast<Entry*>(inlineEntries_);
    int count_ = 0;
    int capacity_ = kInlineEntries;
    alignas(Entry) unsigned char inlineEntries_[kInlineEntries * sizeof(Entry)];
};

#include <brelldata/core/Attribute.h>
#include <brelldata/core/Block.h>

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>

namespace {

const char kEmptyName[] = "";

// Any non-zero word will do for an entry that holds data; readers ignore it.
constexpr int32_t kReservedWithData = 1;
// An entry with an empty name and no value: name length, zero byte, reserved
// word, size and type.
constexpr uint64_t kSmallestEntryBytes = 17;

}  // namespace

CBaseNodeAttribute::~CBaseNodeAttribute() = default;

bool CStandardAttribute::Value::Assign(const void* data, int size, int type)
{
    if (size <= 0) {
        Free();
    } else if (size <= kInline) {
        unsigned char bytes[kInline];  // data may point into this value
        std::memcpy(bytes, data, static_cast<size_t>(size));
        Free();
        std::memcpy(inline_, bytes, static_cast<size_t>(size));
    } else if (size == size_) {
        std::memmove(heap_, data, static_cast<size_t>(size));
    } else {
        auto* copy = static_cast<unsigned char*>(std::malloc(static_cast<size_t>(size)));
        if (copy == nullptr) return false;
        std::memcpy(copy, data, static_cast<size_t>(size));
        Free();
        heap_ = copy;
    }
    size_ = size > 0 ? size : 0;
    type_ = type;
    return true;
}

void CStandardAttribute::Value::MoveFrom(Value& other)
{
    Free();
    size_ = other.size_;
    type_ = other.type_;
    std::memcpy(inline_, other.inline_, kInline);  // the inline bytes or the heap pointer
    other.size_ = 0;
    other.type_ = 0;
}

void CStandardAttribute::Value::Free()
{
    if (size_ > kInline) std::free(heap_);
    size_ = 0;
}

CStandardAttribute::CStandardAttribute(const CStandardAttribute& other) : CBaseNodeAttribute()
{
    CopyAttribute(const_cast<CStandardAttribute*>(&other));
}

CStandardAttribute& CStandardAttribute::operator=(const CStandardAttribute& other)
{
    if (this != &other) CopyAttribute(const_cast<CStandardAttribute*>(&other));
    return *this;
}

CStandardAttribute::~CStandardAttribute() = default;

const char* CStandardAttribute::AttributeType()
{
    return "Standard BaseNode Attribute";
}

void* CStandardAttribute::QueryAttribute(const char* name, int* size, int* type)
{
    auto found = name ? entries_.find(std::string_view(name)) : entries_.end();
    Value* value = found == entries_.end() ? nullptr : &found->second;
    if (size) *size = value ? value->Size() : 0;
    if (type) *type = value ? value->Type() : 0;
    return value ? value->Data() : nullptr;
}

int CStandardAttribute::QueryTyped(const char* name, int type, void* value, int size)
{
    int storedSize = 0;
    int storedType = 0;
    void* data = QueryAttribute(name, &storedSize, &storedType);
    if (data == nullptr || storedType != type || storedSize < size) return 0;
    std::memcpy(value, data, static_cast<size_t>(size));
    return 1;
}

void* CStandardAttribute::QueryTypedBytes(const char* name, int type, int* size)
{
    int storedSize = 0;
    int storedType = 0;
    void* data = QueryAttribute(name, &storedSize, &storedType);
    if (storedType != type) return nullptr;
    if (size != nullptr) *size = storedSize;
    return data;
}

int CStandardAttribute::SetAttribute(const char* name, void* data, int size, int type)
{
    if (name == nullptr || data == nullptr || size < 1 || type == 0) return 0;
    auto found = entries_.find(std::string_view(name));
    if (found != entries_.end()) return found->second.Assign(data, size, type) ? 1 : 0;
    Value value;
    if (!value.Assign(data, size, type)) return 0;
    entries_[name].MoveFrom(value);
    return 1;
}

void CStandardAttribute::DelAttribute(const char* name)
{
    if (name == nullptr) return;
    auto found = entries_.find(std::string_view(name));
    if (found != entries_.end()) entries_.erase(found);
}

void CStandardAttribute::ClearAttribute()
{
    entries_.clear();
}

int CStandardAttribute::AttributeNumber()
{
    return static_cast<int>(entries_.size());
}

const char* CStandardAttribute::AttributeNameChars(int index)
{
    if (index < 0) index = 0;
    if (static_cast<size_t>(index) >= entries_.size()) return kEmptyName;
    return std::next(entries_.begin(), index)->first.c_str();
}

std::string CStandardAttribute::AttributeName(int index)
{
    return AttributeNameChars(index);
}

int CStandardAttribute::CopyAttribute(CBaseNodeAttribute* source)
{
    if (source == this) return 1;
    ClearAttribute();
    auto* standard = dynamic_cast<CStandardAttribute*>(source);
    if (standard == nullptr) return 1;
    for (auto& [name, value] : standard->entries_) {
        entries_[name].Assign(value.Data(), value.Size(), value.Type());
    }
    return 1;
}

int CStandardAttribute::SizeOfByte()
{
    int64_t size = 4;
    for (auto& [name, value] : entries_) size += static_cast<int64_t>(4 + name.size() + 1 + 12) + value.Size();
    return brell::BlockSize(size);
}

int CStandardAttribute::Write(void* block)
{
    if (block == nullptr) return 0;
    brell::BlockWriter out(block);
    out.Int32(static_cast<int32_t>(entries_.size()));
    for (auto& [name, value] : entries_) {
        out.String(name);
        out.Int32(value.Data() ? kReservedWithData : 0);
        out.Int32(value.Size());
        out.Int32(value.Type());
        out.Bytes(value.Data(), static_cast<size_t>(value.Size()));
    }
    return 1;
}

int CStandardAttribute::Read(void* block)
{
    if (block == nullptr) return 0;
    ClearAttribute();
    brell::BlockReader in(block);
    int32_t count = in.Int32();
    if (count > 0 && !in.Fits(static_cast<uint64_t>(count), kSmallestEntryBytes, "attributes")) return 0;
    for (int32_t i = 0; i < count; ++i) {
        std::string_view name = in.String();
        in.Skip(4);  // reserved word
        int32_t size = in.Int32();
        int32_t type = in.Int32();
        const unsigned char* data = in.Position();
        const size_t valueBytes = size > 0 ? static_cast<size_t>(size) : 0;
        if (!in.Fits(valueBytes, 1, "an attribute value")) return 0;
        in.Skip(valueBytes);
        if (name.empty()) continue;
        auto [entry, inserted] = entries_.try_emplace(std::string(name));
        if (inserted) entry->second.Assign(data, size, type);
    }
    return 1;
}

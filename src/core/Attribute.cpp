#include <brelldata/core/Attribute.h>
#include <brelldata/core/Block.h>

#include <algorithm>
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

// size bytes, 1 to 8, as one word with the bytes in memory order, gathered
// in registers: copied through a buffer, the word would be read right after
// it was stored in smaller pieces, which stalls the processor. From 4 bytes
// on, two words that may overlap cover them.
uint64_t SmallValueWord(const void* data, int size)
{
    const auto* bytes = static_cast<const unsigned char*>(data);
    uint64_t word = 0;
    if (size >= 4) {
        uint32_t low = 0;
        uint32_t high = 0;
        std::memcpy(&low, bytes, 4);
        std::memcpy(&high, bytes + size - 4, 4);
        word = low | uint64_t{high} << 8 * (size - 4);
    } else {
        for (int i = 0; i < size; ++i) word |= uint64_t{bytes[i]} << 8 * i;
    }
    return word;
}

}  // namespace

CBaseNodeAttribute::~CBaseNodeAttribute() = default;

bool CStandardAttribute::Value::Assign(const void* data, int size, int type)
{
    if (size <= 0) {
        Free();
    } else if (size <= kInline) {
        const uint64_t word = SmallValueWord(data, size);  // data may point into this value
        Free();
        std::memcpy(inline_, &word, kInline);
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

CStandardAttribute::Entry* CStandardAttribute::LowerBound(std::string_view name)
{
    return std::lower_bound(begin(), end(), name,
                            [](const Entry& entry, std::string_view key) { return entry.name < key; });
}

CStandardAttribute::Entry* CStandardAttribute::Find(std::string_view name)
{
    Entry* found = LowerBound(name);
    return found != end() && found->name == name ? found : nullptr;
}

bool CStandardAttribute::Reserve(int count)
{
    if (count <= capacity_) return true;
    auto* grown = static_cast<Entry*>(std::malloc(static_cast<size_t>(count) * sizeof(Entry)));
    if (grown == nullptr) return false;
    for (int i = 0; i < count_; ++i) {
        new (grown + i) Entry(std::move(entries_[i]));
        entries_[i].~Entry();
    }
    if (entries_ != reinterpret_cast<Entry*>(inlineEntries_)) std::free(entries_);
    entries_ = grown;
    capacity_ = count;
    return true;
}

CStandardAttribute::Entry* CStandardAttribute::InsertAt(Entry* place, std::string_view name)
{
    const int at = static_cast<int>(place - entries_);
    if (count_ == capacity_ && !Reserve(2 * capacity_)) return nullptr;
    if (at == count_) {
        new (entries_ + count_) Entry(name);
    } else {
        new (entries_ + count_) Entry(std::move(entries_[count_ - 1]));
        std::move_backward(entries_ + at, entries_ + count_ - 1, entries_ + count_);
        entries_[at].name = name;
    }
    ++count_;
    return entries_ + at;
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

CStandardAttribute::~CStandardAttribute()
{
    ClearAttribute();
    if (entries_ != reinterpret_cast<Entry*>(inlineEntries_)) std::free(entries_);
}

const char* CStandardAttribute::AttributeType()
{
    return "Standard BaseNode Attribute";
}

void* CStandardAttribute::QueryAttribute(const char* name, int* size, int* type)
{
    Entry* found = name != nullptr ? Find(name) : nullptr;
    Value* value = found == nullptr ? nullptr : &found->value;
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
    Entry* place = LowerBound(name);
    if (place != end() && place->name == name) return place->value.Assign(data, size, type) ? 1 : 0;
    Value value;
    if (!value.Assign(data, size, type)) return 0;
    Entry* entry = InsertAt(place, name);
    if (entry == nullptr) return 0;
    entry->value.MoveFrom(value);
    return 1;
}

void CStandardAttribute::DelAttribute(const char* name)
{
    Entry* found = name != nullptr ? Find(name) : nullptr;
    if (found == nullptr) return;
    std::move(found + 1, end(), found);
    entries_[--count_].~Entry();
}

void CStandardAttribute::ClearAttribute()
{
    for (Entry& entry : *this) entry.~Entry();
    count_ = 0;
}

int CStandardAttribute::AttributeNumber()
{
    return count_;
}

const char* CStandardAttribute::AttributeNameChars(int index)
{
    if (index < 0) index = 0;
    if (index >= count_) return kEmptyName;
    return entries_[index].name.c_str();
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
    if (!Reserve(standard->count_)) return 1;
    for (Entry& entry : *standard) {
        new (entries_ + count_) Entry(entry.name);
        entries_[count_++].value.Assign(entry.value.Data(), entry.value.Size(), entry.value.Type());
    }
    return 1;
}

int CStandardAttribute::SizeOfByte()
{
    int64_t size = 4;
    for (Entry& entry : *this) size += static_cast<int64_t>(4 + entry.name.size() + 1 + 12) + entry.value.Size();
    return brell::BlockSize(size);
}

int CStandardAttribute::Write(void* block)
{
    if (block == nullptr) return 0;
    brell::BlockWriter out(block);
    out.Int32(count_);
    for (Entry& entry : *this) {
        out.String(entry.name);
        out.Int32(entry.value.Data() ? kReservedWithData : 0);
        out.Int32(entry.value.Size());
        out.Int32(entry.value.Type());
        out.Bytes(entry.value.Data(), static_cast<size_t>(entry.value.Size()));
    }
    return 1;
}

int CStandardAttribute::Read(void* block)
{
    if (block == nullptr) return 0;
    if (count_ != 0) ClearAttribute();
    brell::BlockReader in(block);
    int32_t count = in.Int32();
    if (count > 0 && !in.Fits(static_cast<uint64_t>(count), kSmallestEntryBytes, "attributes")) return 0;
    if (count > capacity_ && !Reserve(count)) return 0;
    // The last entry's name as the block holds it: comparing with the copy
    // just made would read bytes still on their way to memory.
    std::string_view lastName;
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
        // Blocks hold their entries in name order, so each usually goes last.
        if (count_ == 0 || lastName < name) {
            // Room for count entries was made above.
            Entry* entry = new (end()) Entry(name);
            ++count_;
            entry->value.Assign(data, size, type);
            lastName = name;
            continue;
        }
        Entry* place = LowerBound(name);
        if (place != end() && place->name == name) continue;
        if (Entry* entry = InsertAt(place, name)) entry->value.Assign(data, size, type);
    }
    return 1;
}

#include <brelldata/shared/NameList.h>

#include <brelldata/core/Block.h>

#include <utility>

CNameList::CNameList() : end_{&end_, &end_, std::string()} {}

CNameList::CNameList(const CNameList& other) : CNameList()
{
    *this = other;
}

CNameList& CNameList::operator=(const CNameList& other)
{
    if (&other == this) return *this;
    Clear();
    for (CONST_POS pos = other.Begin(); pos != other.End(); ++pos) AppendName(pos.link_->name);
    return *this;
}

CNameList::~CNameList()
{
    Clear();
}

void CNameList::Append(const char* text)
{
    AppendName(text == nullptr ? std::string() : std::string(text));
}

void CNameList::AppendName(std::string name)
{
    Node* last = end_.prev;
    Node* node = new Node{last, &end_, std::move(name)};
    last->next = node;
    end_.prev = node;
    ++size_;
}

void CNameList::Remove(POS position)
{
    Node* node = position.link_;
    if (node == nullptr || node == &end_) return;
    node->prev->next = node->next;
    node->next->prev = node->prev;
    delete node;
    --size_;
}

void CNameList::Clear()
{
    while (size_ != 0) Remove(Begin());
}

int CNameList::SizeOfByte() const
{
    int64_t size = 4;
    for (CONST_POS pos = Begin(); pos != End(); ++pos) size += static_cast<int64_t>(pos.link_->name.size()) + 5;
    return brell::BlockSize(size);
}

int CNameList::Write(void* block) const
{
    if (block == nullptr) return 0;
    brell::BlockWriter writer(block);
    writer.UInt32(size_);
    for (CONST_POS pos = Begin(); pos != End(); ++pos) writer.String(pos.link_->name);
    return 1;
}

int CNameList::Read(void* block)
{
    Clear();
    if (block == nullptr) return 0;
    brell::BlockReader reader(block);
    const auto count = static_cast<uint32_t>(reader.Int32());
    for (uint32_t i = 0; i < count; ++i) AppendName(std::string(reader.String()));
    return 1;
}

#pragma once

#include <brelldata/Export.h>

#include <string>
#include <type_traits>

// An ordered list of names; duplicates and empty names are allowed. Its block
// is the count, then each name as length plus 1, its characters and a zero
// byte (32-bit little-endian integers, no padding).
class BRELL_API CNameList {
    // A link of the circular chain; the list's own link is the end marker.
    struct Node {
        Node* prev;
        Node* next;
        std::string name;
    };

    // A position holds one link. Steps go round through the end position:
    // forward from the last name gives End(), forward from End() the first name.
    template <class Link, class Result>
    class Position {
    public:
        Position() = default;
        // A POS converts to a CONST_POS.
        template <class OtherLink, class OtherResult,
                  class = std::enable_if_t<std::is_convertible_v<OtherLink*, Link*>>>
        Position(const Position<OtherLink, OtherResult>& other) : link_(other.link_)
        {
        }

        bool operator==(const Position& other) const { return link_ == other.link_; }
        bool operator!=(const Position& other) const { return link_ != other.link_; }
        // A default position stays put.
        Position& operator++()
        {
            if (link_ != nullptr) link_ = link_->next;
            return *this;
        }
        Position operator++(int)
        {
            Position before = *this;
            ++*this;
            return before;
        }
        Position& operator--()
        {
            if (link_ != nullptr) link_ = link_->prev;
            return *this;
        }
        Position operator--(int)
        {
            Position before = *this;
            --*this;
            return before;
        }
        // The name here; meaningful only at a position that holds a name.
        Result Value() const { return link_->name; }

    private:
        friend class CNameList;
        template <class, class>
        friend class Position;
        explicit Position(Link* link) : link_(link) {}
        Link* link_ = nullptr;
    };

public:
    using POS = Position<Node, std::string&>;
    using CONST_POS = Position<const Node, std::string>;

    CNameList();
    CNameList(const CNameList& other);
    CNameList& operator=(const CNameList& other);
    ~CNameList();

    unsigned int Size() const { return size_; }
    // The first name's position; End() when empty.
    POS Begin() { return POS(end_.next); }
    CONST_POS Begin() const { return CONST_POS(end_.next); }
    POS End() { return POS(&end_); }
    CONST_POS End() const { return CONST_POS(&end_); }

    // Appends a copy of text; a null text appends an empty name.
    void Append(const char* text);
    // Removes the name at a position of this list; End() and a default
    // position remove nothing.
    void Remove(POS position);
    void Clear();

    // The size of the list's block; brell::kSizeTooLarge past 2 GB.
    int SizeOfByte() const;
    // Writes the block (SizeOfByte() bytes): 1, or 0 for a null block.
    int Write(void* block) const;
    // Empties the list whatever the block, then reads the block's names: 1,
    // or 0 for a null block.
    int Read(void* block);

private:
    void AppendName(std::string name);

    Node end_;
    unsigned int size_ = 0;
};

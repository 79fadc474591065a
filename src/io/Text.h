#pragma once

#include <brelldata/io/FileError.h>

#include "io/FileBytes.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

// Reading text scan files: a cursor that counts lines, so that every error
// names its line, and parses numbers with std::from_chars.

namespace brell::io::detail {

// Quotes up to 24 bytes of the token text starts with, escaping bytes that are
// not printable; names the end of the line or of the file instead.
std::string DescribeToken(std::string_view text);

// Quotes up to 24 bytes of text, escaping bytes that are not printable.
std::string Quote(std::string_view text);

inline bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v';
}
inline bool IsSpace(char c)
{
    return IsBlank(c) || c == '\n';
}

class TextCursor {
public:
    TextCursor(std::string_view text, const std::string& name, uint64_t line = 1)
        : begin_(text.data()), at_(begin_), end_(begin_ + text.size()), name_(name), line_(line), tellAt_(begin_)
    {
    }

    bool AtEnd() const { return at_ == end_; }
    uint64_t Line() const { return line_; }
    const char* At() const { return at_; }
    size_t Left() const { return static_cast<size_t>(end_ - at_); }
    std::string_view Rest() const { return {at_, Left()}; }

    // Skips spaces and tabs on this line.
    void SkipBlanks()
    {
        while (at_ != end_ && IsBlank(*at_)) ++at_;
    }
    // Skips white space across lines, and with a non-zero comment character
    // also comments from it to the end of their line.
    void SkipSpace(char comment = 0)
    {
        while (at_ != end_) {
            if (*at_ == '\n') {
                NextLine();
            } else if (*at_ == comment && comment != 0) {
                SkipLine();
                continue;
            } else if (!IsBlank(*at_)) {
                return;
            }
            ++at_;
        }
    }
    // True at the end of the line or file, after blanks, or at a comment.
    bool AtLineEnd(char comment = 0)
    {
        SkipBlanks();
        return at_ == end_ || *at_ == '\n' || (comment != 0 && *at_ == comment);
    }
    // Moves past the next line break (to the end when there is none).
    void SkipLine()
    {
        const void* found = std::memchr(at_, '\n', Left());
        if (found == nullptr) {
            at_ = end_;
            return;
        }
        at_ = static_cast<const char*>(found) + 1;
        NextLine();
    }
    // Moves past c when the cursor is at it.
    bool Skip(char c)
    {
        if (at_ == end_ || *at_ != c) return false;
        ++at_;
        return true;
    }
    // The bytes up to the next white space.
    std::string_view Token()
    {
        const char* start = at_;
        while (at_ != end_ && !IsSpace(*at_)) ++at_;
        return {start, static_cast<size_t>(at_ - start)};
    }

    // Parses a number of type T at the cursor, which must be followed by white
    // space, a comment's '#', the end of the file or the terminator; a leading
    // '+' is allowed.
    // False with the cursor unmoved when there is none.
    template <class T>
    bool TryNumber(T& value, char terminator = 0)
    {
        const char* start = at_;
        if (start != end_ && *start == '+') ++start;
        auto [next, error] = std::from_chars(start, end_, value);
        if (error != std::errc() || (next != end_ && !IsSpace(*next) && *next != '#' && *next != terminator))
            return false;
        at_ = next;
        return true;
    }
    // As TryNumber; FileError expecting what when there is none.
    template <class T>
    T Number(const char* what, char terminator = 0)
    {
        T value{};
        if (!TryNumber(value, terminator)) Fail(what);
        return value;
    }

    // A position's coordinate, named by noun ("point's x"): a number, and a
    // finite one, since NaN and infinity place nothing anywhere.
    double Coordinate(const char* noun)
    {
        const char* start = at_;
        double value = 0;
        if (!TryNumber(value)) Fail(std::string("a ") + noun);
        if (!std::isfinite(value)) FailAt(start, std::string("a finite ") + noun);
        return value;
    }

    // An integer in [low, high].
    int64_t Integer(const char* what, int64_t low, int64_t high, char terminator = 0)
    {
        const char* start = at_;
        const int64_t value = Number<int64_t>(what, terminator);
        if (value < low || value > high) FailAt(start, what);
        return value;
    }

    // FileError at the cursor's line, expecting what, naming the token found.
    [[noreturn]] void Fail(const std::string& what) const
    {
        throw FileError::AtLine(name_, line_, what, DescribeToken(Rest()));
    }
    // FileError at the cursor's line, expecting what, naming the token at start.
    [[noreturn]] void FailAt(const char* start, const std::string& what) const
    {
        throw FileError::AtLine(name_, line_, what, DescribeToken({start, static_cast<size_t>(end_ - start)}));
    }
    [[noreturn]] void Fail(const std::string& what, const std::string& found) const
    {
        throw FileError::AtLine(name_, line_, what, found);
    }

private:
    // Text is parsed a megabyte at a time between two words of progress.
    static constexpr size_t kTellEvery = size_t{1} << 20;

    void NextLine()
    {
        ++line_;
        if (at_ < tellAt_) return;
        tellAt_ = at_ + std::min(kTellEvery, Left());
        ReportFileProgress(static_cast<uint64_t>(at_ - begin_), static_cast<uint64_t>(end_ - begin_));
    }

    const char* begin_;
    const char* at_;
    const char* end_;
    const std::string& name_;
    uint64_t line_;
    const char* tellAt_;
};

}  // namespace brell::io::detail

#pragma once

// Builds expected blocks byte by byte, independently of the library's own
// block writer: 32-bit integers little-endian, strings as length plus 1, the
// characters and a zero byte; camera header fields big-endian.

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace brell::test {

class Bytes {
public:
    Bytes& I32(int64_t value)
    {
        auto bits = static_cast<uint32_t>(value);
        for (int shift = 0; shift < 32; shift += 8) data_.push_back(static_cast<uint8_t>(bits >> shift));
        return *this;
    }
    Bytes& Str(const std::string& text)
    {
        I32(static_cast<int64_t>(text.size()) + 1);
        for (char c : text) data_.push_back(static_cast<uint8_t>(c));
        data_.push_back(0);
        return *this;
    }
    Bytes& Raw(std::initializer_list<uint8_t> bytes)
    {
        data_.insert(data_.end(), bytes);
        return *this;
    }
    Bytes& F64(double value)
    {
        const auto bits = Bits<uint64_t>(value);
        return I32(static_cast<uint32_t>(bits)).I32(static_cast<uint32_t>(bits >> 32));
    }
    Bytes& F32(float value) { return I32(Bits<uint32_t>(value)); }
    Bytes& Be16(uint16_t value) { return Raw({static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)}); }
    Bytes& Be32(uint32_t value) { return Be16(static_cast<uint16_t>(value >> 16)).Be16(static_cast<uint16_t>(value)); }
    Bytes& BeF32(float value) { return Be32(Bits<uint32_t>(value)); }
    Bytes& Fill(size_t count, uint8_t value)
    {
        data_.insert(data_.end(), count, value);
        return *this;
    }
    // One attribute entry: name, reserved word, size, type, then the value bytes.
    Bytes& Attribute(const std::string& name, int32_t reserved, int32_t type, const Bytes& value)
    {
        Str(name).I32(reserved).I32(static_cast<int64_t>(value.data_.size())).I32(type);
        data_.insert(data_.end(), value.data_.begin(), value.data_.end());
        return *this;
    }

    const std::vector<uint8_t>& Data() const { return data_; }
    uint8_t* Mutable() { return data_.data(); }

private:
    template <class To, class From>
    static To Bits(From value)
    {
        To bits;
        std::memcpy(&bits, &value, sizeof bits);
        return bits;
    }

    std::vector<uint8_t> data_;
};

}  // namespace brell::test

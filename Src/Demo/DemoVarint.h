#pragma once
// Unsigned numbers seven bits a byte, low bits first, the top bit saying more follow (LEB128).
// The summaries and samples that tiling steps hand each other are mostly small distances between
// sorted numbers (grid cells, feature identifiers), which take a byte or two this way.
#include <cstdint>
#include <string>

namespace KRN {

inline void AppendVarint(std::string& bytes, std::uint64_t v)
{
    for (; v >= 0x80; v >>= 7) bytes.push_back(static_cast<char>((v & 0x7F) | 0x80));
    bytes.push_back(static_cast<char>(v));
}

// Reads one number at `at` and moves past it; false (at unchanged) when the bytes end first or
// the number runs past 64 bits
inline bool ReadVarint(const std::string& bytes, size_t& at, std::uint64_t& v)
{
    v = 0;
    size_t i = at;
    for (int shift = 0; shift < 64 && i < bytes.size(); shift += 7) {
        const auto b = static_cast<unsigned char>(bytes[i++]);
        v |= static_cast<std::uint64_t>(b & 0x7F) << shift;
        if (!(b & 0x80)) {
            at = i;
            return true;
        }
    }
    return false;
}

} // namespace KRN

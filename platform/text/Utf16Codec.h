// The one UTF-16 encoder of the platform layer, with the surrogate tests that every area meets
// where 32-bit wchar_t text turns into UTF-16 and back: the registry's names, the code pages,
// the COM stand-ins' registry data.
#pragma once

#include <cstddef>

namespace TesselPlatform::Text {

constexpr char32_t kReplacementCharacter = 0xFFFD;
constexpr char32_t kMaxCodePoint = 0x10FFFF;

inline bool IsSurrogate(char32_t c)
{
    return c >= 0xD800 && c <= 0xDFFF;
}

inline bool IsHighSurrogate(char32_t c)
{
    return c >= 0xD800 && c <= 0xDBFF;
}

inline bool IsLowSurrogate(char32_t c)
{
    return c >= 0xDC00 && c <= 0xDFFF;
}

// The character that a high and a low surrogate stand for.
inline char32_t CombineSurrogates(char32_t high, char32_t low)
{
    return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

// Writes c as one or two UTF-16 units into out, which has room for two, and gives the count; 0,
// with nothing written, for a code point beyond U+10FFFF, which UTF-16 cannot carry. A lone
// surrogate is written as the unit it is, as Windows keeps it.
inline std::size_t EncodeUtf16(char32_t c, char16_t* out)
{
    if (c < 0x10000) {
        out[0] = static_cast<char16_t>(c);
        return 1;
    }
    if (c > kMaxCodePoint)
        return 0;
    out[0] = static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
    out[1] = static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    return 2;
}

} // namespace TesselPlatform::Text

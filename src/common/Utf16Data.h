// The one pair of helpers between value data, which is UTF-16LE bytes on every system, and
// std::wstring. On Windows they are plain copies; where wchar_t is 32 bits they convert.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "TesselWin32.h"

namespace Tessel::Detail {

inline bool IsHighSurrogateUnit(char32_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

inline bool IsLowSurrogateUnit(char32_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

inline char32_t Utf16UnitAt(const BYTE* data, std::size_t index)
{
    return static_cast<char32_t>(data[2 * index]) | (static_cast<char32_t>(data[2 * index + 1]) << 8);
}

// Nonzero exactly when one of the four 16-bit units in word is zero, whatever the byte order:
// four units are tested in one step, so that the common text needs no test per character.
inline std::uint64_t AnyZeroUnit(std::uint64_t word)
{
    return (word - 0x0001000100010001u) & ~word & 0x8000800080008000u;
}

// Nonzero exactly when one of the four 16-bit units in word is a surrogate.
inline std::uint64_t AnySurrogateUnit(std::uint64_t word)
{
    return AnyZeroUnit((word & 0xF800F800F800F800u) ^ 0xD800D800D800D800u);
}

inline std::uint64_t FourUnitsAt(const BYTE* data, std::size_t index)
{
    std::uint64_t word;
    std::memcpy(&word, data + 2 * index, sizeof word);
    return word;
}

// Widens units from the start that are neither surrogates nor, with stopAtNul, NUL, in whole
// blocks of four, one character each, into out. Gives how many it widened. Each block is tested
// and widened in one step from one 64-bit word, so the common text makes one pass.
inline std::size_t WidenPlainRun(const BYTE* data, std::size_t units, bool stopAtNul, wchar_t* out)
{
    std::size_t i = 0;
#if defined(__SSE2__)
    // Where the processor has SSE2 (every x86-64), eight units at a time: the read path's text
    // is widened in a handful of instructions per eight characters.
    const __m128i zero = _mm_setzero_si128();
    const __m128i surrogateMask = _mm_set1_epi16(static_cast<short>(0xF800));
    const __m128i surrogateBits = _mm_set1_epi16(static_cast<short>(0xD800));
    for (; i + 8 <= units; i += 8) {
        const __m128i eight = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + 2 * i));
        __m128i stop = _mm_cmpeq_epi16(_mm_and_si128(eight, surrogateMask), surrogateBits);
        if (stopAtNul)
            stop = _mm_or_si128(stop, _mm_cmpeq_epi16(eight, zero));
        if (_mm_movemask_epi8(stop) != 0)
            break;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_unpacklo_epi16(eight, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i + 4), _mm_unpackhi_epi16(eight, zero));
    }
#endif
    while (i + 4 <= units) {
        const std::uint64_t word = FourUnitsAt(data, i);
        if ((AnySurrogateUnit(word) | (stopAtNul ? AnyZeroUnit(word) : 0)) != 0)
            break;
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
        for (std::size_t k = 0; k < 4; ++k)
            out[i + k] = static_cast<wchar_t>(Utf16UnitAt(data, i + k));
#else
        // The data's byte order is the host's: unit k is bits 16k to 16k + 15 of the word.
        out[i] = static_cast<wchar_t>(word & 0xFFFF);
        out[i + 1] = static_cast<wchar_t>((word >> 16) & 0xFFFF);
        out[i + 2] = static_cast<wchar_t>((word >> 32) & 0xFFFF);
        out[i + 3] = static_cast<wchar_t>(word >> 48);
#endif
        i += 4;
    }
    return i;
}

// Widens units of UTF-16LE data into out, which has room for as many wchar_t, pairing
// surrogates; with stopAtNul the first NUL unit ends the text. Gives the wchar_t written. For a
// 32-bit wchar_t only.
inline std::size_t WidenUtf16(const BYTE* data, std::size_t units, bool stopAtNul, wchar_t* out)
{
    std::size_t length = 0;
    std::size_t i = 0;
    for (;;) {
        // The common text, and the read path's, is one plain run up to its last few units.
        const std::size_t plain = WidenPlainRun(data + 2 * i, units - i, stopAtNul, out + length);
        length += plain;
        i += plain;
        if (i == units)
            return length;
        char32_t unit = Utf16UnitAt(data, i);
        if (unit == 0 && stopAtNul)
            return length;
        if (IsHighSurrogateUnit(unit) && i + 1 < units && IsLowSurrogateUnit(Utf16UnitAt(data, i + 1))) {
            unit = 0x10000 + ((unit - 0xD800) << 10) + (Utf16UnitAt(data, i + 1) - 0xDC00);
            ++i;
        }
        out[length++] = static_cast<wchar_t>(unit);
        ++i;
    }
}

// Puts the text of units of UTF-16LE data, up to the first NUL unit if stopAtNul, into text,
// whose storage is reused when it has room.
inline void AssignWideFromUtf16Units(std::wstring& text, const BYTE* data, std::size_t units, bool stopAtNul)
{
    if constexpr (sizeof(wchar_t) == 2) {
        std::size_t length = 0;
        while (length < units && (!stopAtNul || data[2 * length] != 0 || data[2 * length + 1] != 0))
            ++length;
        text.assign(length, L'\0');
        if (length != 0)
            std::memcpy(text.data(), data, length * 2);
    } else {
        // The terminator that most text is stored with ends it without a test of its own.
        if (stopAtNul && units != 0 && Utf16UnitAt(data, units - 1) == 0)
            --units;
        text.assign(units, L'\0');
        text.resize(WidenUtf16(data, units, stopAtNul, text.data()));
    }
}

// The text of units of UTF-16LE data, up to the first NUL unit if stopAtNul.
inline std::wstring WideFromUtf16Units(const BYTE* data, std::size_t units, bool stopAtNul)
{
    std::wstring text;
    AssignWideFromUtf16Units(text, data, units, stopAtNul);
    return text;
}

// The text in byteCount bytes of UTF-16LE data. An odd last byte is ignored, and NULs are
// kept like any character: whether the data ends in a terminator is for the caller to decide.
// A surrogate without its partner is kept as it is, so that any data comes back unchanged
// through Utf16FromWide.
inline std::wstring WideFromUtf16(const BYTE* data, std::size_t byteCount)
{
    return WideFromUtf16Units(data, data == nullptr ? 0 : byteCount / 2, false);
}

// The text of UTF-16LE data up to its first NUL unit, or all of it: what a REG_SZ value holds,
// whether or not it was stored with its terminator.
inline std::wstring WideTextFromUtf16(const BYTE* data, std::size_t byteCount)
{
    return WideFromUtf16Units(data, data == nullptr ? 0 : byteCount / 2, true);
}

// The UTF-16 units that the text needs, without a terminator. A wchar_t beyond U+10FFFF, which
// UTF-16 can't carry, counts as the one unit of U+FFFD that stands for it.
inline std::size_t Utf16Length(std::wstring_view text)
{
    if constexpr (sizeof(wchar_t) == 2) {
        return text.size();
    } else {
        std::size_t units = text.size();
        for (const wchar_t c : text) {
            const auto value = static_cast<char32_t>(c);
            if (value >= 0x10000 && value <= 0x10FFFF)
                ++units;
        }
        return units;
    }
}

// Writes the text as UTF-16LE into out, without a terminator, and gives the bytes that it
// needs. Nothing is written when out is null or capacityBytes is less than that.
inline std::size_t WriteUtf16(std::wstring_view text, BYTE* out, std::size_t capacityBytes)
{
    const std::size_t needed = Utf16Length(text) * 2;
    if (out == nullptr || capacityBytes < needed)
        return needed;
    if constexpr (sizeof(wchar_t) == 2) {
        if (needed != 0)
            std::memcpy(out, text.data(), needed);
    } else {
        const auto put = [&out](char32_t unit) {
            *out++ = static_cast<BYTE>(unit & 0xFF);
            *out++ = static_cast<BYTE>(unit >> 8);
        };
        for (const wchar_t c : text) {
            const auto value = static_cast<char32_t>(c);
            if (value < 0x10000) {
                put(value);
            } else if (value <= 0x10FFFF) {
                put(0xD800 + ((value - 0x10000) >> 10));
                put(0xDC00 + ((value - 0x10000) & 0x3FF));
            } else {
                put(0xFFFD);
            }
        }
    }
    return needed;
}

// The text as UTF-16LE bytes, with one NUL unit behind it if withTerminator.
inline std::vector<BYTE> Utf16FromWide(std::wstring_view text, bool withTerminator)
{
    std::vector<BYTE> bytes(Utf16Length(text) * 2 + (withTerminator ? 2 : 0));
    WriteUtf16(text, bytes.data(), bytes.size());
    return bytes;
}

// The strings of list data ("a\0b\0\0"). The first empty string ends the list, as it ends a
// REG_MULTI_SZ; a last string without its NUL still counts.
inline std::vector<std::wstring> WideListFromUtf16(const BYTE* data, std::size_t byteCount)
{
    const std::wstring block = WideFromUtf16(data, byteCount);
    std::vector<std::wstring> items;
    std::size_t start = 0;
    while (start < block.size()) {
        std::size_t stop = block.find(L'\0', start);
        if (stop == std::wstring::npos)
            stop = block.size();
        if (stop == start)
            break;
        items.emplace_back(block, start, stop - start);
        start = stop + 1;
    }
    return items;
}

// List data for the strings: each with its NUL, then one more NUL. The first empty string ends
// the list, and a NUL inside a string splits it, so the data reads back as the strings that
// were stored; no strings give a single NUL.
inline std::vector<BYTE> Utf16FromWideList(const std::vector<std::wstring>& items)
{
    std::wstring block;
    for (const std::wstring& item : items) {
        if (item.empty())
            break;
        block += item;
        block += L'\0';
    }
    // A NUL inside an item or at its start ends the list there as well.
    const std::size_t emptyItem = block.empty() || block[0] == L'\0' ? 0 : block.find(std::wstring_view(L"\0\0", 2));
    if (emptyItem != std::wstring::npos)
        block.resize(emptyItem == 0 ? 0 : emptyItem + 1);
    block += L'\0';
    return Utf16FromWide(block, false);
}

} // namespace Tessel::Detail

// The one pair of helpers between value data, which is UTF-16LE bytes on every system, and
// std::wstring. On Windows they are plain copies; where wchar_t is 32 bits they convert.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

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

// The text in byteCount bytes of UTF-16LE data. An odd last byte is ignored, and NULs are
// kept like any character: whether the data ends in a terminator is for the caller to decide.
// A surrogate without its partner is kept as it is, so that any data comes back unchanged
// through Utf16FromWide.
inline std::wstring WideFromUtf16(const BYTE* data, std::size_t byteCount)
{
    const std::size_t units = data == nullptr ? 0 : byteCount / 2;
    std::wstring text;
    if (units == 0)
        return text;
    if constexpr (sizeof(wchar_t) == 2) {
        text.resize(units);
        std::memcpy(text.data(), data, units * 2);
    } else {
        text.resize(units);
        std::size_t length = 0;
        for (std::size_t i = 0; i < units; ++i) {
            char32_t unit = Utf16UnitAt(data, i);
            if (IsHighSurrogateUnit(unit) && i + 1 < units && IsLowSurrogateUnit(Utf16UnitAt(data, i + 1))) {
                unit = 0x10000 + ((unit - 0xD800) << 10) + (Utf16UnitAt(data, i + 1) - 0xDC00);
                ++i;
            }
            text[length++] = static_cast<wchar_t>(unit);
        }
        text.resize(length);
    }
    return text;
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

// Names as the store keeps them: UTF-16 text, the case-folded sort key that orders and matches
// sub-keys, and the conversions between UTF-16 and the caller's 32-bit wchar_t.
#pragma once

#include <cstddef>
#include <string>

namespace TesselPlatform::Registry {

using Utf16 = std::u16string;

// The longest key name component and value name, in UTF-16 units.
constexpr std::size_t MaxKeyNameUnits = 255;
constexpr std::size_t MaxValueNameUnits = 16383;

// Converts a caller's text to UTF-16. Fails only on a code point beyond U+10FFFF, which no
// UTF-16 text can hold; a lone surrogate passes through as the unit it is, as on Windows.
bool ToUtf16(const wchar_t* text, Utf16& out);
// The same for the first length characters of text.
bool ToUtf16(const wchar_t* text, std::size_t length, Utf16& out);

// The simple upper-case mapping of one UTF-16 unit. It comes from a table compiled into the
// store, so that every process agrees on it whatever its locale.
char16_t UpperCaseUnit(char16_t unit);

// The sort and match key of a name: its units upper-cased and written big-endian, so that
// memcmp order is the order of the upper-cased units compared as numbers.
std::string FoldKey(const Utf16& name);
// The same into out, whose buffer is kept: a caller that folds name after name allocates once.
void FoldKey(const Utf16& name, std::string& out);

// The UTF-16LE bytes of a name, as the database stores names, and back.
std::string ToStoredBytes(const Utf16& name);
Utf16 FromStoredBytes(const void* bytes, std::size_t size);

// How many wchar_t a name takes (surrogate pairs become one), without the terminator.
std::size_t WideLength(const Utf16& name);

// Writes the name and a terminator; the buffer must hold WideLength(name) + 1 units.
void CopyToWide(const Utf16& name, wchar_t* buffer);

} // namespace TesselPlatform::Registry

// A registry value as tessel-reg handles it, the names of the value types, and the conversions
// between value data (UTF-16LE bytes on every system) and the text users type and read.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "TesselWin32.h"

namespace Tessel::Reg {

struct RegistryValue {
    std::wstring Name; // empty for the default value
    DWORD Type = REG_NONE;
    std::vector<BYTE> Data;
};

// What the tool shows for a value without a name.
inline constexpr wchar_t kDefaultValueName[] = L"(Default)";
// What separates REG_MULTI_SZ items on the command line and in output unless /s says otherwise.
inline constexpr wchar_t kMultiStringSeparator[] = L"\\0";

// A value's name as messages and output show it.
inline std::wstring DisplayName(const std::wstring& valueName)
{
    return valueName.empty() ? std::wstring(kDefaultValueName) : valueName;
}

// The name of a type ("REG_DWORD"); types without a name show as REG_UNKNOWN.
std::wstring TypeName(DWORD type);
// A type by any of its names (REG_DWORD_LITTLE_ENDIAN is REG_DWORD), case-insensitively.
std::optional<DWORD> TypeFromName(std::wstring_view name);

// The data as query shows it: strings and links as text, numbers as 0x hex, everything else (and
// numbers of the wrong size) as upper-case hex pairs. Multi-string items are joined by separator.
std::wstring FormatData(DWORD type, const std::vector<BYTE>& data,
                        std::wstring_view separator = kMultiStringSeparator);

// The bytes that add stores for text typed after /d. Numbers take decimal or 0x hex and
// REG_DWORD_BIG_ENDIAN is stored big-endian; binary, REG_NONE and the resource types take hex
// pairs; multi-strings are split at separator. Returns nothing when the text doesn't fit the type.
std::optional<std::vector<BYTE>> ParseData(DWORD type, std::wstring_view text,
                                           std::wstring_view separator = kMultiStringSeparator);

// Text as UTF-16LE bytes, without a terminator. On systems with 32-bit wchar_t, characters
// beyond the BMP become surrogate pairs.
std::vector<BYTE> Utf16FromText(std::wstring_view text);
// UTF-16LE bytes as text, all of them, embedded NULs included; an odd last byte is dropped.
std::wstring TextFromUtf16(const std::vector<BYTE>& data);

} // namespace Tessel::Reg

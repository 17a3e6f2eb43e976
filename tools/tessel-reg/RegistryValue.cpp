// Value types by name, and value data to and from the text of the command line.

#include "RegistryValue.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "CommandLine.h"
#include "common/Utf16Data.h"

namespace Tessel::Reg {
namespace {

struct TypeEntry {
    DWORD Type;
    const wchar_t* Name;
    bool Writable; // add accepts it after /t
};

const TypeEntry kTypes[] = {
    {REG_NONE, L"REG_NONE", true},
    {REG_SZ, L"REG_SZ", true},
    {REG_EXPAND_SZ, L"REG_EXPAND_SZ", true},
    {REG_BINARY, L"REG_BINARY", true},
    {REG_DWORD, L"REG_DWORD", true},
    {REG_DWORD_BIG_ENDIAN, L"REG_DWORD_BIG_ENDIAN", false},
    {REG_LINK, L"REG_LINK", false},
    {REG_MULTI_SZ, L"REG_MULTI_SZ", true},
    {REG_RESOURCE_LIST, L"REG_RESOURCE_LIST", false},
    {REG_FULL_RESOURCE_DESCRIPTOR, L"REG_FULL_RESOURCE_DESCRIPTOR", false},
    {REG_RESOURCE_REQUIREMENTS_LIST, L"REG_RESOURCE_REQUIREMENTS_LIST", false},
    {REG_QWORD, L"REG_QWORD", true},
};

const wchar_t kHexDigits[] = L"0123456789ABCDEF";

std::wstring LowerHexNumber(std::uint64_t value)
{
    std::wstring digits;
    do {
        digits.insert(digits.begin(), static_cast<wchar_t>(L"0123456789abcdef"[value & 0xF]));
        value >>= 4;
    } while (value != 0);
    return L"0x" + digits;
}

std::wstring HexPairs(const std::vector<BYTE>& data)
{
    std::wstring text;
    text.reserve(data.size() * 2);
    for (BYTE b : data) {
        text += kHexDigits[b >> 4];
        text += kHexDigits[b & 0xF];
    }
    return text;
}

int HexDigitValue(wchar_t c)
{
    if (c >= L'0' && c <= L'9')
        return c - L'0';
    if (c >= L'a' && c <= L'f')
        return c - L'a' + 10;
    if (c >= L'A' && c <= L'F')
        return c - L'A' + 10;
    return -1;
}

// Decimal or 0x hex, nothing else: no sign, no spaces, no suffix, nothing above max.
std::optional<std::uint64_t> ParseNumber(std::wstring_view text, std::uint64_t max)
{
    unsigned base = 10;
    if (text.size() > 2 && text[0] == L'0' && (text[1] == L'x' || text[1] == L'X')) {
        base = 16;
        text.remove_prefix(2);
    }
    if (text.empty())
        return std::nullopt;
    std::uint64_t value = 0;
    for (wchar_t c : text) {
        const int digit = HexDigitValue(c);
        if (digit < 0 || static_cast<unsigned>(digit) >= base)
            return std::nullopt;
        if (value > (max - static_cast<unsigned>(digit)) / base)
            return std::nullopt;
        value = value * base + static_cast<unsigned>(digit);
    }
    return value;
}

std::uint64_t LittleEndian(const std::vector<BYTE>& data)
{
    std::uint64_t value = 0;
    for (size_t i = data.size(); i-- > 0;)
        value = (value << 8) | data[i];
    return value;
}

std::vector<BYTE> LittleEndianBytes(std::uint64_t value, size_t size)
{
    std::vector<BYTE> bytes(size);
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<BYTE>(value >> (8 * i));
    return bytes;
}

void AppendTerminator(std::vector<BYTE>& bytes)
{
    bytes.push_back(0);
    bytes.push_back(0);
}

std::optional<std::vector<BYTE>> ParseMultiString(std::wstring_view text, std::wstring_view separator)
{
    std::vector<BYTE> bytes;
    if (separator.empty())
        return std::nullopt;
    while (!text.empty()) {
        const size_t end = text.find(separator);
        const std::wstring_view item = text.substr(0, end);
        // The registry cannot hold an empty item: it would end the list early.
        if (item.empty())
            return std::nullopt;
        const std::vector<BYTE> encoded = Utf16FromText(item);
        bytes.insert(bytes.end(), encoded.begin(), encoded.end());
        AppendTerminator(bytes);
        text.remove_prefix(end == std::wstring_view::npos ? text.size() : end + separator.size());
    }
    // A single terminator when there are no items at all: an empty list.
    AppendTerminator(bytes);
    return bytes;
}

} // namespace

std::wstring TypeName(DWORD type)
{
    for (const TypeEntry& entry : kTypes) {
        if (entry.Type == type)
            return entry.Name;
    }
    return L"REG_UNKNOWN";
}

std::optional<DWORD> TypeFromName(std::wstring_view name)
{
    for (const TypeEntry& entry : kTypes) {
        if (entry.Writable && EqualsIgnoringCase(name, entry.Name))
            return entry.Type;
    }
    return std::nullopt;
}

std::wstring FormatData(DWORD type, const std::vector<BYTE>& data)
{
    switch (type) {
    case REG_SZ:
    case REG_EXPAND_SZ: {
        // Strings need not be stored with their terminator, nor end at the first one.
        const std::wstring text = TextFromUtf16(data);
        return text.substr(0, text.find(L'\0'));
    }
    case REG_MULTI_SZ: {
        const std::wstring text = TextFromUtf16(data);
        std::wstring joined;
        size_t start = 0;
        while (start < text.size()) {
            const size_t end = std::min(text.find(L'\0', start), text.size());
            if (end == start)
                break; // the empty item that ends the list
            if (!joined.empty())
                joined += kMultiStringSeparator;
            joined.append(text, start, end - start);
            start = end + 1;
        }
        return joined;
    }
    case REG_DWORD:
        if (data.size() == sizeof(DWORD))
            return LowerHexNumber(LittleEndian(data));
        break;
    case REG_DWORD_BIG_ENDIAN:
        if (data.size() == sizeof(DWORD))
            return LowerHexNumber(LittleEndian(std::vector<BYTE>(data.rbegin(), data.rend())));
        break;
    case REG_QWORD:
        if (data.size() == sizeof(ULONGLONG))
            return LowerHexNumber(LittleEndian(data));
        break;
    default:
        break;
    }
    return HexPairs(data);
}

std::optional<std::vector<BYTE>> ParseData(DWORD type, std::wstring_view text, std::wstring_view separator)
{
    switch (type) {
    case REG_SZ:
    case REG_EXPAND_SZ: {
        std::vector<BYTE> bytes = Utf16FromText(text);
        AppendTerminator(bytes);
        return bytes;
    }
    case REG_MULTI_SZ:
        return ParseMultiString(text, separator);
    case REG_DWORD:
    case REG_QWORD: {
        const bool isDword = type == REG_DWORD;
        // No data at all stores zero, as the administrator's tool does.
        if (text.empty())
            return LittleEndianBytes(0, isDword ? sizeof(DWORD) : sizeof(ULONGLONG));
        const auto value = ParseNumber(text, isDword ? std::numeric_limits<DWORD>::max()
                                                     : std::numeric_limits<std::uint64_t>::max());
        if (!value)
            return std::nullopt;
        return LittleEndianBytes(*value, isDword ? sizeof(DWORD) : sizeof(ULONGLONG));
    }
    case REG_BINARY:
    case REG_NONE: {
        if (text.size() % 2 != 0)
            return std::nullopt;
        std::vector<BYTE> bytes;
        for (size_t i = 0; i < text.size(); i += 2) {
            const int high = HexDigitValue(text[i]);
            const int low = HexDigitValue(text[i + 1]);
            if (high < 0 || low < 0)
                return std::nullopt;
            bytes.push_back(static_cast<BYTE>(high * 16 + low));
        }
        return bytes;
    }
    default:
        return std::nullopt;
    }
}

std::vector<BYTE> Utf16FromText(std::wstring_view text)
{
    return Detail::Utf16FromWide(text, false);
}

std::wstring TextFromUtf16(const std::vector<BYTE>& data)
{
    return Detail::WideFromUtf16(data.data(), data.size());
}

} // namespace Tessel::Reg

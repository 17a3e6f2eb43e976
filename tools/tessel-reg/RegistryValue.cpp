// Value types by name, and value data to and from the text of the command line.

#include "RegistryValue.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "AsciiText.h"
#include "common/DigitValue.h"
#include "common/Utf16Data.h"

namespace Tessel::Reg {
namespace {

// How the command line writes a type's data, and how query shows it.
enum class DataForm { Text, MultiText, Number32, Number32BigEndian, Number64, HexPairs };

struct TypeEntry {
    DWORD Type;
    const wchar_t* Name;
    DataForm Form;
};

// The first entry of a type gives its name; later ones are other names add accepts for it.
const TypeEntry kTypes[] = {
    {REG_NONE, L"REG_NONE", DataForm::HexPairs},
    {REG_SZ, L"REG_SZ", DataForm::Text},
    {REG_EXPAND_SZ, L"REG_EXPAND_SZ", DataForm::Text},
    {REG_BINARY, L"REG_BINARY", DataForm::HexPairs},
    {REG_DWORD, L"REG_DWORD", DataForm::Number32},
    {REG_DWORD_LITTLE_ENDIAN, L"REG_DWORD_LITTLE_ENDIAN", DataForm::Number32},
    {REG_DWORD_BIG_ENDIAN, L"REG_DWORD_BIG_ENDIAN", DataForm::Number32BigEndian},
    {REG_LINK, L"REG_LINK", DataForm::Text},
    {REG_MULTI_SZ, L"REG_MULTI_SZ", DataForm::MultiText},
    {REG_RESOURCE_LIST, L"REG_RESOURCE_LIST", DataForm::HexPairs},
    {REG_FULL_RESOURCE_DESCRIPTOR, L"REG_FULL_RESOURCE_DESCRIPTOR", DataForm::HexPairs},
    {REG_RESOURCE_REQUIREMENTS_LIST, L"REG_RESOURCE_REQUIREMENTS_LIST", DataForm::HexPairs},
    {REG_QWORD, L"REG_QWORD", DataForm::Number64},
    {REG_QWORD_LITTLE_ENDIAN, L"REG_QWORD_LITTLE_ENDIAN", DataForm::Number64},
};

const TypeEntry* FindType(DWORD type)
{
    for (const TypeEntry& entry : kTypes) {
        if (entry.Type == type)
            return &entry;
    }
    return nullptr;
}

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
        const int digit = Detail::DigitValue(c);
        if (static_cast<unsigned>(digit) >= base)
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

std::optional<std::vector<BYTE>> ParseHexPairs(std::wstring_view text)
{
    if (text.size() % 2 != 0)
        return std::nullopt;
    std::vector<BYTE> bytes;
    bytes.reserve(text.size() / 2);
    for (size_t i = 0; i < text.size(); i += 2) {
        const int high = Detail::DigitValue(text[i]);
        const int low = Detail::DigitValue(text[i + 1]);
        if (high >= 16 || low >= 16)
            return std::nullopt;
        bytes.push_back(static_cast<BYTE>(high * 16 + low));
    }
    return bytes;
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
    const TypeEntry* entry = FindType(type);
    return entry != nullptr ? entry->Name : L"REG_UNKNOWN";
}

std::optional<DWORD> TypeFromName(std::wstring_view name)
{
    for (const TypeEntry& entry : kTypes) {
        if (EqualsIgnoringCase(name, entry.Name))
            return entry.Type;
    }
    return std::nullopt;
}

std::wstring FormatData(DWORD type, const std::vector<BYTE>& data, std::wstring_view separator)
{
    const TypeEntry* entry = FindType(type);
    switch (entry != nullptr ? entry->Form : DataForm::HexPairs) {
    case DataForm::Text: {
        // Strings need not be stored with their terminator, nor end at the first one.
        const std::wstring text = TextFromUtf16(data);
        return text.substr(0, text.find(L'\0'));
    }
    case DataForm::MultiText: {
        std::wstring joined;
        bool first = true;
        for (const std::wstring& item : Detail::WideListFromUtf16(data.data(), data.size())) {
            if (!first)
                joined += separator;
            joined += item;
            first = false;
        }
        return joined;
    }
    case DataForm::Number32:
        if (data.size() == sizeof(DWORD))
            return LowerHexNumber(LittleEndian(data));
        break;
    case DataForm::Number32BigEndian:
        if (data.size() == sizeof(DWORD))
            return LowerHexNumber(LittleEndian(std::vector<BYTE>(data.rbegin(), data.rend())));
        break;
    case DataForm::Number64:
        if (data.size() == sizeof(ULONGLONG))
            return LowerHexNumber(LittleEndian(data));
        break;
    case DataForm::HexPairs:
        break;
    }
    return HexPairs(data);
}

std::optional<std::vector<BYTE>> ParseData(DWORD type, std::wstring_view text, std::wstring_view separator)
{
    const TypeEntry* entry = FindType(type);
    if (entry == nullptr)
        return std::nullopt;
    switch (entry->Form) {
    case DataForm::Text: {
        std::vector<BYTE> bytes = Utf16FromText(text);
        AppendTerminator(bytes);
        return bytes;
    }
    case DataForm::MultiText:
        return ParseMultiString(text, separator);
    case DataForm::Number32:
    case DataForm::Number32BigEndian:
    case DataForm::Number64: {
        const bool isQword = entry->Form == DataForm::Number64;
        const size_t size = isQword ? sizeof(ULONGLONG) : sizeof(DWORD);
        // No data at all stores zero, as the administrator's tool does.
        const auto value = text.empty() ? std::optional<std::uint64_t>(0)
                                         : ParseNumber(text, isQword ? std::numeric_limits<std::uint64_t>::max()
                                                                     : std::numeric_limits<DWORD>::max());
        if (!value)
            return std::nullopt;
        std::vector<BYTE> bytes = LittleEndianBytes(*value, size);
        if (entry->Form == DataForm::Number32BigEndian)
            std::reverse(bytes.begin(), bytes.end());
        return bytes;
    }
    case DataForm::HexPairs:
        return ParseHexPairs(text);
    }
    return std::nullopt;
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

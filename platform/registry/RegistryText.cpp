// UTF-16 conversion and case folding for registry names. Implementation here must contain only
// generic UNIX code: no locale is consulted, so every process folds names the same way.

#include "registry/RegistryText.h"

#include <cstdint>

#include "text/Utf16Codec.h"

namespace TesselPlatform::Registry {

namespace {

struct UpperCaseRun {
    std::uint16_t first;
    std::uint16_t count;
    std::uint16_t stride;
    std::int32_t delta;
};

constexpr UpperCaseRun kUpperCaseRuns[] = {
#include "registry/UpperCaseRuns.inc"
};

// A flat table costs 128 KiB once and makes folding one load per unit, which the read path
// needs: every lookup folds its name.
struct UpperCaseTable {
    char16_t units[0x10000];
    UpperCaseTable()
    {
        for (std::uint32_t unit = 0; unit < 0x10000; ++unit)
            units[unit] = static_cast<char16_t>(unit);
        for (const UpperCaseRun& run : kUpperCaseRuns) {
            for (std::uint32_t i = 0; i < run.count; ++i) {
                const std::uint32_t unit = run.first + i * run.stride;
                units[unit] = static_cast<char16_t>(static_cast<std::int32_t>(unit) + run.delta);
            }
        }
    }
};

const UpperCaseTable& Table()
{
    static const UpperCaseTable* table = new UpperCaseTable();
    return *table;
}

bool IsHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

} // namespace

bool ToUtf16(const wchar_t* text, Utf16& out)
{
    return ToUtf16(text, std::char_traits<wchar_t>::length(text), out);
}

bool ToUtf16(const wchar_t* text, std::size_t length, Utf16& out)
{
    out.clear();
    char16_t units[2];
    for (const wchar_t* p = text; p != text + length; ++p) {
        const std::size_t count = TesselPlatform::Text::EncodeUtf16(static_cast<char32_t>(*p), units);
        if (count == 0)
            return false;
        out.append(units, count);
    }
    return true;
}

char16_t UpperCaseUnit(char16_t unit)
{
    return Table().units[unit];
}

std::string FoldKey(const Utf16& name)
{
    std::string key;
    FoldKey(name, key);
    return key;
}

void FoldKey(const Utf16& name, std::string& out)
{
    const UpperCaseTable& table = Table();
    out.resize(name.size() * 2);
    for (std::size_t i = 0; i < name.size(); ++i) {
        const char16_t upper = table.units[name[i]];
        out[2 * i] = static_cast<char>(upper >> 8);
        out[2 * i + 1] = static_cast<char>(upper & 0xFF);
    }
}

std::string ToStoredBytes(const Utf16& name)
{
    std::string bytes(name.size() * 2, '\0');
    for (std::size_t i = 0; i < name.size(); ++i) {
        bytes[2 * i] = static_cast<char>(name[i] & 0xFF);
        bytes[2 * i + 1] = static_cast<char>(name[i] >> 8);
    }
    return bytes;
}

Utf16 FromStoredBytes(const void* bytes, std::size_t size)
{
    const unsigned char* p = static_cast<const unsigned char*>(bytes);
    Utf16 name(size / 2, u'\0');
    for (std::size_t i = 0; i < name.size(); ++i)
        name[i] = static_cast<char16_t>(p[2 * i] | (p[2 * i + 1] << 8));
    return name;
}

std::size_t WideLength(const Utf16& name)
{
    std::size_t length = 0;
    for (std::size_t i = 0; i < name.size(); ++i, ++length) {
        if (IsHighSurrogate(name[i]) && i + 1 < name.size() && IsLowSurrogate(name[i + 1]))
            ++i;
    }
    return length;
}

void CopyToWide(const Utf16& name, wchar_t* buffer)
{
    std::size_t out = 0;
    for (std::size_t i = 0; i < name.size(); ++i) {
        std::uint32_t code = name[i];
        if (IsHighSurrogate(name[i]) && i + 1 < name.size() && IsLowSurrogate(name[i + 1])) {
            code = 0x10000 + ((code - 0xD800) << 10) + (name[i + 1] - 0xDC00);
            ++i;
        }
        buffer[out++] = static_cast<wchar_t>(code);
    }
    buffer[out] = L'\0';
}

} // namespace TesselPlatform::Registry

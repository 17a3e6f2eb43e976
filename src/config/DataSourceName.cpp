// Splitting and classifying data-source names, and forcing a registry view.

#include "config/DataSourceName.h"

#include <cwctype>

namespace Tessel::Detail {

namespace {

constexpr const wchar_t* kWhiteSpace = L" \f\n\r\t\v";

struct SchemeWord {
    const wchar_t* word;
    DataSourceKind kind;
};

constexpr SchemeWord kSchemeWords[] = {
    {L"registry", DataSourceKind::Registry},
    {L"xml", DataSourceKind::Xml},
    {L"database", DataSourceKind::Database},
};

} // namespace

DataSourceKind SplitDataSourceName(const std::wstring& name, std::wstring& location)
{
    const std::wstring::size_type colon = name.find(L':');
    if (colon == std::wstring::npos) {
        location = name;
        return DataSourceKind::Registry;
    }
    location = name.substr(colon + 1);
    return ParseDataSourceKind(name.substr(0, colon));
}

DataSourceKind ParseDataSourceKind(const std::wstring& schemeWord)
{
    std::wstring folded = Trim(schemeWord);
    for (wchar_t& c : folded)
        c = static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(c)));
    for (const SchemeWord& entry : kSchemeWords) {
        if (folded == entry.word)
            return entry.kind;
    }
    return DataSourceKind::Unknown;
}

std::wstring Trim(const std::wstring& text)
{
    const std::wstring::size_type first = text.find_first_not_of(kWhiteSpace);
    if (first == std::wstring::npos)
        return std::wstring();
    const std::wstring::size_type last = text.find_last_not_of(kWhiteSpace);
    return text.substr(first, last - first + 1);
}

void ForcePlatformView(int bitness, ULONG& regOverride)
{
    if (bitness == 32)
        regOverride = KEY_WOW64_32KEY;
    else if (bitness == 64)
        regOverride = KEY_WOW64_64KEY;
}

} // namespace Tessel::Detail

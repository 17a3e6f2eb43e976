// Formatting of query output.

#include "QueryReport.h"

namespace Tessel::Reg {
namespace {

constexpr wchar_t kColumnGap[] = L"    ";

} // namespace

std::wstring FormatValueLine(const RegistryValue& value)
{
    std::wstring line = kColumnGap;
    line += DisplayName(value.Name);
    line += kColumnGap;
    line += TypeName(value.Type);
    line += kColumnGap;
    line += FormatData(value.Type, value.Data);
    line += L'\n';
    return line;
}

std::wstring FormatUnsetDefaultLine()
{
    return std::wstring(kColumnGap) + kDefaultValueName + kColumnGap + L"REG_SZ" + kColumnGap + L"(value not set)\n";
}

std::wstring FormatKeyBlock(const std::wstring& keyName, const std::vector<RegistryValue>& values)
{
    std::wstring text = L"\n" + keyName + L"\n";
    for (const RegistryValue& value : values)
        text += FormatValueLine(value);
    return text;
}

std::wstring FormatSubKeyList(const std::wstring& keyName, const std::vector<std::wstring>& subKeyNames)
{
    std::wstring text = L"\n";
    for (const std::wstring& name : subKeyNames)
        text += keyName + L'\\' + name + L'\n';
    return text;
}

std::wstring FormatSearchEnd(size_t matches)
{
    return L"End of search: " + std::to_wstring(matches) + L" match(es) found.\n";
}

} // namespace Tessel::Reg

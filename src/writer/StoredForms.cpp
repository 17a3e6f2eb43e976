// Building the stored texts of the typed writes.

#include "writer/StoredForms.h"

#include <cwchar>
#include <sstream>

namespace Tessel::Detail {

namespace {

std::wstring ItemText(int item)
{
    return std::to_wstring(item);
}

std::wstring ItemText(unsigned int item)
{
    return std::to_wstring(item);
}

std::wstring ItemText(double item)
{
    return FormatDouble(item);
}

std::wstring ItemText(bool item)
{
    return item ? kTrueText : kFalseText;
}

template <class Items>
std::wstring Join(const Items& items, const std::wstring& separator)
{
    std::wstring text;
    bool first = true;
    for (const auto item : items) {
        if (!first)
            text += separator;
        first = false;
        text += ItemText(item);
    }
    return text;
}

} // namespace

std::wstring FormatDouble(double value)
{
    // A fresh stream each time, so that no state of an earlier number carries over.
    std::wostringstream stream;
    stream.precision(15);
    stream << value;
    return stream.str();
}

std::wstring JoinList(const std::vector<int>& items, const std::wstring& separator)
{
    return Join(items, separator);
}

std::wstring JoinList(const std::vector<unsigned int>& items, const std::wstring& separator)
{
    return Join(items, separator);
}

std::wstring JoinList(const std::vector<double>& items, const std::wstring& separator)
{
    return Join(items, separator);
}

std::wstring JoinList(const std::vector<bool>& items, const std::wstring& separator)
{
    return Join(items, separator);
}

std::vector<wchar_t> BuildMultiString(const std::vector<std::wstring>& items)
{
    std::size_t total = 1;
    for (const std::wstring& item : items)
        total += item.size() + 1;
    std::vector<wchar_t> block(total, L'\0');
    std::size_t place = 0;
    for (const std::wstring& item : items) {
        item.copy(block.data() + place, item.size());
        place += item.size() + 1;
    }
    return block;
}

std::size_t StoredMultiStringLength(const std::vector<wchar_t>& block)
{
    // The block always ends in two NULs (one for an empty list), so the walk stops inside it.
    std::size_t count = 0;
    while (block[count] != L'\0')
        count += std::wcslen(block.data() + count) + 1;
    return count + 1;
}

} // namespace Tessel::Detail

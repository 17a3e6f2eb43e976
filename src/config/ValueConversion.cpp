// The conversions from stored text to values, with the exact texts of their failures, and the
// splitting and trimming of list items.

#include <cerrno>
#include <cstddef>
#include <cwchar>
#include <cwctype>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "Tessel/Exceptions.h"
#include "common/Long32.h"
#include "config/DataSourceName.h"
#include "config/RegistryDataset.h"

namespace Tessel::Detail {

namespace {

// The system code page, as the narrow text of an exception was made with the thread's one.
std::wstring WidenSystemText(const char* text)
{
    const int length = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
    if (length <= 1)
        return std::wstring();
    std::wstring wide(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text, -1, &wide[0], length);
    wide.resize(static_cast<size_t>(length) - 1);
    return wide;
}

struct ConversionTexts {
    const char* invalid;
    const char* outOfRange;
};

// Parses the whole text with parse(begin, &end), which sets errno as the runtime's strto*
// functions do. Every failure becomes a standard exception first and reaches the caller only
// through its narrow what() text: so a partial-parse message too long for an exception's text
// arrives as that exception's default text, as it always has.
template <class Number, class Parse>
Number ParseWhole(const std::wstring& text, Parse parse, const ConversionTexts& texts, const DatasetPolicy& policy)
{
    try {
        const wchar_t* begin = text.c_str();
        wchar_t* end = nullptr;
        errno = 0;
        const Number number = parse(begin, &end);
        if (end == begin)
            throw std::invalid_argument(texts.invalid);
        if (errno == ERANGE)
            throw std::out_of_range(texts.outOfRange);
        const std::ptrdiff_t parsed = end - begin;
        // %Id is %zd in the spelling that every Windows runtime reads, the older msvcrt included.
        if (static_cast<size_t>(parsed) != text.length())
            throw InvalidTypeException(L"Cannot parse whole string. Only first %Id chars are processed. '%s'", parsed,
                                       text.c_str());
        return number;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& failure) {
        Raise(policy.invalidType, L"%s", WidenSystemText(failure.what()).c_str());
    }
}

} // namespace

int RegistryDataset::ToInt(const std::wstring& text) const
{
    static constexpr ConversionTexts kTexts = {"invalid stoi argument", "stoi argument out of range"};
    return ParseWhole<int>(
        text, [](const wchar_t* begin, wchar_t** end) { return WcsToLong32(begin, end, 10); }, kTexts, *m_policy);
}

unsigned int RegistryDataset::ToUInt(const std::wstring& text) const
{
    static constexpr ConversionTexts kTexts = {"invalid stoul argument", "stoul argument out of range"};
    return ParseWhole<unsigned int>(
        text, [](const wchar_t* begin, wchar_t** end) { return WcsToULong32(begin, end, 10); }, kTexts, *m_policy);
}

double RegistryDataset::ToDouble(const std::wstring& text) const
{
    static constexpr ConversionTexts kTexts = {"invalid stod argument", "stod argument out of range"};
    return ParseWhole<double>(
        text, [](const wchar_t* begin, wchar_t** end) { return std::wcstod(begin, end); }, kTexts, *m_policy);
}

bool RegistryDataset::ToBool(const std::wstring& text) const
{
    std::wstring folded = Trim(text);
    for (wchar_t& c : folded)
        c = static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(c)));
    if (folded == L"yes")
        return true;
    if (folded == L"no")
        return false;
    const std::wstring message = L"Could not convert " + text + L" to bool";
    Raise(m_policy->invalidType, L"%s", message.c_str());
}

std::vector<std::wstring> RegistryDataset::SplitList(const std::wstring& text, const std::wstring& separators)
{
    std::vector<std::wstring> items;
    std::wstring::size_type start = text.find_first_not_of(separators);
    std::wstring::size_type end = text.find_first_of(separators, start);
    while (start != std::wstring::npos || end != std::wstring::npos) {
        items.push_back(text.substr(start, end == std::wstring::npos ? std::wstring::npos : end - start));
        start = text.find_first_not_of(separators, end);
        end = text.find_first_of(separators, start);
    }
    return items;
}

std::vector<std::wstring> RegistryDataset::TrimAll(const std::vector<std::wstring>& items)
{
    std::vector<std::wstring> trimmed;
    trimmed.reserve(items.size());
    for (const std::wstring& item : items)
        trimmed.push_back(TrimIsSpace(item));
    return trimmed;
}

std::wstring RegistryDataset::TrimIsSpace(const std::wstring& text)
{
    auto isSpace = [](wchar_t c) { return std::iswspace(static_cast<std::wint_t>(c)) != 0; };
    std::wstring::size_type first = 0;
    while (first < text.length() && isSpace(text[first]))
        ++first;
    std::wstring::size_type last = text.length();
    while (last > first && isSpace(text[last - 1]))
        --last;
    return text.substr(first, last - first);
}

} // namespace Tessel::Detail

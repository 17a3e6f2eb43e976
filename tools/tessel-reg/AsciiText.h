// The ASCII that tessel-reg itself reads: option names, root names, type names and answers, which
// fold case without a locale or a Unicode table, and hexadecimal digits in data and .reg files.
#pragma once

#include <string_view>

namespace Tessel::Reg {

inline wchar_t AsciiUpper(wchar_t c)
{
    return c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - L'a' + L'A') : c;
}

inline bool EqualsIgnoringCase(std::wstring_view left, std::wstring_view right)
{
    if (left.size() != right.size())
        return false;
    for (size_t i = 0; i < left.size(); ++i) {
        if (AsciiUpper(left[i]) != AsciiUpper(right[i]))
            return false;
    }
    return true;
}

// 0 to 15 for a hexadecimal digit of either case, -1 for anything else.
template <typename Char>
int HexDigitValue(Char c)
{
    if (c >= '0' && c <= '9')
        return static_cast<int>(c - '0');
    if (c >= 'a' && c <= 'f')
        return static_cast<int>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F')
        return static_cast<int>(c - 'A' + 10);
    return -1;
}

} // namespace Tessel::Reg

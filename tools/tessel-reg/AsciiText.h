// The ASCII that tessel-reg itself reads: option names, root names, type names and answers, which
// fold case without a locale or a Unicode table.
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

} // namespace Tessel::Reg

// The value of one character as a digit, for the number readers of the library and its tool.
#pragma once

namespace Tessel::Detail {

// What DigitValue gives for a character that is a digit in no base: larger than any base, so
// that "DigitValue(c) < base" is the whole test.
constexpr int kNoDigit = 99;

// 0 to 9 for the decimal digits, then 10 to 35 for a to z in either case, as bases up to 36 read
// them; kNoDigit for anything else. Only ASCII letters count, whatever the locale says.
inline int DigitValue(wchar_t c)
{
    if (c >= L'0' && c <= L'9')
        return c - L'0';
    if (c >= L'a' && c <= L'z')
        return c - L'a' + 10;
    if (c >= L'A' && c <= L'Z')
        return c - L'A' + 10;
    return kNoDigit;
}

} // namespace Tessel::Detail

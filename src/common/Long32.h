// The 32-bit reading of wcstol and wcstoul that the library keeps on every system: Windows'
// long is 32 bits, while the C library's may be 64.
#pragma once

#include <cerrno>
#include <cstdint>
#include <cwchar>
#include <cwctype>

#include "TesselWin32.h"
#include "common/DigitValue.h"

namespace Tessel::Detail {

// The digits of one number in the wcstol grammar, read up to the first character that is no
// digit in the base. magnitude is exact while it fits 32 bits; overflow says that it didn't.
struct Long32Digits {
    bool found = false;
    bool negative = false;
    bool overflow = false;
    std::uint64_t magnitude = 0;
    const wchar_t* end = nullptr;
};

inline Long32Digits ReadLong32Digits(const wchar_t* text, int base)
{
    Long32Digits result;
    const wchar_t* p = text;
    while (std::iswspace(static_cast<wint_t>(*p)))
        ++p;
    if (*p == L'-' || *p == L'+')
        result.negative = *p++ == L'-';

    const bool hexPrefix = p[0] == L'0' && (p[1] == L'x' || p[1] == L'X') && DigitValue(p[2]) < 16;
    if (base == 0)
        base = hexPrefix ? 16 : (p[0] == L'0' ? 8 : 10);
    if (base == 16 && hexPrefix)
        p += 2;

    const wchar_t* digits = p;
    for (int digit = DigitValue(*p); digit < base; digit = DigitValue(*++p)) {
        if (result.overflow)
            continue;
        result.magnitude = result.magnitude * static_cast<unsigned>(base) + static_cast<unsigned>(digit);
        result.overflow = result.magnitude > UINT32_MAX;
    }
    result.found = p != digits;
    // Without digits nothing was read, the sign and the white space included.
    result.end = result.found ? p : text;
    return result;
}

// Whether the arguments are ones the runtime would refuse; sets errno and end as it does then.
inline bool RefuseLong32Arguments(const wchar_t* text, wchar_t** end, int base)
{
    if (text != nullptr && (base == 0 || (base >= 2 && base <= 36)))
        return false;
    if (end != nullptr)
        *end = const_cast<wchar_t*>(text);
    errno = EINVAL;
    return true;
}

// wcstol with a 32-bit long: a number beyond the range gives LONG_MIN or LONG_MAX of 32 bits
// and errno ERANGE; errno is left alone otherwise. end points behind the last digit, or at
// text when there is no number.
inline LONG WcsToLong32(const wchar_t* text, wchar_t** end, int base)
{
    if (RefuseLong32Arguments(text, end, base))
        return 0;
    if constexpr (sizeof(long) == 4) {
        return static_cast<LONG>(std::wcstol(text, end, base));
    } else {
        const Long32Digits digits = ReadLong32Digits(text, base);
        if (end != nullptr)
            *end = const_cast<wchar_t*>(digits.end);
        if (!digits.found)
            return 0;
        if (digits.negative) {
            if (digits.overflow || digits.magnitude > std::uint64_t{0x80000000u}) {
                errno = ERANGE;
                return INT32_MIN;
            }
            return static_cast<LONG>(-static_cast<std::int64_t>(digits.magnitude));
        }
        if (digits.overflow || digits.magnitude > std::uint64_t{INT32_MAX}) {
            errno = ERANGE;
            return INT32_MAX;
        }
        return static_cast<LONG>(digits.magnitude);
    }
}

// wcstoul with a 32-bit unsigned long: a magnitude beyond 4294967295 gives that number and
// errno ERANGE, whatever the sign; a leading '-' otherwise negates modulo 2^32, so "-1" gives
// 4294967295.
inline ULONG WcsToULong32(const wchar_t* text, wchar_t** end, int base)
{
    if (RefuseLong32Arguments(text, end, base))
        return 0;
    if constexpr (sizeof(long) == 4) {
        return static_cast<ULONG>(std::wcstoul(text, end, base));
    } else {
        const Long32Digits digits = ReadLong32Digits(text, base);
        if (end != nullptr)
            *end = const_cast<wchar_t*>(digits.end);
        if (!digits.found)
            return 0;
        if (digits.overflow) {
            errno = ERANGE;
            return UINT32_MAX;
        }
        const auto value = static_cast<ULONG>(digits.magnitude);
        return digits.negative ? static_cast<ULONG>(0u - value) : value;
    }
}

} // namespace Tessel::Detail

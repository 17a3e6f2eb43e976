// VarUI4FromStr with the automation parser's syntax for whole and decimal numbers, fixed for
// every locale: '.' is the decimal point and there are no thousands separators or currency.

#include <cstdint>

#include "TesselPlatform/ComRuntime.h"

namespace {

bool IsSpace(OLECHAR c)
{
    return c == L' ' || (c >= L'\t' && c <= L'\r');
}

int DigitValue(OLECHAR c, unsigned radix)
{
    int value = -1;
    if (c >= L'0' && c <= L'9')
        value = static_cast<int>(c - L'0');
    else if (c >= L'a' && c <= L'f')
        value = static_cast<int>(c - L'a') + 10;
    else if (c >= L'A' && c <= L'F')
        value = static_cast<int>(c - L'A') + 10;
    return value >= 0 && static_cast<unsigned>(value) < radix ? value : -1;
}

constexpr std::uint64_t kLimit = 0xFFFFFFFFull;

// Reads digits of one radix; the value saturates one above the limit so that overflow shows.
const OLECHAR* ReadDigits(const OLECHAR* p, unsigned radix, std::uint64_t* value, bool* any)
{
    for (int digit; (digit = DigitValue(*p, radix)) >= 0; ++p) {
        *any = true;
        *value = *value * radix + static_cast<unsigned>(digit);
        if (*value > kLimit)
            *value = kLimit + 1;
    }
    return p;
}

} // namespace

extern "C" HRESULT WINAPI VarUI4FromStr(LPCOLESTR strIn, LCID, ULONG, ULONG* pulOut)
{
    if (strIn == nullptr || pulOut == nullptr)
        return E_INVALIDARG;
    const OLECHAR* p = strIn;
    while (IsSpace(*p))
        ++p;
    bool negative = false;
    if (*p == L'+' || *p == L'-')
        negative = *p++ == L'-';

    std::uint64_t value = 0;
    bool any = false;
    if (*p == L'&' && (p[1] == L'H' || p[1] == L'h' || p[1] == L'O' || p[1] == L'o')) {
        const unsigned radix = (p[1] == L'H' || p[1] == L'h') ? 16 : 8;
        p = ReadDigits(p + 2, radix, &value, &any);
    } else {
        p = ReadDigits(p, 10, &value, &any);
        if (*p == L'.') {
            ++p;
            // Only the first digit and whether any other is non-zero decide the rounding.
            int first = -1;
            bool restNonZero = false;
            for (; *p >= L'0' && *p <= L'9'; ++p) {
                any = true;
                if (first < 0)
                    first = static_cast<int>(*p - L'0');
                else if (*p != L'0')
                    restNonZero = true;
            }
            const bool roundUp = first > 5 || (first == 5 && (restNonZero || (value & 1) != 0));
            if (roundUp && value <= kLimit)
                ++value;
        }
    }
    while (IsSpace(*p))
        ++p;
    if (!any || *p != L'\0')
        return DISP_E_TYPEMISMATCH;
    if (value > kLimit || (negative && value != 0))
        return DISP_E_OVERFLOW;
    *pulOut = static_cast<ULONG>(value);
    return S_OK;
}

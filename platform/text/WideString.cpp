// The secure copies, the case-insensitive comparisons and the small string helpers of the
// Windows runtime and system, with the runtime's errno contract.
// Implementation here must contain only generic UNIX code.

#include <cerrno>
#include <cstdint>
#include <cwchar>
#include <cwctype>

#include "TesselPlatform/Text.h"

namespace {

bool IsEvenUpper(char32_t c, char32_t first, char32_t last)
{
    return c >= first && c <= last && (c - first) % 2 == 0;
}

// The simple lower-case mapping for the scripts that names and keywords are written in. It
// is fixed, so that lstrcmpiW gives the same answer in every locale and every process, as the
// system's comparison does.
char32_t SimpleLower(char32_t c)
{
    if (c < 0x80)
        return c >= U'A' && c <= U'Z' ? c + 0x20 : c;
    if (c < 0x100)
        return c >= 0xC0 && c <= 0xDE && c != 0xD7 ? c + 0x20 : c;
    if (c < 0x180) {
        // Latin Extended-A: pairs, with the dotted/dotless i and kra/n-apostrophe outside them.
        if (c == 0x178)
            return 0xFF;
        if (IsEvenUpper(c, 0x100, 0x12F) || IsEvenUpper(c, 0x132, 0x137) || IsEvenUpper(c, 0x14A, 0x177))
            return c + 1;
        if ((c >= 0x139 && c <= 0x148 && c % 2 == 1) || (c >= 0x179 && c <= 0x17E && c % 2 == 1))
            return c + 1;
        return c;
    }
    if (c >= 0x370 && c < 0x400) {
        if (c == 0x386)
            return 0x3AC;
        if (c >= 0x388 && c <= 0x38A)
            return c + 0x25;
        if (c == 0x38C)
            return 0x3CC;
        if (c == 0x38E || c == 0x38F)
            return c + 0x3F;
        if (c >= 0x391 && c <= 0x3AB && c != 0x3A2)
            return c + 0x20;
        return c;
    }
    if (c >= 0x400 && c < 0x530) {
        if (c <= 0x40F)
            return c + 0x50;
        if (c <= 0x42F)
            return c + 0x20;
        if (c == 0x4C0)
            return 0x4CF;
        if (IsEvenUpper(c, 0x460, 0x481) || IsEvenUpper(c, 0x48A, 0x4BF) || IsEvenUpper(c, 0x4D0, 0x52F))
            return c + 1;
        if (c >= 0x4C1 && c <= 0x4CE && c % 2 == 1)
            return c + 1;
        return c;
    }
    if (c >= 0x531 && c <= 0x556)
        return c + 0x30;
    if (IsEvenUpper(c, 0x1E00, 0x1E95) || IsEvenUpper(c, 0x1EA0, 0x1EFF))
        return c + 1;
    if (c >= 0xFF21 && c <= 0xFF3A)
        return c + 0x20;
    return c;
}

char32_t FixedLower(wchar_t c)
{
    return SimpleLower(static_cast<char32_t>(c));
}

// The runtime's lower case: towlower under the process's LC_CTYPE, which in the "C" locale folds
// A to Z alone, as the Windows runtime's does.
char32_t LocaleLower(wchar_t c)
{
    return static_cast<char32_t>(std::towlower(static_cast<std::wint_t>(c)));
}

// Compares the lower-case forms of both texts, up to count characters or the first terminator.
template <typename Lower>
int CompareIgnoringCase(const wchar_t* left, const wchar_t* right, std::size_t count, Lower lower)
{
    for (std::size_t i = 0; i < count; ++i) {
        const char32_t a = lower(left[i]);
        const char32_t b = lower(right[i]);
        if (a != b)
            return a < b ? -1 : 1;
        if (left[i] == L'\0')
            return 0;
    }
    return 0;
}

errno_t Refuse(wchar_t* dest, std::size_t destSize, errno_t code)
{
    if (dest != nullptr && destSize > 0)
        dest[0] = L'\0';
    errno = code;
    return code;
}

} // namespace

extern "C" {

errno_t wcsncpy_s(wchar_t* dest, size_t destSize, const wchar_t* source, size_t count)
{
    if (count == 0 && dest == nullptr && destSize == 0)
        return 0;
    if (dest == nullptr || destSize == 0)
        return Refuse(nullptr, 0, EINVAL);
    if (count == 0) {
        dest[0] = L'\0';
        return 0;
    }
    if (source == nullptr)
        return Refuse(dest, destSize, EINVAL);

    // Look no further into the source than the copy could reach: it need not be terminated.
    const std::size_t reach = count < destSize ? count : destSize;
    std::size_t length = 0;
    while (length < reach && source[length] != L'\0')
        ++length;
    if (length == destSize) {
        if (count != _TRUNCATE)
            return Refuse(dest, destSize, ERANGE);
        std::wmemmove(dest, source, destSize - 1);
        dest[destSize - 1] = L'\0';
        return STRUNCATE;
    }
    std::wmemmove(dest, source, length);
    dest[length] = L'\0';
    return 0;
}

errno_t wcscpy_s(wchar_t* dest, size_t destSize, const wchar_t* source)
{
    if (dest == nullptr || destSize == 0)
        return Refuse(nullptr, 0, EINVAL);
    if (source == nullptr)
        return Refuse(dest, destSize, EINVAL);
    std::size_t length = 0;
    while (length < destSize && source[length] != L'\0')
        ++length;
    if (length == destSize)
        return Refuse(dest, destSize, ERANGE);
    std::wmemmove(dest, source, length);
    dest[length] = L'\0';
    return 0;
}

int _wcsicmp(const wchar_t* left, const wchar_t* right)
{
    if (left == nullptr || right == nullptr) {
        errno = EINVAL;
        return _NLSCMPERROR;
    }
    return CompareIgnoringCase(left, right, SIZE_MAX, LocaleLower);
}

int _wcsnicmp(const wchar_t* left, const wchar_t* right, size_t count)
{
    if (count == 0)
        return 0;
    if (left == nullptr || right == nullptr) {
        errno = EINVAL;
        return _NLSCMPERROR;
    }
    return CompareIgnoringCase(left, right, count, LocaleLower);
}

int WINAPI lstrlenW(LPCWSTR text)
{
    if (text == nullptr)
        return 0;
    const std::size_t length = std::wcslen(text);
    return length > static_cast<std::size_t>(INT32_MAX) ? INT32_MAX : static_cast<int>(length);
}

int WINAPI lstrcmpiW(LPCWSTR left, LPCWSTR right)
{
    if (left == nullptr || right == nullptr)
        return left == right ? 0 : (left == nullptr ? -1 : 1);
    return CompareIgnoringCase(left, right, SIZE_MAX, FixedLower);
}

LPWSTR WINAPI CharNextW(LPCWSTR current)
{
    if (current == nullptr)
        return nullptr;
    return const_cast<LPWSTR>(*current == L'\0' ? current : current + 1);
}

} // extern "C"

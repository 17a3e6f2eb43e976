// The runtime's and the system's text functions in their Windows forms: the secure CRT
// formatters with the Windows reading of %s (wide) and %S (narrow), code-page conversion
// (the ANSI code pages are UTF-8 here) and environment expansion.
#pragma once

#include <cerrno>
#include <cstdarg>
#include <cwchar>

#include "TesselPlatform/Errors.h"
#include "TesselPlatform/Types.h"

#define _TRUNCATE (static_cast<size_t>(-1))
#define STRUNCATE 80

#define CP_ACP 0
#define CP_OEMCP 1
#define CP_MACCP 2
#define CP_THREAD_ACP 3
#define CP_UTF7 65000
#define CP_UTF8 65001

#define MB_PRECOMPOSED 0x00000001
#define MB_COMPOSITE 0x00000002
#define MB_USEGLYPHCHARS 0x00000004
#define MB_ERR_INVALID_CHARS 0x00000008
#define WC_DISCARDNS 0x00000010
#define WC_SEPCHARS 0x00000020
#define WC_DEFAULTCHAR 0x00000040
#define WC_ERR_INVALID_CHARS 0x00000080
#define WC_COMPOSITECHECK 0x00000200
#define WC_NO_BEST_FIT_CHARS 0x00000400

// What _wcsicmp and _wcsnicmp give for a null argument, with errno EINVAL.
#define _NLSCMPERROR 2147483647

TESSEL_EXTERN_C_BEGIN

// Formats with the Windows conventions: %s and %ls wide, %S and %hs narrow, %c wide, %C narrow,
// %l and %I32 size prefixes 32 bits, %I64 and %ll 64 bits, %I pointer-sized. With count
// _TRUNCATE a text too long is cut to fit and the call returns -1 without touching errno.
// Narrow arguments are UTF-8; numbers follow the current locale. A refused format or a null
// pointer gives -1 with errno EINVAL, never the Windows invalid-parameter handler; without
// truncation a buffer too small gives -1 with errno ERANGE. Both empty the buffer.
TESSEL_PLATFORM_API int _vsnwprintf_s(wchar_t* buffer, size_t sizeOfBuffer, size_t count, const wchar_t* format,
                                      va_list args);
TESSEL_PLATFORM_API int _snwprintf_s(wchar_t* buffer, size_t sizeOfBuffer, size_t count, const wchar_t* format, ...);
TESSEL_PLATFORM_API int vswprintf_s(wchar_t* buffer, size_t sizeOfBuffer, const wchar_t* format, va_list args);
TESSEL_PLATFORM_API int swprintf_s(wchar_t* buffer, size_t sizeOfBuffer, const wchar_t* format, ...);
// With count _TRUNCATE a source too long is cut to fit and the call gives STRUNCATE.
TESSEL_PLATFORM_API errno_t wcsncpy_s(wchar_t* dest, size_t destSize, const wchar_t* source, size_t count);
TESSEL_PLATFORM_API errno_t wcscpy_s(wchar_t* dest, size_t destSize, const wchar_t* source);
// Compare the characters' lower-case forms by towlower under the process's LC_CTYPE, as the
// Windows runtime does: in the "C" locale only A to Z fold, in a UTF-8 locale every letter that
// the locale pairs. The result's sign orders the lower-case forms as numbers.
TESSEL_PLATFORM_API int _wcsicmp(const wchar_t* left, const wchar_t* right);
TESSEL_PLATFORM_API int _wcsnicmp(const wchar_t* left, const wchar_t* right, size_t count);
TESSEL_PLATFORM_API int WINAPI lstrlenW(LPCWSTR text);
// Case-insensitive comparison giving -1, 0 or 1, the same in every locale: Latin-1, Latin
// Extended-A and Additional, Greek, Cyrillic, Armenian and the full-width Latin letters fold by
// their simple lower-case forms; nothing else does. Ordinal, not the linguistic order that
// Windows applies: use it for equality, not for sorting shown to people.
TESSEL_PLATFORM_API int WINAPI lstrcmpiW(LPCWSTR left, LPCWSTR right);
// The character after current; at the terminator, current itself.
TESSEL_PLATFORM_API LPWSTR WINAPI CharNextW(LPCWSTR current);

// CP_ACP, CP_OEMCP, CP_THREAD_ACP and CP_UTF8 are all UTF-8; other code pages are refused.
// The wide side is UTF-32 here: a supplementary character is one wchar_t, and a surrogate
// pair that a caller built by hand is taken as the character it stands for.
TESSEL_PLATFORM_API int WINAPI MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR multiByte, int multiByteCount,
                                                   LPWSTR wide, int wideCount);
TESSEL_PLATFORM_API int WINAPI WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wide, int wideCount,
                                                   LPSTR multiByte, int multiByteCount, LPCSTR defaultChar,
                                                   LPBOOL usedDefaultChar);
// Names are case-sensitive, as the environment is here; an unknown %NAME% and "%%" stay as
// they are. Gives the characters written or needed, the terminator included.
TESSEL_PLATFORM_API DWORD WINAPI ExpandEnvironmentStringsW(LPCWSTR source, LPWSTR destination, DWORD size);

TESSEL_EXTERN_C_END

#ifdef __cplusplus
// The array forms that the Windows headers offer to C++.
template <size_t N>
inline int swprintf_s(wchar_t (&buffer)[N], const wchar_t* format, ...)
{
    va_list args;
    va_start(args, format);
    const int result = vswprintf_s(buffer, N, format, args);
    va_end(args);
    return result;
}

template <size_t N>
inline int _snwprintf_s(wchar_t (&buffer)[N], size_t count, const wchar_t* format, ...)
{
    va_list args;
    va_start(args, format);
    const int result = _vsnwprintf_s(buffer, N, count, format, args);
    va_end(args);
    return result;
}

template <size_t N>
inline int _vsnwprintf_s(wchar_t (&buffer)[N], size_t count, const wchar_t* format, va_list args)
{
    return _vsnwprintf_s(buffer, N, count, format, args);
}

template <size_t N>
inline int vswprintf_s(wchar_t (&buffer)[N], const wchar_t* format, va_list args)
{
    return vswprintf_s(buffer, N, format, args);
}

template <size_t N>
inline errno_t wcsncpy_s(wchar_t (&dest)[N], const wchar_t* source, size_t count)
{
    return wcsncpy_s(dest, N, source, count);
}

template <size_t N>
inline errno_t wcscpy_s(wchar_t (&dest)[N], const wchar_t* source)
{
    return wcscpy_s(dest, N, source);
}
#endif

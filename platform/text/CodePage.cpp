// Code-page conversion between narrow and wide text. Every ANSI and OEM code page is UTF-8
// here, and the wide side is the system's UTF-32 wchar_t.
// Implementation here must contain only generic UNIX code.

#include <cstdint>
#include <cstring>
#include <cwchar>

#include "TesselPlatform/System.h"
#include "TesselPlatform/Text.h"
#include "text/Utf8Codec.h"

namespace {

using namespace TesselPlatform::Text;

static_assert(sizeof(wchar_t) == 4, "the platform layer's wide text is UTF-32");

enum class CodePageKind { Unsupported, Utf8Alias, Utf8 };

CodePageKind ClassifyCodePage(UINT codePage)
{
    switch (codePage) {
    case CP_ACP:
    case CP_OEMCP:
    case CP_THREAD_ACP:
        return CodePageKind::Utf8Alias;
    case CP_UTF8:
        return CodePageKind::Utf8;
    default:
        return CodePageKind::Unsupported;
    }
}

int Fail(DWORD code)
{
    SetLastError(code);
    return 0;
}

// Reads one character from wide text. A high surrogate followed by a low one stands for the
// character they encode; any other surrogate, and anything beyond U+10FFFF, is ill-formed.
struct WideStep {
    char32_t codePoint;
    std::size_t length;
    bool valid;
};

WideStep ReadWide(const wchar_t* text, std::size_t available)
{
    const auto c = static_cast<char32_t>(text[0]);
    if (!IsSurrogate(c))
        return {c, 1, c <= kMaxCodePoint};
    if (IsHighSurrogate(c) && available > 1 && IsLowSurrogate(static_cast<char32_t>(text[1]))) {
        return {CombineSurrogates(c, static_cast<char32_t>(text[1])), 2, true};
    }
    return {c, 1, false};
}

} // namespace

extern "C" {

int WINAPI MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR multiByte, int multiByteCount, LPWSTR wide,
                               int wideCount)
{
    const CodePageKind kind = ClassifyCodePage(codePage);
    if (kind == CodePageKind::Unsupported)
        return Fail(ERROR_INVALID_PARAMETER);
    // Callers written for a single-byte ANSI code page pass the composition flags; with UTF-8
    // they change nothing. Named as UTF-8, the code page takes only the flag Windows allows.
    const DWORD allowed =
        kind == CodePageKind::Utf8 ? MB_ERR_INVALID_CHARS
                                   : MB_ERR_INVALID_CHARS | MB_PRECOMPOSED | MB_COMPOSITE | MB_USEGLYPHCHARS;
    if ((flags & ~allowed) != 0)
        return Fail(ERROR_INVALID_FLAGS);
    if (multiByte == nullptr || multiByteCount == 0 || multiByteCount < -1 || wideCount < 0 ||
        (wideCount > 0 && wide == nullptr) ||
        (wideCount > 0 && static_cast<const void*>(wide) == static_cast<const void*>(multiByte)))
        return Fail(ERROR_INVALID_PARAMETER);

    const std::size_t length =
        multiByteCount == -1 ? std::strlen(multiByte) + 1 : static_cast<std::size_t>(multiByteCount);
    const auto* p = reinterpret_cast<const unsigned char*>(multiByte);
    const unsigned char* end = p + length;
    const bool strict = (flags & MB_ERR_INVALID_CHARS) != 0;
    const auto capacity = static_cast<std::size_t>(wideCount);

    std::size_t needed = 0;
    while (p < end) {
        const Utf8Step step = DecodeUtf8(p, end);
        if (!step.valid && strict)
            return Fail(ERROR_NO_UNICODE_TRANSLATION);
        if (needed < capacity)
            wide[needed] = static_cast<wchar_t>(step.codePoint);
        ++needed;
        p += step.length;
    }
    if (capacity != 0 && needed > capacity)
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    return static_cast<int>(needed);
}

int WINAPI WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wide, int wideCount, LPSTR multiByte,
                               int multiByteCount, LPCSTR defaultChar, LPBOOL usedDefaultChar)
{
    const CodePageKind kind = ClassifyCodePage(codePage);
    if (kind == CodePageKind::Unsupported)
        return Fail(ERROR_INVALID_PARAMETER);
    const DWORD allowed = kind == CodePageKind::Utf8
                              ? WC_ERR_INVALID_CHARS
                              : WC_ERR_INVALID_CHARS | WC_NO_BEST_FIT_CHARS | WC_COMPOSITECHECK | WC_DISCARDNS |
                                    WC_SEPCHARS | WC_DEFAULTCHAR;
    if ((flags & ~allowed) != 0)
        return Fail(ERROR_INVALID_FLAGS);
    // UTF-8 can write every character, so Windows refuses a default character for it.
    if (defaultChar != nullptr || usedDefaultChar != nullptr)
        return Fail(ERROR_INVALID_PARAMETER);
    if (wide == nullptr || wideCount == 0 || wideCount < -1 || multiByteCount < 0 ||
        (multiByteCount > 0 && multiByte == nullptr) ||
        (multiByteCount > 0 && static_cast<const void*>(wide) == static_cast<const void*>(multiByte)))
        return Fail(ERROR_INVALID_PARAMETER);

    const std::size_t length = wideCount == -1 ? std::wcslen(wide) + 1 : static_cast<std::size_t>(wideCount);
    const bool strict = (flags & WC_ERR_INVALID_CHARS) != 0;
    const auto capacity = static_cast<std::size_t>(multiByteCount);

    std::size_t needed = 0;
    std::size_t i = 0;
    while (i < length) {
        const WideStep step = ReadWide(wide + i, length - i);
        if (!step.valid && strict)
            return Fail(ERROR_NO_UNICODE_TRANSLATION);
        i += step.length;
        const char32_t c = step.valid ? step.codePoint : kReplacementCharacter;
        const std::size_t size = Utf8Length(c);
        if (needed + size <= capacity)
            EncodeUtf8(c, multiByte + needed);
        needed += size;
        if (needed > static_cast<std::size_t>(INT32_MAX))
            return Fail(capacity != 0 ? ERROR_INSUFFICIENT_BUFFER : ERROR_INVALID_PARAMETER);
    }
    if (capacity != 0 && needed > capacity)
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    return static_cast<int>(needed);
}

} // extern "C"

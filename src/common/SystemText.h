// The system's message texts: the one call that asks the system for the text of a status or an
// HRESULT, the holder of the block that the system allocates for it, and the trimming of the line
// end that the system puts after every text. Header-only, so that the tool shares it too.
#pragma once

#include <cstddef>
#include <cwchar>
#include <string>

#include "TesselWin32.h"

namespace Tessel::Detail {

// The language that a system text is asked in. Any gives the thread's, the user's or the system's
// language, whichever has the text, and English at last; UserDefault only the user's language.
constexpr DWORD kSystemTextAnyLanguage = 0;
constexpr DWORD kSystemTextUserDefaultLanguage = MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT);

// Cuts the line end that the system puts after a message: a final line feed, and a carriage
// return before it. A text of one character is left alone, even if it is a line feed. Gives the
// new length.
inline std::size_t TrimSystemLineEnd(wchar_t* text, std::size_t length) noexcept
{
    if (length > 1 && text[length - 1] == L'\n') {
        text[--length] = L'\0';
        if (text[length - 1] == L'\r')
            text[--length] = L'\0';
    }
    return length;
}

// A text that the system or the local heap allocated; freed with LocalFree.
class LocalText {
public:
    LocalText() noexcept = default;
    ~LocalText() { LocalFree(m_text); }
    LocalText(const LocalText&) = delete;
    LocalText& operator=(const LocalText&) = delete;

    wchar_t* Get() const noexcept { return m_text; }
    wchar_t** Receive() noexcept { return &m_text; }
    void Allocate(std::size_t characters) noexcept
    {
        m_text = static_cast<wchar_t*>(LocalAlloc(LMEM_FIXED, characters * sizeof(wchar_t)));
    }

private:
    wchar_t* m_text = nullptr;
};

// Asks the system for its text of code, line end included. Gives false, and leaves text empty,
// when the system has no text for the code in that language.
inline bool FetchSystemText(DWORD code, DWORD language, LocalText& text) noexcept
{
    const DWORD flags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM;
    const DWORD length =
        FormatMessageW(flags, nullptr, code, language, reinterpret_cast<LPWSTR>(text.Receive()), 0, nullptr);
    return length != 0 && text.Get() != nullptr;
}

// The system's text of code as one line, without its line end; empty when the system has none.
inline std::wstring SystemTextLine(DWORD code, DWORD language = kSystemTextAnyLanguage)
{
    LocalText text;
    if (!FetchSystemText(code, language, text))
        return std::wstring();
    return std::wstring(text.Get(), TrimSystemLineEnd(text.Get(), std::wcslen(text.Get())));
}

} // namespace Tessel::Detail

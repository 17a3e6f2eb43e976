// System message texts: the holder of a block that the system allocates, and the trimming of
// the line end, apart from the system call so that it can be tested.
#pragma once

#include <cstddef>

#include "TesselWin32.h"

namespace Tessel::Internal {

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

} // namespace Tessel::Internal

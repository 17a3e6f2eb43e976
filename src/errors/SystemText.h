// The trimming of a system message text, apart from the system call so that it can be tested.
#pragma once

#include <cstddef>

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

} // namespace Tessel::Internal

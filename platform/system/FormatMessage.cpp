// FormatMessageW over the system's message table. Implementation here must contain only generic
// UNIX code.

#include <cstring>
#include <cwchar>

#include "MessageTable.h"
#include "TesselPlatform/System.h"

namespace {

bool IsKnownLanguage(DWORD language)
{
    const DWORD primary = language & 0x3FFu;
    // 0 means "whatever the thread and the user prefer", which is English here.
    return language == 0 || primary == LANG_NEUTRAL || primary == LANG_ENGLISH;
}

DWORD Fail(DWORD error)
{
    SetLastError(error);
    return 0;
}

} // namespace

extern "C" {

DWORD WINAPI FormatMessageW(DWORD dwFlags, LPCVOID lpSource, DWORD dwMessageId, DWORD dwLanguageId,
                            LPWSTR lpBuffer, DWORD nSize, va_list* Arguments)
{
    static_cast<void>(lpSource);
    static_cast<void>(Arguments);
    const DWORD sources = FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_FROM_SYSTEM;
    if ((dwFlags & sources) != FORMAT_MESSAGE_FROM_SYSTEM || lpBuffer == nullptr)
        return Fail(ERROR_INVALID_PARAMETER);
    if (!IsKnownLanguage(dwLanguageId))
        return Fail(ERROR_RESOURCE_LANG_NOT_FOUND);
    const wchar_t* message = TesselPlatform::System::FindSystemMessage(dwMessageId);
    if (message == nullptr)
        return Fail(ERROR_MR_MID_NOT_FOUND);

    const std::size_t messageLength = std::wcslen(message);
    const std::size_t length = messageLength + 2; // the CR LF that ends every system text
    const std::size_t bytes = (length + 1) * sizeof(wchar_t);
    wchar_t* target = nullptr;
    if ((dwFlags & FORMAT_MESSAGE_ALLOCATE_BUFFER) != 0) {
        // nSize is then the smallest number of characters to allocate.
        const std::size_t allocated = nSize > length + 1 ? nSize * sizeof(wchar_t) : bytes;
        target = static_cast<wchar_t*>(LocalAlloc(LMEM_FIXED, allocated));
        if (target == nullptr)
            return Fail(ERROR_NOT_ENOUGH_MEMORY);
        *reinterpret_cast<LPWSTR*>(lpBuffer) = target;
    } else {
        if (nSize < length + 1)
            return Fail(ERROR_INSUFFICIENT_BUFFER);
        target = lpBuffer;
    }
    std::memcpy(target, message, messageLength * sizeof(wchar_t));
    target[messageLength] = L'\r';
    target[messageLength + 1] = L'\n';
    target[length] = L'\0';
    SetLastError(ERROR_SUCCESS);
    return static_cast<DWORD>(length);
}

} // extern "C"

// Expansion of %NAME% references from the process environment, in the Windows form.
// Implementation here must contain only generic UNIX code.

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>
#include <string>

#include "TesselPlatform/System.h"
#include "TesselPlatform/Text.h"
#include "text/Utf8Codec.h"

namespace {

using namespace TesselPlatform::Text;

// Appends the value of the variable, or gives false when there is none. Names are the
// environment's own, so their case matters here.
bool AppendVariable(const wchar_t* name, std::size_t length, std::wstring& result)
{
    std::string narrowName;
    narrowName.reserve(length);
    char bytes[4];
    for (std::size_t i = 0; i < length; ++i) {
        // getenv would match "A=B" against the variable A whose value begins with "B=".
        if (name[i] == L'=')
            return false;
        narrowName.append(bytes, EncodeUtf8(static_cast<char32_t>(name[i]), bytes));
    }
    const char* value = std::getenv(narrowName.c_str());
    if (value == nullptr)
        return false;

    const auto* p = reinterpret_cast<const unsigned char*>(value);
    const unsigned char* end = p + std::strlen(value);
    while (p < end) {
        const Utf8Step step = DecodeUtf8(p, end);
        result.push_back(static_cast<wchar_t>(step.codePoint));
        p += step.length;
    }
    return true;
}

std::wstring Expand(const wchar_t* source)
{
    std::wstring result;
    const wchar_t* cursor = source;
    while (*cursor != L'\0') {
        if (*cursor != L'%') {
            result.push_back(*cursor++);
            continue;
        }
        const wchar_t* closing = std::wcschr(cursor + 1, L'%');
        if (closing == nullptr) {
            result.append(cursor);
            break;
        }
        const auto nameLength = static_cast<std::size_t>(closing - cursor - 1);
        if (nameLength != 0 && AppendVariable(cursor + 1, nameLength, result)) {
            cursor = closing + 1;
            continue;
        }
        // Not a reference: the text stays, and its closing '%' may open the next one. So "%%"
        // stands for itself and "%%PATH%" gives a '%' before the path.
        result.append(cursor, closing);
        cursor = closing;
    }
    return result;
}

} // namespace

extern "C" {

DWORD WINAPI ExpandEnvironmentStringsW(LPCWSTR source, LPWSTR destination, DWORD size)
{
    if (source == nullptr || (size > 0 && destination == nullptr) || (size > 0 && destination == source)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    try {
        const std::wstring result = Expand(source);
        if (result.size() >= 0xFFFFFFFFu) {
            SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return 0;
        }
        const auto needed = static_cast<DWORD>(result.size() + 1);
        if (size >= needed)
            std::wmemcpy(destination, result.c_str(), needed);
        return needed;
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
}

} // extern "C"

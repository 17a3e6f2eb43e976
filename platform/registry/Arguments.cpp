// Paths, names and view flags. Implementation here must contain only generic UNIX code.

#include "registry/Arguments.h"

#include <cwchar>

namespace TesselPlatform::Registry {

LONG SplitPath(const wchar_t* path, std::vector<Utf16>& parts)
{
    parts.clear();
    if (path == nullptr)
        return ERROR_SUCCESS;
    std::size_t length = std::wcslen(path);
    while (length > 0 && path[length - 1] == L'\\')
        --length;
    if (length == 0)
        return path[0] == L'\\' ? ERROR_BAD_PATHNAME : ERROR_SUCCESS;
    if (path[0] == L'\\')
        return ERROR_BAD_PATHNAME;
    std::size_t start = 0;
    while (start <= length) {
        std::size_t end = start;
        while (end < length && path[end] != L'\\')
            ++end;
        if (end == start)
            return ERROR_BAD_PATHNAME;
        if (end - start > MaxKeyNameUnits * 2)
            return ERROR_INVALID_PARAMETER;
        Utf16 part;
        if (!ToUtf16(path + start, end - start, part) || part.size() > MaxKeyNameUnits)
            return ERROR_INVALID_PARAMETER;
        parts.push_back(std::move(part));
        if (parts.size() > static_cast<std::size_t>(MaxKeyDepth))
            return ERROR_INVALID_PARAMETER;
        start = end + 1;
    }
    return ERROR_SUCCESS;
}

LONG ValueName(const wchar_t* name, Utf16& out)
{
    out.clear();
    if (name == nullptr)
        return ERROR_SUCCESS;
    if (std::wcslen(name) > MaxValueNameUnits)
        return ERROR_INVALID_PARAMETER;
    if (!ToUtf16(name, out) || out.size() > MaxValueNameUnits)
        return ERROR_INVALID_PARAMETER;
    return ERROR_SUCCESS;
}

bool ConflictingViews(REGSAM sam)
{
    return (sam & KEY_WOW64_RES) == KEY_WOW64_RES;
}

} // namespace TesselPlatform::Registry

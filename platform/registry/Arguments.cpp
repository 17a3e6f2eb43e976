// Paths, names and view flags. Implementation here must contain only generic UNIX code.

#include "registry/Arguments.h"

#include <cwchar>

namespace TesselPlatform::Registry {

LONG SplitPath(const wchar_t* path, std::vector<Utf16>& parts)
{
    // The names go into the strings parts already has, so that a caller that keeps its vector
    // from call to call allocates nothing for names it has seen the length of.
    std::size_t count = 0;
    const auto done = [&parts, &count](LONG status) {
        parts.resize(count);
        return status;
    };
    if (path == nullptr)
        return done(ERROR_SUCCESS);
    std::size_t length = std::wcslen(path);
    while (length > 0 && path[length - 1] == L'\\')
        --length;
    if (length == 0)
        return done(path[0] == L'\\' ? ERROR_BAD_PATHNAME : ERROR_SUCCESS);
    if (path[0] == L'\\')
        return done(ERROR_BAD_PATHNAME);
    std::size_t start = 0;
    while (start <= length) {
        std::size_t end = start;
        while (end < length && path[end] != L'\\')
            ++end;
        if (end == start)
            return done(ERROR_BAD_PATHNAME);
        if (end - start > MaxKeyNameUnits * 2 || count == static_cast<std::size_t>(MaxKeyDepth))
            return done(ERROR_INVALID_PARAMETER);
        if (count == parts.size())
            parts.emplace_back();
        Utf16& part = parts[count++];
        if (!ToUtf16(path + start, end - start, part) || part.size() > MaxKeyNameUnits)
            return done(ERROR_INVALID_PARAMETER);
        start = end + 1;
    }
    return done(ERROR_SUCCESS);
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

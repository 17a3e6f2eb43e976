// Wide texts as UTF-8 strings and back, for the areas that hand names and texts to the C library
// (module paths, the debugger's channel): the code-page conversion with CP_UTF8, in one call.
#pragma once

#include <string>

#include "TesselPlatform/Text.h"

namespace TesselPlatform::Text {

// Empty for a null text or one that does not convert.
inline std::string ToUtf8(LPCWSTR text)
{
    const int needed = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (needed <= 0)
        return std::string();
    std::string result(static_cast<std::size_t>(needed), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), needed, nullptr, nullptr);
    result.resize(static_cast<std::size_t>(needed - 1));
    return result;
}

inline std::wstring ToWide(const std::string& text)
{
    const int needed = MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, nullptr, 0);
    if (needed <= 0)
        return std::wstring();
    std::wstring result(static_cast<std::size_t>(needed), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, result.data(), needed);
    result.resize(static_cast<std::size_t>(needed - 1));
    return result;
}

} // namespace TesselPlatform::Text

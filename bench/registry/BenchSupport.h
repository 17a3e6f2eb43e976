// Helpers that the registry benchmarks share: calls that must work, and keys made for a run.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "TesselWin32.h"

namespace TesselBench {

// Ends the run when a call that sets up a benchmark fails.
inline void Check(LONG status, const char* what)
{
    if (status != ERROR_SUCCESS) {
        std::fprintf(stderr, "bench_registry: %s failed with %d\n", what, static_cast<int>(status));
        std::exit(1);
    }
}

// A text as REG_SZ data: ASCII in UTF-16, with its terminator.
inline std::vector<BYTE> Utf16Data(const std::string& text)
{
    std::vector<BYTE> data;
    for (char c : text) {
        data.push_back(static_cast<BYTE>(c));
        data.push_back(0);
    }
    data.push_back(0);
    data.push_back(0);
    return data;
}

inline HKEY CreateKey(HKEY parent, const std::wstring& path)
{
    HKEY key = nullptr;
    Check(RegCreateKeyExW(parent, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr), "create");
    return key;
}

} // namespace TesselBench

// The data of the scale table: one key with N sub-keys of five values each, made through the
// registry's own calls by several writer threads at once, so that the store shares their commits.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "TesselWin32.h"

namespace TesselBench {

constexpr int kScaleValues = 5;
extern const wchar_t* const kScaleBase; // below HKEY_CURRENT_USER

std::wstring ScaleSubKeyName(int i);
const std::wstring& ScaleValueName(int j);

// The bytes a set of count sub-keys holds: every key and value name in UTF-16, without its
// terminator, and every value's data. The parent's own name is left out.
std::uint64_t ScaleDataBytes(int count);

// Makes the set below kScaleBase and returns its key, open. Each sub-key is one RegCreateKeyExW
// and each value one RegSetValueExW, every call its own commit, spread over writers threads.
HKEY MakeScaleSet(int count, int writers);

} // namespace TesselBench

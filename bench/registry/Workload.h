// The workload of the performance anchors: one key with 100 sub-keys of 20 values each (short
// texts and 32-bit numbers), open handles to every sub-key, and the same data in an in-process
// hash map keyed by path and name, the floor that the store's reads are measured against.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "TesselWin32.h"

namespace TesselBench {

constexpr int kSubKeys = 100;
constexpr int kValuesPerKey = 20;
extern const wchar_t* const kWorkloadBase; // below HKEY_CURRENT_USER

std::wstring SubKeyName(int i);
std::wstring ValueName(int j);

struct Workload {
    std::vector<HKEY> keys;                                      // the sub-keys, open
    std::vector<std::wstring> names;                             // the value names
    std::unordered_map<std::wstring, std::vector<BYTE>> floor; // path + "\" + name -> data
    HKEY elsewhere = nullptr; // a key of its own, for writes unrelated to the reads
};

// Made on first use, in the store that TESSEL_REGISTRY_DIR names.
Workload& TheWorkload();

} // namespace TesselBench

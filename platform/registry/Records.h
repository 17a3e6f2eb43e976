// What the store's layers hand each other: which hive, a key, a value, the entries of a key's
// lists. Every layer includes this header; none of it knows where the records come from.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "TesselPlatform/Registry.h"
#include "registry/RegistryText.h"

namespace TesselPlatform::Registry {

enum class HiveId { Machine, User, Users };
constexpr int HiveCount = 3;

// The id of every hive's root key.
constexpr std::int64_t RootKeyId = 1;

// The deepest key below a hive root.
constexpr int MaxKeyDepth = 512;

struct KeyRecord {
    std::int64_t id = 0;     // 0: a predefined key's path that isn't made yet, which reads as empty
    std::int64_t parent = 0;
    REGSAM access = 0; // what the key grants: the stand-in for its security descriptor
    int depth = 0;     // levels below the hive root
};

struct ValueRecord {
    DWORD type = REG_NONE;
    std::string data;
};

struct SubKeyEntry {
    Utf16 name;
    Utf16 className;
    std::int64_t id = 0; // for its last-write time, which few callers ask for
};

struct ValueEntry {
    Utf16 name;
    ValueRecord value;
};

using SubKeyList = std::vector<SubKeyEntry>;
using ValueList = std::vector<ValueEntry>;

} // namespace TesselPlatform::Registry

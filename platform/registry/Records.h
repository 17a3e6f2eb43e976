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
    std::int64_t id = 0;
    REGSAM access = 0; // what the sub-key grants, so that a listed key can be opened from its list
};

struct ValueEntry {
    Utf16 name;
    ValueRecord value;
};

using SubKeyList = std::vector<SubKeyEntry>;
using ValueList = std::vector<ValueEntry>;

// What one committed change did, as the hive's change record keeps it (docs/hive-format.md):
// enough for a process to drop what it remembers of it, and for a watcher to tell which key
// changed, how, and whether it lies below a key it watches, even once the key's rows are gone.
enum class ChangeKind {
    Everything = 0,    // anything may have changed: the hive was made or migrated
    ValueSet = 1,      // a value of key, name, was set
    ValueDeleted = 2,  // a value of key, name, was deleted
    KeyCreated = 3,    // key, name, was made below parent: a sub-key added to parent
    KeyDeleted = 4,    // key, name, was deleted from below parent: each key of a deleted tree has one
    AccessChanged = 5, // what key grants changed: its security, and so its attributes
};

struct ChangeRecord {
    std::int64_t seq = 0; // the change sequence: every change has the next number
    ChangeKind kind = ChangeKind::Everything;
    std::int64_t key = 0;
    std::int64_t parent = 0; // key's parent when the change was made
    Utf16 name;              // the value's name, or for key changes the key's own
    std::vector<std::int64_t> ancestors; // the keys above key, from the root down to parent
};

} // namespace TesselPlatform::Registry

// From what a caller passes to what the store holds: predefined keys and their aliases, sub-key
// paths and their limits, requested rights, the 32-bit view, and the walk down a path.
#pragma once

#include <cstdint>
#include <vector>

#include "TesselPlatform/Registry.h"
#include "registry/HandleTable.h"
#include "registry/Hive.h"
#include "registry/RegistryText.h"

namespace TesselRegistry {

// The deepest key below a hive root.
constexpr int MaxKeyDepth = 512;

enum class RootKind {
    Stored,      // a hive root or a fixed path inside one
    Performance, // holds nothing, refuses writes
    Invalid      // HKEY_DYN_DATA: no such thing on this system
};

struct RootKey {
    HKEY key;
    RootKind kind;
    HiveId hive;
    std::vector<Utf16> prefix; // the path inside the hive that the predefined key names
};

// What a handle argument stands for.
struct Target {
    HKEY key = nullptr;
    const RootKey* root = nullptr; // set for predefined keys and handles that stand for one
    KeyHandle handle;
};

// ERROR_INVALID_HANDLE for null, closed, foreign and invalid predefined handles.
LONG TargetOf(HKEY key, Target& out);

// Splits a sub-key path into its names (null gives none): trailing backslashes are ignored, a
// leading one or an empty name between two gives ERROR_BAD_PATHNAME, a name longer than 255
// units ERROR_INVALID_PARAMETER.
LONG SplitPath(const wchar_t* path, std::vector<Utf16>& parts);

// A value name (null is the default value's empty name); longer than 16,383 units gives
// ERROR_INVALID_PARAMETER.
LONG ValueName(const wchar_t* name, Utf16& out);

// Both view flags at once are refused with ERROR_INVALID_PARAMETER.
bool ConflictingViews(REGSAM sam);

// The rights a request means: generic rights mapped to key rights, view flags dropped, and
// MAXIMUM_ALLOWED answered with all that the key grants.
REGSAM RequestedRights(REGSAM sam, REGSAM granted);

// Whether the handle may do what rights names on key. A predefined key's own handle has all
// that the key grants, as Windows opens it with MAXIMUM_ALLOWED; any other handle has what it
// was opened with.
bool HandleAllows(const Target& target, const KeyRecord& key, REGSAM rights);

// Finds the key a target stands for. A handle whose key is gone gives ERROR_KEY_DELETED; a
// predefined key whose path doesn't exist gives ERROR_FILE_NOT_FOUND, or is made with create.
LONG Locate(Hive& hive, const Target& target, bool create, KeyRecord& out);

struct WalkOptions {
    bool create = false;
    bool view32 = false;             // KEY_WOW64_32KEY
    const Utf16* className = nullptr; // for the last key, if it is made
};

// Walks parts down from start. With create, missing keys are made, each only if its parent
// grants KEY_CREATE_SUB_KEY; created tells whether the last key is new.
LONG Walk(Hive& hive, HiveId id, const KeyRecord& start, const std::vector<Utf16>& parts, const WalkOptions& options,
          KeyRecord& out, bool& created);

} // namespace TesselRegistry

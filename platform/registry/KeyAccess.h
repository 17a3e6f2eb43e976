// Key access: from the handle a caller passes to the key it stands for, and what the handle may
// do there. The predefined keys and their paths, requested and granted rights, the walk down a
// path with the 32-bit view, and the operations that each registry function comes down to:
// every one of them is argument checks and then one call into this unit.
#pragma once

#include <vector>

#include "registry/HandleTable.h"
#include "registry/Hive.h"
#include "registry/Records.h"

namespace TesselPlatform::Registry {

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

// HKEY_PERFORMANCE_DATA and its text keys: they hold nothing and take nothing.
bool IsPerformance(const Target& target);

// TargetOf for a call on the store, which refuses the performance keys with performanceStatus:
// each call has its own documented status for them.
LONG StoreTargetOf(HKEY key, LONG performanceStatus, Target& out);

// Whether the handle was opened with rights. A predefined key's own handle passes here; what it
// may do is what its key grants, which only the store can tell (see HandleAllows).
bool HandleOpenedWith(const Target& target, REGSAM rights);

// The rights a request means: generic rights mapped to key rights, view flags dropped, and
// MAXIMUM_ALLOWED answered with all that the key grants.
REGSAM RequestedRights(REGSAM sam, REGSAM granted);

// Whether the handle may do what rights names on key. A predefined key's own handle has all
// that the key grants, as Windows opens it with MAXIMUM_ALLOWED; any other handle has what it
// was opened with.
bool HandleAllows(const Target& target, const KeyRecord& key, REGSAM rights);

// What Locate does with a predefined key whose path isn't made yet.
enum class Unmade {
    Fails,      // ERROR_FILE_NOT_FOUND
    ReadsEmpty, // a record of id 0 that grants all, as the key it will be, and holds nothing
    IsMade      // the path is made; only inside a write
};

// Finds the key a target stands for. A handle whose key is gone gives ERROR_KEY_DELETED.
LONG Locate(Hive& hive, const Target& target, Unmade unmade, KeyRecord& out);

struct WalkOptions {
    bool create = false;
    bool view32 = false;              // KEY_WOW64_32KEY
    const Utf16* className = nullptr; // for the last key, if it is made
};

// Walks parts down from start. With create, missing keys are made, each only if its parent
// grants KEY_CREATE_SUB_KEY; created tells whether the last key is new.
LONG Walk(Hive& hive, HiveId id, const KeyRecord& start, const std::vector<Utf16>& parts, const WalkOptions& options,
          KeyRecord& out, bool& created);

// Runs body(hive, key) under the hive's read lock on the key behind target, once the handle
// may do rights there. A predefined key whose path isn't made yet answers unmade.
template <typename Body>
LONG ReadKey(const Target& target, REGSAM rights, LONG unmade, Body&& body)
{
    Hive& hive = Hive::Get(target.handle.hive);
    return hive.Read([&]() -> LONG {
        KeyRecord key;
        const LONG status = Locate(hive, target, Unmade::ReadsEmpty, key);
        if (status != ERROR_SUCCESS)
            return status;
        if (!HandleAllows(target, key, rights))
            return ERROR_ACCESS_DENIED;
        return key.id == 0 ? unmade : body(hive, key);
    });
}

// Runs body(hive, key) in one write transaction on the key behind target, once the handle may
// do rights there. With create, a hive or a predefined key's path that isn't made yet is made;
// without it, either answers ERROR_FILE_NOT_FOUND.
template <typename Body>
LONG WriteKey(const Target& target, REGSAM rights, bool create, Body&& body)
{
    Hive& hive = Hive::Get(target.handle.hive);
    return hive.Write(create, ERROR_FILE_NOT_FOUND, [&]() -> LONG {
        KeyRecord key;
        const LONG status = Locate(hive, target, create ? Unmade::IsMade : Unmade::Fails, key);
        if (status != ERROR_SUCCESS)
            return status;
        return HandleAllows(target, key, rights) ? body(hive, key) : ERROR_ACCESS_DENIED;
    });
}

// The handle to give out for the key that parts name below target, opened with sam.
LONG OpenKey(const Target& target, const std::vector<Utf16>& parts, REGSAM sam, KeyHandle& out);

// The same, making what is missing of the path; created tells whether the last key is new.
LONG CreateKey(const Target& target, const std::vector<Utf16>& parts, const Utf16* className, REGSAM sam,
               KeyHandle& out, bool& created);

// Deletes the key that parts name below target: one key without sub-keys, or with tree the key
// and all below it. The handle's own rights don't matter; each key deleted must grant DELETE.
LONG DeleteKey(const Target& target, const std::vector<Utf16>& parts, bool tree);

// The same for a key already found, inside a write: the key alone when it has no sub-keys, or
// with tree all below it; a hive's root can't go.
LONG DeleteFound(Hive& hive, const KeyRecord& key, bool tree);

// Sets what the key behind target grants.
LONG SetKeyAccess(const Target& target, REGSAM granted);

} // namespace TesselPlatform::Registry

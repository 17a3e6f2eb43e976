// The key operations behind the registry functions: open, create, delete, and the grant that
// stands in for a key's security descriptor. Implementation here must contain only generic UNIX
// code.

#include "registry/KeyAccess.h"

namespace TesselPlatform::Registry {

namespace {

// The handle to give out for key, opened with sam. A request for more than the key grants is
// refused.
LONG HandleFor(const Target& target, const KeyRecord& key, bool keyIsTarget, REGSAM sam, KeyHandle& out)
{
    const REGSAM wanted = RequestedRights(sam, key.access);
    if ((wanted & ~key.access) != 0)
        return ERROR_ACCESS_DENIED;
    out = KeyHandle{target.handle.hive, key.id, wanted, -1};
    // A new handle to a predefined key keeps standing for its path, as the predefined key does.
    if (keyIsTarget && target.root != nullptr) {
        out.key = 0;
        out.root = target.handle.root;
    }
    return ERROR_SUCCESS;
}

} // namespace

LONG OpenKey(const Target& target, const std::vector<Utf16>& parts, REGSAM sam, KeyHandle& out)
{
    Hive& hive = Hive::Get(target.handle.hive);
    return hive.Read([&]() -> LONG {
        KeyRecord base;
        LONG status = Locate(hive, target, Unmade::ReadsEmpty, base);
        if (status != ERROR_SUCCESS)
            return status;
        // A predefined key whose path isn't made yet can be handed out, but holds nothing.
        if (base.id == 0 && !parts.empty())
            return ERROR_FILE_NOT_FOUND;
        KeyRecord key;
        bool created = false;
        WalkOptions options;
        options.view32 = (sam & KEY_WOW64_32KEY) != 0;
        status = Walk(hive, target.handle.hive, base, parts, options, key, created);
        return status != ERROR_SUCCESS ? status : HandleFor(target, key, parts.empty(), sam, out);
    });
}

LONG CreateKey(const Target& target, const std::vector<Utf16>& parts, const Utf16* className, REGSAM sam,
               KeyHandle& out, bool& created)
{
    WalkOptions options;
    options.view32 = (sam & KEY_WOW64_32KEY) != 0;
    options.className = className;
    Hive& hive = Hive::Get(target.handle.hive);
    created = false;
    // Most creates find the key there already; they need no write transaction.
    LONG status = hive.Read([&]() -> LONG {
        KeyRecord base;
        LONG result = Locate(hive, target, Unmade::Fails, base);
        if (result != ERROR_SUCCESS)
            return result;
        KeyRecord key;
        result = Walk(hive, target.handle.hive, base, parts, options, key, created);
        return result != ERROR_SUCCESS ? result : HandleFor(target, key, parts.empty(), sam, out);
    });
    if (status != ERROR_FILE_NOT_FOUND)
        return status;
    options.create = true;
    return WriteKey(target, 0, true, [&](Hive& writing, const KeyRecord& base) -> LONG {
        KeyRecord key;
        const LONG result = Walk(writing, target.handle.hive, base, parts, options, key, created);
        return result != ERROR_SUCCESS ? result : HandleFor(target, key, parts.empty(), sam, out);
    });
}

LONG DeleteKey(const Target& target, const std::vector<Utf16>& parts, bool tree)
{
    if (parts.empty() && target.root != nullptr)
        return ERROR_ACCESS_DENIED;
    return WriteKey(target, 0, false, [&](Hive& hive, const KeyRecord& base) -> LONG {
        KeyRecord key;
        bool created = false;
        const LONG result = Walk(hive, target.handle.hive, base, parts, WalkOptions{}, key, created);
        return result != ERROR_SUCCESS ? result : DeleteFound(hive, key, tree);
    });
}

LONG DeleteFound(Hive& hive, const KeyRecord& key, bool tree)
{
    if (key.id == RootKeyId)
        return ERROR_ACCESS_DENIED;
    std::vector<KeyRecord> doomed;
    LONG result;
    if (tree) {
        result = hive.Subtree(key.id, doomed);
        if (result != ERROR_SUCCESS)
            return result;
    } else {
        bool hasChildren = false;
        result = hive.HasChildren(key.id, hasChildren);
        if (result != ERROR_SUCCESS)
            return result;
        if (hasChildren)
            return ERROR_ACCESS_DENIED;
        doomed.push_back(key);
    }
    for (const KeyRecord& each : doomed) {
        if ((each.access & DELETE) == 0)
            return ERROR_ACCESS_DENIED;
    }
    for (const KeyRecord& each : doomed) {
        result = hive.DeleteKey(each.id);
        if (result != ERROR_SUCCESS)
            return result;
    }
    return hive.Touch(key.parent);
}

LONG SetKeyAccess(const Target& target, REGSAM granted)
{
    return WriteKey(target, 0, true,
                    [&](Hive& hive, const KeyRecord& key) -> LONG { return hive.SetAccess(key.id, granted); });
}

} // namespace TesselPlatform::Registry

// RegSaveKeyW, RegSaveKeyExW and RegRestoreKeyW: a key and everything below it to a saved-key
// file, and back over a key in one transaction of its hive, so that another process sees the
// key as it was or as the file has it, never a mix. Implementation here must contain only
// generic UNIX code.
//
// What Windows asks of the caller here: a handle that may read the key (save) or set its values
// and make its sub-keys (restore), in place of the backup and restore privileges; the grants of
// the keys below it don't stop either, as the privileges pass over security.

#include <algorithm>
#include <string>

#include "TesselPlatform/Registry.h"
#include "registry/KeyAccess.h"
#include "registry/SavedKeyFile.h"
#include "text/Utf8Strings.h"

using namespace TesselPlatform::Registry;

namespace {

constexpr REGSAM kSaveRights = KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS;
constexpr REGSAM kRestoreRights = KEY_SET_VALUE | KEY_CREATE_SUB_KEY;

// Adds the values, class and time of the key at index, and its sub-keys behind the tree's end.
LONG SnapshotKey(Hive& hive, std::int64_t id, std::size_t index, SavedTree& tree, std::vector<std::int64_t>& ids)
{
    LONG status = hive.KeyInfo(id, tree[index].className, tree[index].written);
    std::shared_ptr<const ValueList> values;
    if (status == ERROR_SUCCESS)
        status = hive.Values(id, values);
    if (status != ERROR_SUCCESS)
        return status;
    tree[index].values = *values;
    std::shared_ptr<const SubKeyList> subKeys;
    status = hive.SubKeys(id, subKeys);
    if (status != ERROR_SUCCESS)
        return status;
    for (const SubKeyEntry& entry : *subKeys) {
        SavedKey child;
        child.parent = index;
        child.name = entry.name;
        child.access = entry.access;
        tree.push_back(std::move(child));
        ids.push_back(entry.id);
    }
    return ERROR_SUCCESS;
}

// The key and all below it, breadth first so that parents come before their children.
LONG Snapshot(Hive& hive, const KeyRecord& key, SavedTree& tree)
{
    tree.assign(1, SavedKey{});
    tree[0].access = key.access;
    if (key.id == 0)
        return ERROR_SUCCESS; // a predefined key's path not made yet: an empty key
    std::vector<std::int64_t> ids{key.id};
    for (std::size_t i = 0; i < tree.size(); ++i) {
        const LONG status = SnapshotKey(hive, ids[i], i, tree, ids);
        if (status != ERROR_SUCCESS)
            return status;
    }
    return ERROR_SUCCESS;
}

LONG SaveKey(HKEY hKey, LPCWSTR lpFile, bool hiveRootOnly)
{
    if (lpFile == nullptr || *lpFile == L'\0')
        return ERROR_INVALID_PARAMETER;
    Target target;
    LONG status = StoreTargetOf(hKey, ERROR_ACCESS_DENIED, target);
    if (status != ERROR_SUCCESS)
        return status;
    const std::string path = TesselPlatform::Text::ToUtf8(lpFile);
    if (path.empty())
        return ERROR_INVALID_NAME;
    SavedTree tree;
    Hive& hive = Hive::Get(target.handle.hive);
    // A write transaction holds other writers off, so that the walk sees one state of the hive.
    status = hive.Write(false, ERROR_FILE_NOT_FOUND, [&]() -> LONG {
        KeyRecord key;
        const LONG located = Locate(hive, target, Unmade::ReadsEmpty, key);
        if (located != ERROR_SUCCESS)
            return located;
        if (!HandleAllows(target, key, kSaveRights))
            return ERROR_ACCESS_DENIED;
        if (hiveRootOnly && key.id != RootKeyId)
            return ERROR_INVALID_PARAMETER;
        return Snapshot(hive, key, tree);
    });
    // A hive not made yet: its predefined keys read as empty.
    if (status == ERROR_FILE_NOT_FOUND && target.root != nullptr && !hiveRootOnly) {
        tree.assign(1, SavedKey{});
        tree[0].access = KEY_ALL_ACCESS;
        status = ERROR_SUCCESS;
    }
    return status != ERROR_SUCCESS ? status : WriteSavedKeyFile(path, tree);
}

// How deep the tree reaches below its first key.
int DepthOf(const SavedTree& tree)
{
    std::vector<int> depth(tree.size(), 0);
    int deepest = 0;
    for (std::size_t i = 1; i < tree.size(); ++i) {
        depth[i] = depth[tree[i].parent] + 1;
        deepest = std::max(deepest, depth[i]);
    }
    return deepest;
}

// Deletes every value and sub-key of key, leaving the key itself.
LONG EmptyKey(Hive& hive, const KeyRecord& key)
{
    std::vector<KeyRecord> below;
    LONG status = hive.Subtree(key.id, below);
    for (const KeyRecord& each : below) {
        if (status == ERROR_SUCCESS && each.id != key.id)
            status = hive.DeleteKey(each.id);
    }
    std::shared_ptr<const ValueList> values;
    if (status == ERROR_SUCCESS)
        status = hive.Values(key.id, values);
    if (status != ERROR_SUCCESS)
        return status;
    const ValueList doomed = *values; // the cache's list goes with the first delete
    for (const ValueEntry& value : doomed) {
        status = hive.DeleteValue(key, FoldKey(value.name));
        if (status != ERROR_SUCCESS)
            return status;
    }
    return ERROR_SUCCESS;
}

// Makes the tree's keys below key and sets every value; the last-write times go last, as
// making a key touches its parent.
LONG FillKey(Hive& hive, const KeyRecord& key, const SavedTree& tree)
{
    std::vector<KeyRecord> made(tree.size());
    made[0] = key;
    for (std::size_t i = 1; i < tree.size(); ++i) {
        const SavedKey& saved = tree[i];
        LONG status = hive.CreateChild(made[saved.parent], saved.name, FoldKey(saved.name),
                                       saved.className.empty() ? nullptr : &saved.className, made[i]);
        if (status == ERROR_SUCCESS && saved.access != made[i].access) {
            status = hive.SetAccess(made[i].id, saved.access);
            made[i].access = saved.access;
        }
        if (status != ERROR_SUCCESS)
            return status;
    }
    for (std::size_t i = 0; i < tree.size(); ++i) {
        for (const ValueEntry& value : tree[i].values) {
            const LONG status = hive.SetValue(made[i], value.name, FoldKey(value.name), value.value.type,
                                              value.value.data.data(), value.value.data.size());
            if (status != ERROR_SUCCESS)
                return status;
        }
    }
    for (std::size_t i = 0; i < tree.size(); ++i) {
        const LONG status = hive.SetWritten(made[i].id, tree[i].written);
        if (status != ERROR_SUCCESS)
            return status;
    }
    return ERROR_SUCCESS;
}

LONG RestoreFlags(DWORD flags)
{
    // No memory-only hives and no lazy flush to go back to on this system.
    constexpr DWORD kUnsupported = REG_WHOLE_HIVE_VOLATILE | REG_REFRESH_HIVE | REG_NO_LAZY_FLUSH;
    if ((flags & ~(kUnsupported | REG_FORCE_RESTORE)) != 0)
        return ERROR_INVALID_PARAMETER;
    return (flags & kUnsupported) != 0 ? ERROR_NOT_SUPPORTED : ERROR_SUCCESS;
}

} // namespace

LSTATUS WINAPI RegSaveKeyW(HKEY hKey, LPCWSTR lpFile, const LPSECURITY_ATTRIBUTES /*lpSecurityAttributes*/)
{
    return SaveKey(hKey, lpFile, false);
}

LSTATUS WINAPI RegSaveKeyExW(HKEY hKey, LPCWSTR lpFile, const LPSECURITY_ATTRIBUTES /*lpSecurityAttributes*/,
                             DWORD Flags)
{
    if (Flags != REG_STANDARD_FORMAT && Flags != REG_LATEST_FORMAT && Flags != REG_NO_COMPRESSION)
        return ERROR_INVALID_PARAMETER;
    if (hKey == HKEY_CLASSES_ROOT)
        return ERROR_INVALID_HANDLE;
    return SaveKey(hKey, lpFile, Flags == REG_NO_COMPRESSION);
}

LSTATUS WINAPI RegRestoreKeyW(HKEY hKey, LPCWSTR lpFile, DWORD dwFlags)
{
    LONG status = RestoreFlags(dwFlags);
    if (status != ERROR_SUCCESS)
        return status;
    if (lpFile == nullptr || *lpFile == L'\0')
        return ERROR_INVALID_PARAMETER;
    Target target;
    status = TargetOf(hKey, target);
    if (status != ERROR_SUCCESS)
        return status;
    if (IsPerformance(target) || !HandleOpenedWith(target, kRestoreRights))
        return ERROR_ACCESS_DENIED;
    const std::string path = TesselPlatform::Text::ToUtf8(lpFile);
    if (path.empty())
        return ERROR_INVALID_NAME;
    // The whole file is read and checked before the hive is touched.
    SavedTree tree;
    status = ReadSavedKeyFile(path, tree);
    if (status != ERROR_SUCCESS)
        return status;
    const int depth = DepthOf(tree);
    return WriteKey(target, kRestoreRights, true, [&](Hive& hive, const KeyRecord& key) -> LONG {
        if (key.depth + depth > MaxKeyDepth)
            return ERROR_INVALID_PARAMETER;
        const LONG emptied = EmptyKey(hive, key);
        return emptied != ERROR_SUCCESS ? emptied : FillKey(hive, key, tree);
    });
}

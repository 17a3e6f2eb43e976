// The key functions of the registry API: open, create, close, delete, delete a tree, and the
// access mask that stands in for a key's security descriptor. Implementation here must contain
// only generic UNIX code.

#include <pthread.h>
#include <vector>

#include "TesselPlatform/Registry.h"
#include "registry/HandleTable.h"
#include "registry/Hive.h"
#include "registry/KeyResolver.h"

using namespace TesselRegistry;

namespace {

void PrepareFork()
{
    HandleTable::Instance().LockForFork();
    Hive::LockAllForFork();
}

void AfterForkInParent()
{
    Hive::UnlockAllAfterFork();
    HandleTable::Instance().UnlockInParent();
}

void AfterForkInChild()
{
    Hive::UnlockAllAfterFork();
    HandleTable::Instance().ResetInChild();
}

// Registered when the library loads, so that no fork can come between a first call and this.
const int g_forkHandlers = pthread_atfork(PrepareFork, AfterForkInParent, AfterForkInChild);

LONG NewHandle(const KeyHandle& handle, PHKEY result)
{
    const HKEY key = HandleTable::Instance().Insert(handle);
    if (key == nullptr)
        return ERROR_OUTOFMEMORY;
    *result = key;
    return ERROR_SUCCESS;
}

bool IsPerformance(const Target& target)
{
    return target.root != nullptr && target.root->kind == RootKind::Performance;
}

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

// Deletes the key that subKey names below target: one key without sub-keys, or with tree the
// key and all below it. The handle's own rights don't matter; each key deleted must grant DELETE.
LONG DeleteKey(HKEY hKey, LPCWSTR subKey, bool tree)
{
    if (subKey == nullptr)
        return ERROR_INVALID_PARAMETER;
    Target target;
    LONG status = TargetOf(hKey, target);
    if (status != ERROR_SUCCESS)
        return status;
    if (IsPerformance(target))
        return ERROR_ACCESS_DENIED;
    std::vector<Utf16> parts;
    status = SplitPath(subKey, parts);
    if (status != ERROR_SUCCESS)
        return status;
    if (parts.empty() && target.root != nullptr)
        return ERROR_ACCESS_DENIED;
    Hive& hive = Hive::Get(target.handle.hive);
    return hive.Write(false, ERROR_FILE_NOT_FOUND, [&]() -> LONG {
        KeyRecord base;
        LONG result = Locate(hive, target, false, base);
        if (result != ERROR_SUCCESS)
            return result;
        KeyRecord key;
        bool created = false;
        result = Walk(hive, target.handle.hive, base, parts, WalkOptions{}, key, created);
        if (result != ERROR_SUCCESS)
            return result;
        if (key.id == RootKeyId)
            return ERROR_ACCESS_DENIED;
        std::vector<KeyRecord> doomed;
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
    });
}

} // namespace

LSTATUS WINAPI RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD /*ulOptions*/, REGSAM samDesired, PHKEY phkResult)
{
    if (phkResult == nullptr)
        return ERROR_INVALID_PARAMETER;
    *phkResult = nullptr;
    if (ConflictingViews(samDesired))
        return ERROR_INVALID_PARAMETER;
    Target target;
    LONG status = TargetOf(hKey, target);
    if (status != ERROR_SUCCESS)
        return status;
    const bool emptySubKey = lpSubKey == nullptr || *lpSubKey == L'\0';
    if (IsPerformance(target)) {
        if (!emptySubKey)
            return ERROR_FILE_NOT_FOUND;
        *phkResult = hKey;
        return ERROR_SUCCESS;
    }
    // The predefined keys answer an empty sub-key with themselves: HKCR for "", the others for
    // null. The other form gives a new handle.
    if (emptySubKey && target.root != nullptr && target.root->key == hKey &&
        (hKey == HKEY_CLASSES_ROOT) == (lpSubKey != nullptr)) {
        *phkResult = hKey;
        return ERROR_SUCCESS;
    }
    std::vector<Utf16> parts;
    status = SplitPath(lpSubKey, parts);
    if (status != ERROR_SUCCESS)
        return status;

    Hive& hive = Hive::Get(target.handle.hive);
    KeyHandle opened;
    status = hive.Read([&]() -> LONG {
        KeyRecord base;
        LONG result = Locate(hive, target, false, base);
        if (result == ERROR_FILE_NOT_FOUND && parts.empty() && target.root != nullptr) {
            // A predefined key whose path isn't made yet can still be handed out.
            base.access = KEY_ALL_ACCESS;
            return HandleFor(target, base, true, samDesired, opened);
        }
        if (result != ERROR_SUCCESS)
            return result;
        KeyRecord key;
        bool created = false;
        WalkOptions options;
        options.view32 = (samDesired & KEY_WOW64_32KEY) != 0;
        result = Walk(hive, target.handle.hive, base, parts, options, key, created);
        if (result != ERROR_SUCCESS)
            return result;
        return HandleFor(target, key, parts.empty(), samDesired, opened);
    });
    if (status != ERROR_SUCCESS)
        return status;
    return NewHandle(opened, phkResult);
}

LSTATUS WINAPI RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD /*Reserved*/, LPWSTR lpClass, DWORD /*dwOptions*/,
                               REGSAM samDesired, const SECURITY_ATTRIBUTES* /*lpSecurityAttributes*/,
                               PHKEY phkResult, LPDWORD lpdwDisposition)
{
    if (phkResult == nullptr)
        return ERROR_INVALID_PARAMETER;
    *phkResult = nullptr;
    if (lpSubKey == nullptr || ConflictingViews(samDesired))
        return ERROR_INVALID_PARAMETER;
    Target target;
    LONG status = TargetOf(hKey, target);
    if (status != ERROR_SUCCESS)
        return status;
    if (IsPerformance(target))
        return ERROR_ACCESS_DENIED;
    std::vector<Utf16> parts;
    status = SplitPath(lpSubKey, parts);
    if (status != ERROR_SUCCESS)
        return status;
    Utf16 className;
    if (lpClass != nullptr && !ToUtf16(lpClass, className))
        return ERROR_INVALID_PARAMETER;

    WalkOptions options;
    options.view32 = (samDesired & KEY_WOW64_32KEY) != 0;
    options.className = lpClass != nullptr && !className.empty() ? &className : nullptr;
    Hive& hive = Hive::Get(target.handle.hive);
    KeyHandle opened;
    bool created = false;

    // Most creates find the key there already; they need no write transaction.
    status = hive.Read([&]() -> LONG {
        KeyRecord base;
        LONG result = Locate(hive, target, false, base);
        if (result != ERROR_SUCCESS)
            return result;
        KeyRecord key;
        result = Walk(hive, target.handle.hive, base, parts, options, key, created);
        return result != ERROR_SUCCESS ? result : HandleFor(target, key, parts.empty(), samDesired, opened);
    });
    if (status == ERROR_FILE_NOT_FOUND) {
        status = hive.Write(true, ERROR_FILE_NOT_FOUND, [&]() -> LONG {
            KeyRecord base;
            LONG result = Locate(hive, target, true, base);
            if (result != ERROR_SUCCESS)
                return result;
            KeyRecord key;
            WalkOptions creating = options;
            creating.create = true;
            result = Walk(hive, target.handle.hive, base, parts, creating, key, created);
            return result != ERROR_SUCCESS ? result : HandleFor(target, key, parts.empty(), samDesired, opened);
        });
    }
    if (status != ERROR_SUCCESS)
        return status;
    status = NewHandle(opened, phkResult);
    if (status == ERROR_SUCCESS && lpdwDisposition != nullptr)
        *lpdwDisposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    return status;
}

LSTATUS WINAPI RegCloseKey(HKEY hKey)
{
    Target target;
    const LONG status = TargetOf(hKey, target);
    if (status != ERROR_SUCCESS)
        return status;
    if (target.key != nullptr && target.root != nullptr && target.root->key == hKey)
        return ERROR_SUCCESS;
    return HandleTable::Instance().Remove(hKey) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LSTATUS WINAPI RegDeleteKeyW(HKEY hKey, LPCWSTR lpSubKey)
{
    return DeleteKey(hKey, lpSubKey, false);
}

LSTATUS WINAPI SHDeleteKeyW(HKEY hKey, LPCWSTR pszSubKey)
{
    return DeleteKey(hKey, pszSubKey, true);
}

LSTATUS WINAPI TesselRegSetKeyAccess(HKEY hKey, REGSAM granted)
{
    Target target;
    const LONG status = TargetOf(hKey, target);
    if (status != ERROR_SUCCESS)
        return status;
    if (IsPerformance(target))
        return ERROR_ACCESS_DENIED;
    Hive& hive = Hive::Get(target.handle.hive);
    return hive.Write(true, ERROR_FILE_NOT_FOUND, [&]() -> LONG {
        KeyRecord key;
        const LONG result = Locate(hive, target, true, key);
        return result != ERROR_SUCCESS ? result : hive.SetAccess(key.id, granted);
    });
}

void WINAPI TesselRegInjectFailure(int sqliteResult, DWORD nth)
{
    InjectFailure(sqliteResult, nth);
}

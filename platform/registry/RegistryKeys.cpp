// The key functions of the registry API: open, create, close, delete, delete a tree, and the
// access mask that stands in for a key's security descriptor. Each checks its arguments and
// makes one call into key access. Implementation here must contain only generic UNIX code.

#include <vector>

#include "TesselPlatform/Registry.h"
#include "registry/Arguments.h"
#include "registry/ChangeWatcher.h"
#include "registry/Database.h"
#include "registry/HandleTable.h"
#include "registry/KeyAccess.h"

using namespace TesselPlatform::Registry;

namespace {

LONG NewHandle(const KeyHandle& handle, PHKEY result)
{
    const HKEY key = HandleTable::Instance().Insert(handle);
    if (key == nullptr)
        return ERROR_OUTOFMEMORY;
    *result = key;
    return ERROR_SUCCESS;
}

// The checks that deleting a key and deleting a tree share; parts gets the sub-key's names.
LONG DeleteArguments(HKEY hKey, LPCWSTR subKey, Target& target, std::vector<Utf16>& parts)
{
    if (subKey == nullptr)
        return ERROR_INVALID_PARAMETER;
    const LONG status = StoreTargetOf(hKey, ERROR_ACCESS_DENIED, target);
    if (status != ERROR_SUCCESS)
        return status;
    return SplitPath(subKey, parts);
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
    // Kept from call to call: an open of a path like the last one allocates nothing for it.
    thread_local std::vector<Utf16> parts;
    status = SplitPath(lpSubKey, parts);
    if (status != ERROR_SUCCESS)
        return status;
    KeyHandle opened;
    status = OpenKey(target, parts, samDesired, opened);
    return status != ERROR_SUCCESS ? status : NewHandle(opened, phkResult);
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
    LONG status = StoreTargetOf(hKey, ERROR_ACCESS_DENIED, target);
    if (status != ERROR_SUCCESS)
        return status;
    thread_local std::vector<Utf16> parts;
    status = SplitPath(lpSubKey, parts);
    if (status != ERROR_SUCCESS)
        return status;
    Utf16 className;
    if (lpClass != nullptr && !ToUtf16(lpClass, className))
        return ERROR_INVALID_PARAMETER;
    KeyHandle opened;
    bool created = false;
    status = CreateKey(target, parts, className.empty() ? nullptr : &className, samDesired, opened, created);
    if (status == ERROR_SUCCESS)
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
    if (!HandleTable::Instance().Remove(hKey))
        return ERROR_INVALID_HANDLE;
    ChangeWatcher::Instance().HandleClosed(hKey);
    return ERROR_SUCCESS;
}

LSTATUS WINAPI RegDeleteKeyW(HKEY hKey, LPCWSTR lpSubKey)
{
    Target target;
    std::vector<Utf16> parts;
    const LONG status = DeleteArguments(hKey, lpSubKey, target, parts);
    return status != ERROR_SUCCESS ? status : DeleteKey(target, parts, false);
}

LSTATUS WINAPI SHDeleteKeyW(HKEY hKey, LPCWSTR pszSubKey)
{
    Target target;
    std::vector<Utf16> parts;
    const LONG status = DeleteArguments(hKey, pszSubKey, target, parts);
    return status != ERROR_SUCCESS ? status : DeleteKey(target, parts, true);
}

LSTATUS WINAPI TesselRegSetKeyAccess(HKEY hKey, REGSAM granted)
{
    Target target;
    const LONG status = StoreTargetOf(hKey, ERROR_ACCESS_DENIED, target);
    if (status != ERROR_SUCCESS)
        return status;
    return SetKeyAccess(target, granted);
}

void WINAPI TesselRegInjectFailure(int sqliteResult, DWORD nth)
{
    InjectFailure(sqliteResult, nth);
}

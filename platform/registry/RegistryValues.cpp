// The value and enumeration functions of the registry API: query, set, delete, enumerate sub-keys
// and values, and describe a key. Each checks its arguments and makes one call into key access.
// Implementation here must contain only generic UNIX code.

#include <algorithm>
#include <cstring>

#include "TesselPlatform/Registry.h"
#include "registry/Arguments.h"
#include "registry/KeyAccess.h"

using namespace TesselPlatform::Registry;

namespace {

void SetFileTime(PFILETIME time, std::int64_t value)
{
    if (time == nullptr)
        return;
    time->dwLowDateTime = static_cast<DWORD>(value & 0xFFFFFFFF);
    time->dwHighDateTime = static_cast<DWORD>(static_cast<std::uint64_t>(value) >> 32);
}

// Copies data out the way RegQueryValueExW and RegEnumValueW do: the size always, the bytes
// only into a buffer that holds them all.
LONG CopyData(const ValueRecord& value, LPDWORD type, LPBYTE data, LPDWORD size)
{
    if (type != nullptr)
        *type = value.type;
    if (size == nullptr)
        return ERROR_SUCCESS;
    const DWORD needed = static_cast<DWORD>(value.data.size());
    if (data != nullptr) {
        if (*size < needed) {
            *size = needed;
            return ERROR_MORE_DATA;
        }
        if (needed != 0)
            std::memcpy(data, value.data.data(), needed);
    }
    *size = needed;
    return ERROR_SUCCESS;
}

} // namespace

LSTATUS WINAPI RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData,
                                LPDWORD lpcbData)
{
    if (lpReserved != nullptr || (lpData != nullptr && lpcbData == nullptr))
        return ERROR_INVALID_PARAMETER;
    Target target;
    LONG status = StoreTargetOf(hKey, ERROR_FILE_NOT_FOUND, target);
    if (status != ERROR_SUCCESS)
        return status;
    if (!HandleOpenedWith(target, KEY_QUERY_VALUE))
        return ERROR_ACCESS_DENIED;
    Utf16 name;
    status = ValueName(lpValueName, name);
    if (status != ERROR_SUCCESS)
        return status;
    const std::string fold = FoldKey(name);
    return ReadKey(target, KEY_QUERY_VALUE, ERROR_FILE_NOT_FOUND, [&](Hive& hive, const KeyRecord& key) -> LONG {
        const ValueRecord* value = nullptr;
        const LONG result = hive.Value(key.id, fold, value);
        return result != ERROR_SUCCESS ? result : CopyData(*value, lpType, lpData, lpcbData);
    });
}

LSTATUS WINAPI RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD Reserved, DWORD dwType, const BYTE* lpData,
                              DWORD cbData)
{
    if (Reserved != 0 || (lpData == nullptr && cbData != 0))
        return ERROR_INVALID_PARAMETER;
    Target target;
    LONG status = TargetOf(hKey, target);
    if (status != ERROR_SUCCESS)
        return status;
    if (IsPerformance(target) || !HandleOpenedWith(target, KEY_SET_VALUE))
        return ERROR_ACCESS_DENIED;
    Utf16 name;
    status = ValueName(lpValueName, name);
    if (status != ERROR_SUCCESS)
        return status;
    const std::string fold = FoldKey(name);
    return WriteKey(target, KEY_SET_VALUE, true, [&](Hive& hive, const KeyRecord& key) -> LONG {
        return hive.SetValue(key, name, fold, dwType, lpData, cbData);
    });
}

LSTATUS WINAPI RegDeleteValueW(HKEY hKey, LPCWSTR lpValueName)
{
    Target target;
    LONG status = TargetOf(hKey, target);
    if (status != ERROR_SUCCESS)
        return status;
    if (IsPerformance(target) || !HandleOpenedWith(target, KEY_SET_VALUE))
        return ERROR_ACCESS_DENIED;
    Utf16 name;
    status = ValueName(lpValueName, name);
    if (status != ERROR_SUCCESS)
        return status;
    const std::string fold = FoldKey(name);
    return WriteKey(target, KEY_SET_VALUE, false,
                    [&](Hive& hive, const KeyRecord& key) -> LONG { return hive.DeleteValue(key, fold); });
}

LSTATUS WINAPI RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved,
                             LPWSTR lpClass, LPDWORD lpcchClass, PFILETIME lpftLastWriteTime)
{
    if (lpName == nullptr || lpcchName == nullptr || lpReserved != nullptr ||
        (lpClass != nullptr && lpcchClass == nullptr))
        return ERROR_INVALID_PARAMETER;
    Target target;
    const LONG status = StoreTargetOf(hKey, ERROR_NO_MORE_ITEMS, target);
    if (status != ERROR_SUCCESS)
        return status;
    if (!HandleOpenedWith(target, KEY_ENUMERATE_SUB_KEYS))
        return ERROR_ACCESS_DENIED;
    return ReadKey(target, KEY_ENUMERATE_SUB_KEYS, ERROR_NO_MORE_ITEMS, [&](Hive& hive, const KeyRecord& key) -> LONG {
        const SubKeyEntry* found = nullptr;
        LONG result = hive.SubKeyAt(key.id, dwIndex, found);
        if (result != ERROR_SUCCESS)
            return result;
        const SubKeyEntry& entry = *found;
        const std::size_t nameLength = WideLength(entry.name);
        const std::size_t classLength = WideLength(entry.className);
        // A buffer too small gets nothing, and its count stays as it was.
        if (*lpcchName <= nameLength || (lpClass != nullptr && *lpcchClass <= classLength))
            return ERROR_MORE_DATA;
        std::int64_t written = 0;
        if (lpftLastWriteTime != nullptr) {
            Utf16 unused;
            result = hive.KeyInfo(entry.id, unused, written);
            if (result != ERROR_SUCCESS)
                return result;
        }
        CopyToWide(entry.name, lpName);
        *lpcchName = static_cast<DWORD>(nameLength);
        if (lpClass != nullptr) {
            CopyToWide(entry.className, lpClass);
            *lpcchClass = static_cast<DWORD>(classLength);
        } else if (lpcchClass != nullptr) {
            *lpcchClass = static_cast<DWORD>(classLength);
        }
        SetFileTime(lpftLastWriteTime, written);
        return ERROR_SUCCESS;
    });
}

LSTATUS WINAPI RegEnumValueW(HKEY hKey, DWORD dwIndex, LPWSTR lpValueName, LPDWORD lpcchValueName, LPDWORD lpReserved,
                             LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData)
{
    if (lpValueName == nullptr || lpcchValueName == nullptr || lpReserved != nullptr ||
        (lpData != nullptr && lpcbData == nullptr))
        return ERROR_INVALID_PARAMETER;
    Target target;
    const LONG status = StoreTargetOf(hKey, ERROR_NO_MORE_ITEMS, target);
    if (status != ERROR_SUCCESS)
        return status;
    if (!HandleOpenedWith(target, KEY_QUERY_VALUE))
        return ERROR_ACCESS_DENIED;
    return ReadKey(target, KEY_QUERY_VALUE, ERROR_NO_MORE_ITEMS, [&](Hive& hive, const KeyRecord& key) -> LONG {
        std::shared_ptr<const ValueList> list;
        const LONG result = hive.Values(key.id, list);
        if (result != ERROR_SUCCESS)
            return result;
        if (dwIndex >= list->size())
            return ERROR_NO_MORE_ITEMS;
        const ValueEntry& entry = (*list)[dwIndex];
        const std::size_t nameLength = WideLength(entry.name);
        if (*lpcchValueName <= nameLength)
            return ERROR_MORE_DATA;
        CopyToWide(entry.name, lpValueName);
        *lpcchValueName = static_cast<DWORD>(nameLength);
        return CopyData(entry.value, lpType, lpData, lpcbData);
    });
}

LSTATUS WINAPI RegQueryInfoKeyW(HKEY hKey, LPWSTR lpClass, LPDWORD lpcchClass, LPDWORD lpReserved, LPDWORD lpcSubKeys,
                                LPDWORD lpcbMaxSubKeyLen, LPDWORD lpcbMaxClassLen, LPDWORD lpcValues,
                                LPDWORD lpcbMaxValueNameLen, LPDWORD lpcbMaxValueLen, LPDWORD lpcbSecurityDescriptor,
                                PFILETIME lpftLastWriteTime)
{
    if (lpReserved != nullptr || (lpClass != nullptr && lpcchClass == nullptr))
        return ERROR_INVALID_PARAMETER;
    Target target;
    const LONG status = TargetOf(hKey, target);
    if (status != ERROR_SUCCESS)
        return status;
    if (!IsPerformance(target) && !HandleOpenedWith(target, KEY_QUERY_VALUE))
        return ERROR_ACCESS_DENIED;

    Utf16 className;
    std::int64_t written = 0;
    std::size_t subKeys = 0, maxSubKey = 0, maxClass = 0, values = 0, maxValueName = 0, maxData = 0;
    const auto describe = [&](Hive& hive, const KeyRecord& key) -> LONG {
        LONG found = ERROR_SUCCESS;
        // Only what the caller asks for: the class and the write time cost a query of the
        // database, the lists come from the cache. Walks of a tree ask for counts alone.
        if (lpcchClass != nullptr || lpftLastWriteTime != nullptr) {
            found = hive.KeyInfo(key.id, className, written);
            if (found != ERROR_SUCCESS)
                return found;
        }
        if (lpcSubKeys != nullptr || lpcbMaxSubKeyLen != nullptr || lpcbMaxClassLen != nullptr) {
            std::shared_ptr<const SubKeyList> keyList;
            found = hive.SubKeys(key.id, keyList);
            if (found != ERROR_SUCCESS)
                return found;
            subKeys = keyList->size();
            for (const SubKeyEntry& entry : *keyList) {
                maxSubKey = std::max(maxSubKey, entry.name.size());
                maxClass = std::max(maxClass, entry.className.size());
            }
        }
        if (lpcValues != nullptr || lpcbMaxValueNameLen != nullptr || lpcbMaxValueLen != nullptr) {
            std::shared_ptr<const ValueList> valueList;
            found = hive.Values(key.id, valueList);
            if (found != ERROR_SUCCESS)
                return found;
            values = valueList->size();
            for (const ValueEntry& entry : *valueList) {
                maxValueName = std::max(maxValueName, entry.name.size());
                maxData = std::max(maxData, entry.value.data.size());
            }
        }
        return ERROR_SUCCESS;
    };
    // HKEY_PERFORMANCE_DATA describes itself as empty; so does a predefined key not made yet.
    const LONG result = IsPerformance(target) ? ERROR_SUCCESS : ReadKey(target, KEY_QUERY_VALUE, ERROR_SUCCESS, describe);
    if (result != ERROR_SUCCESS)
        return result;

    LONG outcome = ERROR_SUCCESS;
    if (lpcchClass != nullptr) {
        const std::size_t classLength = WideLength(className);
        if (lpClass != nullptr) {
            if (*lpcchClass <= classLength)
                outcome = ERROR_MORE_DATA;
            else
                CopyToWide(className, lpClass);
        }
        *lpcchClass = static_cast<DWORD>(classLength);
    }
    // Lengths are in UTF-16 units, never fewer than the wchar_t the names take here.
    if (lpcSubKeys != nullptr)
        *lpcSubKeys = static_cast<DWORD>(subKeys);
    if (lpcbMaxSubKeyLen != nullptr)
        *lpcbMaxSubKeyLen = static_cast<DWORD>(maxSubKey);
    if (lpcbMaxClassLen != nullptr)
        *lpcbMaxClassLen = static_cast<DWORD>(maxClass);
    if (lpcValues != nullptr)
        *lpcValues = static_cast<DWORD>(values);
    if (lpcbMaxValueNameLen != nullptr)
        *lpcbMaxValueNameLen = static_cast<DWORD>(maxValueName);
    if (lpcbMaxValueLen != nullptr)
        *lpcbMaxValueLen = static_cast<DWORD>(maxData);
    if (lpcbSecurityDescriptor != nullptr)
        *lpcbSecurityDescriptor = 0;
    SetFileTime(lpftLastWriteTime, written);
    return outcome;
}

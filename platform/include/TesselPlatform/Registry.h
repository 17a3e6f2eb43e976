// The registry functions, predefined keys, value types and access rights, with the Windows
// signatures and values. The store behind them keeps each hive in a database file under
// TESSEL_REGISTRY_DIR (see the README); status codes are those that Windows documents.
#pragma once

#include "TesselPlatform/Errors.h"
#include "TesselPlatform/Types.h"

struct HKEY__;
typedef struct HKEY__* HKEY;
typedef HKEY* PHKEY;
typedef ACCESS_MASK REGSAM;

// The predefined keys are 32-bit values sign-extended to the pointer's width, as Windows makes them.
#define TESSEL_PREDEFINED_HKEY(value) \
    reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(static_cast<LONG_PTR>(static_cast<LONG>(value))))

#define HKEY_CLASSES_ROOT TESSEL_PREDEFINED_HKEY(0x80000000u)
#define HKEY_CURRENT_USER TESSEL_PREDEFINED_HKEY(0x80000001u)
#define HKEY_LOCAL_MACHINE TESSEL_PREDEFINED_HKEY(0x80000002u)
#define HKEY_USERS TESSEL_PREDEFINED_HKEY(0x80000003u)
#define HKEY_PERFORMANCE_DATA TESSEL_PREDEFINED_HKEY(0x80000004u)
#define HKEY_CURRENT_CONFIG TESSEL_PREDEFINED_HKEY(0x80000005u)
#define HKEY_DYN_DATA TESSEL_PREDEFINED_HKEY(0x80000006u)
#define HKEY_PERFORMANCE_TEXT TESSEL_PREDEFINED_HKEY(0x80000050u)
#define HKEY_PERFORMANCE_NLSTEXT TESSEL_PREDEFINED_HKEY(0x80000060u)

// Value types.
#define REG_NONE 0ul
#define REG_SZ 1ul
#define REG_EXPAND_SZ 2ul
#define REG_BINARY 3ul
#define REG_DWORD 4ul
#define REG_DWORD_LITTLE_ENDIAN 4ul
#define REG_DWORD_BIG_ENDIAN 5ul
#define REG_LINK 6ul
#define REG_MULTI_SZ 7ul
#define REG_RESOURCE_LIST 8ul
#define REG_FULL_RESOURCE_DESCRIPTOR 9ul
#define REG_RESOURCE_REQUIREMENTS_LIST 10ul
#define REG_QWORD 11ul
#define REG_QWORD_LITTLE_ENDIAN 11ul

// Access rights of keys.
#define KEY_QUERY_VALUE 0x0001
#define KEY_SET_VALUE 0x0002
#define KEY_CREATE_SUB_KEY 0x0004
#define KEY_ENUMERATE_SUB_KEYS 0x0008
#define KEY_NOTIFY 0x0010
#define KEY_CREATE_LINK 0x0020
#define KEY_WOW64_64KEY 0x0100
#define KEY_WOW64_32KEY 0x0200
#define KEY_WOW64_RES 0x0300
#define KEY_READ ((STANDARD_RIGHTS_READ | KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS | KEY_NOTIFY) & (~SYNCHRONIZE))
#define KEY_WRITE ((STANDARD_RIGHTS_WRITE | KEY_SET_VALUE | KEY_CREATE_SUB_KEY) & (~SYNCHRONIZE))
#define KEY_EXECUTE ((KEY_READ) & (~SYNCHRONIZE))
#define KEY_ALL_ACCESS                                                                                  \
    ((STANDARD_RIGHTS_ALL | KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_CREATE_SUB_KEY | KEY_ENUMERATE_SUB_KEYS | \
      KEY_NOTIFY | KEY_CREATE_LINK) &                                                                   \
     (~SYNCHRONIZE))

// RegCreateKeyExW options and dispositions.
#define REG_OPTION_RESERVED 0x00000000L
#define REG_OPTION_NON_VOLATILE 0x00000000L
#define REG_OPTION_VOLATILE 0x00000001L
#define REG_OPTION_CREATE_LINK 0x00000002L
#define REG_OPTION_BACKUP_RESTORE 0x00000004L
#define REG_OPTION_OPEN_LINK 0x00000008L
#define REG_CREATED_NEW_KEY 0x00000001L
#define REG_OPENED_EXISTING_KEY 0x00000002L

// What RegNotifyChangeKeyValue reports.
#define REG_NOTIFY_CHANGE_NAME 0x00000001L
#define REG_NOTIFY_CHANGE_ATTRIBUTES 0x00000002L
#define REG_NOTIFY_CHANGE_LAST_SET 0x00000004L
#define REG_NOTIFY_CHANGE_SECURITY 0x00000008L
#define REG_NOTIFY_THREAD_AGNOSTIC 0x10000000L
#define REG_LEGAL_CHANGE_FILTER                                                                      \
    (REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_ATTRIBUTES | REG_NOTIFY_CHANGE_LAST_SET |              \
     REG_NOTIFY_CHANGE_SECURITY | REG_NOTIFY_THREAD_AGNOSTIC)

TESSEL_EXTERN_C_BEGIN

TESSEL_PLATFORM_API LSTATUS WINAPI RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD ulOptions, REGSAM samDesired,
                                                 PHKEY phkResult);
TESSEL_PLATFORM_API LSTATUS WINAPI RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD Reserved, LPWSTR lpClass,
                                                   DWORD dwOptions, REGSAM samDesired,
                                                   const SECURITY_ATTRIBUTES* lpSecurityAttributes, PHKEY phkResult,
                                                   LPDWORD lpdwDisposition);
TESSEL_PLATFORM_API LSTATUS WINAPI RegCloseKey(HKEY hKey);
TESSEL_PLATFORM_API LSTATUS WINAPI RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType,
                                                    LPBYTE lpData, LPDWORD lpcbData);
TESSEL_PLATFORM_API LSTATUS WINAPI RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD Reserved, DWORD dwType,
                                                  const BYTE* lpData, DWORD cbData);
TESSEL_PLATFORM_API LSTATUS WINAPI RegDeleteValueW(HKEY hKey, LPCWSTR lpValueName);
TESSEL_PLATFORM_API LSTATUS WINAPI RegDeleteKeyW(HKEY hKey, LPCWSTR lpSubKey);
TESSEL_PLATFORM_API LSTATUS WINAPI RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName,
                                                 LPDWORD lpReserved, LPWSTR lpClass, LPDWORD lpcchClass,
                                                 PFILETIME lpftLastWriteTime);
TESSEL_PLATFORM_API LSTATUS WINAPI RegEnumValueW(HKEY hKey, DWORD dwIndex, LPWSTR lpValueName, LPDWORD lpcchValueName,
                                                 LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData);
TESSEL_PLATFORM_API LSTATUS WINAPI RegQueryInfoKeyW(HKEY hKey, LPWSTR lpClass, LPDWORD lpcchClass, LPDWORD lpReserved,
                                                    LPDWORD lpcSubKeys, LPDWORD lpcbMaxSubKeyLen,
                                                    LPDWORD lpcbMaxClassLen, LPDWORD lpcValues,
                                                    LPDWORD lpcbMaxValueNameLen, LPDWORD lpcbMaxValueLen,
                                                    LPDWORD lpcbSecurityDescriptor, PFILETIME lpftLastWriteTime);
TESSEL_PLATFORM_API LSTATUS WINAPI SHDeleteKeyW(HKEY hKey, LPCWSTR pszSubKey);
// Changes committed by any process reach every process's registrations. On this system
// REG_NOTIFY_CHANGE_SECURITY and REG_NOTIFY_CHANGE_ATTRIBUTES both report a change of what the
// key grants (TesselRegSetKeyAccess). A key whose path isn't made yet reports any change of its
// hive. HKEY_PERFORMANCE_DATA never changes and answers ERROR_INVALID_HANDLE.
TESSEL_PLATFORM_API LSTATUS WINAPI RegNotifyChangeKeyValue(HKEY hKey, BOOL bWatchSubtree, DWORD dwNotifyFilter,
                                                           HANDLE hEvent, BOOL fAsynchronous);

// Sets the access mask granted on the key behind an open handle. It stands in for the key's
// security descriptor: opens that ask for more fail with ERROR_ACCESS_DENIED afterwards.
TESSEL_PLATFORM_API LSTATUS WINAPI TesselRegSetKeyAccess(HKEY hKey, REGSAM granted);

// For tests of failure paths: the nth database operation from now (1 = the next) fails with the
// given SQLite result code, such as 13 (disk full) or 5 (busy); nth 0 cancels. A negative code
// stops the process there instead (SIGSTOP), so that a test can kill it in the middle of a
// transaction. Not for production.
TESSEL_PLATFORM_API void WINAPI TesselRegInjectFailure(int sqliteResult, DWORD nth);

TESSEL_EXTERN_C_END

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

// RegSaveKeyExW formats and RegRestoreKeyW flags.
#define REG_STANDARD_FORMAT 1
#define REG_LATEST_FORMAT 2
#define REG_NO_COMPRESSION 4
#define REG_WHOLE_HIVE_VOLATILE 0x00000001L
#define REG_REFRESH_HIVE 0x00000002L
#define REG_NO_LAZY_FLUSH 0x00000004L
#define REG_FORCE_RESTORE 0x00000008L
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

// A key and everything below it to a new file and back (docs/saved-key-format.md). The file's
// format is this system's own. The security attributes are not used: the file gets the
// process's default mode. REG_FORCE_RESTORE is accepted and changes nothing: a restore always
// goes ahead, and handles to the sub-keys it replaces answer ERROR_KEY_DELETED afterwards, as
// after a delete; REG_WHOLE_HIVE_VOLATILE, REG_REFRESH_HIVE and REG_NO_LAZY_FLUSH answer
// ERROR_NOT_SUPPORTED. The key restored over keeps its name, class and grant.
TESSEL_PLATFORM_API LSTATUS WINAPI RegSaveKeyW(HKEY hKey, LPCWSTR lpFile,
                                               const LPSECURITY_ATTRIBUTES lpSecurityAttributes);
TESSEL_PLATFORM_API LSTATUS WINAPI RegSaveKeyExW(HKEY hKey, LPCWSTR lpFile,
                                                 const LPSECURITY_ATTRIBUTES lpSecurityAttributes, DWORD Flags);
TESSEL_PLATFORM_API LSTATUS WINAPI RegRestoreKeyW(HKEY hKey, LPCWSTR lpFile, DWORD dwFlags);

// Sets the access mask granted on the key behind an open handle. It stands in for the key's
// security descriptor: opens that ask for more fail with ERROR_ACCESS_DENIED afterwards.
TESSEL_PLATFORM_API LSTATUS WINAPI TesselRegSetKeyAccess(HKEY hKey, REGSAM granted);

// The steps of TesselRegApplyBatch.
#define TESSEL_REG_BATCH_CREATE_KEY 1   // Root\SubKey, made if missing: the key the value steps after it act on
#define TESSEL_REG_BATCH_SET_VALUE 2    // sets ValueName to Type, Data and Size
#define TESSEL_REG_BATCH_DELETE_VALUE 3 // deletes ValueName if it is there
#define TESSEL_REG_BATCH_DELETE_TREE 4  // deletes Root\SubKey and all below it if it is there

typedef struct TESSEL_REG_BATCH_STEP {
    DWORD Operation;
    HKEY Root;         // key steps: a predefined key or an open handle
    LPCWSTR SubKey;    // key steps: the path below Root
    LPCWSTR ValueName; // value steps: null or empty for the default value
    DWORD Type;
    const BYTE* Data;
    DWORD Size;
} TESSEL_REG_BATCH_STEP;

// Applies steps in order through the view that view names (0, KEY_WOW64_32KEY or
// KEY_WOW64_64KEY), with the rules of the functions that each step stands for: a key is made
// where its parent grants KEY_CREATE_SUB_KEY and must grant KEY_QUERY_VALUE and KEY_SET_VALUE; a
// tree goes where each of its keys grants DELETE. Every step is checked before anything is
// written; then each run of steps on one hive is one transaction, so that a process reading the
// hive sees none of the run or all of it. The first failure ends the batch: the steps before it
// stay applied, as they would call by call, and failedStep (if not null) gets its index. For
// importing a file of changes; Windows does this with one call per step.
TESSEL_PLATFORM_API LSTATUS WINAPI TesselRegApplyBatch(const TESSEL_REG_BATCH_STEP* steps, DWORD count, REGSAM view,
                                                       LPDWORD failedStep);

// For tests of failure paths: the nth database operation from now (1 = the next) fails with the
// given SQLite result code, such as 13 (disk full) or 5 (busy); nth 0 cancels. A negative code
// stops the process there instead (SIGSTOP), so that a test can kill it in the middle of a
// transaction. Not for production.
TESSEL_PLATFORM_API void WINAPI TesselRegInjectFailure(int sqliteResult, DWORD nth);

// The version of the hive files' tables that this store writes (docs/hive-format.md), for tools
// that report what they run on.
TESSEL_PLATFORM_API DWORD WINAPI TesselRegSchemaVersion(void);

TESSEL_EXTERN_C_END

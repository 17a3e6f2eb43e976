// Module handles, loading, resources and the module-life helpers, with the Windows names. A
// module handle is the address at which the shared object (or the executable) is mapped, as an
// image base is on Windows; resources are tables that a module registers when it is loaded.
#pragma once

#include "TesselPlatform/Types.h"

struct HINSTANCE__;
typedef struct HINSTANCE__* HINSTANCE;
typedef HINSTANCE HMODULE;
struct HRSRC__;
typedef struct HRSRC__* HRSRC;
typedef HANDLE HGLOBAL;
typedef INT_PTR(WINAPI* FARPROC)();

#ifndef MAX_PATH
#  define MAX_PATH 260
#endif

#ifndef ERROR_PROC_NOT_FOUND
#  define ERROR_PROC_NOT_FOUND 127L
#endif
#ifndef ERROR_BAD_EXE_FORMAT
#  define ERROR_BAD_EXE_FORMAT 193L
#endif

// Marks the definition of a static object that a module's DLL_PROCESS_DETACH work uses. On
// Windows the loader calls DllMain's detach before the module's static objects end; here the load
// hook that stands in for DllMain is a static object itself, so objects with this mark are made
// before, and end after, every static object without it, whatever the order in which the
// module's units are linked.
#define TESSEL_OUTLIVES_LOAD_HOOK __attribute__((init_priority(1000)))

#define DLL_PROCESS_DETACH 0
#define DLL_PROCESS_ATTACH 1
#define DLL_THREAD_ATTACH 2
#define DLL_THREAD_DETACH 3

#define DONT_RESOLVE_DLL_REFERENCES 0x00000001
#define LOAD_LIBRARY_AS_DATAFILE 0x00000002
#define LOAD_LIBRARY_AS_IMAGE_RESOURCE 0x00000020
#define LOAD_LIBRARY_AS_DATAFILE_EXCLUSIVE 0x00000040

#define GET_MODULE_HANDLE_EX_FLAG_PIN 0x00000001
#define GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT 0x00000002
#define GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS 0x00000004

#define IS_INTRESOURCE(r) ((reinterpret_cast<ULONG_PTR>(r) >> 16) == 0)
#define MAKEINTRESOURCEW(i) reinterpret_cast<LPWSTR>(static_cast<ULONG_PTR>(static_cast<WORD>(i)))
#define RT_RCDATA MAKEINTRESOURCEW(10)

// One resource that a module carries. Type and Name are texts or MAKEINTRESOURCEW numbers;
// names compare without regard to case, and "#123" names the number 123, as on Windows.
typedef struct TESSEL_RESOURCE {
    LPCWSTR Type;
    LPCWSTR Name;
    LPCVOID Data;
    DWORD Size;
} TESSEL_RESOURCE;

TESSEL_EXTERN_C_BEGIN

// nullptr names the executable. Otherwise the name is matched against the full path and the
// file name of every loaded object; "x.dll" for an object that isn't loaded gives null and
// ERROR_MOD_NOT_FOUND, which is what a caller probing for an optional system DLL gets here.
TESSEL_PLATFORM_API HMODULE WINAPI GetModuleHandleW(LPCWSTR lpModuleName);
// With GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS the name is an address inside the module.
TESSEL_PLATFORM_API BOOL WINAPI GetModuleHandleExW(DWORD dwFlags, LPCWSTR lpModuleName, HMODULE* phModule);
// A path that doesn't fit is cut, terminated, and the size is returned with
// ERROR_INSUFFICIENT_BUFFER, as Windows does since Vista.
TESSEL_PLATFORM_API DWORD WINAPI GetModuleFileNameW(HMODULE hModule, LPWSTR lpFilename, DWORD nSize);
// A module that is loaded already (the executable included) gains a reference; any other path
// is loaded with all its code, whatever the flags say, since a module's resources here are
// registered by its own start-up code.
TESSEL_PLATFORM_API HMODULE WINAPI LoadLibraryExW(LPCWSTR lpLibFileName, HANDLE hFile, DWORD dwFlags);
TESSEL_PLATFORM_API HMODULE WINAPI LoadLibraryW(LPCWSTR lpLibFileName);
TESSEL_PLATFORM_API BOOL WINAPI FreeLibrary(HMODULE hLibModule);
TESSEL_PLATFORM_API FARPROC WINAPI GetProcAddress(HMODULE hModule, LPCSTR lpProcName);
TESSEL_PLATFORM_API BOOL WINAPI DisableThreadLibraryCalls(HMODULE hLibModule);

// Failures give null and set the last error: ERROR_RESOURCE_TYPE_NOT_FOUND when the module has
// no resource of that type, ERROR_RESOURCE_NAME_NOT_FOUND when the type exists but not the name.
TESSEL_PLATFORM_API HRSRC WINAPI FindResourceW(HMODULE hModule, LPCWSTR lpName, LPCWSTR lpType);
TESSEL_PLATFORM_API HGLOBAL WINAPI LoadResource(HMODULE hModule, HRSRC hResInfo);
TESSEL_PLATFORM_API LPVOID WINAPI LockResource(HGLOBAL hResData);
TESSEL_PLATFORM_API DWORD WINAPI SizeofResource(HMODULE hModule, HRSRC hResInfo);

// Makes count resources findable in the module that holds the table (the table must live in
// the module's own static data). Call it from the module's start-up, and the reverse at its
// end; TESSEL_MODULE_RESOURCES below does both.
TESSEL_PLATFORM_API BOOL WINAPI TesselRegisterModuleResources(const TESSEL_RESOURCE* table, DWORD count);
TESSEL_PLATFORM_API void WINAPI TesselUnregisterModuleResources(const TESSEL_RESOURCE* table);

TESSEL_EXTERN_C_END

#ifdef __cplusplus
// Registers a module's resource table for as long as the module is loaded:
//   static const TESSEL_RESOURCE kResources[] = {{L"REGISTRY", MAKEINTRESOURCEW(101), kText, sizeof kText - 1}};
//   TESSEL_MODULE_RESOURCES(kResources);
class TesselModuleResourceTable {
public:
    template <DWORD N>
    explicit TesselModuleResourceTable(const TESSEL_RESOURCE (&table)[N]) : m_table(table)
    {
        TesselRegisterModuleResources(table, N);
    }
    ~TesselModuleResourceTable() { TesselUnregisterModuleResources(m_table); }
    TesselModuleResourceTable(const TesselModuleResourceTable&) = delete;
    TesselModuleResourceTable& operator=(const TesselModuleResourceTable&) = delete;

private:
    const TESSEL_RESOURCE* m_table;
};
#  define TESSEL_MODULE_RESOURCES(table) static const TesselModuleResourceTable table##Registration(table)
#endif

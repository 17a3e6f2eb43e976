// The system's own services, with the Windows signatures: critical sections, the thread's last
// error, the debugger's output channel, FormatMessageW over an English table of the Win32 codes
// and HRESULTs that the library meets, and LocalAlloc and LocalFree, which own the texts that
// FormatMessageW allocates. Event objects, to wait on and to signal, with the waits over them.
#pragma once

#include <cstdarg>

#include "TesselPlatform/Errors.h"
#include "TesselPlatform/Types.h"

typedef HANDLE HLOCAL;

typedef struct _RTL_CRITICAL_SECTION {
    void* Impl;         // the platform's recursive mutex, made by InitializeCriticalSection
    LONG RecursionCount; // how often the owning thread has entered
} CRITICAL_SECTION, *LPCRITICAL_SECTION, *PCRITICAL_SECTION;

#define CRITICAL_SECTION_NO_DEBUG_INFO 0x01000000

#define LMEM_FIXED 0x0000
#define LMEM_MOVEABLE 0x0002
#define LMEM_ZEROINIT 0x0040
#define LPTR (LMEM_FIXED | LMEM_ZEROINIT)

#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x00000100
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x00000200
#define FORMAT_MESSAGE_FROM_STRING 0x00000400
#define FORMAT_MESSAGE_FROM_HMODULE 0x00000800
#define FORMAT_MESSAGE_FROM_SYSTEM 0x00001000
#define FORMAT_MESSAGE_ARGUMENT_ARRAY 0x00002000
#define FORMAT_MESSAGE_MAX_WIDTH_MASK 0x000000FF

#define LANG_NEUTRAL 0x00
#define LANG_ENGLISH 0x09
#define SUBLANG_NEUTRAL 0x00
#define SUBLANG_DEFAULT 0x01
#define SUBLANG_SYS_DEFAULT 0x02
#define SUBLANG_ENGLISH_US 0x01
#define MAKELANGID(primary, sub) static_cast<WORD>((static_cast<WORD>(sub) << 10) | static_cast<WORD>(primary))

#define INFINITE 0xFFFFFFFFu
#define MAXIMUM_WAIT_OBJECTS 64
#define WAIT_OBJECT_0 0x00000000u
#define WAIT_ABANDONED_0 0x00000080u
#define WAIT_TIMEOUT 0x00000102u
#define WAIT_FAILED 0xFFFFFFFFu

#define ERROR_MR_MID_NOT_FOUND 317L
#define ERROR_RESOURCE_LANG_NOT_FOUND 1815L

TESSEL_EXTERN_C_BEGIN

// Re-entrant: the owning thread may enter again and leaves as often as it entered.
TESSEL_PLATFORM_API void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION section);
// The spin count and the flags change nothing here. Fails only for a null section.
TESSEL_PLATFORM_API BOOL WINAPI InitializeCriticalSectionEx(LPCRITICAL_SECTION section, DWORD dwSpinCount,
                                                            DWORD flags);
TESSEL_PLATFORM_API void WINAPI EnterCriticalSection(LPCRITICAL_SECTION section);
TESSEL_PLATFORM_API BOOL WINAPI TryEnterCriticalSection(LPCRITICAL_SECTION section);
TESSEL_PLATFORM_API void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION section);
TESSEL_PLATFORM_API void WINAPI DeleteCriticalSection(LPCRITICAL_SECTION section);

TESSEL_PLATFORM_API DWORD WINAPI GetLastError(void);
TESSEL_PLATFORM_API void WINAPI SetLastError(DWORD code);

// True when a tracer is attached to the process.
TESSEL_PLATFORM_API BOOL WINAPI IsDebuggerPresent(void);
// Writes the text to standard error when a debugger is attached, as the debugger's output.
TESSEL_PLATFORM_API void WINAPI OutputDebugStringW(LPCWSTR lpOutputString);

// Only FORMAT_MESSAGE_FROM_SYSTEM is a source here, and the system texts have no inserts, so
// FORMAT_MESSAGE_IGNORE_INSERTS changes nothing; a width in FORMAT_MESSAGE_MAX_WIDTH_MASK is not
// applied. Languages: 0, the neutral and system defaults, and English. A 0x8007xxxx HRESULT finds
// the text of Win32 code xxxx. Each text ends in CR LF. With FORMAT_MESSAGE_ALLOCATE_BUFFER,
// lpBuffer is really an LPWSTR* that receives a text to be freed with LocalFree. Returns the
// number of characters without the terminator, or 0 with the reason in GetLastError.
TESSEL_PLATFORM_API DWORD WINAPI FormatMessageW(DWORD dwFlags, LPCVOID lpSource, DWORD dwMessageId,
                                                DWORD dwLanguageId, LPWSTR lpBuffer, DWORD nSize,
                                                va_list* Arguments);

// LMEM_MOVEABLE is treated as fixed: the handle is the memory.
TESSEL_PLATFORM_API HLOCAL WINAPI LocalAlloc(UINT uFlags, SIZE_T uBytes);
// Gives null on success, and the memory back on failure.
TESSEL_PLATFORM_API HLOCAL WINAPI LocalFree(HLOCAL hMem);

// Events of this process: a name is refused with ERROR_NOT_SUPPORTED, since no other process
// could open it here. The security attributes change nothing. Any thread may wait and signal.
TESSEL_PLATFORM_API HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES lpEventAttributes, BOOL bManualReset,
                                               BOOL bInitialState, LPCWSTR lpName);
TESSEL_PLATFORM_API BOOL WINAPI SetEvent(HANDLE hEvent);
TESSEL_PLATFORM_API BOOL WINAPI ResetEvent(HANDLE hEvent);
// A wait that an auto-reset event satisfies resets it. WAIT_FAILED with the reason in
// GetLastError: ERROR_INVALID_HANDLE for anything that isn't an open event, and for several
// handles ERROR_INVALID_PARAMETER when nCount is 0 or above MAXIMUM_WAIT_OBJECTS or a handle
// comes twice.
TESSEL_PLATFORM_API DWORD WINAPI WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds);
TESSEL_PLATFORM_API DWORD WINAPI WaitForMultipleObjects(DWORD nCount, const HANDLE* lpHandles, BOOL bWaitAll,
                                                        DWORD dwMilliseconds);
// Closes an event handle. A wait already under way on it goes on until it is satisfied or times out.
TESSEL_PLATFORM_API BOOL WINAPI CloseHandle(HANDLE hObject);

// Linux only: a file descriptor that poll and epoll report readable while the event is signalled,
// so that an event loop can wait on it beside its own. Seeing it readable consumes nothing: the
// loop then calls WaitForSingleObject(hEvent, 0), which resets an auto-reset event. The
// descriptor belongs to the event and is closed with its last handle. -1 with the reason in
// GetLastError when it can't be had.
TESSEL_PLATFORM_API int WINAPI TesselEventDescriptor(HANDLE hEvent);

TESSEL_EXTERN_C_END

// Critical sections over a recursive POSIX mutex: the thread that owns one may enter it again.
// Implementation here must contain only generic UNIX code.

#include <pthread.h>

#include "TesselPlatform/System.h"

namespace {

pthread_mutex_t* MutexOf(LPCRITICAL_SECTION section)
{
    return static_cast<pthread_mutex_t*>(section->Impl);
}

} // namespace

extern "C" {

void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION section)
{
    if (section == nullptr)
        return;
    auto* mutex = new pthread_mutex_t;
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    section->Impl = mutex;
    section->RecursionCount = 0;
}

BOOL WINAPI InitializeCriticalSectionEx(LPCRITICAL_SECTION section, DWORD, DWORD)
{
    if (section == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    InitializeCriticalSection(section);
    return TRUE;
}

void WINAPI EnterCriticalSection(LPCRITICAL_SECTION section)
{
    if (section == nullptr || section->Impl == nullptr)
        return;
    pthread_mutex_lock(MutexOf(section));
    // Only the owner touches the count, and only while it holds the mutex.
    ++section->RecursionCount;
}

BOOL WINAPI TryEnterCriticalSection(LPCRITICAL_SECTION section)
{
    if (section == nullptr || section->Impl == nullptr)
        return FALSE;
    if (pthread_mutex_trylock(MutexOf(section)) != 0)
        return FALSE;
    ++section->RecursionCount;
    return TRUE;
}

void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION section)
{
    if (section == nullptr || section->Impl == nullptr)
        return;
    --section->RecursionCount;
    pthread_mutex_unlock(MutexOf(section));
}

void WINAPI DeleteCriticalSection(LPCRITICAL_SECTION section)
{
    if (section == nullptr || section->Impl == nullptr)
        return;
    pthread_mutex_t* mutex = MutexOf(section);
    pthread_mutex_destroy(mutex);
    delete mutex;
    section->Impl = nullptr;
    section->RecursionCount = 0;
}

} // extern "C"

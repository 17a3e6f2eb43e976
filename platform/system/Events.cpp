// Event objects and the waits over them. All events share one lock: a wait on several events
// must see their states together, and a signal must reach every thread waiting on the event.
// Each waiting thread sleeps on a condition of its own, listed on each event it waits for.
// Implementation here must contain only generic UNIX code, except the event descriptor, which
// is Linux's eventfd.

#include "system/Events.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <vector>

#include "TesselPlatform/System.h"
#include "system/HandleSlots.h"

namespace TesselPlatform::System {

namespace {

struct Waiter {
    std::condition_variable wake;
};

struct EventObject {
    bool manualReset = false;
    bool signalled = false;
    std::vector<Waiter*> waiters;
    int descriptor = -1;     // the eventfd, made at the first TesselEventDescriptor
    bool descriptorUp = false; // the eventfd holds a count, so it reads as readable

    ~EventObject()
    {
        if (descriptor >= 0)
            close(descriptor);
    }

    // Brings the eventfd's readability in line with the state.
    void Publish()
    {
        if (descriptor < 0 || descriptorUp == signalled)
            return;
        std::uint64_t count = 1;
        const ssize_t done = signalled ? write(descriptor, &count, sizeof(count)) : read(descriptor, &count, sizeof(count));
        if (done == static_cast<ssize_t>(sizeof(count)))
            descriptorUp = signalled;
    }

    void Signal()
    {
        signalled = true;
        Publish();
        for (Waiter* waiter : waiters)
            waiter->wake.notify_one();
    }

    void Reset()
    {
        signalled = false;
        Publish();
    }

    // What a satisfied wait does to the event.
    void Consume()
    {
        if (!manualReset)
            Reset();
    }
};

using EventRef = std::shared_ptr<EventObject>;

struct EventTable {
    std::mutex lock;
    HandleSlots<EventRef> slots{HandleTag::Event};
};

EventTable& Table()
{
    // Never destroyed: events may be signalled from other threads' static destructors.
    static EventTable* table = new EventTable();
    return *table;
}

// The lock is held across a fork, so that the child never inherits it taken by a thread it doesn't have.
void LockForFork()
{
    Table().lock.lock();
}

void UnlockAfterFork()
{
    Table().lock.unlock();
}

[[maybe_unused]] const int g_forkHandlers = pthread_atfork(LockForFork, UnlockAfterFork, UnlockAfterFork);

EventRef FindEvent(HANDLE handle)
{
    EventRef* found = Table().slots.Find(reinterpret_cast<std::uintptr_t>(handle));
    return found != nullptr ? *found : nullptr;
}

// The index of the event that satisfies the wait now, consumed; -1 when the wait must go on.
int TrySatisfy(const std::vector<EventRef>& events, bool all)
{
    if (all) {
        for (const EventRef& event : events) {
            if (!event->signalled)
                return -1;
        }
        for (const EventRef& event : events)
            event->Consume();
        return 0;
    }
    for (std::size_t i = 0; i < events.size(); ++i) {
        if (events[i]->signalled) {
            events[i]->Consume();
            return static_cast<int>(i);
        }
    }
    return -1;
}

DWORD Wait(const HANDLE* handles, DWORD count, bool all, DWORD milliseconds)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
    EventTable& table = Table();
    std::unique_lock<std::mutex> lock(table.lock);
    std::vector<EventRef> events;
    for (DWORD i = 0; i < count; ++i) {
        EventRef event = FindEvent(handles[i]);
        if (!event) {
            SetLastError(ERROR_INVALID_HANDLE);
            return WAIT_FAILED;
        }
        if (std::find(events.begin(), events.end(), event) != events.end()) {
            SetLastError(ERROR_INVALID_PARAMETER);
            return WAIT_FAILED;
        }
        events.push_back(std::move(event));
    }
    Waiter waiter;
    for (const EventRef& event : events)
        event->waiters.push_back(&waiter);
    int satisfied;
    bool timedOut = false;
    while ((satisfied = TrySatisfy(events, all)) < 0 && !timedOut) {
        if (milliseconds == INFINITE)
            waiter.wake.wait(lock);
        else
            timedOut = waiter.wake.wait_until(lock, deadline) == std::cv_status::timeout;
    }
    for (const EventRef& event : events)
        event->waiters.erase(std::find(event->waiters.begin(), event->waiters.end(), &waiter));
    return satisfied < 0 ? WAIT_TIMEOUT : WAIT_OBJECT_0 + static_cast<DWORD>(satisfied);
}

// Runs change on the event behind handle under the lock; FALSE with ERROR_INVALID_HANDLE when there is none.
template <typename Change>
BOOL ChangeEvent(HANDLE handle, Change&& change)
{
    std::lock_guard<std::mutex> guard(Table().lock);
    EventRef event = FindEvent(handle);
    if (!event) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    change(*event);
    return TRUE;
}

} // namespace

bool IsEvent(HANDLE handle)
{
    std::lock_guard<std::mutex> guard(Table().lock);
    return FindEvent(handle) != nullptr;
}

} // namespace TesselPlatform::System

using namespace TesselPlatform::System;

extern "C" {

HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES, BOOL bManualReset, BOOL bInitialState, LPCWSTR lpName)
{
    if (lpName != nullptr && lpName[0] != L'\0') {
        SetLastError(ERROR_NOT_SUPPORTED);
        return nullptr;
    }
    EventRef event;
    try {
        event = std::make_shared<EventObject>();
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    event->manualReset = bManualReset != FALSE;
    event->signalled = bInitialState != FALSE;
    std::lock_guard<std::mutex> guard(Table().lock);
    const std::uintptr_t handle = Table().slots.Insert(event);
    if (handle == 0) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    SetLastError(ERROR_SUCCESS);
    return reinterpret_cast<HANDLE>(handle);
}

BOOL WINAPI SetEvent(HANDLE hEvent)
{
    return ChangeEvent(hEvent, [](EventObject& event) { event.Signal(); });
}

BOOL WINAPI ResetEvent(HANDLE hEvent)
{
    return ChangeEvent(hEvent, [](EventObject& event) { event.Reset(); });
}

DWORD WINAPI WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds)
{
    return Wait(&hHandle, 1, false, dwMilliseconds);
}

DWORD WINAPI WaitForMultipleObjects(DWORD nCount, const HANDLE* lpHandles, BOOL bWaitAll, DWORD dwMilliseconds)
{
    if (nCount == 0 || nCount > MAXIMUM_WAIT_OBJECTS || lpHandles == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }
    return Wait(lpHandles, nCount, bWaitAll != FALSE, dwMilliseconds);
}

BOOL WINAPI CloseHandle(HANDLE hObject)
{
    EventRef last;
    {
        std::lock_guard<std::mutex> guard(Table().lock);
        EventRef* found = Table().slots.Find(reinterpret_cast<std::uintptr_t>(hObject));
        if (found == nullptr) {
            SetLastError(ERROR_INVALID_HANDLE);
            return FALSE;
        }
        // Freed outside the lock: closing the descriptor needs none.
        last = std::move(*found);
        Table().slots.Remove(reinterpret_cast<std::uintptr_t>(hObject));
    }
    return TRUE;
}

int WINAPI TesselEventDescriptor(HANDLE hEvent)
{
    int descriptor = -1;
    const BOOL found = ChangeEvent(hEvent, [&descriptor](EventObject& event) {
        if (event.descriptor < 0)
            event.descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        event.Publish();
        descriptor = event.descriptor;
    });
    if (found && descriptor < 0)
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return descriptor;
}

} // extern "C"

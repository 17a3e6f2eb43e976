// Event objects: manual and auto reset, waits on one and on several, timeouts and failures, and
// the descriptor that an event loop polls.

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#ifndef _WIN32
#  include <poll.h>
#endif

#include "TesselWin32.h"

namespace {

class ScopedEvent {
public:
    ScopedEvent(bool manual, bool initial) : m_event(CreateEventW(nullptr, manual, initial, nullptr)) {}
    ~ScopedEvent() { CloseHandle(m_event); }
    ScopedEvent(const ScopedEvent&) = delete;
    ScopedEvent& operator=(const ScopedEvent&) = delete;
    HANDLE Get() const { return m_event; }

private:
    HANDLE m_event;
};

TEST(Events, ManualResetStaysSignalledUntilResetAutoResetReleasesOneWait)
{
    ScopedEvent manual(true, false);
    ASSERT_NE(nullptr, manual.Get());
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(manual.Get(), 0));
    ASSERT_TRUE(SetEvent(manual.Get()));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(manual.Get(), 0));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(manual.Get(), INFINITE));
    ASSERT_TRUE(ResetEvent(manual.Get()));
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(manual.Get(), 10));

    ScopedEvent automatic(false, true);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(automatic.Get(), 0));
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(automatic.Get(), 0));
    // Another thread's signal ends an infinite wait.
    std::thread signaller([&automatic] { SetEvent(automatic.Get()); });
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(automatic.Get(), INFINITE));
    signaller.join();
}

TEST(Events, WaitForAnyTakesTheLowestSignalledWaitForAllTakesAllOrNothing)
{
    ScopedEvent a(false, false), b(false, true), c(false, true);
    const HANDLE handles[] = {a.Get(), b.Get(), c.Get()};
    EXPECT_EQ(WAIT_OBJECT_0 + 1, WaitForMultipleObjects(3, handles, FALSE, 0));
    EXPECT_EQ(WAIT_OBJECT_0 + 2, WaitForMultipleObjects(3, handles, FALSE, 0));
    EXPECT_EQ(WAIT_TIMEOUT, WaitForMultipleObjects(3, handles, FALSE, 5));

    // Wait-all consumes nothing until all are signalled.
    ASSERT_TRUE(SetEvent(a.Get()));
    EXPECT_EQ(WAIT_TIMEOUT, WaitForMultipleObjects(2, handles, TRUE, 0));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(a.Get(), 0)) << "a partial wait-all took a";
    SetEvent(a.Get());
    std::thread signaller([&b] { SetEvent(b.Get()); });
    EXPECT_EQ(WAIT_OBJECT_0, WaitForMultipleObjects(2, handles, TRUE, INFINITE));
    signaller.join();
    EXPECT_EQ(WAIT_TIMEOUT, WaitForMultipleObjects(3, handles, FALSE, 0));
}

TEST(Events, FailuresGiveWaitFailedWithTheirReason)
{
    ScopedEvent event(true, true);
    HANDLE closed = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    ASSERT_TRUE(CloseHandle(closed));
    std::vector<HANDLE> many(MAXIMUM_WAIT_OBJECTS + 1, event.Get());
    const HANDLE twice[] = {event.Get(), event.Get()};
    const HANDLE withClosed[] = {event.Get(), closed};
    struct Case {
        const char* what;
        DWORD count;
        const HANDLE* handles;
        DWORD error;
    } const cases[] = {
        {"no handles", 0, twice, ERROR_INVALID_PARAMETER},
        {"more than the maximum", MAXIMUM_WAIT_OBJECTS + 1, many.data(), ERROR_INVALID_PARAMETER},
        {"a null array", 1, nullptr, ERROR_INVALID_PARAMETER},
        {"one handle twice", 2, twice, ERROR_INVALID_PARAMETER},
        {"a closed handle", 2, withClosed, ERROR_INVALID_HANDLE},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        SetLastError(0);
        EXPECT_EQ(WAIT_FAILED, WaitForMultipleObjects(c.count, c.handles, FALSE, 0));
        EXPECT_EQ(c.error, GetLastError());
    }
    SetLastError(0);
    EXPECT_EQ(WAIT_FAILED, WaitForSingleObject(closed, 0));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_HANDLE), GetLastError());
    EXPECT_FALSE(SetEvent(closed));
    EXPECT_FALSE(ResetEvent(nullptr));
    EXPECT_FALSE(CloseHandle(closed));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_HANDLE), GetLastError());
#ifndef _WIN32
    // Named events are not supported here.
    SetLastError(0);
    EXPECT_EQ(nullptr, CreateEventW(nullptr, TRUE, FALSE, L"Global\\Reload"));
    EXPECT_EQ(static_cast<DWORD>(ERROR_NOT_SUPPORTED), GetLastError());
#endif
}

#ifndef _WIN32
// Checks that a key handle is never taken for an event, nor an event for a key.
TEST(Events, KeysAndEventsAreNotEachOthersHandles)
{
    HKEY key = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\EventTest", 0, nullptr, 0, KEY_ALL_ACCESS,
                                             nullptr, &key, nullptr));
    EXPECT_EQ(WAIT_FAILED, WaitForSingleObject(reinterpret_cast<HANDLE>(key), 0));
    EXPECT_FALSE(CloseHandle(reinterpret_cast<HANDLE>(key)));
    ScopedEvent event(true, false);
    EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(reinterpret_cast<HKEY>(event.Get())));
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
}

bool Readable(int descriptor)
{
    pollfd entry{descriptor, POLLIN, 0};
    return poll(&entry, 1, 0) == 1 && (entry.revents & POLLIN) != 0;
}

TEST(Events, TheDescriptorIsReadableExactlyWhileTheEventIsSignalled)
{
    ScopedEvent event(false, true);
    const int descriptor = TesselEventDescriptor(event.Get());
    ASSERT_GE(descriptor, 0);
    EXPECT_TRUE(Readable(descriptor)) << "the initial state";
    EXPECT_TRUE(Readable(descriptor)) << "looking consumed the signal";
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(event.Get(), 0));
    EXPECT_FALSE(Readable(descriptor)) << "an auto-reset wait left it readable";
    SetEvent(event.Get());
    SetEvent(event.Get());
    EXPECT_TRUE(Readable(descriptor));
    ResetEvent(event.Get());
    EXPECT_FALSE(Readable(descriptor));
    EXPECT_EQ(descriptor, TesselEventDescriptor(event.Get()));
    EXPECT_EQ(-1, TesselEventDescriptor(nullptr));
}
#endif

} // namespace

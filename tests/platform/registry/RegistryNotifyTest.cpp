// RegNotifyChangeKeyValue: its filters, scope, one-shot rule and the other ends of a
// registration, its failures, and changes that come from other processes, killed ones included.
// A change that must not signal is shown by a sentinel: a later commit to a key that is watched
// apart, whose signal means the watcher has read past the change in question.

#include <gtest/gtest.h>

#ifndef _WIN32

#include <atomic>
#include <csignal>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "platform/registry/RegistryProcessSupport.h"
#include "platform/registry/RegistryTestSupport.h"

using namespace RegistryTest;

namespace {

constexpr DWORD kAllChanges = REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_ATTRIBUTES | REG_NOTIFY_CHANGE_LAST_SET |
                              REG_NOTIFY_CHANGE_SECURITY;
// Long enough never to be reached by a change that does come; the aims are in the benchmark.
constexpr DWORD kPatience = 10000;
constexpr int kStopHere = -1; // the failure seam's code for "stop the process at this step"

class Event {
public:
    Event() : m_event(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~Event() { CloseHandle(m_event); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;
    HANDLE Get() const { return m_event; }
    bool Signalled(DWORD wait = 0) const { return WaitForSingleObject(m_event, wait) == WAIT_OBJECT_0; }

private:
    HANDLE m_event;
};

// A key watched apart from the test's own, changed to show that the watcher has caught up.
class Sentinel {
public:
    Sentinel()
    {
        EXPECT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, L"Software\\NotifySentinel", m_key));
    }
    // Commits a change after everything before it and waits until the watcher has read it.
    void Settle()
    {
        ResetEvent(m_event.Get());
        ASSERT_EQ(ERROR_SUCCESS, RegNotifyChangeKeyValue(m_key.Get(), FALSE, REG_NOTIFY_CHANGE_LAST_SET, m_event.Get(),
                                                         TRUE));
        ASSERT_EQ(ERROR_SUCCESS, SetDword(m_key.Get(), L"tick", ++m_tick));
        ASSERT_TRUE(m_event.Signalled(kPatience));
    }

private:
    ScopedKey m_key;
    Event m_event;
    DWORD m_tick = 0;
};

LONG AddSubKey(HKEY parent, const wchar_t* name)
{
    ScopedKey sub;
    return CreateKey(parent, name, sub, KEY_READ);
}

LONG Watch(HKEY key, HANDLE event, DWORD filter = kAllChanges, BOOL subtree = FALSE)
{
    return RegNotifyChangeKeyValue(key, subtree, filter, event, TRUE);
}

TEST(RegistryNotify, EachFilterSeesItsOwnKindOfChangeOnly)
{
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kTestRoot, key));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"old", 1));
    ScopedKey doomed;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(key.Get(), L"doomed", doomed));
    doomed.Reset();
    struct Case {
        const char* what;
        DWORD filter;
        LONG (*change)(HKEY key);
        bool signals;
    } const cases[] = {
        {"value set, last set", REG_NOTIFY_CHANGE_LAST_SET, [](HKEY k) { return SetDword(k, L"v", 2); }, true},
        {"value deleted, last set", REG_NOTIFY_CHANGE_LAST_SET, [](HKEY k) { return RegDeleteValueW(k, L"old"); },
         true},
        {"sub-key added, last set", REG_NOTIFY_CHANGE_LAST_SET, [](HKEY k) { return AddSubKey(k, L"added"); }, false},
        {"sub-key added, name", REG_NOTIFY_CHANGE_NAME, [](HKEY k) { return AddSubKey(k, L"added2"); }, true},
        {"sub-key deleted, name", REG_NOTIFY_CHANGE_NAME, [](HKEY k) { return RegDeleteKeyW(k, L"doomed"); }, true},
        {"value set, name", REG_NOTIFY_CHANGE_NAME, [](HKEY k) { return SetDword(k, L"v", 3); }, false},
        {"grant changed, security", REG_NOTIFY_CHANGE_SECURITY,
         [](HKEY k) { return TesselRegSetKeyAccess(k, KEY_ALL_ACCESS & ~DELETE); }, true},
        {"grant changed, attributes", REG_NOTIFY_CHANGE_ATTRIBUTES,
         [](HKEY k) { return TesselRegSetKeyAccess(k, KEY_ALL_ACCESS); }, true},
        {"value set, security and attributes", REG_NOTIFY_CHANGE_SECURITY | REG_NOTIFY_CHANGE_ATTRIBUTES,
         [](HKEY k) { return SetDword(k, L"v", 4); }, false},
    };
    Sentinel sentinel;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Event event;
        ASSERT_EQ(ERROR_SUCCESS, Watch(key.Get(), event.Get(), c.filter));
        ASSERT_EQ(ERROR_SUCCESS, c.change(key.Get()));
        sentinel.Settle();
        EXPECT_EQ(c.signals, event.Signalled());
        // A registration that saw nothing ends with its handle's next close; this one stays.
    }
}

TEST(RegistryNotify, ASubtreeWatchSeesThreeLevelsDownAndAKeyWatchDoesNot)
{
    ScopedKey top, deep;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kTestRoot, top));
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(top.Get(), L"a\\b\\c", deep));
    Event subtree, keyOnly;
    ASSERT_EQ(ERROR_SUCCESS, Watch(top.Get(), subtree.Get(), REG_NOTIFY_CHANGE_LAST_SET, TRUE));
    ASSERT_EQ(ERROR_SUCCESS, Watch(top.Get(), keyOnly.Get(), REG_NOTIFY_CHANGE_LAST_SET, FALSE));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(deep.Get(), L"deep", 1));
    EXPECT_TRUE(subtree.Signalled(kPatience));
    Sentinel().Settle();
    EXPECT_FALSE(keyOnly.Signalled());
}

TEST(RegistryNotify, OneChangeSignalsOnceAndARegistrationMustBeMadeAgain)
{
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kTestRoot, key));
    Event event;
    Sentinel sentinel;
    ASSERT_EQ(ERROR_SUCCESS, Watch(key.Get(), event.Get()));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"v", 1));
    ASSERT_TRUE(event.Signalled(kPatience));
    ResetEvent(event.Get());
    ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"v", 2));
    sentinel.Settle();
    EXPECT_FALSE(event.Signalled()) << "a registration signalled twice";
    ASSERT_EQ(ERROR_SUCCESS, Watch(key.Get(), event.Get()));
    sentinel.Settle();
    EXPECT_FALSE(event.Signalled()) << "a change before the registration signalled it";
    ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"v", 3));
    EXPECT_TRUE(event.Signalled(kPatience));
}

TEST(RegistryNotify, DeletingTheKeyClosingTheHandleOrEndingTheThreadSignals)
{
    ScopedKey parent;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kTestRoot, parent));
    {
        SCOPED_TRACE("the key deleted, with a filter that doesn't cover it");
        ScopedKey key;
        ASSERT_EQ(ERROR_SUCCESS, CreateKey(parent.Get(), L"deleted", key));
        Event event;
        ASSERT_EQ(ERROR_SUCCESS, Watch(key.Get(), event.Get(), REG_NOTIFY_CHANGE_LAST_SET));
        ASSERT_EQ(ERROR_SUCCESS, RegDeleteKeyW(parent.Get(), L"deleted"));
        EXPECT_TRUE(event.Signalled(kPatience));
    }
    {
        SCOPED_TRACE("the handle closed");
        ScopedKey key;
        ASSERT_EQ(ERROR_SUCCESS, CreateKey(parent.Get(), L"closed", key));
        Event event;
        ASSERT_EQ(ERROR_SUCCESS, Watch(key.Get(), event.Get()));
        key.Reset();
        EXPECT_TRUE(event.Signalled());
    }
    for (const DWORD agnostic : {0ul, static_cast<unsigned long>(REG_NOTIFY_THREAD_AGNOSTIC)}) {
        SCOPED_TRACE(agnostic ? "the thread ended, thread-agnostic" : "the thread ended");
        ScopedKey key;
        ASSERT_EQ(ERROR_SUCCESS, CreateKey(parent.Get(), L"threaded", key));
        Event event;
        LONG status = ERROR_INVALID_FUNCTION;
        std::thread([&] { status = Watch(key.Get(), event.Get(), kAllChanges | agnostic); }).join();
        ASSERT_EQ(ERROR_SUCCESS, status);
        EXPECT_EQ(agnostic == 0, event.Signalled());
    }
}

TEST(RegistryNotify, ASynchronousCallReturnsAtTheChange)
{
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kTestRoot, key));
    Event registered;
    std::atomic<LONG> status{ERROR_INVALID_FUNCTION}; // read by this thread while the waiter sets it
    std::thread waiter([&] {
        SetEvent(registered.Get());
        status = RegNotifyChangeKeyValue(key.Get(), FALSE, REG_NOTIFY_CHANGE_LAST_SET, nullptr, FALSE);
    });
    ASSERT_TRUE(registered.Signalled(kPatience));
    // The call may not have registered yet: keep changing until it returns.
    for (DWORD i = 0; status == ERROR_INVALID_FUNCTION && i < 1000; ++i) {
        SetDword(key.Get(), L"v", i);
        usleep(10000);
    }
    waiter.join();
    EXPECT_EQ(ERROR_SUCCESS, status.load());
}

TEST(RegistryNotify, BadArgumentsGiveTheirCodes)
{
    ScopedKey key, noNotify;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kTestRoot, key));
    ASSERT_EQ(ERROR_SUCCESS,
              RegOpenKeyExW(HKEY_CURRENT_USER, kTestRoot, 0, KEY_QUERY_VALUE | KEY_SET_VALUE, noNotify.Put()));
    Event event;
    HKEY closed = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, kTestRoot, 0, KEY_READ, &closed));
    RegCloseKey(closed);
    struct Case {
        const char* what;
        HKEY key;
        DWORD filter;
        HANDLE event;
        LONG status;
    } const cases[] = {
        {"no KEY_NOTIFY", noNotify.Get(), kAllChanges, event.Get(), ERROR_ACCESS_DENIED},
        {"asynchronous without an event", key.Get(), kAllChanges, nullptr, ERROR_INVALID_PARAMETER},
        {"an event that is a key", key.Get(), kAllChanges, reinterpret_cast<HANDLE>(key.Get()), ERROR_INVALID_HANDLE},
        {"a null key", nullptr, kAllChanges, event.Get(), ERROR_INVALID_HANDLE},
        {"a closed key", closed, kAllChanges, event.Get(), ERROR_INVALID_HANDLE},
        {"HKEY_DYN_DATA", HKEY_DYN_DATA, kAllChanges, event.Get(), ERROR_INVALID_HANDLE},
        {"an unknown filter bit", key.Get(), kAllChanges | 0x100, event.Get(), ERROR_INVALID_PARAMETER},
        {"no kind of change", key.Get(), REG_NOTIFY_THREAD_AGNOSTIC, event.Get(), ERROR_INVALID_PARAMETER},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.status, RegNotifyChangeKeyValue(c.key, FALSE, c.filter, c.event, TRUE));
    }
    EXPECT_EQ(ERROR_SUCCESS, RegNotifyChangeKeyValue(HKEY_CURRENT_USER, TRUE, kAllChanges, event.Get(), TRUE))
        << "a predefined key";
}

TEST(RegistryNotify, AChangeInAnotherProcessSignals)
{
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kTestRoot, key));
    Event event;
    ASSERT_EQ(ERROR_SUCCESS, Watch(key.Get(), event.Get(), REG_NOTIFY_CHANGE_LAST_SET));
    ASSERT_EQ(0, Child([&] { return SetDword(key.Get(), L"fromChild", 1) == ERROR_SUCCESS ? 0 : 1; }).Wait());
    EXPECT_TRUE(event.Signalled(kPatience));
}

// Checks that a writer killed inside its transaction signals exactly when its change committed,
// step after step of the transaction, and that the next real change is seen.
TEST(RegistryNotify, AKilledWriterSignalsOnlyWhatItCommitted)
{
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kTestRoot, key));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"v", 0));
    Sentinel sentinel;
    int killed = 0;
    for (DWORD step = 1; step < 40; ++step) {
        SCOPED_TRACE(step);
        Event event;
        ASSERT_EQ(ERROR_SUCCESS, Watch(key.Get(), event.Get(), REG_NOTIFY_CHANGE_LAST_SET));
        const Child writer([&] {
            TesselRegInjectFailure(kStopHere, step);
            return SetDword(key.Get(), L"v", step) == ERROR_SUCCESS ? 0 : 1;
        });
        if (!writer.Stopped())
            break;
        writer.Kill();
        ++killed;
        sentinel.Settle();
        const bool committed = QueryDword(key.Get(), L"v") == step;
        EXPECT_EQ(committed, event.Signalled());
        if (committed)
            continue;
        ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"v", 1000 + step));
        EXPECT_TRUE(event.Signalled(kPatience)) << "the next real change was missed";
    }
    EXPECT_GE(killed, 3);
}

TEST(RegistryNotify, AThousandRegistrationsAreEachSignalledByTheirOwnChangesOnly)
{
    constexpr int kKeys = 1000;
    constexpr int kChangedEvery = 97;
    std::vector<std::unique_ptr<ScopedKey>> keys;
    std::vector<std::unique_ptr<Event>> events;
    for (int i = 0; i < kKeys; ++i) {
        keys.push_back(std::make_unique<ScopedKey>());
        events.push_back(std::make_unique<Event>());
        const std::wstring path = std::wstring(kTestRoot) + L"\\k" + std::to_wstring(i);
        ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, path.c_str(), *keys.back()));
        ASSERT_EQ(ERROR_SUCCESS, Watch(keys.back()->Get(), events.back()->Get(), REG_NOTIFY_CHANGE_LAST_SET));
    }
    const Child child([&] {
        for (int i = 0; i < kKeys; i += kChangedEvery) {
            if (SetDword(keys[i]->Get(), L"v", static_cast<DWORD>(i)) != ERROR_SUCCESS)
                return 1;
        }
        return 0;
    });
    ASSERT_EQ(0, child.Wait());
    for (int i = 0; i < kKeys; i += kChangedEvery)
        EXPECT_TRUE(events[i]->Signalled(kPatience)) << i;
    Sentinel().Settle();
    for (int i = 0; i < kKeys; ++i) {
        if (i % kChangedEvery != 0) {
            EXPECT_FALSE(events[i]->Signalled()) << i;
        }
    }
}

TEST(RegistryNotify, WaitForMultipleObjectsTellsWhichKeyChanged)
{
    ScopedKey first, second;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, L"Software\\First", first));
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, L"Software\\Second", second));
    Event a, b;
    ASSERT_EQ(ERROR_SUCCESS, Watch(first.Get(), a.Get()));
    ASSERT_EQ(ERROR_SUCCESS, Watch(second.Get(), b.Get()));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(second.Get(), L"v", 1));
    const HANDLE both[] = {a.Get(), b.Get()};
    EXPECT_EQ(WAIT_OBJECT_0 + 1, WaitForMultipleObjects(2, both, FALSE, kPatience));
    EXPECT_EQ(WAIT_TIMEOUT, WaitForMultipleObjects(2, both, TRUE, 0));
}

} // namespace

#endif

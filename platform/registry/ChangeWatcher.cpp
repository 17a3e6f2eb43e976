// The watcher thread of change notification and the registrations it serves. Implementation
// here must contain only generic UNIX code, except the waiting, which is Linux's inotify.

#include "registry/ChangeWatcher.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <memory>
#include <mutex>
#include <poll.h>
#include <pthread.h>
#include <set>
#include <string>
#include <sys/inotify.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "TesselPlatform/System.h"
#include "registry/Database.h"
#include "registry/HiveFiles.h"
#include "registry/WriterLock.h"

namespace TesselPlatform::Registry {

namespace {

constexpr std::uint32_t kDirectoryEvents = IN_MODIFY | IN_CREATE | IN_MOVED_TO | IN_CLOSE_WRITE | IN_MASK_ADD;
constexpr std::uint32_t kAncestorEvents = IN_CREATE | IN_MOVED_TO | IN_MASK_ADD;

// After activity the record is read again at these delays, for a writer that wrote its WAL but
// had not yet published the commit when the thread looked, and that doesn't take the writers'
// lock. Then the thread sleeps until the next file event.
constexpr int kSettleMilliseconds[] = {2, 20};

std::string DirectoryOf(const std::string& path)
{
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool Contains(const std::vector<std::int64_t>& ids, std::int64_t id)
{
    return std::find(ids.begin(), ids.end(), id) != ids.end();
}

} // namespace

struct NotifyOwner {
    ~NotifyOwner() { ChangeWatcher::Instance().OwnerEnded(this); }
};

const NotifyOwner* CurrentThreadOwner()
{
    thread_local NotifyOwner owner;
    return &owner;
}

bool Matches(const Registration& registration, const ChangeRecord& change)
{
    if (change.kind == ChangeKind::Everything || registration.key == 0)
        return true;
    const bool self = change.key == registration.key;
    // A key's own deletion ends every watch on it, whatever the filter.
    if (change.kind == ChangeKind::KeyDeleted && self)
        return true;
    const bool below = registration.subtree && Contains(change.ancestors, registration.key);
    switch (change.kind) {
    case ChangeKind::ValueSet:
    case ChangeKind::ValueDeleted:
        return (registration.filter & REG_NOTIFY_CHANGE_LAST_SET) != 0 && (self || below);
    case ChangeKind::KeyCreated:
    case ChangeKind::KeyDeleted:
        // A sub-key added or deleted is a change of its parent's names.
        return (registration.filter & REG_NOTIFY_CHANGE_NAME) != 0 && (change.parent == registration.key || below);
    case ChangeKind::AccessChanged:
        return (registration.filter & (REG_NOTIFY_CHANGE_ATTRIBUTES | REG_NOTIFY_CHANGE_SECURITY)) != 0 &&
               (self || below);
    default:
        return true;
    }
}

// What the thread knows of one hive.
struct HiveWatch {
    std::string path; // empty until the hive is first watched
    std::unique_ptr<Database> database; // the thread's own, opened once the hive file is there
    std::int64_t seen = 0;               // the last change read from the record
    WriterLock writers;
    bool writersTried = false;
};

// A registration, counting only changes after the one it was made at.
struct Pending {
    Registration registration;
    std::int64_t after = 0;
};

struct ChangeWatcher::State {
    std::mutex lock;
    std::vector<Pending> pending;
    HiveWatch hives[HiveCount];
    bool started = false;
    int inotify = -1;
    std::set<std::string> directories; // where hive files are or will be
    std::set<std::string> armed;       // the directories that have their watch
    std::atomic<bool> any{false};      // anything registered: a closed handle must be looked for
};

namespace {

ChangeWatcher::State* g_state = nullptr;

// The events of registrations that fired, signalled once the state's lock is let go: SetEvent
// takes the events' own lock, which a fork takes before the state's, so it is never waited for
// under the state's lock.
using Signals = std::vector<HANDLE>;

void SignalAll(const Signals& events)
{
    for (HANDLE event : events)
        SetEvent(event);
}

} // namespace

ChangeWatcher& ChangeWatcher::Instance()
{
    // Never destroyed: threads may end, and handles close, after static destruction began.
    static ChangeWatcher* watcher = new ChangeWatcher();
    return *watcher;
}

ChangeWatcher::ChangeWatcher() : m_state(*new State())
{
    g_state = &m_state;
}

// Connections are closed before a fork, as the hives' are, and opened again when next needed.
// The child has no watcher thread: it forgets what its parent registered and starts its own.
namespace {

// g_state is null in a process that never watched: there is nothing to do then. What the
// prepare handler found decides for the other two, should a first registration come meanwhile.
ChangeWatcher::State* g_forking = nullptr;

void LockForFork()
{
    g_forking = g_state;
    if (g_forking == nullptr)
        return;
    ChangeWatcher::State& state = *g_forking;
    state.lock.lock();
    for (HiveWatch& hive : state.hives)
        hive.database.reset();
}

void UnlockInParent()
{
    if (g_forking != nullptr)
        g_forking->lock.unlock();
}

void ResetInChild()
{
    if (g_forking == nullptr)
        return;
    ChangeWatcher::State& state = *g_forking;
    state.pending.clear();
    state.any = false;
    state.started = false;
    if (state.inotify >= 0)
        close(state.inotify);
    state.inotify = -1;
    state.armed.clear();
    for (HiveWatch& hive : state.hives)
        hive.seen = 0;
    state.lock.unlock();
}

} // namespace

class WatcherThread {
public:
    explicit WatcherThread(ChangeWatcher::State& state) : m_state(state) {}

    void Run()
    {
        std::size_t settle = std::size(kSettleMilliseconds);
        for (;;) {
            const int timeout = settle < std::size(kSettleMilliseconds) ? kSettleMilliseconds[settle] : -1;
            pollfd events{m_state.inotify, POLLIN, 0};
            const int ready = poll(&events, 1, timeout);
            if (ready < 0 && errno != EINTR)
                return;
            if (ready > 0) {
                Drain();
                settle = 0;
            } else if (ready == 0) {
                ++settle;
            }
            WaitForWriters();
            Signals signals;
            {
                std::lock_guard<std::mutex> guard(m_state.lock);
                Arm(m_state);
                for (int hive = 0; hive < HiveCount; ++hive)
                    Scan(m_state, static_cast<HiveId>(hive), signals);
            }
            SignalAll(signals);
        }
    }

    // Watches each directory that holds hive files, or the nearest one above it that exists,
    // so that a directory made later is seen and then watched itself.
    static void Arm(ChangeWatcher::State& state)
    {
        for (const std::string& directory : state.directories) {
            if (state.armed.count(directory) != 0)
                continue;
            if (inotify_add_watch(state.inotify, directory.c_str(), kDirectoryEvents) >= 0) {
                state.armed.insert(directory);
                continue;
            }
            for (std::string above = DirectoryOf(directory); above != "/" && above != "."; above = DirectoryOf(above)) {
                if (inotify_add_watch(state.inotify, above.c_str(), kAncestorEvents) >= 0)
                    break;
            }
        }
    }

    // Reads the hive's record past what was seen and takes what matches into signals. Called
    // with the lock.
    static void Scan(ChangeWatcher::State& state, HiveId id, Signals& signals)
    {
        HiveWatch& hive = state.hives[static_cast<int>(id)];
        if (!Open(hive) || std::none_of(state.pending.begin(), state.pending.end(),
                                        [id](const Pending& p) { return p.registration.hive == id; }))
            return;
        std::vector<bool> fire(state.pending.size(), false);
        std::int64_t first = 0;
        bool continuous = false;
        std::int64_t last = hive.seen;
        const LONG status = hive.database->ChangesSince(
            hive.seen,
            [&](const ChangeRecord& change) {
                if (first == 0)
                    first = change.seq;
                if (change.seq <= hive.seen)
                    return;
                for (std::size_t i = 0; i < state.pending.size(); ++i) {
                    const Pending& p = state.pending[i];
                    if (!fire[i] && p.registration.hive == id && change.seq > p.after && Matches(p.registration, change))
                        fire[i] = true;
                }
            },
            continuous, last);
        if (status != ERROR_SUCCESS) {
            // The connection may be stale (a hive file replaced): the next event opens it again.
            hive.database.reset();
            return;
        }
        // The record was cut back past what was seen: what changed can't be told, so all may have.
        const bool cut = first > hive.seen + 1;
        for (std::size_t i = 0; i < state.pending.size(); ++i) {
            if (cut && state.pending[i].registration.hive == id && state.pending[i].after < last)
                fire[i] = true;
        }
        hive.seen = std::max(hive.seen, last);
        Take(state, fire, signals);
    }

    // Drops the registrations marked and adds their events to signals. Called with the lock.
    static void Take(ChangeWatcher::State& state, const std::vector<bool>& fire, Signals& signals)
    {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < state.pending.size(); ++i) {
            if (fire[i])
                signals.push_back(state.pending[i].registration.event);
            else
                state.pending[kept++] = state.pending[i];
        }
        state.pending.resize(kept);
        state.any = !state.pending.empty();
    }

    // The thread's connection to the hive, once there is a hive file with a change record.
    static bool Open(HiveWatch& hive)
    {
        if (hive.database)
            return true;
        if (hive.path.empty() || FindHiveFile(hive.path) != ERROR_SUCCESS)
            return false;
        std::unique_ptr<Database> database;
        if (Database::Open(hive.path, Database::OpenFor::Reading, database) != ERROR_SUCCESS ||
            !database->HasChangeRecord())
            return false;
        hive.database = std::move(database);
        return true;
    }

private:
    void Drain()
    {
        alignas(inotify_event) char buffer[4096];
        while (read(m_state.inotify, buffer, sizeof(buffer)) > 0) {
        }
    }

    // A writer that takes the writers' lock publishes its commit before it lets go: once the
    // lock has been had, every commit whose WAL write woke the thread can be read.
    void WaitForWriters()
    {
        for (int id = 0; id < HiveCount; ++id) {
            HiveWatch& hive = m_state.hives[id];
            std::string path;
            {
                std::lock_guard<std::mutex> guard(m_state.lock);
                path = hive.path;
                if (!hive.writersTried && !path.empty() && FindHiveFile(path) == ERROR_SUCCESS) {
                    hive.writersTried = true;
                    hive.writers.Open(path);
                }
            }
            // Only this thread uses the writers' lock, so it is waited for without the state's.
            if (hive.writers.IsOpen() && hive.writers.Lock())
                hive.writers.Unlock();
        }
    }

    ChangeWatcher::State& m_state;
};

namespace {

[[maybe_unused]] const int g_forkHandlers = pthread_atfork(LockForFork, UnlockInParent, ResetInChild);

// Starts the thread at the first registration. Called with the lock.
LONG Start(ChangeWatcher::State& state)
{
    if (state.started)
        return ERROR_SUCCESS;
    if (state.inotify < 0)
        state.inotify = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (state.inotify < 0)
        return ERROR_NOT_ENOUGH_MEMORY;
    try {
        std::thread([&state] { WatcherThread(state).Run(); }).detach();
    } catch (const std::exception&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    state.started = true;
    return ERROR_SUCCESS;
}

// Enters a registration whose key was located, reading again what the thread read past its
// start meanwhile. Called with the lock.
void Enter(ChangeWatcher::State& state, const Pending& entry, Signals& signals)
{
    const Registration& registration = entry.registration;
    const std::int64_t after = entry.after;
    HiveWatch& hive = state.hives[static_cast<int>(registration.hive)];
    const bool alone = std::none_of(state.pending.begin(), state.pending.end(),
                                    [&](const Pending& p) { return p.registration.hive == registration.hive; });
    state.pending.push_back(entry);
    state.any = true;
    if (alone && hive.seen < after) {
        // Nothing before this registration's changes needs reading.
        hive.seen = after;
    } else if (hive.seen > after) {
        // The thread read past this registration's start while the key was located.
        const std::int64_t seen = hive.seen;
        hive.seen = after;
        WatcherThread::Scan(state, registration.hive, signals);
        hive.seen = std::max(hive.seen, seen);
    }
}

} // namespace

LONG ChangeWatcher::Add(Registration registration, const std::function<LONG(std::int64_t& key)>& locate)
{
    State& state = m_state;
    HiveWatch& hive = state.hives[static_cast<int>(registration.hive)];
    // The record's position is taken before the key is located, so that a change in between
    // counts: at worst it signals a registration that would have seen nothing.
    std::int64_t after = 0;
    {
        std::lock_guard<std::mutex> guard(state.lock);
        LONG status = Start(state);
        if (status != ERROR_SUCCESS)
            return status;
        if (hive.path.empty())
            hive.path = HivePath(registration.hive);
        state.directories.insert(DirectoryOf(hive.path));
        WatcherThread::Arm(state);
        if (WatcherThread::Open(hive)) {
            status = hive.database->LastChange(after);
            if (status != ERROR_SUCCESS)
                return status;
        }
    }
    // Located without the lock: the hive's own lock must never be waited for under it.
    const LONG located = locate(registration.key);
    if (located != ERROR_SUCCESS)
        return located;
    Signals signals;
    {
        std::lock_guard<std::mutex> guard(state.lock);
        Enter(state, Pending{registration, after}, signals);
    }
    SignalAll(signals);
    return ERROR_SUCCESS;
}

template <typename Which>
void ChangeWatcher::FireWhere(Which&& which)
{
    if (!m_state.any)
        return;
    Signals signals;
    {
        std::lock_guard<std::mutex> guard(m_state.lock);
        std::vector<bool> fire(m_state.pending.size());
        for (std::size_t i = 0; i < fire.size(); ++i)
            fire[i] = which(m_state.pending[i].registration);
        WatcherThread::Take(m_state, fire, signals);
    }
    SignalAll(signals);
}

void ChangeWatcher::HandleClosed(HKEY handle)
{
    FireWhere([handle](const Registration& registration) { return registration.handle == handle; });
}

void ChangeWatcher::OwnerEnded(const NotifyOwner* owner)
{
    FireWhere([owner](const Registration& registration) { return registration.owner == owner; });
}

} // namespace TesselPlatform::Registry

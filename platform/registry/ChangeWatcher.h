// Change notification: the registrations of RegNotifyChangeKeyValue and the one thread per
// process that serves them. The thread sleeps on inotify of the hive files' directories (every
// commit writes the "-wal" file, and a hive made later appears there too), reads each hive's
// change record past the last change it has seen through a connection of its own, and signals
// each registration that a change matches, once. A change that never committed is not in the
// record, so a writer that dies mid-transaction signals nothing; a commit is never missed,
// since the record keeps it until the thread has read it, or the thread learns that it was cut
// and signals every registration of that hive.
#pragma once

#include <cstdint>
#include <functional>

#include "registry/Records.h"

namespace TesselPlatform::Registry {

// Who a registration belongs to: the thread whose end signals it, or nobody.
struct NotifyOwner;

struct Registration {
    HiveId hive = HiveId::Machine;
    std::int64_t key = 0; // 0: a key that isn't made yet; any change of the hive matches
    bool subtree = false;
    DWORD filter = 0;     // REG_NOTIFY_CHANGE_* bits
    HANDLE event = nullptr;
    HKEY handle = nullptr;            // closing it signals the registration
    const NotifyOwner* owner = nullptr; // its thread's end signals the registration; null: none
};

class ChangeWatcher {
public:
    static ChangeWatcher& Instance();

    // Adds a registration. locate finds the key to watch (its id, or 0 when it isn't made yet);
    // any change committed after Add begins may signal it. The first registration starts the
    // thread.
    LONG Add(Registration registration, const std::function<LONG(std::int64_t& key)>& locate);

    // Signals and drops what was registered through handle, or by owner's thread.
    void HandleClosed(HKEY handle);
    void OwnerEnded(const NotifyOwner* owner);

    ChangeWatcher(const ChangeWatcher&) = delete;
    ChangeWatcher& operator=(const ChangeWatcher&) = delete;

    // What the thread and the registering calls share; only ChangeWatcher.cpp knows it.
    struct State;

private:
    ChangeWatcher();
    // Signals and drops the registrations for which which(registration) holds.
    template <typename Which>
    void FireWhere(Which&& which);
    State& m_state;
};

// The owner that stands for the calling thread; its end signals what it registered.
const NotifyOwner* CurrentThreadOwner();

// Whether change is one that registration waits for.
bool Matches(const Registration& registration, const ChangeRecord& change);

} // namespace TesselPlatform::Registry

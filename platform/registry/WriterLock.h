// The lock that a hive's writers take in turn before SQLite's own write lock: a process-shared,
// robust mutex in a small file beside the hive ("HKLM.db-lock"). A waiting writer sleeps in the
// kernel until the one before it is done, instead of polling SQLite's lock with growing sleeps;
// a writer that dies holding it hands it on. It orders writers and nothing else: correctness
// never depends on it, and a process that can't have it writes after SQLite's busy handler.
#pragma once

#include <string>

namespace TesselPlatform::Registry {

class WriterLock {
public:
    WriterLock() = default;
    ~WriterLock();
    WriterLock(const WriterLock&) = delete;
    WriterLock& operator=(const WriterLock&) = delete;

    // Opens or makes the lock file beside the hive file at hivePath. False when it can't: a
    // directory or file this user may not write, or a file system without shared memory.
    bool Open(const std::string& hivePath);
    bool IsOpen() const { return m_shared != nullptr; }

    // Waits for the lock. False when it is not open or can't be had any more.
    bool Lock();
    void Unlock();

private:
    struct Shared;

    Shared* m_shared = nullptr;
};

} // namespace TesselPlatform::Registry

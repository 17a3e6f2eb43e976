// The process's open key handles. An HKEY is a slot number and a generation, never a pointer,
// so a closed, forged or foreign handle is found wanting instead of being followed.
#pragma once

#include <cstdint>
#include <mutex>

#include "registry/Records.h"
#include "system/HandleSlots.h"

namespace TesselPlatform::Registry {

struct KeyHandle {
    HiveId hive = HiveId::Machine;
    std::int64_t key = 0; // the key's id; 0 when the handle stands for a predefined key
    REGSAM access = 0;    // what was asked for at open, which is what the handle may do
    int root = -1;        // the predefined key this handle stands for, or -1
};

class HandleTable {
public:
    static HandleTable& Instance();

    // A new handle, or nullptr when the table can't grow.
    HKEY Insert(const KeyHandle& handle);
    bool Find(HKEY key, KeyHandle& out) const;
    bool Remove(HKEY key);

private:
    static void LockForFork();
    static void UnlockAfterFork();
    static const int s_forkHandlers;

    // A plain mutex, not a reader-writer lock: the child of a fork must be able to release what
    // the forking thread took, and POSIX defines that only for mutexes.
    mutable std::mutex m_lock;
    System::HandleSlots<KeyHandle> m_slots{System::HandleTag::Key};
};

} // namespace TesselPlatform::Registry

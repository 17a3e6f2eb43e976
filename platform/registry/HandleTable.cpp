// The handle table. Implementation here must contain only generic UNIX code.

#include "registry/HandleTable.h"

#include <pthread.h>

namespace TesselPlatform::Registry {

HandleTable& HandleTable::Instance()
{
    // Never destroyed: handles may still be closed from other threads' static destructors.
    static HandleTable* table = new HandleTable();
    return *table;
}

// The table is locked across a fork, so that the child's copy is never caught halfway through a
// change; both sides release the lock after it. Registered when the library loads, so that no
// fork can come between a first call and this.
const int HandleTable::s_forkHandlers =
    pthread_atfork(HandleTable::LockForFork, HandleTable::UnlockAfterFork, HandleTable::UnlockAfterFork);

void HandleTable::LockForFork()
{
    Instance().m_lock.lock();
}

void HandleTable::UnlockAfterFork()
{
    Instance().m_lock.unlock();
}

HKEY HandleTable::Insert(const KeyHandle& handle)
{
    std::lock_guard<std::mutex> guard(m_lock);
    return reinterpret_cast<HKEY>(m_slots.Insert(handle));
}

bool HandleTable::Find(HKEY key, KeyHandle& out) const
{
    std::lock_guard<std::mutex> guard(m_lock);
    const KeyHandle* found = m_slots.Find(reinterpret_cast<std::uintptr_t>(key));
    if (found == nullptr)
        return false;
    out = *found;
    return true;
}

bool HandleTable::Remove(HKEY key)
{
    std::lock_guard<std::mutex> guard(m_lock);
    return m_slots.Remove(reinterpret_cast<std::uintptr_t>(key));
}

} // namespace TesselPlatform::Registry

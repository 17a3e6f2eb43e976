// The handle table. Implementation here must contain only generic UNIX code.

#include "registry/HandleTable.h"

#include <new>
#include <pthread.h>

namespace TesselPlatform::Registry {

namespace {

static_assert(sizeof(HKEY) == 8, "handles carry a 32-bit generation beside the slot");

// The low bits of every handle we make: predefined keys (0x8000000x) and null never carry them.
constexpr std::uintptr_t kTag = 0xC;
constexpr std::uint32_t kMaxSlots = 1u << 27;

} // namespace

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
    std::uint32_t index;
    try {
        if (!m_free.empty()) {
            index = m_free.back();
            m_free.pop_back();
        } else {
            if (m_slots.size() >= kMaxSlots)
                return nullptr;
            index = static_cast<std::uint32_t>(m_slots.size());
            m_slots.emplace_back();
        }
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    Slot& slot = m_slots[index];
    if (++slot.generation == 0)
        slot.generation = 1;
    slot.used = true;
    slot.handle = handle;
    const std::uintptr_t value =
        (static_cast<std::uintptr_t>(slot.generation) << 32) | (static_cast<std::uintptr_t>(index) << 4) | kTag;
    return reinterpret_cast<HKEY>(value);
}

bool HandleTable::Decode(HKEY key, std::size_t& index) const
{
    const std::uintptr_t value = reinterpret_cast<std::uintptr_t>(key);
    if ((value & 0xF) != kTag)
        return false;
    const std::uint32_t generation = static_cast<std::uint32_t>(value >> 32);
    index = static_cast<std::size_t>((value & 0xFFFFFFFFu) >> 4);
    return generation != 0 && index < m_slots.size() && m_slots[index].used &&
           m_slots[index].generation == generation;
}

bool HandleTable::Find(HKEY key, KeyHandle& out) const
{
    std::lock_guard<std::mutex> guard(m_lock);
    std::size_t index;
    if (!Decode(key, index))
        return false;
    out = m_slots[index].handle;
    return true;
}

bool HandleTable::Remove(HKEY key)
{
    std::lock_guard<std::mutex> guard(m_lock);
    std::size_t index;
    if (!Decode(key, index))
        return false;
    m_slots[index].used = false;
    try {
        m_free.push_back(static_cast<std::uint32_t>(index));
    } catch (const std::bad_alloc&) {
        // The slot is lost for reuse, nothing worse.
    }
    return true;
}

} // namespace TesselPlatform::Registry

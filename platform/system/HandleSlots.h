// The platform's one way of handing out handles: a handle is a slot number, a generation and a
// tag that says which kind of object it names, never a pointer, so that a closed, forged or
// foreign handle (a key passed where an event is meant) is found wanting instead of followed.
// The table does no locking of its own: each kind of handle has its own lock and its own rules
// around a fork.
#pragma once

#include <cstdint>
#include <new>
#include <vector>

namespace TesselPlatform::System {

// Tags live in the low four bits. Predefined keys (0x8000000x) and null never carry them.
enum class HandleTag : std::uintptr_t {
    Key = 0xC,
    Event = 0x4,
};

template <typename Object>
class HandleSlots {
public:
    static_assert(sizeof(void*) == 8, "handles carry a 32-bit generation beside the slot");

    explicit HandleSlots(HandleTag tag) : m_tag(static_cast<std::uintptr_t>(tag)) {}

    // A new handle's value, or 0 when the table can't grow.
    std::uintptr_t Insert(const Object& object)
    {
        std::uint32_t index;
        try {
            if (!m_free.empty()) {
                index = m_free.back();
                m_free.pop_back();
            } else {
                if (m_slots.size() >= kMaxSlots)
                    return 0;
                index = static_cast<std::uint32_t>(m_slots.size());
                m_slots.emplace_back();
            }
        } catch (const std::bad_alloc&) {
            return 0;
        }
        Slot& slot = m_slots[index];
        if (++slot.generation == 0)
            slot.generation = 1;
        slot.used = true;
        slot.object = object;
        return (static_cast<std::uintptr_t>(slot.generation) << 32) | (static_cast<std::uintptr_t>(index) << 4) | m_tag;
    }

    // The object a handle names, or nullptr; valid until the next Insert or Remove.
    Object* Find(std::uintptr_t handle)
    {
        std::size_t index;
        return Decode(handle, index) ? &m_slots[index].object : nullptr;
    }
    const Object* Find(std::uintptr_t handle) const
    {
        std::size_t index;
        return Decode(handle, index) ? &m_slots[index].object : nullptr;
    }

    // Frees the handle's slot; false when the handle names nothing.
    bool Remove(std::uintptr_t handle)
    {
        std::size_t index;
        if (!Decode(handle, index))
            return false;
        m_slots[index].used = false;
        m_slots[index].object = Object();
        try {
            m_free.push_back(static_cast<std::uint32_t>(index));
        } catch (const std::bad_alloc&) {
            // The slot is lost for reuse, nothing worse.
        }
        return true;
    }

private:
    static constexpr std::uint32_t kMaxSlots = 1u << 27;

    struct Slot {
        std::uint32_t generation = 0;
        bool used = false;
        Object object{};
    };

    bool Decode(std::uintptr_t handle, std::size_t& index) const
    {
        if ((handle & 0xF) != m_tag)
            return false;
        const std::uint32_t generation = static_cast<std::uint32_t>(handle >> 32);
        index = static_cast<std::size_t>((handle & 0xFFFFFFFFu) >> 4);
        return generation != 0 && index < m_slots.size() && m_slots[index].used &&
               m_slots[index].generation == generation;
    }

    const std::uintptr_t m_tag;
    std::vector<Slot> m_slots;
    std::vector<std::uint32_t> m_free;
};

} // namespace TesselPlatform::System

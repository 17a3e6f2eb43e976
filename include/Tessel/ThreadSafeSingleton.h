// The process-wide singleton that both factories derive from: created on first use under a lock,
// read without one afterwards, and destroyed on request.
#pragma once

#include <atomic>

#include "Tessel/CriticalSection.h"
#include "Tessel/Export.h"

namespace Tessel {

// Exactly two instantiations exist, for the reader factory and the writer factory; both live in
// the library, so that a process has one instance of each whatever module asks for it.
template <class T>
class ThreadSafeSingleton {
public:
    // Gives the one instance, creating it on first use. Only the first calls take the lock.
    static T& GetInstance();

    // Deletes the instance, if there is one; a later GetInstance creates a fresh one. Must not
    // overlap with a thread that still uses the instance.
    static void DestroyInstance();

    // Whether an instance exists, read without the lock: a hint, not a guarantee.
    static bool IsInstantiated();

protected:
    ThreadSafeSingleton() = default;
    virtual ~ThreadSafeSingleton() = default;

private:
    static T* m_pInstance;
    // Atomic so that the unlocked test in GetInstance pairs with the fence behind the publication.
    static std::atomic<bool> m_bInstantiated;
    static CriticalSection m_singletonMutex;
};

} // namespace Tessel

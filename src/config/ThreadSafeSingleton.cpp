// The singleton of both factories, instantiated here once for each, so that a process holds one
// instance of each factory whatever module asks for it. Their locks are defined in
// SingletonLocks.cpp.

#include "Tessel/ThreadSafeSingleton.h"

#include <atomic>

#include "Tessel/ConfigReaderFactory.h"
#include "Tessel/PersistentDataWriterFactory.h"

namespace Tessel {

template <class T>
T* ThreadSafeSingleton<T>::m_pInstance = nullptr;

template <class T>
std::atomic<bool> ThreadSafeSingleton<T>::m_bInstantiated{false};

template <class T>
T& ThreadSafeSingleton<T>::GetInstance()
{
    if (m_bInstantiated.load(std::memory_order_acquire))
        return *m_pInstance;
    CriticalSectionLock lock(m_singletonMutex);
    if (!m_bInstantiated.load(std::memory_order_relaxed)) {
        // A failing new leaves the flag false, and the next call tries again.
        m_pInstance = new T;
        // The pointer must be visible before the flag that lets readers skip the lock.
        std::atomic_thread_fence(std::memory_order_seq_cst);
        m_bInstantiated.store(true, std::memory_order_release);
    }
    return *m_pInstance;
}

template <class T>
void ThreadSafeSingleton<T>::DestroyInstance()
{
    CriticalSectionLock lock(m_singletonMutex);
    if (m_pInstance != nullptr) {
        delete m_pInstance;
        m_pInstance = nullptr;
        m_bInstantiated.store(false, std::memory_order_release);
    }
}

template <class T>
bool ThreadSafeSingleton<T>::IsInstantiated()
{
    return m_bInstantiated.load(std::memory_order_relaxed);
}

// The only two instantiations; their attributes come from the declarations in the public headers.
// m_singletonMutex has no definition in this unit, so they leave it to SingletonLocks.cpp.
template class ThreadSafeSingleton<ConfigReaderFactory>;
template class ThreadSafeSingleton<PersistentDataWriterFactory>;

} // namespace Tessel

// The members of ThreadSafeSingleton, for the two units that instantiate it for a factory.
#pragma once

#include <atomic>

#include "Tessel/ThreadSafeSingleton.h"

namespace Tessel {

template <class T>
T* ThreadSafeSingleton<T>::m_pInstance = nullptr;

template <class T>
std::atomic<bool> ThreadSafeSingleton<T>::m_bInstantiated{false};

template <class T>
CriticalSection ThreadSafeSingleton<T>::m_singletonMutex;

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

} // namespace Tessel

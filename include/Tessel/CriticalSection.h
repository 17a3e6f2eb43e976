// The library's lock, over a platform critical section, and the scope guard that holds it.
// The thread that holds the lock may take it again; it must leave it as often as it entered.
#pragma once

#include "TesselWin32.h"

namespace Tessel {

class CriticalSection {
public:
    CriticalSection() { InitializeCriticalSection(&m_section); }
    virtual ~CriticalSection() { DeleteCriticalSection(&m_section); }

    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    // Prefer CriticalSectionLock: a bare Enter needs a Leave on every way out.
    void Enter() { EnterCriticalSection(&m_section); }
    void Leave() { LeaveCriticalSection(&m_section); }

private:
    CRITICAL_SECTION m_section;
};

// Holds the lock from its construction to its destruction, also while an exception unwinds.
class CriticalSectionLock {
public:
    explicit CriticalSectionLock(CriticalSection* section) : m_section(section) { m_section->Enter(); }
    explicit CriticalSectionLock(CriticalSection& section) : CriticalSectionLock(&section) {}
    ~CriticalSectionLock() { m_section->Leave(); }

    CriticalSectionLock(const CriticalSectionLock&) = delete;
    CriticalSectionLock& operator=(const CriticalSectionLock&) = delete;

private:
    CriticalSection* m_section;
};

} // namespace Tessel

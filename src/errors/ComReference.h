// A counted reference to a COM interface that is released on every way out of a scope, for the
// error paths of this subsystem.
#pragma once

#include "TesselWin32.h"

namespace Tessel::Detail {

template <class Interface>
class ComReference {
public:
    ComReference() noexcept = default;
    ~ComReference() { Reset(); }

    ComReference(const ComReference&) = delete;
    ComReference& operator=(const ComReference&) = delete;

    // Takes over a reference that the caller already owns, such as one from QueryInterface.
    void Attach(Interface* pointer) noexcept
    {
        Reset();
        m_pointer = pointer;
    }

    // Holds a reference of its own to an object that somebody else keeps.
    void Share(Interface* pointer) noexcept
    {
        if (pointer != nullptr)
            pointer->AddRef();
        Attach(pointer);
    }

    void Reset() noexcept
    {
        if (m_pointer != nullptr) {
            Interface* released = m_pointer;
            m_pointer = nullptr;
            released->Release();
        }
    }

    Interface* Get() const noexcept { return m_pointer; }
    Interface* operator->() const noexcept { return m_pointer; }
    explicit operator bool() const noexcept { return m_pointer != nullptr; }

    // For out parameters of the form Interface**: whatever was held is released first.
    Interface** Receive() noexcept
    {
        Reset();
        return &m_pointer;
    }

    // For QueryInterface's void** out parameter.
    void** ReceiveVoid() noexcept { return reinterpret_cast<void**>(Receive()); }

private:
    Interface* m_pointer = nullptr;
};

} // namespace Tessel::Detail

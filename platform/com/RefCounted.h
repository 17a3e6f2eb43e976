// The reference count and QueryInterface of the COM stand-ins' objects, written once for all of
// them: an object names the interfaces it implements, and how it ends.
#pragma once

#include <atomic>

#include "TesselPlatform/Com.h"

namespace TesselPlatform::Com {

// One interface that an object implements, with the IID that QueryInterface answers to.
template <class Interface, const IID& kIid>
struct Implements {
    using Type = Interface;
    static const IID& Id() { return kIid; }
};

enum class Lifetime {
    DeleteAtLastRelease, // made with new, starting with one reference
    Process,             // one object for the whole process: AddRef and Release only count
};

// AddRef, Release and QueryInterface for an object that implements Entries (each an Implements<>);
// IUnknown gives the first of them. The count is atomic, so that any thread may hold a reference.
template <Lifetime kLifetime, class... Entries>
class RefCounted : public Entries::Type... {
public:
    RefCounted(const RefCounted&) = delete;
    RefCounted& operator=(const RefCounted&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override
    {
        if (ppvObject == nullptr)
            return E_POINTER;
        *ppvObject = nullptr;
        if (IsEqualIID(riid, IID_IUnknown))
            *ppvObject = static_cast<typename First<Entries...>::Type*>(this);
        else
            (Match<Entries>(riid, ppvObject) || ...);
        if (*ppvObject == nullptr)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }

    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --m_references;
        if constexpr (kLifetime == Lifetime::DeleteAtLastRelease) {
            if (left == 0)
                delete this;
        }
        return left;
    }

protected:
    RefCounted() = default;
    virtual ~RefCounted() = default;

private:
    template <class Head, class...>
    struct First {
        using Type = typename Head::Type;
    };

    template <class Entry>
    bool Match(REFIID riid, void** ppvObject)
    {
        if (!IsEqualIID(riid, Entry::Id()))
            return false;
        *ppvObject = static_cast<typename Entry::Type*>(this);
        return true;
    }

    std::atomic<ULONG> m_references{1};
};

} // namespace TesselPlatform::Com

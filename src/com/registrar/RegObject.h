// CRegObject: the registrar that runs a registration script. It holds the replacement pairs
// that the script's %KEY% marks stand for, and runs a script from text or from a module's
// resources, in registering or unregistering mode.
#pragma once

#include "TesselWin32.h"

namespace ATL {

struct IRegistrarBase : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE AddReplacementPair(LPCOLESTR key, LPCOLESTR item) = 0;
    virtual HRESULT STDMETHODCALLTYPE ClearReplacementPairs() = 0;

protected:
    ~IRegistrarBase() = default;
};

// Lives on the stack of the one call that runs a script: the reference count plays no part.
class CRegObject : public IRegistrarBase {
public:
    // The longest replacement key between two % marks.
    static constexpr size_t kMaxReplacementKey = 31;

    CRegObject() = default;
    virtual ~CRegObject();
    CRegObject(const CRegObject&) = delete;
    CRegObject& operator=(const CRegObject&) = delete;

    // Makes the lock of the pairs; nothing else works before it has succeeded.
    HRESULT FinalConstruct();

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    // Appends the pair without looking for an earlier one of that key: the first pair of a key
    // is the one that counts.
    HRESULT STDMETHODCALLTYPE AddReplacementPair(LPCOLESTR key, LPCOLESTR item) override;
    HRESULT STDMETHODCALLTYPE ClearReplacementPairs() override;

    // Runs a script given as text.
    HRESULT RunScript(LPCOLESTR text, BOOL bRegister);
    // Runs the script that a module carries as a resource, text in the thread's code page.
    HRESULT RunResourceScript(LPCOLESTR modulePath, LPCOLESTR resource, LPCOLESTR resourceType, BOOL bRegister);

    // Puts the replacement texts in place of the %KEY% marks of text and "%%" as one '%'. The
    // result is allocated with CoTaskMemAlloc; the caller frees it with CoTaskMemFree.
    HRESULT ReplaceText(LPCOLESTR text, LPOLESTR* result);

private:
    // The text of the first pair whose key equals the length characters at key, ignoring case;
    // null when there is none. The caller holds m_pairLock.
    LPCOLESTR FindReplacement(LPCOLESTR key, size_t length) const;
    void FreePairs();

    LPOLESTR* m_keys = nullptr;
    LPOLESTR* m_items = nullptr;
    LONG m_pairCount = 0;
    CRITICAL_SECTION m_pairLock{};
    bool m_pairLockReady = false;
};

} // namespace ATL

// The COM error object and the thread's slot for it: CreateErrorInfo makes one, SetErrorInfo
// leaves it for the thread, and GetErrorInfo hands it to the first reader. Implementation here
// must contain only generic UNIX code.

#include <new>

#include "TesselPlatform/Com.h"
#include "com/RefCounted.h"

namespace {

using TesselPlatform::Com::Implements;
using TesselPlatform::Com::Lifetime;
using TesselPlatform::Com::RefCounted;

// Replaces a stored text by a copy of the new one; a null text stays null.
HRESULT StoreText(BSTR& stored, LPCOLESTR text)
{
    BSTR copy = nullptr;
    if (text != nullptr) {
        copy = SysAllocString(text);
        if (copy == nullptr)
            return E_OUTOFMEMORY;
    }
    SysFreeString(stored);
    stored = copy;
    return S_OK;
}

// Gives the caller its own copy of a stored text, or null where nothing was set.
HRESULT CopyText(BSTR stored, BSTR* out)
{
    if (out == nullptr)
        return E_INVALIDARG;
    *out = nullptr;
    if (stored == nullptr)
        return S_OK;
    *out = SysAllocStringLen(stored, SysStringLen(stored));
    return *out != nullptr ? S_OK : E_OUTOFMEMORY;
}

// One object with both sides, as the system's: the writer fills it, the reader reads it.
class ErrorObject final : public RefCounted<Lifetime::DeleteAtLastRelease, Implements<IErrorInfo, IID_IErrorInfo>,
                                            Implements<ICreateErrorInfo, IID_ICreateErrorInfo>> {
public:
    ErrorObject() = default;
    ~ErrorObject() override
    {
        SysFreeString(m_source);
        SysFreeString(m_description);
        SysFreeString(m_helpFile);
    }

    HRESULT STDMETHODCALLTYPE GetGUID(GUID* pGUID) override
    {
        if (pGUID == nullptr)
            return E_INVALIDARG;
        *pGUID = m_guid;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetSource(BSTR* pBstrSource) override { return CopyText(m_source, pBstrSource); }
    HRESULT STDMETHODCALLTYPE GetDescription(BSTR* pBstrDescription) override
    {
        return CopyText(m_description, pBstrDescription);
    }
    HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* pBstrHelpFile) override { return CopyText(m_helpFile, pBstrHelpFile); }
    HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* pdwHelpContext) override
    {
        if (pdwHelpContext == nullptr)
            return E_INVALIDARG;
        *pdwHelpContext = m_helpContext;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE SetGUID(REFGUID rguid) override
    {
        m_guid = rguid;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetSource(LPOLESTR szSource) override { return StoreText(m_source, szSource); }
    HRESULT STDMETHODCALLTYPE SetDescription(LPOLESTR szDescription) override
    {
        return StoreText(m_description, szDescription);
    }
    HRESULT STDMETHODCALLTYPE SetHelpFile(LPOLESTR szHelpFile) override { return StoreText(m_helpFile, szHelpFile); }
    HRESULT STDMETHODCALLTYPE SetHelpContext(DWORD dwHelpContext) override
    {
        m_helpContext = dwHelpContext;
        return S_OK;
    }

private:
    GUID m_guid = {};
    BSTR m_source = nullptr;
    BSTR m_description = nullptr;
    BSTR m_helpFile = nullptr;
    DWORD m_helpContext = 0;
};

// The thread's error object. The reference it holds goes when the thread ends.
class ThreadErrorSlot {
public:
    ThreadErrorSlot() = default;
    ThreadErrorSlot(const ThreadErrorSlot&) = delete;
    ThreadErrorSlot& operator=(const ThreadErrorSlot&) = delete;
    ~ThreadErrorSlot() { Replace(nullptr); }

    void Replace(IErrorInfo* object)
    {
        if (object != nullptr)
            object->AddRef();
        IErrorInfo* previous = m_object;
        m_object = object;
        // Released last: the old object's Release may run arbitrary code of its owner.
        if (previous != nullptr)
            previous->Release();
    }

    IErrorInfo* Take()
    {
        IErrorInfo* object = m_object;
        m_object = nullptr;
        return object;
    }

private:
    IErrorInfo* m_object = nullptr;
};

thread_local ThreadErrorSlot t_errorSlot;

} // namespace

extern "C" {

HRESULT WINAPI CreateErrorInfo(ICreateErrorInfo** pperrinfo)
{
    if (pperrinfo == nullptr)
        return E_INVALIDARG;
    ErrorObject* object = new (std::nothrow) ErrorObject();
    *pperrinfo = object;
    return object != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRESULT WINAPI SetErrorInfo(ULONG dwReserved, IErrorInfo* perrinfo)
{
    if (dwReserved != 0)
        return E_INVALIDARG;
    t_errorSlot.Replace(perrinfo);
    return S_OK;
}

HRESULT WINAPI GetErrorInfo(ULONG dwReserved, IErrorInfo** pperrinfo)
{
    if (pperrinfo == nullptr)
        return E_INVALIDARG;
    if (dwReserved != 0) {
        *pperrinfo = nullptr;
        return E_INVALIDARG;
    }
    *pperrinfo = t_errorSlot.Take();
    return *pperrinfo != nullptr ? S_OK : S_FALSE;
}

} // extern "C"

// The COM error object and the thread's slot for it: CreateErrorInfo makes one, SetErrorInfo
// leaves it for the thread, and GetErrorInfo hands it to the first reader. Implementation here
// must contain only generic UNIX code.

#include <atomic>
#include <new>

#include "TesselPlatform/Com.h"

namespace {

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
class ErrorObject final : public IErrorInfo, public ICreateErrorInfo {
public:
    ErrorObject() = default;
    ErrorObject(const ErrorObject&) = delete;
    ErrorObject& operator=(const ErrorObject&) = delete;
    virtual ~ErrorObject()
    {
        SysFreeString(m_source);
        SysFreeString(m_description);
        SysFreeString(m_helpFile);
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override
    {
        if (ppvObject == nullptr)
            return E_POINTER;
        if (IsEqualGUID(riid, IID_IUnknown) || IsEqualGUID(riid, IID_IErrorInfo)) {
            *ppvObject = static_cast<IErrorInfo*>(this);
        } else if (IsEqualGUID(riid, IID_ICreateErrorInfo)) {
            *ppvObject = static_cast<ICreateErrorInfo*>(this);
        } else {
            *ppvObject = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }

    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --m_references;
        if (left == 0)
            delete this;
        return left;
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
    std::atomic<ULONG> m_references{1};
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

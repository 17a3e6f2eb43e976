// The two objects of which a process has one: the global options and the global interface table.
// They live for the whole process; AddRef and Release only count.

#include <map>
#include <mutex>

#include "TesselPlatform/ComRuntime.h"
#include "com/ComObjects.h"
#include "com/RefCounted.h"

namespace {

using TesselPlatform::Com::Implements;
using TesselPlatform::Com::Lifetime;
using TesselPlatform::Com::RefCounted;

class GlobalOptions final : public RefCounted<Lifetime::Process, Implements<IGlobalOptions, IID_IGlobalOptions>> {
public:

    // Any number is kept for the exception option, so that a caller's choice can be read back
    // as it was given; Windows documents only 0, 1 and 2.
    HRESULT STDMETHODCALLTYPE Set(GLOBALOPT_PROPERTIES dwProperty, ULONG_PTR dwValue) override
    {
        if (dwProperty < COMGLB_EXCEPTION_HANDLING || dwProperty > COMGLB_UNMARSHALING_POLICY)
            return E_INVALIDARG;
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_values[dwProperty] = dwValue;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Query(GLOBALOPT_PROPERTIES dwProperty, ULONG_PTR* pdwValue) override
    {
        if (pdwValue == nullptr)
            return E_POINTER;
        if (dwProperty < COMGLB_EXCEPTION_HANDLING || dwProperty > COMGLB_UNMARSHALING_POLICY)
            return E_INVALIDARG;
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_values.find(dwProperty);
        *pdwValue = found != m_values.end() ? found->second : 0;
        return S_OK;
    }

    ~GlobalOptions() override = default;

private:
    std::mutex m_mutex;
    std::map<int, ULONG_PTR> m_values;
};

class GlobalInterfaceTable final
    : public RefCounted<Lifetime::Process, Implements<IGlobalInterfaceTable, IID_IGlobalInterfaceTable>> {
public:

    // One process, one apartment model here: the registered pointer itself is handed out
    // again, with no proxy between.
    HRESULT STDMETHODCALLTYPE RegisterInterfaceInGlobal(IUnknown* pUnk, REFIID riid, DWORD* pdwCookie) override
    {
        if (pUnk == nullptr || pdwCookie == nullptr)
            return E_INVALIDARG;
        void* checked = nullptr;
        if (HRESULT hr = pUnk->QueryInterface(riid, &checked); FAILED(hr))
            return hr;
        const std::lock_guard<std::mutex> lock(m_mutex);
        const DWORD cookie = m_nextCookie++;
        m_entries[cookie] = static_cast<IUnknown*>(checked);
        *pdwCookie = cookie;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE RevokeInterfaceFromGlobal(DWORD dwCookie) override
    {
        IUnknown* entry = nullptr;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            const auto found = m_entries.find(dwCookie);
            if (found == m_entries.end())
                return E_INVALIDARG;
            entry = found->second;
            m_entries.erase(found);
        }
        entry->Release();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetInterfaceFromGlobal(DWORD dwCookie, REFIID riid, void** ppv) override
    {
        if (ppv == nullptr)
            return E_INVALIDARG;
        *ppv = nullptr;
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_entries.find(dwCookie);
        if (found == m_entries.end())
            return E_INVALIDARG;
        return found->second->QueryInterface(riid, ppv);
    }

    ~GlobalInterfaceTable() override = default;

private:
    std::mutex m_mutex;
    std::map<DWORD, IUnknown*> m_entries;
    DWORD m_nextCookie = 0x100;
};

// Never destroyed: a module's clean-up may still release its reference at process exit.
GlobalOptions& TheGlobalOptions()
{
    static GlobalOptions* const instance = new GlobalOptions;
    return *instance;
}

GlobalInterfaceTable& TheGlobalInterfaceTable()
{
    static GlobalInterfaceTable* const instance = new GlobalInterfaceTable;
    return *instance;
}

} // namespace

namespace TesselPlatform::Com {

HRESULT GetGlobalOptions(REFIID riid, void** ppv)
{
    return TheGlobalOptions().QueryInterface(riid, ppv);
}

HRESULT GetGlobalInterfaceTable(REFIID riid, void** ppv)
{
    return TheGlobalInterfaceTable().QueryInterface(riid, ppv);
}

} // namespace TesselPlatform::Com

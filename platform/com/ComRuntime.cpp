// Apartments, object creation and task memory. Implementation here must contain only generic
// UNIX code: an apartment is a per-thread count, and only in-process system classes exist.

#include <cstdlib>

#include "TesselPlatform/ComRuntime.h"
#include "com/ComObjects.h"

extern "C" {

const CLSID CLSID_GlobalOptions = {0x0000034B, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_IGlobalOptions = {0x0000015B, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const CLSID CLSID_StdGlobalInterfaceTable = {0x00000323, 0x0000, 0x0000,
                                             {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_IGlobalInterfaceTable = {0x00000146, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const CLSID CLSID_StdComponentCategoriesMgr = {0x0002E005, 0x0000, 0x0000,
                                               {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_ICatRegister = {0x0002E012, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

} // extern "C"

namespace {

struct Apartment {
    unsigned count = 0;
    DWORD model = 0; // COINIT_APARTMENTTHREADED or COINIT_MULTITHREADED of the first success
};
thread_local Apartment t_apartment;

} // namespace

extern "C" {

HRESULT WINAPI CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit)
{
    if (pvReserved != nullptr)
        return E_INVALIDARG;
    const DWORD model = dwCoInit & COINIT_APARTMENTTHREADED;
    if (t_apartment.count > 0) {
        if (t_apartment.model != model)
            return RPC_E_CHANGED_MODE;
        ++t_apartment.count;
        return S_FALSE;
    }
    t_apartment.model = model;
    t_apartment.count = 1;
    return S_OK;
}

HRESULT WINAPI CoInitialize(LPVOID pvReserved)
{
    return CoInitializeEx(pvReserved, COINIT_APARTMENTTHREADED);
}

void WINAPI CoUninitialize(void)
{
    if (t_apartment.count > 0)
        --t_apartment.count;
}

HRESULT WINAPI CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext, REFIID riid, LPVOID* ppv)
{
    if (ppv == nullptr)
        return E_POINTER;
    *ppv = nullptr;
    if (t_apartment.count == 0)
        return CO_E_NOTINITIALIZED;
    if ((dwClsContext & CLSCTX_INPROC_SERVER) == 0)
        return REGDB_E_CLASSNOTREG;
    if (pUnkOuter != nullptr)
        return CLASS_E_NOAGGREGATION;
    if (IsEqualCLSID(rclsid, CLSID_GlobalOptions))
        return TesselPlatform::Com::GetGlobalOptions(riid, ppv);
    if (IsEqualCLSID(rclsid, CLSID_StdGlobalInterfaceTable))
        return TesselPlatform::Com::GetGlobalInterfaceTable(riid, ppv);
    if (IsEqualCLSID(rclsid, CLSID_StdComponentCategoriesMgr))
        return TesselPlatform::Com::CreateCategoryManager(riid, ppv);
    return REGDB_E_CLASSNOTREG;
}

// Task memory is the C heap: a zero-byte request still gives a block, as on Windows.
LPVOID WINAPI CoTaskMemAlloc(SIZE_T cb)
{
    return std::malloc(cb == 0 ? 1 : cb);
}

LPVOID WINAPI CoTaskMemRealloc(LPVOID pv, SIZE_T cb)
{
    if (pv != nullptr && cb == 0) {
        std::free(pv);
        return nullptr;
    }
    return std::realloc(pv, cb == 0 ? 1 : cb);
}

void WINAPI CoTaskMemFree(LPVOID pv)
{
    std::free(pv);
}

} // extern "C"

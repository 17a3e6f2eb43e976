// The COM runtime pieces that a module and a service need: apartments, object creation for the
// few system classes that the library asks for, task memory, the automation number parser.
#pragma once

#include "TesselPlatform/Com.h"
#include "TesselPlatform/Errors.h"
#include "TesselPlatform/Types.h"

typedef DWORD LCID;

#define LOCALE_USER_DEFAULT 0x0400
#define LOCALE_SYSTEM_DEFAULT 0x0800
#define LOCALE_NEUTRAL 0x0000

typedef enum tagCOINIT {
    COINIT_APARTMENTTHREADED = 0x2,
    COINIT_MULTITHREADED = 0x0,
    COINIT_DISABLE_OLE1DDE = 0x4,
    COINIT_SPEED_OVER_MEMORY = 0x8
} COINIT;

typedef enum tagCLSCTX {
    CLSCTX_INPROC_SERVER = 0x1,
    CLSCTX_INPROC_HANDLER = 0x2,
    CLSCTX_LOCAL_SERVER = 0x4,
    CLSCTX_REMOTE_SERVER = 0x10
} CLSCTX;
#define CLSCTX_INPROC (CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER)
#define CLSCTX_ALL (CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER)

#define CO_E_NOTINITIALIZED static_cast<HRESULT>(0x800401F0L)
#define RPC_E_CHANGED_MODE static_cast<HRESULT>(0x80010106L)

// The global options of the process (IGlobalOptions).
typedef enum tagGLOBALOPT_PROPERTIES {
    COMGLB_EXCEPTION_HANDLING = 1,
    COMGLB_APPID = 2,
    COMGLB_RPC_THREADPOOL_SETTING = 3,
    COMGLB_RO_SETTINGS = 4,
    COMGLB_UNMARSHALING_POLICY = 5
} GLOBALOPT_PROPERTIES;

typedef enum tagGLOBALOPT_EH_VALUES {
    COMGLB_EXCEPTION_HANDLE = 0,
    COMGLB_EXCEPTION_DONOT_HANDLE_FATAL = 1,
    COMGLB_EXCEPTION_DONOT_HANDLE = 1,
    COMGLB_EXCEPTION_DONOT_HANDLE_ANY = 2
} GLOBALOPT_EH_VALUES;

struct IGlobalOptions : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Set(GLOBALOPT_PROPERTIES dwProperty, ULONG_PTR dwValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE Query(GLOBALOPT_PROPERTIES dwProperty, ULONG_PTR* pdwValue) = 0;

protected:
    ~IGlobalOptions() = default;
};

// The process's table of interfaces shared between apartments.
struct IGlobalInterfaceTable : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE RegisterInterfaceInGlobal(IUnknown* pUnk, REFIID riid, DWORD* pdwCookie) = 0;
    virtual HRESULT STDMETHODCALLTYPE RevokeInterfaceFromGlobal(DWORD dwCookie) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInterfaceFromGlobal(DWORD dwCookie, REFIID riid, void** ppv) = 0;

protected:
    ~IGlobalInterfaceTable() = default;
};

// Component categories, kept in the registry below HKEY_CLASSES_ROOT.
typedef GUID CATID;
#define REFCATID const CATID&

typedef struct tagCATEGORYINFO {
    CATID catid;
    LCID lcid;
    OLECHAR szDescription[128];
} CATEGORYINFO, *LPCATEGORYINFO;

struct ICatRegister : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE RegisterCategories(ULONG cCategories, CATEGORYINFO rgCategoryInfo[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE UnRegisterCategories(ULONG cCategories, CATID rgcatid[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterClassImplCategories(REFCLSID rclsid, ULONG cCategories,
                                                                  CATID rgcatid[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE UnRegisterClassImplCategories(REFCLSID rclsid, ULONG cCategories,
                                                                    CATID rgcatid[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterClassReqCategories(REFCLSID rclsid, ULONG cCategories,
                                                                 CATID rgcatid[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE UnRegisterClassReqCategories(REFCLSID rclsid, ULONG cCategories,
                                                                   CATID rgcatid[]) = 0;

protected:
    ~ICatRegister() = default;
};

TESSEL_EXTERN_C_BEGIN

TESSEL_PLATFORM_API extern const CLSID CLSID_GlobalOptions;
TESSEL_PLATFORM_API extern const IID IID_IGlobalOptions;
TESSEL_PLATFORM_API extern const CLSID CLSID_StdGlobalInterfaceTable;
TESSEL_PLATFORM_API extern const IID IID_IGlobalInterfaceTable;
TESSEL_PLATFORM_API extern const CLSID CLSID_StdComponentCategoriesMgr;
TESSEL_PLATFORM_API extern const IID IID_ICatRegister;

// COM must be initialised on a thread before CoCreateInstance works there: otherwise it gives
// CO_E_NOTINITIALIZED. A second initialisation on the same thread gives S_FALSE, one with the
// other threading model RPC_E_CHANGED_MODE; each success wants its CoUninitialize.
TESSEL_PLATFORM_API HRESULT WINAPI CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit);
TESSEL_PLATFORM_API HRESULT WINAPI CoInitialize(LPVOID pvReserved);
TESSEL_PLATFORM_API void WINAPI CoUninitialize(void);

// Knows the three system classes above, in process only; any other class gives
// REGDB_E_CLASSNOTREG, an outer object CLASS_E_NOAGGREGATION. The global options object and
// the interface table are one object per process, as on Windows.
TESSEL_PLATFORM_API HRESULT WINAPI CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext,
                                                    REFIID riid, LPVOID* ppv);

TESSEL_PLATFORM_API LPVOID WINAPI CoTaskMemAlloc(SIZE_T cb);
TESSEL_PLATFORM_API LPVOID WINAPI CoTaskMemRealloc(LPVOID pv, SIZE_T cb);
TESSEL_PLATFORM_API void WINAPI CoTaskMemFree(LPVOID pv);

// Parses white space, an optional sign, decimal digits with an optional fraction (rounded half
// to even), or &H hexadecimal and &O octal, then white space. Nothing else may follow.
// DISP_E_TYPEMISMATCH when there is no number, DISP_E_OVERFLOW when it doesn't fit 32 bits
// unsigned, E_INVALIDARG for a null pointer. lcid and dwFlags are accepted and ignored.
TESSEL_PLATFORM_API HRESULT WINAPI VarUI4FromStr(LPCOLESTR strIn, LCID lcid, ULONG dwFlags, ULONG* pulOut);

TESSEL_EXTERN_C_END

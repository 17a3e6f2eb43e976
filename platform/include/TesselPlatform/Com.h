// GUIDs, the COM base interface, the error-object interfaces and BSTR, with the Windows names,
// method order and signatures, so that a class written for Windows builds here unchanged.
#pragma once

#include <cstring>

#include "TesselPlatform/Errors.h"
#include "TesselPlatform/Types.h"

typedef struct _GUID {
    DWORD Data1;
    WORD Data2;
    WORD Data3;
    BYTE Data4[8];
} GUID;
typedef GUID IID;
typedef GUID CLSID;
typedef GUID* LPGUID;
typedef IID* LPIID;
typedef CLSID* LPCLSID;

#define REFGUID const GUID&
#define REFIID const IID&
#define REFCLSID const CLSID&

// DEFINE_GUID declares the name; in the one unit that defines INITGUID first it defines it.
#ifdef INITGUID
#  define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) \
      extern "C" const GUID name = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}}
#else
#  define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) extern "C" const GUID name
#endif

inline BOOL IsEqualGUID(REFGUID left, REFGUID right)
{
    return std::memcmp(&left, &right, sizeof(GUID)) == 0 ? TRUE : FALSE;
}
#define IsEqualIID(left, right) IsEqualGUID(left, right)
#define IsEqualCLSID(left, right) IsEqualGUID(left, right)

inline bool operator==(REFGUID left, REFGUID right)
{
    return IsEqualGUID(left, right) != FALSE;
}
inline bool operator!=(REFGUID left, REFGUID right)
{
    return !(left == right);
}

typedef WCHAR OLECHAR;
typedef OLECHAR* LPOLESTR;
typedef const OLECHAR* LPCOLESTR;
typedef OLECHAR* BSTR;

#define STDMETHOD(method) virtual HRESULT STDMETHODCALLTYPE method
#define STDMETHOD_(type, method) virtual type STDMETHODCALLTYPE method
#define STDMETHODIMP HRESULT STDMETHODCALLTYPE
#define STDMETHODIMP_(type) type STDMETHODCALLTYPE

// The interfaces have no virtual destructor, as on Windows: an object ends through Release.
// The destructor is protected so that nobody deletes one through an interface pointer.
struct IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;

protected:
    ~IUnknown() = default;
};
typedef IUnknown* LPUNKNOWN;

struct IErrorInfo : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetGUID(GUID* pGUID) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSource(BSTR* pBstrSource) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDescription(BSTR* pBstrDescription) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* pBstrHelpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* pdwHelpContext) = 0;

protected:
    ~IErrorInfo() = default;
};
typedef IErrorInfo* LPERRORINFO;

struct ICreateErrorInfo : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetGUID(REFGUID rguid) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSource(LPOLESTR szSource) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDescription(LPOLESTR szDescription) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetHelpFile(LPOLESTR szHelpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetHelpContext(DWORD dwHelpContext) = 0;

protected:
    ~ICreateErrorInfo() = default;
};
typedef ICreateErrorInfo* LPCREATEERRORINFO;

struct ISupportErrorInfo : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID riid) = 0;

protected:
    ~ISupportErrorInfo() = default;
};
typedef ISupportErrorInfo* LPSUPPORTERRORINFO;

TESSEL_EXTERN_C_BEGIN

TESSEL_PLATFORM_API extern const GUID GUID_NULL;
TESSEL_PLATFORM_API extern const IID IID_NULL;
TESSEL_PLATFORM_API extern const IID IID_IUnknown;
TESSEL_PLATFORM_API extern const IID IID_IErrorInfo;
TESSEL_PLATFORM_API extern const IID IID_ICreateErrorInfo;
TESSEL_PLATFORM_API extern const IID IID_ISupportErrorInfo;

// Writes the GUID as "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}", upper-case, with its terminator;
// gives the 39 characters written, or 0 when cchMax is less than that.
TESSEL_PLATFORM_API int WINAPI StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, int cchMax);

// A BSTR carries its length in front of the text; SysAllocString(nullptr) gives nullptr, and
// SysFreeString and SysStringLen accept nullptr.
TESSEL_PLATFORM_API BSTR WINAPI SysAllocString(const OLECHAR* psz);
TESSEL_PLATFORM_API BSTR WINAPI SysAllocStringLen(const OLECHAR* strIn, UINT ui);
TESSEL_PLATFORM_API void WINAPI SysFreeString(BSTR bstrString);
TESSEL_PLATFORM_API UINT WINAPI SysStringLen(BSTR pbstr);
TESSEL_PLATFORM_API UINT WINAPI SysStringByteLen(BSTR bstr);

// The thread's error object. SetErrorInfo replaces it (null clears it); GetErrorInfo hands it
// over to the caller, who then owns the reference, and leaves the thread without one. With no
// object GetErrorInfo gives S_FALSE and null. dwReserved must be 0.
TESSEL_PLATFORM_API HRESULT WINAPI CreateErrorInfo(ICreateErrorInfo** pperrinfo);
TESSEL_PLATFORM_API HRESULT WINAPI SetErrorInfo(ULONG dwReserved, IErrorInfo* perrinfo);
TESSEL_PLATFORM_API HRESULT WINAPI GetErrorInfo(ULONG dwReserved, IErrorInfo** pperrinfo);

TESSEL_EXTERN_C_END

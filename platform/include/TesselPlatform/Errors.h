// Win32 status codes and HRESULTs with their Windows values, and the HRESULT macros.
#pragma once

#include "TesselPlatform/Types.h"

#define ERROR_SUCCESS 0L
#define NO_ERROR 0L
#define ERROR_INVALID_FUNCTION 1L
#define ERROR_FILE_NOT_FOUND 2L
#define ERROR_PATH_NOT_FOUND 3L
#define ERROR_ACCESS_DENIED 5L
#define ERROR_INVALID_HANDLE 6L
#define ERROR_NOT_ENOUGH_MEMORY 8L
#define ERROR_INVALID_DATA 13L
#define ERROR_OUTOFMEMORY 14L
#define ERROR_NOT_SUPPORTED 50L
#define ERROR_INVALID_PARAMETER 87L
#define ERROR_INSUFFICIENT_BUFFER 122L
#define ERROR_INVALID_NAME 123L
#define ERROR_MOD_NOT_FOUND 126L
#define ERROR_BAD_PATHNAME 161L
#define ERROR_ALREADY_EXISTS 183L
#define ERROR_MORE_DATA 234L
#define ERROR_NO_MORE_ITEMS 259L
#define ERROR_ELEVATION_REQUIRED 740L
#define ERROR_NO_UNICODE_TRANSLATION 1113L
#define ERROR_RESOURCE_DATA_NOT_FOUND 1812L
#define ERROR_RESOURCE_TYPE_NOT_FOUND 1813L
#define ERROR_RESOURCE_NAME_NOT_FOUND 1814L
#define ERROR_INVALID_FLAGS 1004L
#define ERROR_BADDB 1009L
#define ERROR_BADKEY 1010L
#define ERROR_CANTOPEN 1011L
#define ERROR_CANTREAD 1012L
#define ERROR_CANTWRITE 1013L
#define ERROR_REGISTRY_RECOVERED 1014L
#define ERROR_REGISTRY_CORRUPT 1015L
#define ERROR_REGISTRY_IO_FAILED 1016L
#define ERROR_KEY_DELETED 1018L
#define ERROR_INVALID_DATATYPE 1804L

#define FACILITY_NULL 0
#define FACILITY_RPC 1
#define FACILITY_DISPATCH 2
#define FACILITY_ITF 4
#define FACILITY_WIN32 7

#define SUCCEEDED(hr) (static_cast<HRESULT>(hr) >= 0)
#define FAILED(hr) (static_cast<HRESULT>(hr) < 0)
#define HRESULT_CODE(hr) (static_cast<HRESULT>(hr) & 0xFFFF)
#define HRESULT_FACILITY(hr) ((static_cast<HRESULT>(hr) >> 16) & 0x1fff)
#define MAKE_HRESULT(sev, fac, code) \
    static_cast<HRESULT>((static_cast<ULONG>(sev) << 31) | (static_cast<ULONG>(fac) << 16) | static_cast<ULONG>(code))

// An HRESULT from a Win32 status code: 0 stays 0, anything else gets FACILITY_WIN32.
inline HRESULT HRESULT_FROM_WIN32(LONG code)
{
    return code <= 0 ? static_cast<HRESULT>(code)
                     : static_cast<HRESULT>((static_cast<ULONG>(code) & 0x0000FFFF) | (FACILITY_WIN32 << 16) | 0x80000000u);
}

#define S_OK static_cast<HRESULT>(0L)
#define S_FALSE static_cast<HRESULT>(1L)
#define E_NOTIMPL static_cast<HRESULT>(0x80004001L)
#define E_NOINTERFACE static_cast<HRESULT>(0x80004002L)
#define E_POINTER static_cast<HRESULT>(0x80004003L)
#define E_ABORT static_cast<HRESULT>(0x80004004L)
#define E_FAIL static_cast<HRESULT>(0x80004005L)
#define E_UNEXPECTED static_cast<HRESULT>(0x8000FFFFL)
#define E_ACCESSDENIED static_cast<HRESULT>(0x80070005L)
#define E_HANDLE static_cast<HRESULT>(0x80070006L)
#define E_OUTOFMEMORY static_cast<HRESULT>(0x8007000EL)
#define E_INVALIDARG static_cast<HRESULT>(0x80070057L)
#define CLASS_E_NOAGGREGATION static_cast<HRESULT>(0x80040110L)
#define CLASS_E_CLASSNOTAVAILABLE static_cast<HRESULT>(0x80040111L)
#define REGDB_E_CLASSNOTREG static_cast<HRESULT>(0x80040154L)
#define DISP_E_BADVARTYPE static_cast<HRESULT>(0x80020008L)
#define DISP_E_TYPEMISMATCH static_cast<HRESULT>(0x80020005L)
#define DISP_E_OVERFLOW static_cast<HRESULT>(0x8002000AL)
#define DISP_E_EXCEPTION static_cast<HRESULT>(0x80020009L)

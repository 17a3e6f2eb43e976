// The four COM server entry points that the library exports with C linkage. They serve no
// class: the results are fixed, and nothing is written to the registry.
#pragma once

#include "Tessel/Export.h"
#include "TesselWin32.h"

extern "C" {

// S_OK while no client holds a lock on the server, which nothing in the library takes.
TESSEL_API HRESULT WINAPI DllCanUnloadNow(void);
// Always leaves *ppv null: CLASS_E_CLASSNOTAVAILABLE, or E_UNEXPECTED if the module's state
// could not be set up at load.
TESSEL_API HRESULT WINAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv);
TESSEL_API HRESULT WINAPI DllRegisterServer(void);
TESSEL_API HRESULT WINAPI DllUnregisterServer(void);

} // extern "C"

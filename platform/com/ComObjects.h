// The system classes that CoCreateInstance can make here, each behind a function that gives a
// new reference to the requested interface.
#pragma once

#include "TesselPlatform/ComRuntime.h"

namespace TesselPlatform::Com {

HRESULT GetGlobalOptions(REFIID riid, void** ppv);
HRESULT GetGlobalInterfaceTable(REFIID riid, void** ppv);
HRESULT CreateCategoryManager(REFIID riid, void** ppv);

} // namespace TesselPlatform::Com

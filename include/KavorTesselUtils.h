// The umbrella header: every public header of the library, and with them the Win32 names
// (the system's on Windows, the platform layer's elsewhere).
#pragma once

#include "TesselWin32.h"
#include "Tessel/Export.h"
#include "Tessel/CriticalSection.h"
#include "Tessel/ErrorStorage.h"
#include "Tessel/ExceptionFactory.h"
#include "Tessel/Exceptions.h"
#include "Tessel/Version.h"

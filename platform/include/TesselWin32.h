// The one platform header that library code includes. On Windows it brings the system headers;
// elsewhere the platform layer's stand-ins, with the same names, values and signatures.
#pragma once

#if defined(_WIN32)
#  ifndef WIN32_LEAN_AND_MEAN
#    define WIN32_LEAN_AND_MEAN
#  endif
#  ifndef NOMINMAX
#    define NOMINMAX
#  endif
#  include <windows.h>
#  include <objbase.h>
#  include <comcat.h>
#  include <oleauto.h>
#  include <shlwapi.h>
// The loader calls DllMain's detach before the module's static objects end: nothing to mark.
#  define TESSEL_OUTLIVES_LOAD_HOOK
#else
#  include "TesselPlatform/Types.h"
#  include "TesselPlatform/Errors.h"
#  include "TesselPlatform/System.h"
#  include "TesselPlatform/Text.h"
#  include "TesselPlatform/Registry.h"
#  include "TesselPlatform/Com.h"
#  include "TesselPlatform/ComRuntime.h"
#  include "TesselPlatform/Module.h"
#endif

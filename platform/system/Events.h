// What the rest of the platform asks of event objects beyond their Win32 functions.
#pragma once

#include "TesselPlatform/Types.h"

namespace TesselPlatform::System {

// Whether handle is an open event of this process.
bool IsEvent(HANDLE handle);

} // namespace TesselPlatform::System

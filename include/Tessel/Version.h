// The library's version.
#pragma once

#include "Tessel/Export.h"

namespace Tessel {

// The version of the loaded library as "major.minor.patch".
TESSEL_API const char* GetLibraryVersion() noexcept;

} // namespace Tessel

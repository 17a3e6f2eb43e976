// The library's version, for diagnostics and for tools that print it.

#include "Tessel/Version.h"

namespace Tessel {

const char* GetLibraryVersion() noexcept
{
    return "0.1.0";
}

} // namespace Tessel

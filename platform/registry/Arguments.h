// The argument checks of the registry functions that don't need the store: sub-key paths and
// their limits, value names, and the view flags.
#pragma once

#include <vector>

#include "registry/Records.h"

namespace TesselPlatform::Registry {

// Splits a sub-key path into its names (null gives none): trailing backslashes are ignored, a
// leading one or an empty name between two gives ERROR_BAD_PATHNAME, a name longer than 255
// units or a path deeper than the deepest key ERROR_INVALID_PARAMETER.
LONG SplitPath(const wchar_t* path, std::vector<Utf16>& parts);

// A value name (null is the default value's empty name); longer than 16,383 units gives
// ERROR_INVALID_PARAMETER.
LONG ValueName(const wchar_t* name, Utf16& out);

// Both view flags at once are refused with ERROR_INVALID_PARAMETER.
bool ConflictingViews(REGSAM sam);

} // namespace TesselPlatform::Registry

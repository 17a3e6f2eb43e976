// What the reader and the writer factory share: the grammar of data-source names, "scheme:location"
// or a bare registry location, and the setting that forces a registry view.
#pragma once

#include <cstdint>
#include <string>

#include "TesselWin32.h"

namespace Tessel::Detail {

// The kind of store that a scheme word names. Only Registry is built; the others are refused.
enum class DataSourceKind : std::int32_t {
    Unknown = 0,
    Registry = 1,
    Xml = 2,
    Database = 3,
};

// Splits the name at its first colon into a scheme word and a location. A name without a colon is
// a registry location as a whole. The location is never trimmed or folded.
DataSourceKind SplitDataSourceName(const std::wstring& name, std::wstring& location);

// Looks a scheme word up after trimming and folding it to lower case.
DataSourceKind ParseDataSourceKind(const std::wstring& schemeWord);

// Removes blank, form feed, line feed, carriage return, tab and vertical tab from both ends, and
// nothing else: unlike TrimIsSpace, the result does not depend on the locale.
std::wstring Trim(const std::wstring& text);

// Sets the view flags for 32 or 64; any other bitness leaves them as they are, so that a forced
// view cannot be undone.
void ForcePlatformView(int bitness, ULONG& regOverride);

} // namespace Tessel::Detail

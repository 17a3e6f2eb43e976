// The system's English message texts, by message number, for FormatMessageW.
#pragma once

#include "TesselPlatform/Types.h"

namespace TesselPlatform::System {

// The text of a Win32 code or an HRESULT, without the CR LF that FormatMessageW adds, or null if
// the system has none. An HRESULT of FACILITY_WIN32 finds the text of its Win32 code.
const wchar_t* FindSystemMessage(DWORD messageId);

} // namespace TesselPlatform::System

// The text of COM failures: a readable line for an HRESULT, the text that a called object left
// for the calling thread, and the server's side that leaves such a text.
#pragma once

#include <string>

#include "Tessel/Export.h"
#include "TesselWin32.h"

namespace Tessel {

// "HRESULT <code in upper-case hex>: <the system's text for it>", for logs and messages. The
// part behind the colon is the system's, in the system's language: do not parse it.
TESSEL_API std::wstring GetCOMErrorMessage(LONG code);

// The description that object left on this thread for a failure of interface iid, if object
// says that it supports error info for iid; otherwise "error " and the code in hex. The thread's
// error object can be read once: this call takes it, as ExceptionFactory::Throw does. Standard
// exceptions come out as OutOfMemory or Unexpected; the library's own pass unchanged.
TESSEL_API std::wstring GetErrorString(IUnknown* object, const GUID& iid, LONG code);

// For a server on its failing path, before it returns its HRESULT: leaves description (which may
// be null) and iid as the calling thread's error object. Reports nothing, also when it fails.
TESSEL_API void SetErrorCOM(const wchar_t* description, const GUID& iid);

} // namespace Tessel

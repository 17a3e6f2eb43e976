// The thread's last-error code. Implementation here must contain only generic UNIX code.

#include "TesselPlatform/System.h"

namespace {
thread_local DWORD t_lastError = ERROR_SUCCESS;
}

extern "C" {

DWORD WINAPI GetLastError(void)
{
    return t_lastError;
}

void WINAPI SetLastError(DWORD code)
{
    t_lastError = code;
}

} // extern "C"

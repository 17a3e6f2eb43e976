// The helpers of a module's start and end: thread notices (which this system never sends), the
// lock made at start-up, and the debugger's output channel.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "TesselPlatform/Module.h"
#include "module/ModuleInternal.h"

extern "C" {

BOOL WINAPI DisableThreadLibraryCalls(HMODULE hLibModule)
{
    if (hLibModule == nullptr) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    return TRUE;
}

BOOL WINAPI InitializeCriticalSectionEx(LPCRITICAL_SECTION section, DWORD, DWORD)
{
    if (section == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    InitializeCriticalSection(section);
    return TRUE;
}

BOOL WINAPI IsDebuggerPresent(void)
{
    std::FILE* status = std::fopen("/proc/self/status", "r");
    if (status == nullptr)
        return FALSE;
    char line[256];
    long tracer = 0;
    while (std::fgets(line, sizeof line, status) != nullptr) {
        if (std::strncmp(line, "TracerPid:", 10) == 0) {
            tracer = std::strtol(line + 10, nullptr, 10);
            break;
        }
    }
    std::fclose(status);
    return tracer != 0 ? TRUE : FALSE;
}

void WINAPI OutputDebugStringW(LPCWSTR lpOutputString)
{
    if (lpOutputString == nullptr || !IsDebuggerPresent())
        return;
    const std::string text = TesselModule::ToUtf8(lpOutputString);
    std::fwrite(text.data(), 1, text.size(), stderr);
}

} // extern "C"

// The debugger's side of the system: whether one is attached, and its output channel.
// Implementation here must contain only code for systems with a /proc/self/status that names the
// tracer (Linux).

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "TesselPlatform/System.h"
#include "text/Utf8Strings.h"

extern "C" {

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
    const std::string text = TesselPlatform::Text::ToUtf8(lpOutputString);
    std::fwrite(text.data(), 1, text.size(), stderr);
}

} // extern "C"

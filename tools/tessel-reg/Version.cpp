// What tessel-reg --version prints.

#include "Commands.h"
#include "Tessel/Version.h"

#include <string>

#ifndef _WIN32
#include "TesselWin32.h"
#endif

namespace Tessel::Reg {

std::wstring VersionText()
{
    std::wstring text = L"tessel-reg " TESSEL_REG_VERSION L"\n";
    text += L"KavorTesselUtils ";
    for (const char* c = GetLibraryVersion(); *c != '\0'; ++c)
        text += static_cast<wchar_t>(*c);
    text += L"\n";
#ifndef _WIN32
    // The hive files' format, which a copied hive must match; Windows keeps its own registry.
    text += L"registry schema " + std::to_wstring(TesselRegSchemaVersion()) + L"\n";
#endif
    return text;
}

} // namespace Tessel::Reg

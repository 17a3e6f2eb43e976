// What tessel-reg --version prints.

#include "Commands.h"
#include "Tessel/Version.h"

namespace Tessel::Reg {

std::wstring VersionText()
{
    std::wstring text = L"tessel-reg " TESSEL_REG_VERSION L"\n";
    text += L"KavorTesselUtils ";
    for (const char* c = GetLibraryVersion(); *c != '\0'; ++c)
        text += static_cast<wchar_t>(*c);
    text += L"\n";
    // The registry store's schema version belongs here, on a line of its own, once the store
    // reports it.
    return text;
}

} // namespace Tessel::Reg

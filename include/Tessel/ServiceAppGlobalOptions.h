// The COM exception option of a service: read once from the registry, for one application or
// for all, and applied to the process through COM's global options.
#pragma once

#include <cstdint>

#include "Tessel/Export.h"

namespace Tessel::Internal {

// How COM treats exceptions that leave calls into the service. Values are COM's own, and a
// stored number passes through unchecked.
enum ComExceptionHandlingOption : std::int32_t {
    ComExceptionHandle = 0,          // COM handles them; COM's own default
    ComExceptionDoNotHandleFatal = 1, // COM leaves fatal exceptions alone
    ComExceptionDoNotHandleAny = 2,   // COM handles none; the default here
};

// Make one at start-up and call ApplyOptions. Nothing here fails loudly: a missing or refused
// key, a value of another type and a COM failure all leave the default in force.
class TESSEL_API ServiceAppGlobalOptions {
public:
    // Reads HKEY_LOCAL_MACHINE\Software\Kavor\Tessel\Default.
    ServiceAppGlobalOptions();
    // Reads HKEY_LOCAL_MACHINE\Software\Kavor\Tessel\<name>; an application without a key of
    // its own keeps the built-in default and doesn't fall back on "Default".
    explicit ServiceAppGlobalOptions(const wchar_t* name);
    ~ServiceAppGlobalOptions();

    ComExceptionHandlingOption GetComExceptionHandlingOption() const;

    // Sets the option on the process, on a thread where COM is initialised. The value 0 is
    // COM's default and is left alone. Can be called again; each call sets the option anew.
    void ApplyOptions();

private:
    void InternalCreate(const wchar_t* subKey);

    ComExceptionHandlingOption m_comExceptionHandling;
};

} // namespace Tessel::Internal

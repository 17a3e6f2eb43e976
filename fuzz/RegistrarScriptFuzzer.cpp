// Runs arbitrary text through the registrar script engine, registering and then unregistering,
// against a registry store of the fuzzer's own: scripts may name any root, and the store is
// cleared every so many runs. A crash, a sanitizer report or a failed check below is a finding.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "FuzzSupport.h"
#include "com/registrar/RegObject.h"

namespace {

bool IsKnownFailure(HRESULT hr)
{
    return hr == DISP_E_EXCEPTION || hr == E_FAIL || hr == DISP_E_TYPEMISMATCH || hr == DISP_E_OVERFLOW ||
           HRESULT_FACILITY(hr) == FACILITY_WIN32;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Fuzz::UseOwnStore();
    // The first byte picks the replacements, the rest is the script in UTF-8; text after an
    // embedded NUL is not part of it.
    Fuzz::Input input(data, size);
    const std::uint8_t choice = input.Byte();
    const std::wstring script = input.Rest();

    ATL::CRegObject registrar;
    if (registrar.FinalConstruct() != S_OK)
        std::abort();
    if ((choice & 1) != 0)
        registrar.AddReplacementPair(L"Module", L"/opt/it's here/module.so");
    if ((choice & 2) != 0)
        registrar.AddReplacementPair(L"Key", L"%Module%");

    for (const BOOL bRegister : {TRUE, FALSE}) {
        const HRESULT hr = registrar.RunScript(script.c_str(), bRegister);
        if (FAILED(hr) && !IsKnownFailure(hr))
            std::abort();
    }
    return 0;
}

// Runs arbitrary text through the registrar script engine, registering and then unregistering,
// against a registry store of the fuzzer's own. A crash, a sanitizer report or a failed check
// below is a finding.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include "TesselWin32.h"
#include "com/registrar/RegObject.h"

namespace {

// Scripts may name any root: the store lives in a directory that nobody else uses.
void UseOwnStore()
{
    static const bool ready = [] {
        char pattern[] = "/tmp/tessel-fuzz-XXXXXX";
        if (mkdtemp(pattern) == nullptr)
            std::abort();
        setenv("TESSEL_REGISTRY_DIR", pattern, 1);
        return true;
    }();
    (void)ready;
}

bool IsKnownFailure(HRESULT hr)
{
    return hr == DISP_E_EXCEPTION || hr == E_FAIL || hr == DISP_E_TYPEMISMATCH || hr == DISP_E_OVERFLOW ||
           HRESULT_FACILITY(hr) == FACILITY_WIN32;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    UseOwnStore();
    // The first byte picks the replacements, the rest is the script in UTF-8.
    const std::uint8_t choice = size > 0 ? data[0] : 0;
    const std::string bytes(reinterpret_cast<const char*>(data) + (size > 0 ? 1 : 0), size > 0 ? size - 1 : 0);
    const int length = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
    std::wstring script(static_cast<std::size_t>(length), L'\0');
    if (length > 0)
        MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), script.data(), length);
    // Text after an embedded NUL is not part of the script.
    script.resize(std::wcslen(script.c_str()));

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

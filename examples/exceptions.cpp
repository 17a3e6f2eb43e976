// The library's failures as exceptions: catching them by class, turning a bare HRESULT back into
// its class, and a client's own class that the exception factory learns at start-up.
#include <KavorTesselUtils.h>

#include <iostream>

using namespace Tessel;

namespace {

// A client's own failure, built as the library's classes are: the two constructors, and a
// registrar that puts its thrower into the factory under its code when the program starts.
class LicenseExpired : public ExceptionCOM {
public:
    static constexpr LONG Code = static_cast<LONG>(0x80040201u); // a failure of the client's own interface

    explicit LicenseExpired(const ErrorStorage& source) : ExceptionCOM(source) {}
    explicit LicenseExpired(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

const ExceptionRegistrar s_licenseExpired(GUID_NULL, LicenseExpired::Code, &ThrowFromRecord<LicenseExpired>);

// A server's side: it fails, leaves a text for its caller, and returns only an HRESULT.
HRESULT CheckLicense()
{
    SetErrorCOM(L"The trial ended on 2026-01-31", GUID_NULL);
    return LicenseExpired::Code;
}

} // namespace

int main()
{
    int caught = 0;
    try {
        ConfigReaderFactory::GetInstance().GetConfigReader(L"HKCU\\Software\\Example\\Missing");
    } catch (const ConfigurationNotFoundException& e) {
        // The text of a missing dataset is its path below the root.
        std::wcout << L"ConfigurationNotFoundException: " << e.GetDescription() << L"\n";
        ++caught;
    }

    try {
        // A failed COM call gives a bare code; Throw raises the class registered for it.
        ExceptionFactory::Throw(GUID_NULL, E_ACCESSDENIED, nullptr, nullptr);
    } catch (const AccessDenied& e) {
        std::wcout << L"AccessDenied: " << GetCOMErrorMessage(e.GetComCode()) << L"\n";
        ++caught;
    }

    try {
        // With no error object given, the text comes from the one the server left on this thread.
        ExceptionFactory::Throw(GUID_NULL, CheckLicense(), nullptr, nullptr);
    } catch (const LicenseExpired& e) {
        std::wcout << L"LicenseExpired: " << e.GetDescription() << L"\n";
        ++caught;
    }

    try {
        // A code that no class is registered for comes back as ExceptionCOM itself.
        ExceptionFactory::Throw(GUID_NULL, static_cast<LONG>(0x80040202u), nullptr, nullptr);
    } catch (const ExceptionBase& e) { // every class of the library, and the client's own
        std::wcout << L"ExceptionCOM " << std::hex << static_cast<ULONG>(e.GetComCode()) << std::dec
                   << L", narrow text: " << e.what() << L"\n";
        ++caught;
    }
    return caught == 4 ? 0 : 1;
}

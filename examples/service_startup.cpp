// A service's start-up: COM is initialised on the main thread, the service's COM exception option
// is read from the machine's configuration and applied, and the service reads its settings.
#include <KavorTesselUtils.h>

#include <iostream>

using namespace Tessel;

namespace {

const std::wstring kServiceName = L"ExampleService";
const std::wstring kOptionKeys = L"HKLM\\Software\\Kavor\\Tessel";

// What an installer does once: the option for this service, beside the one for all services.
// Writing below HKEY_LOCAL_MACHINE needs the right to write the machine's hive.
bool Install()
{
    try {
        auto options = PersistentDataWriterFactory::GetInstance().GetPersistentDataWriter(kOptionKeys);
        options->GetSubDataset(kServiceName)->SetUInt(L"ComExceptionHandlingOption", 1);
        options->GetSubDataset(L"Default")->SetUInt(L"ComExceptionHandlingOption", 2);
        return true;
    } catch (const ExceptionBase& e) {
        std::wcout << L"cannot install (" << e.GetDescription() << L"); the service keeps the defaults\n";
        return false;
    }
}

bool Uninstall()
{
    try {
        auto options = PersistentDataWriterFactory::GetInstance().GetPersistentDataWriter(kOptionKeys);
        options->DeleteSubDataset(kServiceName);
        options->DeleteSubDataset(L"Default");
        return true;
    } catch (const ExceptionBase& e) {
        std::wcout << L"cannot uninstall: " << e.GetDescription() << L"\n";
        return false;
    }
}

} // namespace

int main()
{
    const bool installed = Install();

    if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)))
        return 1;
    // Reads ...\ExampleService; a service without a key of its own has the built-in default,
    // not the "Default" key's value. Nothing here fails: a missing key leaves the default.
    Internal::ServiceAppGlobalOptions options(kServiceName.c_str());
    std::wcout << L"COM exception handling option: " << options.GetComExceptionHandlingOption() << L"\n";
    options.ApplyOptions();

    int status = 0;
    try {
        auto settings = ConfigReaderFactory::GetInstance().GetConfigReader(kOptionKeys + L"\\" + kServiceName);
        std::wcout << L"worker threads: " << settings->GetUIntOr(L"WorkerThreads", 4) << L"\n";
    } catch (const ConfigurationNotFoundException&) {
        std::wcout << L"no settings of its own: the service runs on its defaults\n";
    }
    if (installed) {
        const bool applied = options.GetComExceptionHandlingOption() == Internal::ComExceptionDoNotHandleFatal;
        status = Uninstall() && applied ? 0 : 1;
    }
    CoUninitialize();
    return status;
}

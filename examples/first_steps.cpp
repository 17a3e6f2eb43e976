// Writes configuration through a data-source name, reads it back, and catches the library's
// exceptions.
#include <KavorTesselUtils.h>

#include <iostream>

int main()
{
    using namespace Tessel;
    const std::wstring name = L"registry:HKCU\\Software\\Example\\Service";
    try {
        // A writer may stand where nothing exists yet: its first write creates the key.
        auto writer = PersistentDataWriterFactory::GetInstance().GetPersistentDataWriter(name);
        writer->SetString(L"Endpoint", L"localhost:8443");
        writer->SetUInt(L"Retries", 3);
        writer->SetIntList(L"Ports", {8080, 8443});

        auto reader = ConfigReaderFactory::GetInstance().GetConfigReader(name);
        std::wcout << reader->GetString(L"Endpoint") << L", " << reader->GetUInt(L"Retries") << L" retries, "
                   << reader->GetIntList(L"Ports").size() << L" ports, timeout "
                   << reader->GetIntOr(L"TimeoutSeconds", 30) << L" s\n";
        reader->GetInt(L"Endpoint"); // text that is no number
    } catch (const InvalidTypeException& e) {
        std::wcout << L"InvalidTypeException: " << e.GetDescription() << L"\n";
    } catch (const ExceptionBase& e) { // the root of every class the library throws
        std::wcerr << L"failed: " << e.GetDescription() << L"\n";
        return 1;
    }
}

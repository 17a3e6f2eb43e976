// Configuration as a tree of datasets: a writer builds one with sub datasets, a reader walks it,
// and CopyRegistryTree copies it whole to a second place.
#include <KavorTesselUtils.h>

#include <iostream>
#include <string>

using namespace Tessel;

namespace {

const std::wstring kParent = L"HKCU\\Software\\Example";

struct Totals {
    int datasets = 0;
    int parameters = 0;
};

// Prints a dataset with its parameters, then its sub datasets one level deeper.
void Walk(const IConfigReader& reader, int depth, Totals& totals)
{
    ++totals.datasets;
    std::wcout << std::wstring(2 * depth, L' ') << reader.GetDatasetName();
    const wchar_t* separator = L": ";
    for (const std::wstring& parameter : reader.GetParameterNames()) {
        // Coerced reads take text and numbers alike, so a walk needs no knowledge of types.
        std::wcout << separator << parameter << L"=" << reader.GetStringCoerced(parameter);
        separator = L", ";
        ++totals.parameters;
    }
    std::wcout << L"\n";
    for (const auto& sub : reader.GetSubDatasets())
        Walk(*sub, depth + 1, totals);
}

void Build(IPersistentDataWriter& root)
{
    root.SetString(L"Name", L"demo");
    root.SetUInt(L"Version", 2);
    root.CreateSubDataset(L"Servers\\Alpha"); // every level of the path
    root.CreateSubDataset(L"Servers\\Beta");

    // Sub datasets are found without regard to case and keep the case they were created with.
    auto servers = root.GetSubDataset(L"servers");
    auto alpha = servers->GetSubDataset(L"Alpha");
    alpha->SetString(L"Host", L"alpha.local");
    alpha->SetInt(L"Port", 8080);
    auto beta = servers->GetSubDataset(L"Beta");
    beta->SetString(L"Host", L"beta.local");
    beta->SetBool(L"Enabled", false);
}

} // namespace

int main()
{
    try {
        auto& writers = PersistentDataWriterFactory::GetInstance();
        auto& readers = ConfigReaderFactory::GetInstance();

        auto parent = writers.GetPersistentDataWriter(kParent);
        parent->DeleteSubDataset(L"Configuration"); // a missing one is no failure
        parent->DeleteSubDataset(L"Backup");

        Build(*writers.GetPersistentDataWriter(kParent + L"\\Configuration"));
        auto source = readers.GetConfigReader(kParent + L"\\Configuration");
        Totals original;
        Walk(*source, 0, original);

        auto backup = writers.GetPersistentDataWriter(kParent + L"\\Backup");
        CopyRegistryTree(*source, *backup, true, true);
        Totals copied;
        Walk(*readers.GetConfigReader(kParent + L"\\Backup"), 0, copied);

        const int port = readers.GetConfigReader(kParent + L"\\Backup\\Servers\\Alpha")->GetInt(L"Port");
        if (copied.datasets != original.datasets || copied.parameters != original.parameters || port != 8080) {
            std::wcerr << L"the copy differs from its source\n";
            return 1;
        }
        std::wcout << L"copied " << copied.datasets << L" datasets with " << copied.parameters << L" parameters\n";

        parent->DeleteSubDataset(L"Configuration"); // removes everything below it
        parent->DeleteSubDataset(L"Backup");
        return parent->HasSubDataset(L"Backup") ? 1 : 0;
    } catch (const ExceptionBase& e) {
        std::wcerr << L"failed: " << e.GetDescription() << L"\n";
        return 1;
    }
}

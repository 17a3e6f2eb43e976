// Runs arbitrary data-source names through both factories, and walks what they open. A crash, a
// sanitizer report or an exception from outside the library's tree is a finding.

#include <cstdint>

#include "FuzzSupport.h"

namespace {

// A small tree for names to find: two levels with a few values.
void Prepare()
{
    HKEY key = nullptr;
    for (const wchar_t* path : {L"Software\\Fuzz\\A\\B", L"Software\\Fuzz\\A\\C"}) {
        if (RegCreateKeyExW(HKEY_CURRENT_USER, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) !=
            ERROR_SUCCESS)
            std::abort();
        const DWORD number = 42;
        RegSetValueExW(key, L"n", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
        RegCloseKey(key);
    }
}

void Walk(const Tessel::IConfigReader& reader, int depth)
{
    reader.GetDatasetName();
    reader.GetDatasetPath();
    for (const std::wstring& name : reader.GetParameterNames())
        reader.GetStringCoercedOr(name, L"");
    if (depth < 3) {
        for (const auto& sub : reader.GetSubDatasets())
            Walk(*sub, depth + 1);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Fuzz::UseOwnStore(Prepare);
    Fuzz::Input input(data, size);
    const std::uint8_t choice = input.Byte();
    const std::wstring name = input.Piece();
    const std::wstring sub = input.Rest();
    if ((choice & 1) != 0)
        Tessel::ConfigReaderFactory::ForcePlatform((choice & 2) != 0 ? 32 : 64);
    Fuzz::Try([&] {
        const auto reader = Tessel::ConfigReaderFactory::GetInstance().GetConfigReader(name);
        Walk(*reader, 0);
        if (!sub.empty())
            Walk(*reader->GetSubDataset(sub), 0);
    });
    if ((choice & 4) != 0) {
        Fuzz::Try([&] {
            const auto writer = Tessel::PersistentDataWriterFactory::GetInstance().GetPersistentDataWriter(name);
            writer->SetString(sub.empty() ? L"p" : sub, name);
            if (!sub.empty())
                writer->GetSubDataset(sub);
        });
    }
    return 0;
}

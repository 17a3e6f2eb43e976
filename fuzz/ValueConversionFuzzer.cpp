// Stores arbitrary text (or bytes) as a parameter and reads it back through every typed getter
// of a reader and a writer, so that each conversion meets every text. A crash, a sanitizer
// report or an exception from outside the library's tree is a finding.

#include <cstdint>
#include <functional>

#include "FuzzSupport.h"
#include "common/Utf16Data.h"

namespace {

const wchar_t* const kName = L"registry:HKCU\\Software\\Fuzz\\Values";

void Prepare()
{
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\Fuzz\\Values", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                        nullptr) != ERROR_SUCCESS)
        std::abort();
    RegCloseKey(key);
}

template <class Reader>
void ReadEveryWay(const Reader& reader)
{
    const std::wstring p = L"p";
    Fuzz::Try([&] { reader.GetInt(p); });
    Fuzz::Try([&] { reader.GetIntList(p); });
    Fuzz::Try([&] { reader.GetIntOr(p, 1); });
    Fuzz::Try([&] { reader.GetIntListOr(p, {1}); });
    Fuzz::Try([&] { reader.GetUInt(p); });
    Fuzz::Try([&] { reader.GetUIntList(p); });
    Fuzz::Try([&] { reader.GetDouble(p); });
    Fuzz::Try([&] { reader.GetDoubleList(p); });
    Fuzz::Try([&] { reader.GetDoubleOr(p, 1.5); });
    Fuzz::Try([&] { reader.GetBool(p); });
    Fuzz::Try([&] { reader.GetBoolList(p); });
    Fuzz::Try([&] { reader.GetBoolOr(p, true); });
    Fuzz::Try([&] { reader.GetString(p); });
    Fuzz::Try([&] { reader.GetStringList(p); });
    Fuzz::Try([&] { reader.GetStringOr(p, L"d"); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Fuzz::UseOwnStore(Prepare);
    Fuzz::Input input(data, size);
    const std::uint8_t choice = input.Byte();
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Fuzz\\Values", 0, KEY_ALL_ACCESS, &key) != ERROR_SUCCESS)
        std::abort();
    // Mostly text, as the library stores parameters; sometimes other types, or raw bytes.
    static const DWORD kTypes[] = {REG_SZ, REG_SZ, REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ, REG_DWORD, REG_BINARY, REG_QWORD};
    const DWORD type = kTypes[choice & 7];
    const bool raw = (choice & 8) != 0;
    const std::vector<BYTE> bytes = raw ? input.RestBytes() : Tessel::Detail::Utf16FromWide(input.Rest(), true);
    RegSetValueExW(key, L"p", 0, type, bytes.empty() ? nullptr : bytes.data(), static_cast<DWORD>(bytes.size()));
    RegCloseKey(key);

    Fuzz::Try([&] { ReadEveryWay(*Tessel::ConfigReaderFactory::GetInstance().GetConfigReader(kName)); });
    Fuzz::Try([&] {
        const auto reader = Tessel::ConfigReaderFactory::GetInstance().GetConfigReader(kName);
        reader->GetDoubleCoerced(L"p");
        reader->GetStringCoerced(L"p");
    });
    if ((choice & 16) != 0)
        Fuzz::Try([&] { ReadEveryWay(*Tessel::PersistentDataWriterFactory::GetInstance().GetPersistentDataWriter(kName)); });
    return 0;
}

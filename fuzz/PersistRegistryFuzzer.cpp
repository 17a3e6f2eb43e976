// The wrapper's path parsing and its reads: an arbitrary path is opened and created, and an
// arbitrary value of an arbitrary type is read through every Read overload. A crash, a
// sanitizer report or an exception from outside the library's tree is a finding.

#include <cstdint>

#include "FuzzSupport.h"

namespace {

void ReadEveryWay(const Tessel::PersistRegistry& registry, bool optional)
{
    const wchar_t* const name = L"item";
    Fuzz::Try([&] { LONG v; registry.Read(name, v, optional); });
    Fuzz::Try([&] { ULONG v; registry.Read(name, v, optional); });
    Fuzz::Try([&] { float v; registry.Read(name, v, optional); });
    Fuzz::Try([&] { double v; registry.Read(name, v, optional); });
    Fuzz::Try([&] { bool v; registry.Read(name, v, optional); });
    Fuzz::Try([&] { std::vector<std::wstring> v; registry.Read(name, v, optional); });
    for (const bool expand : {false, true}) {
        Fuzz::Try([&] { std::wstring v; registry.Read(name, v, expand, optional); });
        Fuzz::Try([&] { wchar_t v[8]; registry.Read(name, v, 8, expand, optional); });
        Fuzz::Try([&] { wchar_t v[300]; registry.Read(name, v, 300, expand, optional); });
    }
    Fuzz::Try([&] { unsigned char v[16]; registry.Read(name, v, 0, sizeof v, optional); });
    Fuzz::Try([&] { unsigned char v[16]; registry.Read(name, v, 4, 8, optional); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Fuzz::UseOwnStore();
    Fuzz::Input input(data, size);
    const std::uint8_t choice = input.Byte();
    const std::wstring path = input.Piece();
    const std::wstring sub = input.Piece();
    const std::vector<std::uint8_t> value = input.RestBytes();
    const auto access = (choice & 1) != 0 ? Tessel::ReadWrite : Tessel::ReadOnly;

    Fuzz::Try([&] { Tessel::PersistRegistry opened(path.c_str(), access); });
    if ((choice & 2) != 0) {
        Fuzz::Try([&] {
            Tessel::PersistRegistry made;
            made.Create(path.c_str(), access, nullptr);
            Tessel::PersistRegistry child(made, sub.empty() ? nullptr : sub.c_str(), access);
            for (const std::wstring& name : made) {
                if (name.empty())
                    std::abort();
            }
            if ((choice & 4) != 0)
                made.Remove(sub.c_str(), (choice & 8) != 0);
        });
    }

    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\Fuzz\\Persist", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                        nullptr) != ERROR_SUCCESS)
        std::abort();
    static const DWORD kTypes[] = {REG_SZ, REG_EXPAND_SZ, REG_DWORD, REG_BINARY, REG_MULTI_SZ, REG_QWORD, REG_NONE, 0x1234};
    RegSetValueExW(key, L"item", 0, kTypes[(choice >> 4) & 7], value.empty() ? nullptr : value.data(),
                   static_cast<DWORD>(value.size()));
    RegCloseKey(key);
    const Tessel::PersistRegistry registry(L"HKCU\\Software\\Fuzz\\Persist", Tessel::ReadOnly);
    ReadEveryWay(registry, (choice & 0x80) != 0);
    return 0;
}

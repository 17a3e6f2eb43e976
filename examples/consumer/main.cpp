// Writes a value through the registry API of the installed package and reads it back.
#include <KavorTesselUtils.h>

#include <cstdio>

int main()
{
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\Tessel\\Consumer", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                        &key, nullptr) != ERROR_SUCCESS) {
        std::puts("cannot create the key");
        return 1;
    }
    const DWORD written = 42;
    DWORD read = 0;
    DWORD size = sizeof(read);
    LSTATUS status = RegSetValueExW(key, L"Answer", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&written), sizeof(written));
    if (status == ERROR_SUCCESS)
        status = RegQueryValueExW(key, L"Answer", nullptr, nullptr, reinterpret_cast<BYTE*>(&read), &size);
    RegCloseKey(key);
    std::printf("library %s, value %u\n", Tessel::GetLibraryVersion(), static_cast<unsigned>(read));
    return status == ERROR_SUCCESS && read == written ? 0 : 1;
}

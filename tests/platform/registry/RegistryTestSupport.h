// Helpers for the registry contract tests: a key handle that closes itself, and value data
// built from text the way the registry keeps it (UTF-16LE).
#pragma once

#include <string>
#include <vector>

#include "TesselWin32.h"

namespace RegistryTest {

// The key every test works below; each test process has a store of its own.
inline const wchar_t* const kTestRoot = L"Software\\TesselRegistryTest";

class ScopedKey {
public:
    ScopedKey() = default;
    explicit ScopedKey(HKEY key) : m_key(key) {}
    ~ScopedKey() { Reset(); }
    ScopedKey(const ScopedKey&) = delete;
    ScopedKey& operator=(const ScopedKey&) = delete;

    HKEY Get() const { return m_key; }
    PHKEY Put()
    {
        Reset();
        return &m_key;
    }
    void Reset()
    {
        if (m_key != nullptr)
            RegCloseKey(m_key);
        m_key = nullptr;
    }
    HKEY Release()
    {
        HKEY key = m_key;
        m_key = nullptr;
        return key;
    }

private:
    HKEY m_key = nullptr;
};

// Creates path below HKCU with all access; the status says whether it worked.
inline LONG CreateKey(HKEY parent, const wchar_t* path, ScopedKey& key, REGSAM sam = KEY_ALL_ACCESS)
{
    return RegCreateKeyExW(parent, path, 0, nullptr, 0, sam, nullptr, key.Put(), nullptr);
}

// The REG_SZ bytes of text, terminator included.
inline std::vector<BYTE> StringData(const std::u16string& text)
{
    std::vector<BYTE> bytes;
    for (char16_t unit : text) {
        bytes.push_back(static_cast<BYTE>(unit & 0xFF));
        bytes.push_back(static_cast<BYTE>(unit >> 8));
    }
    bytes.push_back(0);
    bytes.push_back(0);
    return bytes;
}

inline LONG SetString(HKEY key, const wchar_t* name, const std::u16string& text)
{
    const std::vector<BYTE> data = StringData(text);
    return RegSetValueExW(key, name, 0, REG_SZ, data.data(), static_cast<DWORD>(data.size()));
}

inline LONG SetDword(HKEY key, const wchar_t* name, DWORD value)
{
    return RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value));
}

// The value's bytes, or an empty vector with the failing status in status.
inline std::vector<BYTE> QueryBytes(HKEY key, const wchar_t* name, LONG& status, DWORD* type = nullptr)
{
    DWORD size = 0;
    status = RegQueryValueExW(key, name, nullptr, type, nullptr, &size);
    std::vector<BYTE> data(size);
    if (status == ERROR_SUCCESS && size != 0)
        status = RegQueryValueExW(key, name, nullptr, type, data.data(), &size);
    if (status != ERROR_SUCCESS)
        data.clear();
    return data;
}

inline DWORD QueryDword(HKEY key, const wchar_t* name, LONG& status)
{
    DWORD value = 0;
    DWORD size = sizeof(value);
    status = RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size);
    return value;
}

// The value, or 0 when it can't be read.
inline DWORD QueryDword(HKEY key, const wchar_t* name)
{
    LONG status;
    return QueryDword(key, name, status);
}

// The names of key's sub-keys in enumeration order.
inline std::vector<std::wstring> SubKeyNames(HKEY key, LONG& status)
{
    std::vector<std::wstring> names;
    for (DWORD index = 0;; ++index) {
        wchar_t name[256];
        DWORD length = 256;
        status = RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
        if (status != ERROR_SUCCESS)
            break;
        names.emplace_back(name, length);
    }
    if (status == ERROR_NO_MORE_ITEMS)
        status = ERROR_SUCCESS;
    return names;
}

} // namespace RegistryTest

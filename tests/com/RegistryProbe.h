// Reads and plants registry state for the COM tests, with value data turned into wide text
// through the library's own UTF-16 helpers.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "TesselWin32.h"
#include "common/Utf16Data.h"

namespace ComTest {

inline bool KeyExists(HKEY root, const wchar_t* path)
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path, 0, KEY_READ, &key) != ERROR_SUCCESS)
        return false;
    RegCloseKey(key);
    return true;
}

inline bool MakeKey(HKEY root, const wchar_t* path)
{
    HKEY key = nullptr;
    if (RegCreateKeyExW(root, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) != ERROR_SUCCESS)
        return false;
    RegCloseKey(key);
    return true;
}

struct Value {
    DWORD type = REG_NONE;
    std::vector<BYTE> data;
};

inline std::optional<Value> ReadValue(HKEY root, const wchar_t* path, const wchar_t* name)
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path, 0, KEY_READ, &key) != ERROR_SUCCESS)
        return std::nullopt;
    Value value;
    DWORD size = 0;
    LSTATUS status = RegQueryValueExW(key, name, nullptr, &value.type, nullptr, &size);
    if (status == ERROR_SUCCESS) {
        value.data.resize(size);
        status = RegQueryValueExW(key, name, nullptr, &value.type, value.data.data(), &size);
    }
    RegCloseKey(key);
    if (status != ERROR_SUCCESS)
        return std::nullopt;
    return value;
}

// A REG_SZ without its terminator; nullopt when missing or of another type.
inline std::optional<std::wstring> ReadString(HKEY root, const wchar_t* path, const wchar_t* name)
{
    const auto value = ReadValue(root, path, name);
    if (!value || value->type != REG_SZ)
        return std::nullopt;
    std::wstring text = Tessel::Detail::WideFromUtf16(value->data.data(), value->data.size());
    if (!text.empty() && text.back() == L'\0')
        text.pop_back();
    return text;
}

inline std::vector<BYTE> Bytes(std::initializer_list<int> values)
{
    std::vector<BYTE> bytes;
    for (int v : values)
        bytes.push_back(static_cast<BYTE>(v));
    return bytes;
}

inline bool SetValue(HKEY root, const wchar_t* path, const wchar_t* name, DWORD type, const std::vector<BYTE>& data)
{
    HKEY key = nullptr;
    if (RegCreateKeyExW(root, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) != ERROR_SUCCESS)
        return false;
    const LSTATUS status = RegSetValueExW(key, name, 0, type, data.data(), static_cast<DWORD>(data.size()));
    RegCloseKey(key);
    return status == ERROR_SUCCESS;
}

inline bool SetString(HKEY root, const wchar_t* path, const wchar_t* name, const std::wstring& text)
{
    return SetValue(root, path, name, REG_SZ, Tessel::Detail::Utf16FromWide(text, true));
}

inline bool SetDword(HKEY root, const wchar_t* path, const wchar_t* name, DWORD number)
{
    return SetValue(root, path, name, REG_DWORD,
                    Bytes({static_cast<int>(number & 0xFF), static_cast<int>((number >> 8) & 0xFF),
                           static_cast<int>((number >> 16) & 0xFF), static_cast<int>(number >> 24)}));
}

inline DWORD SubKeyCount(HKEY root, const wchar_t* path)
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path, 0, KEY_READ, &key) != ERROR_SUCCESS)
        return 0;
    DWORD count = 0;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &count, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                     nullptr);
    RegCloseKey(key);
    return count;
}

} // namespace ComTest

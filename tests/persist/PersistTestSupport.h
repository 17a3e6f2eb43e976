// Shared helpers of the wrapper tests: an exact-class exception check, and raw access to the
// store that bypasses PersistRegistry, to plant values of any type and to see what was stored.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "Tessel/Exceptions.h"
#include "TesselWin32.h"
#include "common/Utf16Data.h"

namespace PersistTest {

// Expects exactly `Expected` (not a sibling or a class derived from it) with exactly this text.
template <class Expected, class Action>
void ExpectRaises(Action&& action, const std::wstring& description)
{
    try {
        action();
        ADD_FAILURE() << "no exception; expected " << typeid(Expected).name();
    } catch (const Tessel::ErrorStorage& error) {
        EXPECT_EQ(typeid(Expected), typeid(error)) << "raised " << typeid(error).name();
        EXPECT_EQ(description, std::wstring(error.GetDescription()));
    }
}

inline const wchar_t* const kTestKey = L"Software\\PersistTest";
inline const wchar_t* const kTestPath = L"HKCU\\Software\\PersistTest";

inline std::vector<BYTE> Utf16(const std::wstring& text, bool withTerminator = true)
{
    return Tessel::Detail::Utf16FromWide(text, withTerminator);
}

inline std::vector<BYTE> Dword(DWORD value)
{
    return {static_cast<BYTE>(value), static_cast<BYTE>(value >> 8), static_cast<BYTE>(value >> 16),
            static_cast<BYTE>(value >> 24)};
}

// A key of the test's own, made if missing and reached without the wrapper.
class RawKey {
public:
    explicit RawKey(const wchar_t* subKey, HKEY root = HKEY_CURRENT_USER)
    {
        EXPECT_EQ(ERROR_SUCCESS, RegCreateKeyExW(root, subKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_key, nullptr));
    }
    ~RawKey() { RegCloseKey(m_key); }
    RawKey(const RawKey&) = delete;
    RawKey& operator=(const RawKey&) = delete;

    HKEY Get() const { return m_key; }

    void Set(const wchar_t* name, DWORD type, const std::vector<BYTE>& data) const
    {
        EXPECT_EQ(ERROR_SUCCESS, RegSetValueExW(m_key, name, 0, type, data.empty() ? nullptr : data.data(),
                                                static_cast<DWORD>(data.size())));
    }
    void SetText(const wchar_t* name, const std::wstring& text, DWORD type = REG_SZ) const
    {
        Set(name, type, Utf16(text));
    }

    // The stored type and bytes; REG_NONE with no bytes when the value is absent.
    std::pair<DWORD, std::vector<BYTE>> Stored(const wchar_t* name) const
    {
        DWORD type = REG_NONE;
        DWORD size = 0;
        if (RegQueryValueExW(m_key, name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS)
            return {REG_NONE, {}};
        std::vector<BYTE> data(size + 1);
        RegQueryValueExW(m_key, name, nullptr, nullptr, data.data(), &size);
        data.resize(size);
        return {type, data};
    }

    bool HasSubKey(const wchar_t* name) const
    {
        HKEY sub = nullptr;
        if (RegOpenKeyExW(m_key, name, 0, KEY_READ, &sub) != ERROR_SUCCESS)
            return false;
        RegCloseKey(sub);
        return true;
    }

private:
    HKEY m_key = nullptr;
};

} // namespace PersistTest

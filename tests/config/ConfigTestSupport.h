// Helpers for the configuration tests: raw writes into the store, the texts of value failures,
// and a check of an exception's class and text together.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "Tessel/ConfigReaderFactory.h"
#include "Tessel/Exceptions.h"
#include "Tessel/PersistentDataWriterFactory.h"
#include "TesselWin32.h"

namespace TesselTest {

// The tests' keys live below HKEY_LOCAL_MACHINE.
inline const std::wstring kBase = L"Software\\Kavor\\Tessel\\Test";
inline const std::wstring kBaseLocation = L"HKLM\\" + kBase;

// UTF-16LE by hand, so that the tests do not lean on the library's own helper.
inline std::vector<BYTE> Utf16Bytes(const std::wstring& text, bool terminator = true)
{
    std::vector<BYTE> bytes;
    auto unit = [&bytes](std::uint32_t u) { bytes.insert(bytes.end(), {BYTE(u & 0xFF), BYTE(u >> 8)}); };
    for (wchar_t c : text)
        unit(static_cast<std::uint32_t>(c)); // the tests keep to the basic plane
    if (terminator)
        unit(0);
    return bytes;
}

inline std::vector<BYTE> DwordBytes(DWORD number)
{
    return {BYTE(number), BYTE(number >> 8), BYTE(number >> 16), BYTE(number >> 24)};
}

class ScopedKey {
public:
    explicit ScopedKey(const std::wstring& path, HKEY root = HKEY_LOCAL_MACHINE)
    {
        EXPECT_EQ(RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_key, nullptr),
                  ERROR_SUCCESS);
    }
    ~ScopedKey() { RegCloseKey(m_key); }
    ScopedKey(const ScopedKey&) = delete;
    ScopedKey& operator=(const ScopedKey&) = delete;

    HKEY Get() const { return m_key; }
    void SetRaw(const std::wstring& name, DWORD type, const std::vector<BYTE>& data) const
    {
        EXPECT_EQ(RegSetValueExW(m_key, name.c_str(), 0, type, data.empty() ? nullptr : data.data(),
                                 static_cast<DWORD>(data.size())),
                  ERROR_SUCCESS);
    }
    void SetText(const std::wstring& name, const std::wstring& text) const { SetRaw(name, REG_SZ, Utf16Bytes(text)); }
    void SetDword(const std::wstring& name, DWORD number) const { SetRaw(name, REG_DWORD, DwordBytes(number)); }
    void SetMultiText(const std::wstring& name, const std::vector<std::wstring>& items) const
    {
        std::vector<BYTE> data;
        for (const std::wstring& item : items) {
            const std::vector<BYTE> bytes = Utf16Bytes(item);
            data.insert(data.end(), bytes.begin(), bytes.end());
        }
        data.insert(data.end(), {0, 0});
        SetRaw(name, REG_MULTI_SZ, data);
    }

private:
    HKEY m_key = nullptr;
};

inline std::shared_ptr<Tessel::IConfigReader> OpenReader(const std::wstring& name)
{
    return Tessel::ConfigReaderFactory::GetInstance().GetConfigReader(name);
}

// For ASCII text only.
inline std::string Narrow(const std::wstring& text)
{
    return std::string(text.begin(), text.end());
}

// The texts of value failures, for a parameter of the test key.
inline std::wstring NotFoundText(const std::wstring& name, const std::wstring& path = kBaseLocation)
{
    return L"Parameter '" + name + L"' not found in registry key '" + path + L"'.";
}
inline std::wstring WrongTypeText(const std::wstring& name)
{
    return L"Datatype of value '" + name + L"' in registry key '" + kBaseLocation +
           L"' differs from expected datatype.";
}
inline std::wstring TooLargeText(const std::wstring& name)
{
    return L"Failed to read value '" + name + L"' from registry key '" + kBaseLocation +
           L"'. Supplied buffer too small.";
}
// The text of a number that converts only in part: count characters of text were taken.
inline std::wstring PartialParseText(int count, const std::wstring& text)
{
    return L"Cannot parse whole string. Only first " + std::to_wstring(count) + L" chars are processed. '" + text +
           L"'";
}

// Checks that call throws exactly Expected with this description, and the same text narrow.
// A null description means an exception raised without a text, which keeps the default one.
template <class Expected, class Call>
void ExpectFailure(Call call, const wchar_t* description)
{
    try {
        call();
        ADD_FAILURE() << "no exception; expected " << typeid(Expected).name();
    } catch (const Tessel::ExceptionBase& failure) {
        EXPECT_EQ(typeid(failure), typeid(Expected)) << "thrown: " << typeid(failure).name();
        const std::wstring expected = description == nullptr ? L"" : description;
        EXPECT_EQ(std::wstring(failure.GetDescription()), expected);
        bool ascii = expected.size() < 1024;
        for (wchar_t c : expected)
            ascii = ascii && c < 0x80;
        if (description == nullptr) {
            EXPECT_STREQ(failure.what(), "Message not specified");
        } else if (ascii) {
            EXPECT_STREQ(failure.what(), Narrow(expected).c_str());
        }
    }
}

template <class Expected, class Call>
void ExpectFailure(Call call, const std::wstring& description)
{
    ExpectFailure<Expected>(call, description.c_str());
}

} // namespace TesselTest

// Helpers for the configuration tests: raw writes into the store, and checks of an exception's
// class and text together.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <typeinfo>
#include <vector>

#include "Tessel/ConfigReaderFactory.h"
#include "Tessel/Exceptions.h"
#include "Tessel/IConfigReader.h"
#include "Tessel/PersistentDataWriterFactory.h"
#include "TesselWin32.h"

namespace TesselTest {

// Where the tests keep their keys, below HKEY_LOCAL_MACHINE.
inline const std::wstring kBase = L"Software\\Kavor\\Tessel\\Test";
inline const std::wstring kBaseLocation = L"HKLM\\" + kBase;

// UTF-16LE bytes of a text, written by hand so that the tests do not trust the library's own helper.
inline std::vector<BYTE> Utf16Bytes(const std::wstring& text, bool terminator = true)
{
    std::vector<BYTE> bytes;
    auto unit = [&bytes](std::uint32_t u) {
        bytes.push_back(static_cast<BYTE>(u & 0xFF));
        bytes.push_back(static_cast<BYTE>(u >> 8));
    };
    for (wchar_t c : text) {
        const auto code = static_cast<std::uint32_t>(c);
        if (code >= 0x10000) {
            unit(0xD800 + ((code - 0x10000) >> 10));
            unit(0xDC00 + ((code - 0x10000) & 0x3FF));
        } else {
            unit(code);
        }
    }
    if (terminator)
        unit(0);
    return bytes;
}

class ScopedKey {
public:
    ScopedKey(HKEY root, const std::wstring& path)
    {
        const LONG status = RegCreateKeyExW(root, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                            KEY_ALL_ACCESS, nullptr, &m_key, nullptr);
        EXPECT_EQ(status, ERROR_SUCCESS) << "cannot create the test key";
    }
    ~ScopedKey()
    {
        if (m_key != nullptr)
            RegCloseKey(m_key);
    }
    ScopedKey(const ScopedKey&) = delete;
    ScopedKey& operator=(const ScopedKey&) = delete;

    HKEY Get() const { return m_key; }

    void SetRaw(const std::wstring& name, DWORD type, const std::vector<BYTE>& data) const
    {
        const LONG status = RegSetValueExW(m_key, name.c_str(), 0, type, data.empty() ? nullptr : data.data(),
                                           static_cast<DWORD>(data.size()));
        EXPECT_EQ(status, ERROR_SUCCESS) << "cannot set the test value";
    }
    void SetText(const std::wstring& name, const std::wstring& text) const { SetRaw(name, REG_SZ, Utf16Bytes(text)); }
    void SetDword(const std::wstring& name, DWORD number) const
    {
        std::vector<BYTE> data(4);
        std::memcpy(data.data(), &number, 4);
        SetRaw(name, REG_DWORD, data);
    }
    void SetMultiText(const std::wstring& name, const std::vector<std::wstring>& items) const
    {
        std::vector<BYTE> data;
        for (const std::wstring& item : items) {
            const std::vector<BYTE> bytes = Utf16Bytes(item);
            data.insert(data.end(), bytes.begin(), bytes.end());
        }
        data.push_back(0);
        data.push_back(0);
        SetRaw(name, REG_MULTI_SZ, data);
    }

private:
    HKEY m_key = nullptr;
};

// A key below the test base, created for the test.
inline ScopedKey TestKey(const std::wstring& relative = std::wstring())
{
    return ScopedKey(HKEY_LOCAL_MACHINE, relative.empty() ? kBase : kBase + L"\\" + relative);
}

inline std::shared_ptr<Tessel::IConfigReader> OpenReader(const std::wstring& name)
{
    return Tessel::ConfigReaderFactory::GetInstance().GetConfigReader(name);
}

// For ASCII text only.
inline std::string Narrow(const std::wstring& text)
{
    return std::string(text.begin(), text.end());
}

// Runs call and checks that it throws exactly Expected with the given description, and the
// same text in narrow form.
template <class Expected, class Call>
void ExpectFailure(Call call, const std::wstring& description)
{
    try {
        call();
        ADD_FAILURE() << "no exception; expected " << typeid(Expected).name();
    } catch (const Tessel::ExceptionBase& failure) {
        EXPECT_EQ(typeid(failure), typeid(Expected)) << "thrown: " << typeid(failure).name();
        EXPECT_EQ(std::wstring(failure.GetDescription()), description);
        bool ascii = true;
        for (wchar_t c : description)
            ascii = ascii && c < 0x80;
        if (ascii && description.size() < 1024) {
            EXPECT_STREQ(failure.what(), Narrow(description).c_str());
        }
    }
}

// The same for an exception raised without a text: it keeps the default text.
template <class Expected, class Call>
void ExpectFailureWithoutText(Call call)
{
    try {
        call();
        ADD_FAILURE() << "no exception; expected " << typeid(Expected).name();
    } catch (const Tessel::ExceptionBase& failure) {
        EXPECT_EQ(typeid(failure), typeid(Expected)) << "thrown: " << typeid(failure).name();
        EXPECT_EQ(std::wstring(failure.GetDescription()), L"");
        EXPECT_STREQ(failure.what(), "Message not specified");
    }
}

} // namespace TesselTest

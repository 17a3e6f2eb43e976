// Helpers for the writer tests beside the configuration tests' own: writers by location, and the
// state of the store (does a key exist, which type and bytes does a value hold) read raw.
#pragma once

#include <optional>
#include <ostream>

#include "Tessel/IPersistentDataWriter.h"
#include "config/ConfigTestSupport.h"

namespace TesselTest {

inline std::shared_ptr<Tessel::IPersistentDataWriter> OpenWriter(const std::wstring& name)
{
    return Tessel::PersistentDataWriterFactory::GetInstance().GetPersistentDataWriter(name);
}

struct RawValue {
    DWORD type = 0;
    std::vector<BYTE> bytes;

    bool operator==(const RawValue& other) const { return type == other.type && bytes == other.bytes; }
};

inline std::ostream& operator<<(std::ostream& out, const RawValue& value)
{
    out << "type " << value.type << ", " << value.bytes.size() << " bytes:";
    for (size_t i = 0; i < value.bytes.size() && i < 48; ++i)
        out << ' ' << static_cast<int>(value.bytes[i]);
    return out;
}

inline RawValue RawText(const std::wstring& text)
{
    return RawValue{REG_SZ, Utf16Bytes(text)};
}

// Keys below HKEY_LOCAL_MACHINE.
inline bool KeyExists(const std::wstring& subKey)
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, subKey.c_str(), 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS)
        return false;
    RegCloseKey(key);
    return true;
}

// The value as the store holds it; nothing when the key or the value is missing.
inline std::optional<RawValue> ReadRaw(const std::wstring& subKey, const std::wstring& name)
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, subKey.c_str(), 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS)
        return std::nullopt;
    RawValue value;
    DWORD size = 0;
    LONG status = RegQueryValueExW(key, name.c_str(), nullptr, &value.type, nullptr, &size);
    value.bytes.resize(size);
    if (status == ERROR_SUCCESS && size != 0)
        status = RegQueryValueExW(key, name.c_str(), nullptr, &value.type, value.bytes.data(), &size);
    RegCloseKey(key);
    if (status != ERROR_SUCCESS)
        return std::nullopt;
    return value;
}

// A reader whose key was deleted after it was opened.
inline std::shared_ptr<Tessel::IConfigReader> ReaderOfDeletedKey(const std::wstring& subKey)
{
    std::shared_ptr<Tessel::IConfigReader> reader;
    {
        const ScopedKey key(subKey);
        reader = OpenReader(L"HKLM\\" + subKey);
    }
    EXPECT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, subKey.c_str()), ERROR_SUCCESS);
    return reader;
}

inline std::vector<std::wstring> ValueNames(const std::wstring& subKey)
{
    return OpenWriter(L"HKLM\\" + subKey)->GetParameterNames();
}

} // namespace TesselTest

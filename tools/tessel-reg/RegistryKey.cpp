// The registry calls behind tessel-reg, with the buffer sizing that enumeration needs.

#include "RegistryKey.h"

#include <limits>
#include <utility>

namespace Tessel::Reg {
namespace {

// Room for the longest value name the registry allows, with its terminator.
constexpr DWORD kMaxValueNameChars = 16384;
// Key names are shorter; a few spare characters cost nothing.
constexpr DWORD kMaxKeyNameChars = 512;

// Reads data into value.Data, growing the buffer while another writer makes the value larger
// between the size query and the read.
template <typename ReadCall>
LSTATUS ReadGrowing(std::vector<BYTE>& data, ReadCall read)
{
    DWORD size = 0;
    LSTATUS status = read(nullptr, &size);
    for (int attempt = 0; status == ERROR_SUCCESS || status == ERROR_MORE_DATA; ++attempt) {
        data.resize(size == 0 ? 1 : size);
        size = static_cast<DWORD>(data.size());
        status = read(data.data(), &size);
        if (status == ERROR_SUCCESS) {
            data.resize(size);
            return ERROR_SUCCESS;
        }
        if (attempt == 8)
            break;
    }
    return status;
}

} // namespace

RegistryKey::~RegistryKey()
{
    Close();
}

RegistryKey::RegistryKey(RegistryKey&& other) noexcept : m_key(std::exchange(other.m_key, nullptr)) {}

RegistryKey& RegistryKey::operator=(RegistryKey&& other) noexcept
{
    if (this != &other) {
        Close();
        m_key = std::exchange(other.m_key, nullptr);
    }
    return *this;
}

void RegistryKey::Close()
{
    if (m_key != nullptr)
        RegCloseKey(std::exchange(m_key, nullptr));
}

LSTATUS RegistryKey::Open(const KeyPath& path, REGSAM access)
{
    Close();
    return RegOpenKeyExW(path.Root, path.SubKey.c_str(), 0, access, &m_key);
}

LSTATUS RegistryKey::Create(const KeyPath& path, REGSAM access)
{
    Close();
    if (path.IsRoot())
        return Open(path, access);
    return RegCreateKeyExW(path.Root, path.SubKey.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, access, nullptr,
                           &m_key, nullptr);
}

LSTATUS RegistryKey::ReadValue(const std::wstring& name, RegistryValue& value) const
{
    value.Name = name;
    return ReadGrowing(value.Data, [&](BYTE* data, DWORD* size) {
        return RegQueryValueExW(m_key, name.c_str(), nullptr, &value.Type, data, size);
    });
}

LSTATUS RegistryKey::ReadValues(std::vector<RegistryValue>& values) const
{
    values.clear();
    std::vector<wchar_t> name(kMaxValueNameChars);
    for (DWORD index = 0;; ++index) {
        RegistryValue value;
        const LSTATUS status = ReadGrowing(value.Data, [&](BYTE* data, DWORD* size) {
            DWORD nameChars = static_cast<DWORD>(name.size());
            return RegEnumValueW(m_key, index, name.data(), &nameChars, nullptr, &value.Type, data, size);
        });
        if (status == ERROR_NO_MORE_ITEMS)
            return ERROR_SUCCESS;
        if (status != ERROR_SUCCESS)
            return status;
        value.Name = name.data();
        values.push_back(std::move(value));
    }
}

LSTATUS RegistryKey::ReadSubKeyNames(std::vector<std::wstring>& names) const
{
    names.clear();
    std::vector<wchar_t> name(kMaxKeyNameChars);
    for (DWORD index = 0;; ++index) {
        DWORD nameChars = static_cast<DWORD>(name.size());
        const LSTATUS status = RegEnumKeyExW(m_key, index, name.data(), &nameChars, nullptr, nullptr, nullptr, nullptr);
        if (status == ERROR_NO_MORE_ITEMS)
            return ERROR_SUCCESS;
        if (status != ERROR_SUCCESS)
            return status;
        names.emplace_back(name.data(), nameChars);
    }
}

LSTATUS RegistryKey::WriteValue(const RegistryValue& value) const
{
    if (value.Data.size() > std::numeric_limits<DWORD>::max())
        return ERROR_INVALID_PARAMETER;
    return RegSetValueExW(m_key, value.Name.c_str(), 0, value.Type, value.Data.empty() ? nullptr : value.Data.data(),
                          static_cast<DWORD>(value.Data.size()));
}

LSTATUS RegistryKey::DeleteValue(const std::wstring& name) const
{
    return RegDeleteValueW(m_key, name.c_str());
}

} // namespace Tessel::Reg

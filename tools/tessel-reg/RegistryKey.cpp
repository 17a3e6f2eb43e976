// The registry calls behind tessel-reg, with the buffer sizing that enumeration needs, and the
// texts of the statuses they fail with.

#include "RegistryKey.h"

#include <limits>
#include <utility>

#include "common/SystemText.h"

namespace Tessel::Reg {
namespace {

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
    return RegOpenKeyExW(path.Root, path.SubKey.c_str(), 0, access | path.View, &m_key);
}

LSTATUS RegistryKey::Create(const KeyPath& path, REGSAM access)
{
    Close();
    if (path.IsRoot())
        return Open(path, access);
    return RegCreateKeyExW(path.Root, path.SubKey.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, access | path.View,
                           nullptr, &m_key, nullptr);
}

LSTATUS RegistryKey::OpenChild(const RegistryKey& parent, const std::wstring& name, REGSAM access)
{
    Close();
    return RegOpenKeyExW(parent.m_key, name.c_str(), 0, access, &m_key);
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
    return ForEachValue([&values](std::wstring_view name, DWORD type, const BYTE* data, DWORD size) {
        values.push_back(RegistryValue{std::wstring(name), type, std::vector<BYTE>(data, data + size)});
    });
}

LSTATUS RegistryKey::QueryLargestValue(DWORD& nameChars, DWORD& dataBytes) const
{
    return RegQueryInfoKeyW(m_key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &nameChars,
                            &dataBytes, nullptr, nullptr);
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
        // The count may be in UTF-16 units where wchar_t is wider; the terminator is not.
        names.emplace_back(name.data());
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

LSTATUS DeleteKeyTree(const KeyPath& path)
{
    if (path.IsRoot())
        return ERROR_ACCESS_DENIED;
    // Through a handle of its own, so that the view decides which key goes; deleting ignores
    // the handle's rights, but the open asks for what deleting a tree needs.
    RegistryKey key;
    const LSTATUS status = key.Open(path, DELETE | KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS);
    if (status != ERROR_SUCCESS)
        return status;
    return SHDeleteKeyW(key.Handle(), L"");
}

std::wstring StatusText(LSTATUS status)
{
    switch (status) {
    // Both mean "no such key or value" to a user who typed a path.
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
        return L"The system was unable to find the specified registry key or value.";
    // The system's texts of these run over several sentences; a command line wants their gist.
    case ERROR_REGISTRY_CORRUPT:
        return L"The structure of one of the files containing registry data is corrupt.";
    case ERROR_REGISTRY_IO_FAILED:
        return L"An I/O operation initiated by the registry failed unrecoverably.";
    default:
        break;
    }
    std::wstring text = Detail::SystemTextLine(static_cast<DWORD>(status));
    if (text.empty())
        text = L"The registry call failed with status " + std::to_wstring(status) + L".";
    return text;
}

} // namespace Tessel::Reg

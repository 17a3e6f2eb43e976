// An open registry key that closes itself, with the reads and writes that tessel-reg's commands
// and its .reg files share. Every call reports the registry's status rather than throwing, so
// that each caller can choose its own wording for each failure.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "KeyPath.h"
#include "RegistryValue.h"
#include "TesselWin32.h"

namespace Tessel::Reg {

class RegistryKey {
public:
    RegistryKey() = default;
    ~RegistryKey();
    RegistryKey(RegistryKey&& other) noexcept;
    RegistryKey& operator=(RegistryKey&& other) noexcept;
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;

    // Both open in the path's view.
    LSTATUS Open(const KeyPath& path, REGSAM access);
    // Opens the key, creating it and any missing parents first.
    LSTATUS Create(const KeyPath& path, REGSAM access);
    // Opens a direct sub-key of an open key; access carries the view.
    LSTATUS OpenChild(const RegistryKey& parent, const std::wstring& name, REGSAM access);
    void Close();

    HKEY Handle() const { return m_key; }

    // ERROR_FILE_NOT_FOUND when there is no such value. An empty name is the default value.
    LSTATUS ReadValue(const std::wstring& name, RegistryValue& value) const;
    // All values, in the order the registry enumerates them.
    LSTATUS ReadValues(std::vector<RegistryValue>& values) const;
    // Calls visit(std::wstring_view name, DWORD type, const BYTE* data, DWORD size) for each value
    // in enumeration order, with one registry call per value: the buffers are sized from the
    // key's largest name and data up front. The view and data are valid only during the call.
    template <typename Visit>
    LSTATUS ForEachValue(Visit&& visit) const;
    // The names of the direct sub-keys, in the order the registry enumerates them.
    LSTATUS ReadSubKeyNames(std::vector<std::wstring>& names) const;
    LSTATUS WriteValue(const RegistryValue& value) const;
    LSTATUS DeleteValue(const std::wstring& name) const;

private:
    LSTATUS QueryLargestValue(DWORD& nameChars, DWORD& dataBytes) const;

    HKEY m_key = nullptr;
};

// Deletes the key with everything below it, in the path's view. ERROR_ACCESS_DENIED for a root.
LSTATUS DeleteKeyTree(const KeyPath& path);

// The system's text of a registry status, without a line end. A missing key or value reads as
// the administrator's tool words it, since that is what users search for, and the two long
// texts of a damaged hive are cut to their gist.
std::wstring StatusText(LSTATUS status);

template <typename Visit>
LSTATUS RegistryKey::ForEachValue(Visit&& visit) const
{
    DWORD maxNameChars = 0;
    DWORD maxDataBytes = 0;
    LSTATUS status = QueryLargestValue(maxNameChars, maxDataBytes);
    if (status != ERROR_SUCCESS)
        return status;
    // Units of UTF-16 bound the characters on every system; one more for the terminator.
    std::vector<wchar_t> name(static_cast<size_t>(maxNameChars) + 1);
    std::vector<BYTE> data(std::max<DWORD>(maxDataBytes, 1));
    int growths = 0;
    for (DWORD index = 0;;) {
        DWORD nameChars = static_cast<DWORD>(name.size());
        DWORD size = static_cast<DWORD>(data.size());
        DWORD type = REG_NONE;
        status = RegEnumValueW(m_key, index, name.data(), &nameChars, nullptr, &type, data.data(), &size);
        if (status == ERROR_NO_MORE_ITEMS)
            return ERROR_SUCCESS;
        if (status == ERROR_MORE_DATA && growths++ < 8) {
            // Another writer made a value larger since the sizes were asked for.
            name.resize(std::max<size_t>(name.size() * 2, 16384));
            data.resize(std::max<size_t>(data.size() * 2, size));
            continue;
        }
        if (status != ERROR_SUCCESS)
            return status;
        visit(std::wstring_view(name.data()), type, data.data(), size);
        ++index;
    }
}

} // namespace Tessel::Reg

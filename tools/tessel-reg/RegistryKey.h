// An open registry key that closes itself, with the reads and writes that tessel-reg's commands
// share. Every call reports the registry's status rather than throwing, so that a command can
// choose its own wording for each failure.
#pragma once

#include <string>
#include <vector>

#include "CommandLine.h"
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

    LSTATUS Open(const KeyPath& path, REGSAM access);
    // Opens the key, creating it and any missing parents first.
    LSTATUS Create(const KeyPath& path, REGSAM access);
    void Close();

    HKEY Handle() const { return m_key; }

    // ERROR_FILE_NOT_FOUND when there is no such value. An empty name is the default value.
    LSTATUS ReadValue(const std::wstring& name, RegistryValue& value) const;
    // All values, in the order the registry enumerates them.
    LSTATUS ReadValues(std::vector<RegistryValue>& values) const;
    // The names of the direct sub-keys, in the order the registry enumerates them.
    LSTATUS ReadSubKeyNames(std::vector<std::wstring>& names) const;
    LSTATUS WriteValue(const RegistryValue& value) const;
    LSTATUS DeleteValue(const std::wstring& name) const;

private:
    HKEY m_key = nullptr;
};

// The English text of a registry status, without a line end. A missing key or value reads as
// the administrator's tool words it, since that is what users search for.
std::wstring StatusText(LSTATUS status);

} // namespace Tessel::Reg

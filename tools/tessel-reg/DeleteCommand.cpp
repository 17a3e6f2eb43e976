// delete: one value, all values of a key, or a key with its whole tree.

#include "Commands.h"
#include "RegistryKey.h"
#include "ToolError.h"

namespace Tessel::Reg {
namespace {

const wchar_t kRefusal[] = L"Nothing was deleted without confirmation; use /f to delete without asking.";

void Require(LSTATUS status)
{
    if (status != ERROR_SUCCESS)
        throw ToolError::FromStatus(status);
}

int DeleteKey(const KeyPath& path, const CommandLine& line, Console& console)
{
    // A root is not a key that can go.
    if (path.IsRoot())
        throw ToolError::BadKeyName();
    {
        // Ask only about a key that is there.
        RegistryKey key;
        Require(key.Open(path, KEY_READ));
    }
    if (!ConfirmOrRefuse(console, line.Force, L"Delete the registry key " + path.FullName() + L" (Yes/No)?", kRefusal))
        return kExitFailure;
    Require(SHDeleteKeyW(path.Root, path.SubKey.c_str()));
    console.Out(kCompletedMessage);
    return kExitSuccess;
}

int DeleteOneValue(const KeyPath& path, const std::wstring& name, const CommandLine& line, Console& console)
{
    RegistryKey key;
    Require(key.Open(path, KEY_QUERY_VALUE | KEY_SET_VALUE));
    RegistryValue existing;
    Require(key.ReadValue(name, existing));
    if (!ConfirmOrRefuse(console, line.Force, L"Delete the registry value " + DisplayName(name) + L" (Yes/No)?",
                         kRefusal))
        return kExitFailure;
    Require(key.DeleteValue(name));
    console.Out(kCompletedMessage);
    return kExitSuccess;
}

int DeleteAllValues(const KeyPath& path, const CommandLine& line, Console& console)
{
    RegistryKey key;
    Require(key.Open(path, KEY_QUERY_VALUE | KEY_SET_VALUE));
    if (!ConfirmOrRefuse(console, line.Force,
                         L"Delete all values under the registry key " + path.FullName() + L" (Yes/No)?", kRefusal))
        return kExitFailure;
    // Deleting while enumerating would shift the indexes; take the names first.
    std::vector<RegistryValue> values;
    Require(key.ReadValues(values));
    for (const RegistryValue& value : values) {
        const LSTATUS status = key.DeleteValue(value.Name);
        if (status != ERROR_FILE_NOT_FOUND)
            Require(status);
    }
    console.Out(kCompletedMessage);
    return kExitSuccess;
}

} // namespace

int RunDelete(const CommandLine& line, Console& console)
{
    const KeyPath path = RequireKeyPath(line);
    switch (line.Values) {
    case ValueSelection::KeyOnly:
        return DeleteKey(path, line, console);
    case ValueSelection::Named:
        return DeleteOneValue(path, line.ValueName, line, console);
    case ValueSelection::Default:
        return DeleteOneValue(path, std::wstring(), line, console);
    case ValueSelection::AllValues:
        return DeleteAllValues(path, line, console);
    }
    throw ToolError::Syntax();
}

} // namespace Tessel::Reg

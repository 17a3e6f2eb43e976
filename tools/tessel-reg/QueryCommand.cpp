// query: a key's values and sub-keys, one value, or a whole tree.

#include "Commands.h"
#include "QueryReport.h"
#include "RegistryKey.h"
#include "ToolError.h"

namespace Tessel::Reg {
namespace {

struct OpenedKey {
    KeyPath Path;
    RegistryKey Key;
};

void Require(LSTATUS status)
{
    if (status != ERROR_SUCCESS)
        throw ToolError::FromStatus(status);
}

std::vector<std::wstring> SubKeyNames(const RegistryKey& key)
{
    std::vector<std::wstring> names;
    Require(key.ReadSubKeyNames(names));
    return names;
}

// Visits the key and everything below it, parents before children, in enumeration order. A
// sub-key that another process deletes during the walk is passed over.
template <typename Visit>
void WalkTree(const KeyPath& path, RegistryKey& key, Visit& visit)
{
    visit(path, key);
    for (const std::wstring& name : SubKeyNames(key)) {
        const KeyPath childPath = path.Child(name);
        RegistryKey child;
        const LSTATUS status = child.Open(childPath, KEY_READ);
        if (status == ERROR_FILE_NOT_FOUND || status == ERROR_KEY_DELETED)
            continue;
        Require(status);
        WalkTree(childPath, child, visit);
    }
}

int QueryKey(const KeyPath& path, const RegistryKey& key, Console& console)
{
    std::vector<RegistryValue> values;
    Require(key.ReadValues(values));
    console.Out(FormatKeyBlock(path.FullName(), values) + FormatSubKeyList(path.FullName(), SubKeyNames(key)));
    return kExitSuccess;
}

int QueryOneValue(const KeyPath& path, const RegistryKey& key, const std::wstring& name, Console& console)
{
    RegistryValue value;
    const LSTATUS status = key.ReadValue(name, value);
    if (status == ERROR_FILE_NOT_FOUND && name.empty()) {
        console.Out(L"\n" + path.FullName() + L"\n" + FormatUnsetDefaultLine() + L"\n");
        return kExitSuccess;
    }
    Require(status);
    console.Out(FormatKeyBlock(path.FullName(), {value}) + L"\n");
    return kExitSuccess;
}

int QueryTree(const KeyPath& path, RegistryKey& key, Console& console)
{
    auto visit = [&console](const KeyPath& keyPath, const RegistryKey& visited) {
        std::vector<RegistryValue> values;
        Require(visited.ReadValues(values));
        console.Out(FormatKeyBlock(keyPath.FullName(), values));
    };
    WalkTree(path, key, visit);
    console.Out(L"\n");
    return kExitSuccess;
}

// Every key in the tree that has the value, then how many did.
int SearchTree(const KeyPath& path, RegistryKey& key, const std::wstring& name, Console& console)
{
    size_t matches = 0;
    auto visit = [&](const KeyPath& keyPath, const RegistryKey& visited) {
        RegistryValue value;
        const LSTATUS status = visited.ReadValue(name, value);
        if (status == ERROR_FILE_NOT_FOUND)
            return;
        Require(status);
        console.Out(FormatKeyBlock(keyPath.FullName(), {value}));
        ++matches;
    };
    WalkTree(path, key, visit);
    console.Out(L"\n" + FormatSearchEnd(matches));
    return kExitSuccess;
}

} // namespace

int RunQuery(const CommandLine& line, Console& console)
{
    const KeyPath path = RequireKeyPath(line);
    RegistryKey key;
    Require(key.Open(path, KEY_READ));

    const bool oneValue = line.Values == ValueSelection::Named || line.Values == ValueSelection::Default;
    const std::wstring valueName = line.Values == ValueSelection::Named ? line.ValueName : std::wstring();
    if (line.Recurse)
        return oneValue ? SearchTree(path, key, valueName, console) : QueryTree(path, key, console);
    return oneValue ? QueryOneValue(path, key, valueName, console) : QueryKey(path, key, console);
}

} // namespace Tessel::Reg

// tessel-reg's commands: query, add and delete over the registry, the layout of what query
// prints, and the dispatch from command line to command with its one-line failure report.

#include "Commands.h"

#include <new>

#include "RegistryKey.h"

namespace Tessel::Reg {
namespace {

constexpr wchar_t kColumnGap[] = L"    ";
constexpr int kExitSuccess = 0;
constexpr int kExitFailure = 1;
const wchar_t kCompletedMessage[] = L"The operation completed successfully.\n";

void Require(LSTATUS status)
{
    if (status != ERROR_SUCCESS)
        throw ToolError::FromStatus(status);
}

KeyPath RequireKeyPath(const CommandLine& line)
{
    std::optional<KeyPath> path = ParseKeyPath(line.Key);
    if (!path)
        throw ToolError::BadKeyName();
    return *path;
}

// True to go ahead. With force, always; with nobody to ask, refuses with the given text; else
// asks, and on "no" tells the user that nothing was done.
bool ConfirmOrRefuse(Console& console, bool force, const std::wstring& question, const std::wstring& refusal)
{
    if (force)
        return true;
    if (!console.Interactive())
        throw ToolError(refusal, false);
    if (console.Confirm(question))
        return true;
    console.Out(L"The operation was canceled by the user.\n");
    return false;
}

// query

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

// add

DWORD RequireType(const CommandLine& line)
{
    if (!line.Type)
        return REG_SZ;
    const std::optional<DWORD> type = TypeFromName(*line.Type);
    if (!type)
        throw ToolError(L"Invalid value type \"" + *line.Type + L"\".", true);
    return *type;
}

std::wstring RequireSeparator(const CommandLine& line, DWORD type)
{
    if (!line.Separator)
        return kMultiStringSeparator;
    // A separator only means something between list items, and only one character is unambiguous.
    if (type != REG_MULTI_SZ || line.Separator->size() != 1)
        throw ToolError::Syntax();
    return *line.Separator;
}

// delete

const wchar_t kRefusal[] = L"Nothing was deleted without confirmation; use /f to delete without asking.";

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

std::wstring FormatValueLine(const RegistryValue& value)
{
    std::wstring line = kColumnGap;
    line += DisplayName(value.Name);
    line += kColumnGap;
    line += TypeName(value.Type);
    line += kColumnGap;
    line += FormatData(value.Type, value.Data);
    line += L'\n';
    return line;
}

std::wstring FormatUnsetDefaultLine()
{
    return std::wstring(kColumnGap) + kDefaultValueName + kColumnGap + L"REG_SZ" + kColumnGap + L"(value not set)\n";
}

std::wstring FormatKeyBlock(const std::wstring& keyName, const std::vector<RegistryValue>& values)
{
    std::wstring text = L"\n" + keyName + L"\n";
    for (const RegistryValue& value : values)
        text += FormatValueLine(value);
    return text;
}

std::wstring FormatSubKeyList(const std::wstring& keyName, const std::vector<std::wstring>& subKeyNames)
{
    std::wstring text = L"\n";
    for (const std::wstring& name : subKeyNames)
        text += keyName + L'\\' + name + L'\n';
    return text;
}

std::wstring FormatSearchEnd(size_t matches)
{
    return L"End of search: " + std::to_wstring(matches) + L" match(es) found.\n";
}

int RunTool(const std::vector<std::wstring>& args, Console& console)
{
    const std::optional<Verb> verb = args.empty() ? std::nullopt : VerbFromName(args[0]);
    try {
        if (!args.empty() && IsHelpArgument(args[0])) {
            console.Out(UsageText(std::nullopt));
            return kExitSuccess;
        }
        const CommandLine line = ParseCommandLine(args);
        if (line.Help) {
            console.Out(UsageText(line.Command));
            return kExitSuccess;
        }
        switch (line.Command) {
        case Verb::Query:
            return RunQuery(line, console);
        case Verb::Add:
            return RunAdd(line, console);
        case Verb::Delete:
            return RunDelete(line, console);
        }
        throw ToolError::Syntax();
    } catch (const ToolError& error) {
        std::wstring text = L"ERROR: " + error.Message();
        if (error.UsageHint()) {
            text += L" Type \"tessel-reg ";
            text += verb ? std::wstring(VerbName(*verb)) + L" /?" : std::wstring(L"/?");
            text += L"\" for usage.";
        }
        console.Err(text + L"\n");
        return kExitFailure;
    } catch (const std::bad_alloc&) {
        console.Err(L"ERROR: " + StatusText(ERROR_NOT_ENOUGH_MEMORY) + L"\n");
        return kExitFailure;
    }
}

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

int RunAdd(const CommandLine& line, Console& console)
{
    const KeyPath path = RequireKeyPath(line);
    const DWORD type = RequireType(line);
    const std::wstring separator = RequireSeparator(line, type);

    // Without a value option, type or data still say something: they are for the default value.
    const bool setsValue = line.Values != ValueSelection::KeyOnly || line.Type || line.Data;
    RegistryValue value;
    if (setsValue) {
        value.Name = line.Values == ValueSelection::Named ? line.ValueName : std::wstring();
        value.Type = type;
        const std::wstring text = line.Data.value_or(std::wstring());
        std::optional<std::vector<BYTE>> data = ParseData(type, text, separator);
        if (!data)
            throw ToolError(L"Invalid data \"" + text + L"\" for " + TypeName(type) + L".", true);
        value.Data = std::move(*data);
    }

    RegistryKey key;
    Require(key.Create(path, setsValue ? KEY_QUERY_VALUE | KEY_SET_VALUE : KEY_READ));

    if (setsValue) {
        RegistryValue existing;
        const LSTATUS status = key.ReadValue(value.Name, existing);
        if (status == ERROR_SUCCESS) {
            const std::wstring name = DisplayName(value.Name);
            if (!ConfirmOrRefuse(console, line.Force, L"Value " + name + L" exists, overwrite(Yes/No)?",
                                 L"Value " + name + L" exists; use /f to overwrite it."))
                return kExitFailure;
        } else if (status != ERROR_FILE_NOT_FOUND) {
            Require(status);
        }
        Require(key.WriteValue(value));
    }
    console.Out(kCompletedMessage);
    return kExitSuccess;
}

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

// add and delete: the commands that change one key, asking first when they would overwrite or
// delete something.

#include "CommandSupport.h"
#include "Commands.h"
#include "Messages.h"

namespace Tessel::Reg {
namespace {

DWORD RequireType(const CommandLine& line)
{
    if (!line.Type)
        return REG_SZ;
    const std::optional<DWORD> type = TypeFromName(*line.Type);
    if (!type)
        throw ToolError(Messages::InvalidType(*line.Type), true);
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
    if (!ConfirmOrRefuse(console, line.Force, Messages::DeleteKeyQuestion(path.FullName()), Messages::kNothingDeleted))
        return kExitFailure;
    Require(DeleteKeyTree(path));
    OutLine(console, Messages::kCompleted);
    return kExitSuccess;
}

int DeleteOneValue(const KeyPath& path, const std::wstring& name, const CommandLine& line, Console& console)
{
    RegistryKey key;
    Require(key.Open(path, KEY_QUERY_VALUE | KEY_SET_VALUE));
    RegistryValue existing;
    Require(key.ReadValue(name, existing));
    if (!ConfirmOrRefuse(console, line.Force, Messages::DeleteValueQuestion(DisplayName(name)),
                         Messages::kNothingDeleted))
        return kExitFailure;
    Require(key.DeleteValue(name));
    OutLine(console, Messages::kCompleted);
    return kExitSuccess;
}

int DeleteAllValues(const KeyPath& path, const CommandLine& line, Console& console)
{
    RegistryKey key;
    Require(key.Open(path, KEY_QUERY_VALUE | KEY_SET_VALUE));
    if (!ConfirmOrRefuse(console, line.Force, Messages::DeleteAllValuesQuestion(path.FullName()),
                         Messages::kNothingDeleted))
        return kExitFailure;
    // Deleting while enumerating would shift the indexes; take the names first.
    std::vector<RegistryValue> values;
    Require(key.ReadValues(values));
    for (const RegistryValue& value : values) {
        const LSTATUS status = key.DeleteValue(value.Name);
        if (status != ERROR_FILE_NOT_FOUND)
            Require(status);
    }
    OutLine(console, Messages::kCompleted);
    return kExitSuccess;
}

} // namespace

int RunAdd(const CommandLine& line, Console& console)
{
    const KeyPath path = RequireKeyPath(line, 0);
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
            throw ToolError(Messages::InvalidData(text, TypeName(type)), true);
        value.Data = std::move(*data);
    }

    RegistryKey key;
    Require(key.Create(path, setsValue ? KEY_QUERY_VALUE | KEY_SET_VALUE : KEY_READ));

    if (setsValue) {
        RegistryValue existing;
        const LSTATUS status = key.ReadValue(value.Name, existing);
        if (status == ERROR_SUCCESS) {
            const std::wstring name = DisplayName(value.Name);
            if (!ConfirmOrRefuse(console, line.Force, Messages::OverwriteValueQuestion(name),
                                 Messages::OverwriteValueRefusal(name)))
                return kExitFailure;
        } else if (status != ERROR_FILE_NOT_FOUND) {
            Require(status);
        }
        Require(key.WriteValue(value));
    }
    OutLine(console, Messages::kCompleted);
    return kExitSuccess;
}

int RunDelete(const CommandLine& line, Console& console)
{
    const KeyPath path = RequireKeyPath(line, 0);
    switch (line.Values) {
    case ValueSelection::KeyOnly:
        return DeleteKey(path, line, console);
    case ValueSelection::Named:
        return DeleteOneValue(path, line.ValueName, line, console);
    case ValueSelection::Default:
        return DeleteOneValue(path, std::wstring(), line, console);
    case ValueSelection::AllValues:
        return DeleteAllValues(path, line, console);
    case ValueSelection::AnyName:
        break;
    }
    throw ToolError::Syntax();
}

} // namespace Tessel::Reg

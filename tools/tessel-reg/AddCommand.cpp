// add: creates a key, or sets a value of a key that it creates if need be.

#include "Commands.h"
#include "RegistryKey.h"
#include "ToolError.h"

namespace Tessel::Reg {
namespace {

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

} // namespace

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
    LSTATUS status = key.Create(path, setsValue ? KEY_QUERY_VALUE | KEY_SET_VALUE : KEY_READ);
    if (status != ERROR_SUCCESS)
        throw ToolError::FromStatus(status);

    if (setsValue) {
        RegistryValue existing;
        status = key.ReadValue(value.Name, existing);
        if (status == ERROR_SUCCESS) {
            const std::wstring name = DisplayName(value.Name);
            if (!ConfirmOrRefuse(console, line.Force, L"Value " + name + L" exists, overwrite(Yes/No)?",
                                 L"Value " + name + L" exists; use /f to overwrite it."))
                return kExitFailure;
        } else if (status != ERROR_FILE_NOT_FOUND) {
            throw ToolError::FromStatus(status);
        }
        status = key.WriteValue(value);
        if (status != ERROR_SUCCESS)
            throw ToolError::FromStatus(status);
    }
    console.Out(kCompletedMessage);
    return kExitSuccess;
}

} // namespace Tessel::Reg

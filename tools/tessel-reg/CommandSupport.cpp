// Helpers shared by tessel-reg's commands.

#include "CommandSupport.h"

#include "Messages.h"

namespace Tessel::Reg {

void Require(LSTATUS status)
{
    if (status != ERROR_SUCCESS)
        throw ToolError::FromStatus(status);
}

bool ConfirmOrRefuse(Console& console, bool force, const std::wstring& question, const std::wstring& refusal)
{
    if (force)
        return true;
    if (!console.Interactive())
        throw ToolError(refusal, false);
    if (console.Confirm(question))
        return true;
    OutLine(console, Messages::kCanceled);
    return false;
}

// File names are UTF-8 on this system and UTF-16 on Windows; u8path takes either from UTF-8.
std::filesystem::path FilePath(const std::wstring& name)
{
    return std::filesystem::u8path(Utf8FromWide(name));
}

void OutLine(Console& console, const std::wstring& text)
{
    console.Out(text + L'\n');
}

std::vector<std::wstring> SubKeyNames(const RegistryKey& key)
{
    std::vector<std::wstring> names;
    Require(key.ReadSubKeyNames(names));
    return names;
}

bool OpenFoundKey(RegistryKey& key, const KeyPath& path, REGSAM access)
{
    const LSTATUS status = key.Open(path, access);
    if (status == ERROR_FILE_NOT_FOUND || status == ERROR_KEY_DELETED)
        return false;
    Require(status);
    return true;
}

ToolError ToolError::FromStatus(LSTATUS status)
{
    return ToolError(StatusText(status), false);
}

} // namespace Tessel::Reg

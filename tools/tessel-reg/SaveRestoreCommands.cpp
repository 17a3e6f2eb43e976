// save and restore: a key and everything below it to a file and back, through RegSaveKeyExW and
// RegRestoreKeyW, so that on Windows the command makes and reads the system's own hive files.

#include <filesystem>

#include "CommandSupport.h"
#include "Commands.h"
#include "Messages.h"

namespace Tessel::Reg {

int RunSave(const CommandLine& line, Console& console)
{
    const KeyPath path = RequireKeyPath(line, 0);
    const std::wstring& file = line.Operands[1];
    RegistryKey key;
    Require(key.Open(path, KEY_READ));
    std::error_code error;
    const std::filesystem::path filePath = FilePath(file);
    if (std::filesystem::exists(filePath, error)) {
        if (!ConfirmOrRefuse(console, line.Force, Messages::OverwriteFileQuestion(file),
                             Messages::OverwriteFileRefusal(file)))
            return kExitFailure;
        // The function never writes over a file: the old one goes first, as the Windows command does.
        if (!std::filesystem::remove(filePath, error))
            throw ToolError(Messages::kFileWriteFailed, false);
    }
    const LSTATUS status = RegSaveKeyExW(key.Handle(), file.c_str(), nullptr, REG_LATEST_FORMAT);
    // Only the file's folder can be missing here; the key was opened above.
    if (status == ERROR_PATH_NOT_FOUND)
        throw ToolError(Messages::kFileWriteFailed, false);
    Require(status);
    OutLine(console, Messages::kCompleted);
    return kExitSuccess;
}

int RunRestore(const CommandLine& line, Console& console)
{
    const KeyPath path = RequireKeyPath(line, 0);
    RegistryKey key;
    Require(key.Open(path, KEY_ALL_ACCESS));
    const std::wstring& file = line.Operands[1];
    std::error_code error;
    if (!std::filesystem::is_regular_file(FilePath(file), error))
        throw ToolError(Messages::kFileOpenFailed, false);
    Require(RegRestoreKeyW(key.Handle(), file.c_str(), 0));
    OutLine(console, Messages::kCompleted);
    return kExitSuccess;
}

} // namespace Tessel::Reg

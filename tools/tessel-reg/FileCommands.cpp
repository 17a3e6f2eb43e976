// export and import: the registry to and from .reg files; and the verbs that act on hive files,
// which this system doesn't have.

#include <filesystem>
#include <fstream>
#include <iterator>

#include "CommandSupport.h"
#include "Commands.h"
#include "Messages.h"
#include "RegFile.h"

namespace Tessel::Reg {
namespace {

bool ReadWholeFile(const std::filesystem::path& path, std::string& bytes)
{
    std::error_code error;
    if (std::filesystem::is_directory(path, error))
        return false;
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}

// Writes beside the file and renames over it, so that nobody ever finds half an export and a
// failed export leaves the old file as it was.
bool ReplaceFile(const std::filesystem::path& path, const std::string& bytes)
{
    std::filesystem::path partial = path;
    partial += ".partial";
    {
        std::ofstream out(partial, std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        out.close();
        if (!out) {
            std::error_code ignored;
            std::filesystem::remove(partial, ignored);
            return false;
        }
    }
    std::error_code error;
    std::filesystem::rename(partial, path, error);
    if (error) {
        // Where a rename may not replace a file, make room first.
        std::filesystem::remove(path, error);
        std::filesystem::rename(partial, path, error);
    }
    if (error) {
        std::error_code ignored;
        std::filesystem::remove(partial, ignored);
        return false;
    }
    return true;
}

} // namespace

int RunExport(const CommandLine& line, Console& console)
{
    const KeyPath path = RequireKeyPath(line, 0);
    const std::wstring& file = line.Operands[1];
    const std::filesystem::path filePath = FilePath(file);
    {
        // A key that isn't there is reported before anyone is asked about the file.
        RegistryKey key;
        Require(key.Open(path, KEY_READ));
    }
    std::error_code error;
    if (std::filesystem::exists(filePath, error) &&
        !ConfirmOrRefuse(console, line.Force, Messages::OverwriteFileQuestion(file),
                         Messages::OverwriteFileRefusal(file)))
        return kExitFailure;

    RegFileWriter writer;
    Require(ExportRegistryTree(path, writer));
    if (!ReplaceFile(filePath, writer.Finish()))
        throw ToolError(Messages::kFileWriteFailed, false);
    OutLine(console, Messages::kCompleted);
    return kExitSuccess;
}

int RunImport(const CommandLine& line, Console& console)
{
    const std::wstring& file = line.Operands[0];
    std::string bytes;
    if (!ReadWholeFile(FilePath(file), bytes))
        throw ToolError(Messages::kFileOpenFailed, false);

    std::vector<RegFileKey> keys;
    try {
        keys = ReadRegFile(reinterpret_cast<const BYTE*>(bytes.data()), bytes.size());
    } catch (const RegFileError& error) {
        throw ToolError(Messages::AtFileLine(file, error.Line, error.Message), false);
    }
    const RegFileImportFailure failure = ImportRegFile(keys, line.View);
    if (failure.Status != ERROR_SUCCESS)
        throw ToolError(Messages::AtFileLine(file, failure.Line, StatusText(failure.Status)), false);
    OutLine(console, Messages::kCompleted);
    return kExitSuccess;
}

int RunUnsupported(const CommandLine& line, Console&)
{
    throw ToolError(Messages::NotSupported(VerbName(line.Command)), false);
}

} // namespace Tessel::Reg

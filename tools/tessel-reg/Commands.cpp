// The dispatch from command line to command with its one-line failure report, and the layout of
// the value lines that query and compare print.

#include "Commands.h"

#include <new>

#include "CommandSupport.h"
#include "Messages.h"

namespace Tessel::Reg {
namespace {

constexpr wchar_t kColumnGap[] = L"    ";

struct CommandEntry {
    Verb Command;
    int (*Run)(const CommandLine& line, Console& console);
};

const CommandEntry kCommands[] = {
    {Verb::Query, RunQuery},       {Verb::Add, RunAdd},       {Verb::Delete, RunDelete},
    {Verb::Copy, RunCopy},         {Verb::Compare, RunCompare}, {Verb::Export, RunExport},
    {Verb::Import, RunImport},     {Verb::Save, RunSave},     {Verb::Restore, RunRestore},
    {Verb::Watch, RunWatch},       {Verb::Load, RunUnsupported}, {Verb::Unload, RunUnsupported},
    {Verb::Flags, RunUnsupported},
};

int Dispatch(const CommandLine& line, Console& console)
{
    for (const CommandEntry& entry : kCommands) {
        if (entry.Command == line.Command)
            return entry.Run(line, console);
    }
    throw ToolError::Syntax();
}

// verbName: the command whose usage the hint points at; empty for the tool's.
void ReportError(const ToolError& error, const std::wstring& verbName, Console& console)
{
    std::wstring text = L"ERROR: " + error.Message();
    if (error.UsageHint())
        text += Messages::UsageHint(verbName);
    console.Err(text + L"\n");
}

} // namespace

std::wstring FormatValueLine(const RegistryValue& value, const ValueFormat& format)
{
    std::wstring line = kColumnGap;
    line += DisplayName(value.Name);
    line += kColumnGap;
    line += TypeName(value.Type);
    if (format.NumericType)
        line += L" (" + std::to_wstring(value.Type) + L")";
    line += kColumnGap;
    line += FormatData(value.Type, value.Data, format.Separator);
    line += L'\n';
    return line;
}

std::wstring FormatUnsetDefaultLine()
{
    return std::wstring(kColumnGap) + kDefaultValueName + kColumnGap + L"REG_SZ" + kColumnGap + L"(value not set)\n";
}

std::wstring FormatKeyBlock(const std::wstring& keyName, const std::vector<RegistryValue>& values,
                            const ValueFormat& format)
{
    std::wstring text = L"\n" + keyName + L"\n";
    for (const RegistryValue& value : values)
        text += FormatValueLine(value, format);
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
    return Messages::SearchEnd(matches) + L"\n";
}

int RunTool(const std::vector<std::wstring>& args, Console& console)
{
    const std::optional<Verb> verb = args.empty() ? std::nullopt : VerbFromName(args[0]);
    const std::wstring verbName = verb ? VerbName(*verb) : L"";
    try {
        if (!args.empty() && IsHelpArgument(args[0])) {
            console.Out(UsageText(std::nullopt));
            return kExitSuccess;
        }
        if (args.size() == 1 && args[0] == L"--version") {
            console.Out(VersionText());
            return kExitSuccess;
        }
        const CommandLine line = ParseCommandLine(args);
        if (line.Help) {
            console.Out(UsageText(line.Command));
            return kExitSuccess;
        }
        return Dispatch(line, console);
    } catch (const ToolError& error) {
        ReportError(error, verbName, console);
        return kExitFailure;
    } catch (const std::bad_alloc&) {
        ReportError(ToolError::FromStatus(ERROR_NOT_ENOUGH_MEMORY), verbName, console);
        return kExitFailure;
    }
}

int RunToolUtf8(const std::vector<std::string>& args, Console& console)
{
    std::vector<std::wstring> wide;
    for (size_t i = 0; i < args.size(); ++i) {
        std::optional<std::wstring> arg = WideFromStrictUtf8(args[i]);
        if (!arg) {
            ReportError(ToolError(Messages::ArgumentNotUtf8(i + 1, ShowBytes(args[i])), false), L"", console);
            return kExitFailure;
        }
        wide.push_back(std::move(*arg));
    }
    return RunTool(wide, console);
}

} // namespace Tessel::Reg

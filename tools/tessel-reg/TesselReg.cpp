// tessel-reg's dispatch from command line to command, and the reporting of failures.

#include "Commands.h"
#include "ToolError.h"

namespace Tessel::Reg {

KeyPath RequireKeyPath(const CommandLine& line)
{
    std::optional<KeyPath> path = ParseKeyPath(line.Key);
    if (!path)
        throw ToolError::BadKeyName();
    return *path;
}

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
    }
}

} // namespace Tessel::Reg

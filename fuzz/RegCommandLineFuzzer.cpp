// tessel-reg's command line: arbitrary arguments through the parser, each operand of a parsed
// command through the key-path check, and each argument through the key-path parser. Only
// ToolError may leave them; a crash or a sanitizer report is a finding. Arguments are separated
// by the byte 0x01.

#include <cstdint>

#include "CommandLine.h"
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Fuzz::Input input(data, size);
    std::vector<std::wstring> args;
    while (!input.Empty() && args.size() < 16)
        args.push_back(input.Piece());
    const auto refused = [](const Tessel::Reg::ToolError& error) {
        if (error.Message().empty())
            std::abort();
    };
    try {
        const Tessel::Reg::CommandLine command = Tessel::Reg::ParseCommandLine(args);
        Tessel::Reg::UsageText(command.Command);
        for (std::size_t operand = 0; operand < command.Operands.size(); ++operand) {
            try {
                Tessel::Reg::RequireKeyPath(command, operand);
            } catch (const Tessel::Reg::ToolError& error) {
                refused(error);
            }
        }
    } catch (const Tessel::Reg::ToolError& error) {
        refused(error);
    }
    for (const std::wstring& arg : args) {
        if (const auto path = Tessel::Reg::ParseKeyPath(arg)) {
            // A parsed path names its root and has no stray separators at its ends.
            if (path->Root == nullptr || (!path->SubKey.empty() && (path->SubKey.front() == L'\\' ||
                                                                     path->SubKey.back() == L'\\')))
                std::abort();
            path->FullName();
        }
        Tessel::Reg::VerbFromName(arg);
    }
    return 0;
}

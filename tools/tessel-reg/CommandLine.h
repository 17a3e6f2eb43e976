// The tessel-reg command line: which command, which key, and the options that shape it. Each
// option has its administrator's form (/v, also -v) and a POSIX long form (--value).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Reg {

enum class Verb { Query, Add, Delete };

// Which values of the key a command is about.
enum class ValueSelection {
    KeyOnly,   // no value option: the key itself (and for add with /d, its default value)
    Named,     // /v NAME
    Default,   // /ve
    AllValues, // /va
};

struct CommandLine {
    Verb Command = Verb::Query;
    bool Help = false; // /?, -h or --help anywhere: print the command's usage and do nothing else
    std::wstring Key;
    ValueSelection Values = ValueSelection::KeyOnly;
    std::wstring ValueName; // for ValueSelection::Named
    bool Recurse = false;
    std::optional<std::wstring> Type;
    std::optional<std::wstring> Data;
    std::optional<std::wstring> Separator;
    bool Force = false;
};

// The command a verb names ("query", "QUERY"), if any.
std::optional<Verb> VerbFromName(std::wstring_view name);
const wchar_t* VerbName(Verb verb);
// /?, -?, -h and --help.
bool IsHelpArgument(std::wstring_view arg);

// Parses the arguments after the program name. Throws ToolError for anything that isn't a
// well-formed command: an unknown verb or option, an option the verb doesn't take, a missing
// option argument, a repeated option, conflicting value options, a missing or second key.
// Whether the key and the option arguments mean anything is left to the command.
CommandLine ParseCommandLine(const std::vector<std::wstring>& args);

// Usage of one command, or of the tool as a whole; lines end in '\n'.
std::wstring UsageText(std::optional<Verb> verb);

} // namespace Tessel::Reg

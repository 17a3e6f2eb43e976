// The tessel-reg command line: which command, its keys and files, and the options that shape
// it, with the failure that ends a command. Each option has its administrator's form (/v, also
// -v) and a POSIX long form (--value).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "KeyPath.h"
#include "TesselWin32.h"

namespace Tessel::Reg {

// The failure that ends a tessel-reg command: the one line it prints after "ERROR: ", and
// whether that line also points the user at the command's usage.
class ToolError {
public:
    ToolError(std::wstring message, bool usageHint) : m_message(std::move(message)), m_usageHint(usageHint) {}

    // Arguments that don't form a valid command.
    static ToolError Syntax();
    static ToolError BadKeyName();
    // A registry call failed; the text is the one Windows gives for the status.
    static ToolError FromStatus(LSTATUS status);

    const std::wstring& Message() const { return m_message; }
    bool UsageHint() const { return m_usageHint; }

private:
    std::wstring m_message;
    bool m_usageHint = false;
};

// The commands, in the order help lists them. A new command is a new entry here, a table of
// options in CommandLine.cpp, a usage text and an entry in the dispatch of Commands.cpp.
enum class Verb { Query, Add, Delete, Copy, Compare, Export, Import, Save, Restore, Watch, Load, Unload, Flags };

// Which values of the key a command is about.
enum class ValueSelection {
    KeyOnly,   // no value option: the key itself (and for add with /d, its default value)
    Named,     // /v NAME
    Default,   // /ve
    AllValues, // /va
    AnyName,   // query's /v without a name, beside /f: search value names only
};

// What compare prints besides its verdict.
enum class CompareOutput { Differences, All, Same, Nothing };

struct CommandLine {
    Verb Command = Verb::Query;
    bool Help = false; // /?, -h or --help anywhere: print the command's usage and do nothing else
    std::vector<std::wstring> Operands; // the keys and files, in the order given
    ValueSelection Values = ValueSelection::KeyOnly;
    std::wstring ValueName; // for ValueSelection::Named
    bool Recurse = false;
    std::optional<std::wstring> Type; // add: the type; query: the types to search, comma-separated
    std::optional<std::wstring> Data;
    std::optional<std::wstring> Separator;
    std::optional<std::wstring> Find; // query's /f pattern
    bool KeysOnly = false;
    bool DataOnly = false;
    bool CaseSensitive = false;
    bool ExactMatch = false;
    bool NumericTypes = false;
    bool Force = false; // /f of add, delete and copy; /y of export
    CompareOutput Output = CompareOutput::Differences;
    REGSAM View = 0; // /reg:32 or /reg:64
    std::optional<std::wstring> Count; // watch's /n: how many changes to show

    // Query searches, rather than lists, when any search option is given.
    bool Searches() const { return Find || KeysOnly || DataOnly || CaseSensitive || ExactMatch || Type; }
};

// The command a verb names ("query", "QUERY"), if any.
std::optional<Verb> VerbFromName(std::wstring_view name);
const wchar_t* VerbName(Verb verb);
// Every verb, in the order help lists them.
std::vector<Verb> AllVerbs();
// Every spelling of every option a verb takes: "/v", "--value", ...
std::vector<std::wstring> OptionSpellings(Verb verb);
// /?, -?, -h and --help.
bool IsHelpArgument(std::wstring_view arg);

// Parses the arguments after the program name. Throws ToolError for anything that isn't a
// well-formed command: an unknown verb or option, an option the verb doesn't take, a missing
// option argument, a repeated or conflicting option, too few or too many keys and files.
// Whether the keys and the option arguments mean anything is left to the command. Verbs this
// system doesn't support take any arguments, so that they can say so.
CommandLine ParseCommandLine(const std::vector<std::wstring>& args);

// The key an operand names, in the command line's view; throws ToolError::BadKeyName.
KeyPath RequireKeyPath(const CommandLine& line, size_t operand);

// Usage of one command, or of the tool as a whole; lines end in '\n'.
std::wstring UsageText(std::optional<Verb> verb);

} // namespace Tessel::Reg

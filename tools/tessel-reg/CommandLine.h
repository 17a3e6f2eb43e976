// The tessel-reg command line: which command, which key, and the options that shape it, with
// the failure that ends a command. Each option has its administrator's form (/v, also -v) and a
// POSIX long form (--value).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "TesselWin32.h"

namespace Tessel::Reg {

// The failure that ends a tessel-reg command: the one line it prints after "ERROR: ", and
// whether that line also points the user at the command's usage.
class ToolError {
public:
    ToolError(std::wstring message, bool usageHint) : m_message(std::move(message)), m_usageHint(usageHint) {}

    // Arguments that don't form a valid command.
    static ToolError Syntax() { return ToolError(L"Invalid syntax.", true); }
    static ToolError BadKeyName() { return ToolError(L"Invalid key name.", true); }
    // A registry call failed; the text is the one Windows gives for the status.
    static ToolError FromStatus(LSTATUS status);

    const std::wstring& Message() const { return m_message; }
    bool UsageHint() const { return m_usageHint; }

private:
    std::wstring m_message;
    bool m_usageHint = false;
};

// A key as users name it: a root in its short or long form, then a backslash path.
struct KeyPath {
    HKEY Root = nullptr;
    std::wstring RootName; // always the long form, as output shows it
    std::wstring SubKey;   // empty for the root itself; never starts or ends with a backslash

    // The path as output shows it: the long root name, then the sub-key path.
    std::wstring FullName() const;
    bool IsRoot() const { return SubKey.empty(); }
    // The path of a child named name.
    KeyPath Child(std::wstring_view name) const;
};

// Parses "HKLM\Software\X" and its long form. The root is matched without regard to case; one
// trailing backslash is allowed. Returns nothing for an unknown root, an empty path component or
// a remote-machine name.
std::optional<KeyPath> ParseKeyPath(std::wstring_view text);

// ASCII-only case folding comparison; option names, roots and type names are ASCII.
bool EqualsIgnoringCase(std::wstring_view left, std::wstring_view right);

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

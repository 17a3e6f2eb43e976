// The commands of tessel-reg. Each takes a parsed command line, reports through a Console and
// returns the process's exit code; failures that end a command are thrown as ToolError. Query's
// layout is the one administrators know: a blank line, the key's full path, one indented line per
// value, then the sub-keys' paths after another blank line.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "Console.h"
#include "RegistryValue.h"

namespace Tessel::Reg {

int RunQuery(const CommandLine& line, Console& console);
int RunAdd(const CommandLine& line, Console& console);
int RunDelete(const CommandLine& line, Console& console);
int RunCopy(const CommandLine& line, Console& console);
int RunCompare(const CommandLine& line, Console& console);
int RunExport(const CommandLine& line, Console& console);
int RunImport(const CommandLine& line, Console& console);
int RunSave(const CommandLine& line, Console& console);
int RunRestore(const CommandLine& line, Console& console);
// Runs until interrupted, or until /n changes were shown.
int RunWatch(const CommandLine& line, Console& console);
// load, unload and flags: there is nothing on this system for them to act on.
int RunUnsupported(const CommandLine& line, Console& console);

// The whole tool over the arguments after the program name: usage, version, dispatch, and the
// one-line "ERROR: ..." report of a failure.
int RunTool(const std::vector<std::wstring>& args, Console& console);
// The same over arguments in UTF-8, as Linux passes them: one that isn't valid UTF-8 is an error
// that names it, since a replaced character would silently name another key or value.
int RunToolUtf8(const std::vector<std::string>& args, Console& console);

// What --version prints: the tool's and the library's versions, one per line.
std::wstring VersionText();

// How value lines show data and types: query's /se and /z.
struct ValueFormat {
    std::wstring Separator = kMultiStringSeparator;
    bool NumericType = false;
};

// "    NAME    TYPE    DATA\n"; the default value is named "(Default)".
std::wstring FormatValueLine(const RegistryValue& value, const ValueFormat& format = {});
// The line shown for /ve when the key has no default value.
std::wstring FormatUnsetDefaultLine();
// A blank line, the key's path, then its values.
std::wstring FormatKeyBlock(const std::wstring& keyName, const std::vector<RegistryValue>& values,
                            const ValueFormat& format = {});
// A blank line, then each sub-key's full path.
std::wstring FormatSubKeyList(const std::wstring& keyName, const std::vector<std::wstring>& subKeyNames);
// The summary after a search over a tree.
std::wstring FormatSearchEnd(size_t matches);

} // namespace Tessel::Reg

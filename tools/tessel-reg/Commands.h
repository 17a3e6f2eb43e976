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

// The whole tool over the arguments after the program name: usage, dispatch, and the one-line
// "ERROR: ..." report of a failure.
int RunTool(const std::vector<std::wstring>& args, Console& console);

// "    NAME    TYPE    DATA\n"; the default value is named "(Default)".
std::wstring FormatValueLine(const RegistryValue& value);
// The line shown for /ve when the key has no default value.
std::wstring FormatUnsetDefaultLine();
// A blank line, the key's path, then its values.
std::wstring FormatKeyBlock(const std::wstring& keyName, const std::vector<RegistryValue>& values);
// A blank line, then each sub-key's full path.
std::wstring FormatSubKeyList(const std::wstring& keyName, const std::vector<std::wstring>& subKeyNames);
// The summary after a search over a tree.
std::wstring FormatSearchEnd(size_t matches);

} // namespace Tessel::Reg

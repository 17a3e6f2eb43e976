// The commands of tessel-reg. Each takes a parsed command line, reports through a Console and
// returns the process's exit code; failures that end a command are thrown as ToolError.
#pragma once

#include <string>
#include <vector>

#include "CommandLine.h"
#include "Console.h"
#include "KeyPath.h"

namespace Tessel::Reg {

int RunQuery(const CommandLine& line, Console& console);
int RunAdd(const CommandLine& line, Console& console);
int RunDelete(const CommandLine& line, Console& console);

// The whole tool over the arguments after the program name: usage, dispatch, and the one-line
// "ERROR: ..." report of a failure.
int RunTool(const std::vector<std::wstring>& args, Console& console);

// The key a command names; throws ToolError for a malformed one.
KeyPath RequireKeyPath(const CommandLine& line);

// True to go ahead. With force, always; with nobody to ask, throws ToolError with refusal; else
// asks, and on "no" tells the user that nothing was done.
bool ConfirmOrRefuse(Console& console, bool force, const std::wstring& question, const std::wstring& refusal);

constexpr int kExitSuccess = 0;
constexpr int kExitFailure = 1;

inline constexpr wchar_t kCompletedMessage[] = L"The operation completed successfully.\n";

} // namespace Tessel::Reg

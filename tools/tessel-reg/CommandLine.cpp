// Parsing of tessel-reg's command line. Each command lists the options it takes and how many
// keys and files follow it, so a new command is a new table.

#include "CommandLine.h"

#include "AsciiText.h"
#include "Messages.h"

namespace Tessel::Reg {
namespace {

enum class OptionId {
    Value,
    Default,
    AllValues,
    Recurse,
    Type,
    Data,
    Separator,
    Force,
    Find,
    KeysOnly,
    DataOnly,
    CaseSensitive,
    Exact,
    NumericTypes,
    OutputAll,
    OutputDifferences,
    OutputSame,
    OutputNothing,
    View32,
    View64,
    Count,
};

enum class Argument { None, Required, Optional };

struct OptionEntry {
    OptionId Id;
    const wchar_t* Short; // without its '/' or '-'
    const wchar_t* Long;  // without its "--"
    Argument Takes;
};

const OptionEntry kView32 = {OptionId::View32, L"reg:32", L"reg32", Argument::None};
const OptionEntry kView64 = {OptionId::View64, L"reg:64", L"reg64", Argument::None};

// /s means "recurse" to query and "separator" to add, and /d "data only" to query but "data" to
// add, as in the administrator's tool.
const OptionEntry kQueryOptions[] = {
    {OptionId::Value, L"v", L"value", Argument::Optional},
    {OptionId::Default, L"ve", L"default", Argument::None},
    {OptionId::Recurse, L"s", L"recurse", Argument::None},
    {OptionId::Separator, L"se", L"separator", Argument::Required},
    {OptionId::Find, L"f", L"find", Argument::Required},
    {OptionId::KeysOnly, L"k", L"keys", Argument::None},
    {OptionId::DataOnly, L"d", L"in-data", Argument::None},
    {OptionId::CaseSensitive, L"c", L"case-sensitive", Argument::None},
    {OptionId::Exact, L"e", L"exact", Argument::None},
    {OptionId::Type, L"t", L"type", Argument::Required},
    {OptionId::NumericTypes, L"z", L"numeric-type", Argument::None},
    kView32,
    kView64,
};

const OptionEntry kAddOptions[] = {
    {OptionId::Value, L"v", L"value", Argument::Required},
    {OptionId::Default, L"ve", L"default", Argument::None},
    {OptionId::Type, L"t", L"type", Argument::Required},
    {OptionId::Separator, L"s", L"separator", Argument::Required},
    {OptionId::Data, L"d", L"data", Argument::Required},
    {OptionId::Force, L"f", L"force", Argument::None},
    kView32,
    kView64,
};

const OptionEntry kDeleteOptions[] = {
    {OptionId::Value, L"v", L"value", Argument::Required},
    {OptionId::Default, L"ve", L"default", Argument::None},
    {OptionId::AllValues, L"va", L"all-values", Argument::None},
    {OptionId::Force, L"f", L"force", Argument::None},
    kView32,
    kView64,
};

const OptionEntry kCopyOptions[] = {
    {OptionId::Recurse, L"s", L"recurse", Argument::None},
    {OptionId::Force, L"f", L"force", Argument::None},
    kView32,
    kView64,
};

const OptionEntry kCompareOptions[] = {
    {OptionId::Value, L"v", L"value", Argument::Required},
    {OptionId::Default, L"ve", L"default", Argument::None},
    {OptionId::Recurse, L"s", L"recurse", Argument::None},
    {OptionId::OutputAll, L"oa", L"all", Argument::None},
    {OptionId::OutputDifferences, L"od", L"differences", Argument::None},
    {OptionId::OutputSame, L"os", L"same", Argument::None},
    {OptionId::OutputNothing, L"on", L"none", Argument::None},
    kView32,
    kView64,
};

const OptionEntry kExportOptions[] = {
    {OptionId::Force, L"y", L"yes", Argument::None},
    kView32,
    kView64,
};

const OptionEntry kImportOptions[] = {kView32, kView64};

const OptionEntry kSaveOptions[] = {
    {OptionId::Force, L"y", L"yes", Argument::None},
    kView32,
    kView64,
};

const OptionEntry kRestoreOptions[] = {kView32, kView64};

const OptionEntry kWatchOptions[] = {
    {OptionId::Recurse, L"s", L"recurse", Argument::None},
    {OptionId::Type, L"t", L"type", Argument::Required},
    {OptionId::Count, L"n", L"count", Argument::Required},
    kView32,
    kView64,
};

struct VerbEntry {
    Verb Command;
    const wchar_t* Name;
    const OptionEntry* Options;
    size_t OptionCount;
    size_t Operands;  // keys and files, always this many
    bool Supported;   // false: parsed no further, the command says why
};

template <size_t N>
constexpr VerbEntry MakeVerb(Verb verb, const wchar_t* name, const OptionEntry (&options)[N], size_t operands)
{
    return VerbEntry{verb, name, options, N, operands, true};
}

constexpr VerbEntry Unsupported(Verb verb, const wchar_t* name)
{
    return VerbEntry{verb, name, nullptr, 0, 0, false};
}

const VerbEntry kVerbs[] = {
    MakeVerb(Verb::Query, L"query", kQueryOptions, 1),
    MakeVerb(Verb::Add, L"add", kAddOptions, 1),
    MakeVerb(Verb::Delete, L"delete", kDeleteOptions, 1),
    MakeVerb(Verb::Copy, L"copy", kCopyOptions, 2),
    MakeVerb(Verb::Compare, L"compare", kCompareOptions, 2),
    MakeVerb(Verb::Export, L"export", kExportOptions, 2),
    MakeVerb(Verb::Import, L"import", kImportOptions, 1),
    MakeVerb(Verb::Save, L"save", kSaveOptions, 2),
    MakeVerb(Verb::Restore, L"restore", kRestoreOptions, 2),
    MakeVerb(Verb::Watch, L"watch", kWatchOptions, 1),
    Unsupported(Verb::Load, L"load"),
    Unsupported(Verb::Unload, L"unload"),
    Unsupported(Verb::Flags, L"flags"),
};

const VerbEntry& EntryOf(Verb verb)
{
    for (const VerbEntry& entry : kVerbs) {
        if (entry.Command == verb)
            return entry;
    }
    throw ToolError::Syntax();
}

// Options start with '-' or '/'; but a path of this system starts with '/' too, and one with a
// second '/' in it ("/tmp/x.reg") is taken as the path it must be.
bool LooksLikeOption(std::wstring_view arg)
{
    if (arg.size() < 2)
        return false;
    return arg[0] == L'-' || (arg[0] == L'/' && arg.find(L'/', 1) == std::wstring_view::npos);
}

// Finds the option an argument names; inlineArgument receives what follows '=' in "--type=X".
const OptionEntry* FindOption(const VerbEntry& verb, std::wstring_view arg, std::optional<std::wstring>& inlineArgument)
{
    std::wstring_view name;
    bool isLong = false;
    if (arg.size() > 2 && arg.substr(0, 2) == L"--") {
        name = arg.substr(2);
        isLong = true;
        const size_t equals = name.find(L'=');
        if (equals != std::wstring_view::npos) {
            inlineArgument = std::wstring(name.substr(equals + 1));
            name = name.substr(0, equals);
        }
    } else {
        name = arg.substr(1);
    }
    for (size_t i = 0; i < verb.OptionCount; ++i) {
        const OptionEntry& option = verb.Options[i];
        if (EqualsIgnoringCase(name, isLong ? option.Long : option.Short))
            return &option;
    }
    return nullptr;
}

void SelectValues(CommandLine& line, ValueSelection selection)
{
    if (line.Values != ValueSelection::KeyOnly)
        throw ToolError::Syntax();
    line.Values = selection;
}

template <typename T>
void SetOnce(std::optional<T>& field, T value)
{
    if (field)
        throw ToolError::Syntax();
    field = std::move(value);
}

void SetOnce(bool& flag)
{
    if (flag)
        throw ToolError::Syntax();
    flag = true;
}

void SetOutput(CommandLine& line, bool& chosen, CompareOutput output)
{
    SetOnce(chosen);
    line.Output = output;
}

void SetView(CommandLine& line, REGSAM view)
{
    if (line.View != 0)
        throw ToolError::Syntax();
    line.View = view;
}

struct ParseState {
    bool OutputChosen = false;
};

// hasArgument tells an option without its argument from one with an empty argument.
void ApplyOption(CommandLine& line, ParseState& state, OptionId id, bool hasArgument, std::wstring argument)
{
    switch (id) {
    case OptionId::Value:
        SelectValues(line, hasArgument ? ValueSelection::Named : ValueSelection::AnyName);
        line.ValueName = std::move(argument);
        break;
    case OptionId::Default:
        SelectValues(line, ValueSelection::Default);
        break;
    case OptionId::AllValues:
        SelectValues(line, ValueSelection::AllValues);
        break;
    case OptionId::Recurse:
        SetOnce(line.Recurse);
        break;
    case OptionId::Type:
        SetOnce(line.Type, std::move(argument));
        break;
    case OptionId::Data:
        SetOnce(line.Data, std::move(argument));
        break;
    case OptionId::Separator:
        SetOnce(line.Separator, std::move(argument));
        break;
    case OptionId::Force:
        SetOnce(line.Force);
        break;
    case OptionId::Find:
        SetOnce(line.Find, std::move(argument));
        break;
    case OptionId::KeysOnly:
        SetOnce(line.KeysOnly);
        break;
    case OptionId::DataOnly:
        SetOnce(line.DataOnly);
        break;
    case OptionId::CaseSensitive:
        SetOnce(line.CaseSensitive);
        break;
    case OptionId::Exact:
        SetOnce(line.ExactMatch);
        break;
    case OptionId::NumericTypes:
        SetOnce(line.NumericTypes);
        break;
    case OptionId::OutputAll:
        SetOutput(line, state.OutputChosen, CompareOutput::All);
        break;
    case OptionId::OutputDifferences:
        SetOutput(line, state.OutputChosen, CompareOutput::Differences);
        break;
    case OptionId::OutputSame:
        SetOutput(line, state.OutputChosen, CompareOutput::Same);
        break;
    case OptionId::OutputNothing:
        SetOutput(line, state.OutputChosen, CompareOutput::Nothing);
        break;
    case OptionId::View32:
        SetView(line, KEY_WOW64_32KEY);
        break;
    case OptionId::View64:
        SetView(line, KEY_WOW64_64KEY);
        break;
    case OptionId::Count:
        SetOnce(line.Count, std::move(argument));
        break;
    }
}

// The combinations that no single option can refuse by itself.
void CheckCombinations(const CommandLine& line)
{
    if (line.KeysOnly && line.DataOnly)
        throw ToolError::Syntax();
    if (line.Command == Verb::Query) {
        // A named value is shown, not searched; a value name is searched only beside a pattern.
        const bool oneValue = line.Values == ValueSelection::Named || line.Values == ValueSelection::Default;
        if ((oneValue && line.Searches()) || (line.Values == ValueSelection::AnyName && !line.Find))
            throw ToolError::Syntax();
    }
    if (line.Command == Verb::Compare && line.Recurse && line.Values != ValueSelection::KeyOnly)
        throw ToolError::Syntax();
}

} // namespace

ToolError ToolError::Syntax()
{
    return ToolError(Messages::kSyntax, true);
}

ToolError ToolError::BadKeyName()
{
    return ToolError(Messages::kBadKeyName, true);
}

std::optional<Verb> VerbFromName(std::wstring_view name)
{
    for (const VerbEntry& entry : kVerbs) {
        if (EqualsIgnoringCase(name, entry.Name))
            return entry.Command;
    }
    return std::nullopt;
}

const wchar_t* VerbName(Verb verb)
{
    return EntryOf(verb).Name;
}

std::vector<Verb> AllVerbs()
{
    std::vector<Verb> verbs;
    for (const VerbEntry& entry : kVerbs)
        verbs.push_back(entry.Command);
    return verbs;
}

std::vector<std::wstring> OptionSpellings(Verb verb)
{
    const VerbEntry& entry = EntryOf(verb);
    std::vector<std::wstring> spellings;
    for (size_t i = 0; i < entry.OptionCount; ++i) {
        spellings.push_back(L"/" + std::wstring(entry.Options[i].Short));
        spellings.push_back(L"--" + std::wstring(entry.Options[i].Long));
    }
    return spellings;
}

bool IsHelpArgument(std::wstring_view arg)
{
    return arg == L"/?" || arg == L"-?" || arg == L"-h" || EqualsIgnoringCase(arg, L"--help");
}

CommandLine ParseCommandLine(const std::vector<std::wstring>& args)
{
    CommandLine line;
    if (args.empty())
        throw ToolError::Syntax();
    const std::optional<Verb> verb = VerbFromName(args[0]);
    if (!verb)
        throw ToolError::Syntax();
    line.Command = *verb;
    const VerbEntry& entry = EntryOf(*verb);

    for (size_t i = 1; i < args.size(); ++i) {
        if (IsHelpArgument(args[i])) {
            line.Help = true;
            return line;
        }
    }
    if (!entry.Supported)
        return line;

    ParseState state;
    bool optionsEnded = false;
    for (size_t i = 1; i < args.size(); ++i) {
        const std::wstring& arg = args[i];
        if (arg == L"--" && !optionsEnded) {
            optionsEnded = true;
            continue;
        }
        if (optionsEnded || !LooksLikeOption(arg)) {
            line.Operands.push_back(arg);
            continue;
        }

        std::optional<std::wstring> argument;
        const OptionEntry* option = FindOption(entry, arg, argument);
        if (option == nullptr)
            throw ToolError::Syntax();
        if (option->Takes == Argument::Required && !argument) {
            // Whatever follows is the argument, even if it starts with '-': data may well do so.
            if (i + 1 >= args.size())
                throw ToolError::Syntax();
            argument = args[++i];
        } else if (option->Takes == Argument::Optional && !argument) {
            if (i + 1 < args.size() && !LooksLikeOption(args[i + 1]))
                argument = args[++i];
        } else if (option->Takes == Argument::None && argument) {
            throw ToolError::Syntax();
        }
        const bool hasArgument = argument.has_value();
        ApplyOption(line, state, option->Id, hasArgument, hasArgument ? std::move(*argument) : std::wstring());
    }
    if (line.Operands.size() != entry.Operands)
        throw ToolError::Syntax();
    CheckCombinations(line);
    return line;
}

KeyPath RequireKeyPath(const CommandLine& line, size_t operand)
{
    std::optional<KeyPath> path = ParseKeyPath(line.Operands.at(operand));
    if (!path)
        throw ToolError::BadKeyName();
    path->View = line.View;
    return *path;
}

} // namespace Tessel::Reg

// Parsing of tessel-reg's command line and key paths, and the usage texts. Each command lists
// the options it takes, so a new command is a new table and a new usage text.

#include "CommandLine.h"

namespace Tessel::Reg {
namespace {

struct RootName {
    const wchar_t* Short;
    const wchar_t* Long;
    HKEY Key;
};

const RootName* FindRoot(std::wstring_view name)
{
    static const RootName roots[] = {
        {L"HKLM", L"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE},
        {L"HKCU", L"HKEY_CURRENT_USER", HKEY_CURRENT_USER},
        {L"HKCR", L"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT},
        {L"HKU", L"HKEY_USERS", HKEY_USERS},
        {L"HKCC", L"HKEY_CURRENT_CONFIG", HKEY_CURRENT_CONFIG},
    };
    for (const RootName& root : roots) {
        if (EqualsIgnoringCase(name, root.Short) || EqualsIgnoringCase(name, root.Long))
            return &root;
    }
    return nullptr;
}

wchar_t AsciiUpper(wchar_t c)
{
    return c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - L'a' + L'A') : c;
}

enum class OptionId { Value, Default, AllValues, Recurse, Type, Data, Separator, Force };

struct OptionEntry {
    OptionId Id;
    const wchar_t* Short; // without its '/' or '-'
    const wchar_t* Long;  // without its "--"
    bool TakesArgument;
};

// /s means "recurse" to query and "separator" to add, as it does in the administrator's tool.
const OptionEntry kQueryOptions[] = {
    {OptionId::Value, L"v", L"value", true},
    {OptionId::Default, L"ve", L"default", false},
    {OptionId::Recurse, L"s", L"recurse", false},
};

const OptionEntry kAddOptions[] = {
    {OptionId::Value, L"v", L"value", true},
    {OptionId::Default, L"ve", L"default", false},
    {OptionId::Type, L"t", L"type", true},
    {OptionId::Data, L"d", L"data", true},
    {OptionId::Separator, L"s", L"separator", true},
    {OptionId::Force, L"f", L"force", false},
};

const OptionEntry kDeleteOptions[] = {
    {OptionId::Value, L"v", L"value", true},
    {OptionId::Default, L"ve", L"default", false},
    {OptionId::AllValues, L"va", L"all-values", false},
    {OptionId::Force, L"f", L"force", false},
};

struct VerbEntry {
    Verb Command;
    const wchar_t* Name;
    const OptionEntry* Options;
    size_t OptionCount;
};

template <size_t N>
constexpr VerbEntry MakeVerb(Verb verb, const wchar_t* name, const OptionEntry (&options)[N])
{
    return VerbEntry{verb, name, options, N};
}

const VerbEntry kVerbs[] = {
    MakeVerb(Verb::Query, L"query", kQueryOptions),
    MakeVerb(Verb::Add, L"add", kAddOptions),
    MakeVerb(Verb::Delete, L"delete", kDeleteOptions),
};

const VerbEntry& EntryOf(Verb verb)
{
    for (const VerbEntry& entry : kVerbs) {
        if (entry.Command == verb)
            return entry;
    }
    throw ToolError::Syntax();
}

bool LooksLikeOption(std::wstring_view arg)
{
    return arg.size() > 1 && (arg[0] == L'/' || arg[0] == L'-');
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

} // namespace

bool EqualsIgnoringCase(std::wstring_view left, std::wstring_view right)
{
    if (left.size() != right.size())
        return false;
    for (size_t i = 0; i < left.size(); ++i) {
        if (AsciiUpper(left[i]) != AsciiUpper(right[i]))
            return false;
    }
    return true;
}

std::wstring KeyPath::FullName() const
{
    return SubKey.empty() ? RootName : RootName + L'\\' + SubKey;
}

KeyPath KeyPath::Child(std::wstring_view name) const
{
    KeyPath child = *this;
    if (!child.SubKey.empty())
        child.SubKey += L'\\';
    child.SubKey.append(name);
    return child;
}

std::optional<KeyPath> ParseKeyPath(std::wstring_view text)
{
    if (!text.empty() && text.back() == L'\\')
        text.remove_suffix(1);
    const size_t separator = text.find(L'\\');
    const RootName* root = FindRoot(text.substr(0, separator));
    if (root == nullptr)
        return std::nullopt;

    KeyPath path;
    path.Root = root->Key;
    path.RootName = root->Long;
    if (separator == std::wstring_view::npos)
        return path;

    const std::wstring_view subKey = text.substr(separator + 1);
    // An empty component would name a key that cannot exist; the store would reject it with a
    // less helpful status.
    if (subKey.empty() || subKey.front() == L'\\' || subKey.back() == L'\\' ||
        subKey.find(L"\\\\") != std::wstring_view::npos)
        return std::nullopt;
    path.SubKey.assign(subKey);
    return path;
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

    bool haveKey = false;
    for (size_t i = 1; i < args.size(); ++i) {
        const std::wstring& arg = args[i];
        if (!LooksLikeOption(arg)) {
            if (haveKey)
                throw ToolError::Syntax();
            line.Key = arg;
            haveKey = true;
            continue;
        }

        std::optional<std::wstring> argument;
        const OptionEntry* option = FindOption(entry, arg, argument);
        if (option == nullptr)
            throw ToolError::Syntax();
        if (option->TakesArgument && !argument) {
            // Whatever follows is the argument, even if it starts with '-': data may well do so.
            if (i + 1 >= args.size())
                throw ToolError::Syntax();
            argument = args[++i];
        } else if (!option->TakesArgument && argument) {
            throw ToolError::Syntax();
        }

        switch (option->Id) {
        case OptionId::Value:
            SelectValues(line, ValueSelection::Named);
            line.ValueName = *argument;
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
            SetOnce(line.Type, std::move(*argument));
            break;
        case OptionId::Data:
            SetOnce(line.Data, std::move(*argument));
            break;
        case OptionId::Separator:
            SetOnce(line.Separator, std::move(*argument));
            break;
        case OptionId::Force:
            SetOnce(line.Force);
            break;
        }
    }
    if (!haveKey)
        throw ToolError::Syntax();
    return line;
}

std::wstring UsageText(std::optional<Verb> verb)
{
    if (!verb) {
        return L"tessel-reg COMMAND ARGUMENTS\n"
               L"\n"
               L"Commands:\n"
               L"  query   show a key's values and sub-keys\n"
               L"  add     create a key or set a value\n"
               L"  delete  delete a value, all values or a whole key\n"
               L"\n"
               L"KEY is ROOT\\path, where ROOT is HKLM, HKCU, HKCR, HKU or HKCC, or the long form\n"
               L"(HKEY_LOCAL_MACHINE, ...).\n"
               L"\n"
               L"Options (each also as -x, and as the POSIX long form in brackets):\n"
               L"  /v NAME (--value)   /ve (--default)   /va (--all-values)   /t TYPE (--type)\n"
               L"  /d DATA (--data)    /f (--force)      /s (--recurse for query, --separator for add)\n"
               L"  /? (-h, --help)\n"
               L"Type \"tessel-reg COMMAND /?\" for what a command takes.\n";
    }
    switch (*verb) {
    case Verb::Query:
        return L"tessel-reg query KEY [/v NAME | /ve] [/s]\n"
               L"\n"
               L"  /v NAME, --value NAME  show only the value NAME\n"
               L"  /ve, --default         show only the default value\n"
               L"  /s, --recurse          show all sub-keys and their values, at any depth; with /v or /ve,\n"
               L"                         show that value wherever it is in the tree\n"
               L"\n"
               L"Example: tessel-reg query HKLM\\Software\\Example /s\n";
    case Verb::Add:
        return L"tessel-reg add KEY [/v NAME | /ve] [/t TYPE] [/s SEPARATOR] [/d DATA] [/f]\n"
               L"\n"
               L"  /v NAME, --value NAME    the value to set; without /v or /ve, /d sets the default value\n"
               L"  /ve, --default           set the default value\n"
               L"  /t TYPE, --type TYPE     REG_SZ (the default), REG_MULTI_SZ, REG_EXPAND_SZ, REG_DWORD,\n"
               L"                           REG_QWORD, REG_BINARY or REG_NONE\n"
               L"  /s SEP, --separator SEP  the one character between REG_MULTI_SZ items in DATA (else \\0)\n"
               L"  /d DATA, --data DATA     numbers in decimal or 0x hex, binary as hex pairs\n"
               L"  /f, --force              overwrite an existing value without asking\n"
               L"\n"
               L"Example: tessel-reg add HKLM\\Software\\Example /v Retries /t REG_DWORD /d 3\n";
    case Verb::Delete:
        return L"tessel-reg delete KEY [/v NAME | /ve | /va] [/f]\n"
               L"\n"
               L"  /v NAME, --value NAME  delete the value NAME\n"
               L"  /ve, --default         delete the default value\n"
               L"  /va, --all-values      delete all values of the key, keeping its sub-keys\n"
               L"  /f, --force            delete without asking\n"
               L"\n"
               L"Without /v, /ve or /va the key is deleted with all its sub-keys.\n"
               L"Example: tessel-reg delete HKLM\\Software\\Example /v Retries /f\n";
    }
    return {};
}

} // namespace Tessel::Reg

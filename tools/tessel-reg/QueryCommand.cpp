// query: one key's values and sub-keys, a whole tree, one value, or a search through names and
// data with "End of search: N match(es) found." at its end.

#include <algorithm>
#include <cwctype>

#include "CommandSupport.h"
#include "Commands.h"
#include "Messages.h"

namespace Tessel::Reg {
namespace {

ValueFormat FormatOf(const CommandLine& line)
{
    ValueFormat format;
    format.NumericType = line.NumericTypes;
    if (line.Separator) {
        if (line.Separator->size() != 1)
            throw ToolError::Syntax();
        format.Separator = *line.Separator;
    }
    return format;
}

// Wildcard matching: * stands for any run of characters, ? for any one. Letters fold by the
// process's locale unless the match is case-sensitive.
class Pattern {
public:
    Pattern(std::wstring text, bool caseSensitive, bool exact) : m_caseSensitive(caseSensitive)
    {
        if (!exact)
            text = L"*" + text + L"*";
        m_text = Fold(text);
    }

    bool Matches(std::wstring_view text) const
    {
        const std::wstring folded = Fold(text);
        // The classic two-pointer match: on a mismatch, let the last * swallow one more character.
        size_t p = 0;
        size_t t = 0;
        size_t starAt = std::wstring::npos;
        size_t resumeAt = 0;
        while (t < folded.size()) {
            if (p < m_text.size() && (m_text[p] == L'?' || m_text[p] == folded[t])) {
                ++p;
                ++t;
            } else if (p < m_text.size() && m_text[p] == L'*') {
                starAt = p++;
                resumeAt = t;
            } else if (starAt != std::wstring::npos) {
                p = starAt + 1;
                t = ++resumeAt;
            } else {
                return false;
            }
        }
        while (p < m_text.size() && m_text[p] == L'*')
            ++p;
        return p == m_text.size();
    }

private:
    std::wstring Fold(std::wstring_view text) const
    {
        std::wstring folded(text);
        if (!m_caseSensitive) {
            for (wchar_t& c : folded)
                c = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
        }
        return folded;
    }

    std::wstring m_text;
    bool m_caseSensitive;
};

std::vector<DWORD> RequireTypes(const std::wstring& list)
{
    std::vector<DWORD> types;
    size_t start = 0;
    for (;;) {
        const size_t end = std::min(list.find(L',', start), list.size());
        const std::wstring name = list.substr(start, end - start);
        const std::optional<DWORD> type = TypeFromName(name);
        if (!type)
            throw ToolError(Messages::InvalidType(name), true);
        types.push_back(*type);
        if (end == list.size())
            return types;
        start = end + 1;
    }
}

// What a search looks at, from /f, /k, /d, /v, /c, /e and /t.
class Search {
public:
    Search(const CommandLine& line, ValueFormat format, Console& console)
        : m_pattern(line.Find.value_or(L"*"), line.CaseSensitive, line.ExactMatch), m_format(std::move(format)),
          m_console(console)
    {
        if (line.Type)
            m_types = RequireTypes(*line.Type);
        const bool namesOnly = line.Values == ValueSelection::AnyName;
        m_keyNames = !line.DataOnly && !line.Type && !namesOnly;
        m_valueNames = !line.KeysOnly && !line.DataOnly;
        m_data = !line.KeysOnly && !namesOnly;
    }

    int Run(const KeyPath& path, const RegistryKey& key, bool recurse)
    {
        Visit(path, key, false, recurse);
        m_console.Out(L"\n" + FormatSearchEnd(m_matches));
        return kExitSuccess;
    }

private:
    bool ValueMatches(const RegistryValue& value) const
    {
        if (!m_types.empty() && std::find(m_types.begin(), m_types.end(), value.Type) == m_types.end())
            return false;
        return (m_valueNames && m_pattern.Matches(value.Name)) ||
               (m_data && m_pattern.Matches(FormatData(value.Type, value.Data, m_format.Separator)));
    }

    // headerShown: the key's path is already on screen, because its name matched.
    void Visit(const KeyPath& path, const RegistryKey& key, bool headerShown, bool recurse)
    {
        std::vector<RegistryValue> values;
        Require(key.ReadValues(values));
        for (const RegistryValue& value : values) {
            if (!ValueMatches(value))
                continue;
            if (!headerShown)
                m_console.Out(L"\n" + path.FullName() + L"\n");
            headerShown = true;
            m_console.Out(FormatValueLine(value, m_format));
            ++m_matches;
        }
        for (const std::wstring& name : SubKeyNames(key)) {
            const KeyPath childPath = path.Child(name);
            const bool nameMatches = m_keyNames && m_pattern.Matches(name);
            if (nameMatches) {
                m_console.Out(L"\n" + childPath.FullName() + L"\n");
                ++m_matches;
            }
            RegistryKey child;
            if (recurse && OpenFoundKey(child, childPath, KEY_READ))
                Visit(childPath, child, nameMatches, true);
        }
    }

    Pattern m_pattern;
    ValueFormat m_format;
    Console& m_console;
    std::vector<DWORD> m_types; // empty: every type
    bool m_keyNames = true;
    bool m_valueNames = true;
    bool m_data = true;
    size_t m_matches = 0;
};

int QueryKey(const KeyPath& path, const RegistryKey& key, const ValueFormat& format, Console& console)
{
    std::vector<RegistryValue> values;
    Require(key.ReadValues(values));
    console.Out(FormatKeyBlock(path.FullName(), values, format) + FormatSubKeyList(path.FullName(), SubKeyNames(key)));
    return kExitSuccess;
}

int QueryOneValue(const KeyPath& path, const RegistryKey& key, const std::wstring& name, const ValueFormat& format,
                  Console& console)
{
    RegistryValue value;
    const LSTATUS status = key.ReadValue(name, value);
    if (status == ERROR_FILE_NOT_FOUND && name.empty()) {
        console.Out(L"\n" + path.FullName() + L"\n" + FormatUnsetDefaultLine() + L"\n");
        return kExitSuccess;
    }
    Require(status);
    console.Out(FormatKeyBlock(path.FullName(), {value}, format) + L"\n");
    return kExitSuccess;
}

int QueryTree(const KeyPath& path, RegistryKey& key, const ValueFormat& format, Console& console)
{
    auto visit = [&](const KeyPath& keyPath, const RegistryKey& visited) {
        std::vector<RegistryValue> values;
        const LSTATUS status = visited.ReadValues(values);
        // Deleted by someone else during the walk: passed over, as the walk passes over its keys.
        if (status == ERROR_KEY_DELETED)
            return;
        Require(status);
        console.Out(FormatKeyBlock(keyPath.FullName(), values, format));
    };
    WalkTree(path, key, visit);
    console.Out(L"\n");
    return kExitSuccess;
}

// Every key in the tree that has the value, then how many did.
int FindValueInTree(const KeyPath& path, RegistryKey& key, const std::wstring& name, const ValueFormat& format,
                    Console& console)
{
    size_t matches = 0;
    auto visit = [&](const KeyPath& keyPath, const RegistryKey& visited) {
        RegistryValue value;
        const LSTATUS status = visited.ReadValue(name, value);
        if (status == ERROR_FILE_NOT_FOUND || status == ERROR_KEY_DELETED)
            return;
        Require(status);
        console.Out(FormatKeyBlock(keyPath.FullName(), {value}, format));
        ++matches;
    };
    WalkTree(path, key, visit);
    console.Out(L"\n" + FormatSearchEnd(matches));
    return kExitSuccess;
}

} // namespace

int RunQuery(const CommandLine& line, Console& console)
{
    const KeyPath path = RequireKeyPath(line, 0);
    const ValueFormat format = FormatOf(line);
    if (line.Searches()) {
        Search search(line, format, console);
        RegistryKey key;
        Require(key.Open(path, KEY_READ));
        return search.Run(path, key, line.Recurse);
    }
    RegistryKey key;
    Require(key.Open(path, KEY_READ));
    const bool oneValue = line.Values == ValueSelection::Named || line.Values == ValueSelection::Default;
    const std::wstring valueName = line.Values == ValueSelection::Named ? line.ValueName : std::wstring();
    if (line.Recurse)
        return oneValue ? FindValueInTree(path, key, valueName, format, console)
                        : QueryTree(path, key, format, console);
    return oneValue ? QueryOneValue(path, key, valueName, format, console) : QueryKey(path, key, format, console);
}

} // namespace Tessel::Reg

// watch: prints each change below a key as it happens. The registry says only that something
// changed; what changed is told by comparing what the key (and with /s its tree) held before
// with what it holds after, so that the command uses nothing but documented calls. A change of
// attributes or security shows in no value or name: it is reported when the key's event fires
// and nothing else differs.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <map>

#include "CommandSupport.h"
#include "Commands.h"

namespace Tessel::Reg {
namespace {

constexpr wchar_t kColumnGap[] = L"    ";

struct KindEntry {
    const wchar_t* Name; // as /t names it
    DWORD Filter;
};

const KindEntry kKinds[] = {
    {L"name", REG_NOTIFY_CHANGE_NAME},
    {L"last_set", REG_NOTIFY_CHANGE_LAST_SET},
    {L"attributes", REG_NOTIFY_CHANGE_ATTRIBUTES},
    {L"security", REG_NOTIFY_CHANGE_SECURITY},
};

// What one key held: its values by name, and its sub-keys' names.
struct KeyState {
    std::map<std::wstring, RegistryValue> Values;
    std::vector<std::wstring> SubKeys;
};

// Keys by their full paths.
using Snapshot = std::map<std::wstring, KeyState>;

DWORD RequireFilter(const CommandLine& line)
{
    if (!line.Type)
        return REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET | REG_NOTIFY_CHANGE_ATTRIBUTES |
               REG_NOTIFY_CHANGE_SECURITY;
    for (const KindEntry& kind : kKinds) {
        if (*line.Type == kind.Name)
            return kind.Filter;
    }
    throw ToolError::Syntax();
}

// 0: until interrupted.
unsigned long RequireCount(const CommandLine& line)
{
    if (!line.Count)
        return 0;
    const std::wstring& text = *line.Count;
    if (text.empty() || text.size() > 9 || text.find_first_not_of(L"0123456789") != std::wstring::npos)
        throw ToolError::Syntax();
    const unsigned long count = std::stoul(text);
    if (count == 0)
        throw ToolError::Syntax();
    return count;
}

KeyState ReadState(const RegistryKey& key)
{
    KeyState state;
    std::vector<RegistryValue> values;
    if (key.ReadValues(values) == ERROR_SUCCESS) {
        for (RegistryValue& value : values)
            state.Values.emplace(value.Name, std::move(value));
    }
    key.ReadSubKeyNames(state.SubKeys);
    return state;
}

Snapshot TakeSnapshot(const KeyPath& path, const RegistryKey& key, bool subtree)
{
    Snapshot snapshot;
    if (!subtree) {
        snapshot.emplace(path.FullName(), ReadState(key));
        return snapshot;
    }
    RegistryKey top;
    if (!OpenFoundKey(top, path, KEY_READ))
        return snapshot;
    auto visit = [&snapshot](const KeyPath& found, RegistryKey& open) {
        snapshot.emplace(found.FullName(), ReadState(open));
    };
    WalkTree(path, top, visit);
    return snapshot;
}

std::wstring Now()
{
    using namespace std::chrono;
    const system_clock::time_point now = system_clock::now();
    const std::time_t seconds = system_clock::to_time_t(now);
    const long long millis = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
    char text[32] = {};
    std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", std::localtime(&seconds));
    char withMillis[40] = {};
    std::snprintf(withMillis, sizeof(withMillis), "%s.%03lld", text, millis);
    return std::wstring(withMillis, withMillis + std::char_traits<char>::length(withMillis));
}

struct Change {
    std::wstring Path;
    const wchar_t* Kind;
    DWORD Filter;
    std::wstring Value; // the value's name, for value changes
};

void DiffValues(const std::wstring& path, const KeyState& before, const KeyState& after, std::vector<Change>& out)
{
    for (const auto& [name, value] : after.Values) {
        const auto old = before.Values.find(name);
        if (old == before.Values.end() || old->second.Type != value.Type || old->second.Data != value.Data)
            out.push_back({path, L"value_set", REG_NOTIFY_CHANGE_LAST_SET, DisplayName(name)});
    }
    for (const auto& [name, value] : before.Values) {
        if (after.Values.count(name) == 0)
            out.push_back({path, L"value_deleted", REG_NOTIFY_CHANGE_LAST_SET, DisplayName(name)});
    }
}

void DiffSubKeys(const std::wstring& path, const KeyState& before, const KeyState& after, std::vector<Change>& out)
{
    auto has = [](const std::vector<std::wstring>& names, const std::wstring& name) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    for (const std::wstring& name : after.SubKeys) {
        if (!has(before.SubKeys, name))
            out.push_back({path + L'\\' + name, L"key_added", REG_NOTIFY_CHANGE_NAME, {}});
    }
    for (const std::wstring& name : before.SubKeys) {
        if (!has(after.SubKeys, name))
            out.push_back({path + L'\\' + name, L"key_deleted", REG_NOTIFY_CHANGE_NAME, {}});
    }
}

std::vector<Change> Diff(const Snapshot& before, const Snapshot& after)
{
    // A key added below another added key has no state before: all it holds is new. Keys of a
    // tree that went are not listed: their top key's line says so.
    const KeyState none;
    std::vector<Change> changes;
    for (const auto& [path, state] : after) {
        const auto old = before.find(path);
        const KeyState& was = old == before.end() ? none : old->second;
        DiffSubKeys(path, was, state, changes);
        DiffValues(path, was, state, changes);
    }
    return changes;
}

// Prints the changes that the filter asks for, at most left of them; gives how many it printed.
unsigned long Report(const std::vector<Change>& changes, DWORD filter, unsigned long left, Console& console)
{
    unsigned long printed = 0;
    const std::wstring time = Now();
    for (const Change& change : changes) {
        if ((change.Filter & filter) == 0 || (left != 0 && printed == left))
            continue;
        std::wstring line = time + kColumnGap + change.Path + kColumnGap + change.Kind;
        if (!change.Value.empty())
            line += kColumnGap + change.Value;
        OutLine(console, line);
        ++printed;
    }
    return printed;
}

// A signal with nothing to show: the key's attributes or security, if those are watched.
unsigned long ReportUnseen(const KeyPath& path, DWORD filter, Console& console)
{
    const wchar_t* kind = (filter & REG_NOTIFY_CHANGE_SECURITY) != 0     ? L"security"
                          : (filter & REG_NOTIFY_CHANGE_ATTRIBUTES) != 0 ? L"attributes"
                                                                          : nullptr;
    if (kind == nullptr)
        return 0;
    OutLine(console, Now() + kColumnGap + path.FullName() + kColumnGap + kind);
    return 1;
}

class ScopedEvent {
public:
    ScopedEvent() : m_event(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}
    ~ScopedEvent()
    {
        if (m_event != nullptr)
            CloseHandle(m_event);
    }
    ScopedEvent(const ScopedEvent&) = delete;
    ScopedEvent& operator=(const ScopedEvent&) = delete;
    HANDLE Get() const { return m_event; }

private:
    HANDLE m_event;
};

} // namespace

int RunWatch(const CommandLine& line, Console& console)
{
    const KeyPath path = RequireKeyPath(line, 0);
    const DWORD filter = RequireFilter(line);
    const unsigned long count = RequireCount(line);
    RegistryKey key;
    Require(key.Open(path, KEY_READ));
    ScopedEvent event;
    if (event.Get() == nullptr)
        throw ToolError::FromStatus(static_cast<LSTATUS>(GetLastError()));
    Snapshot before = TakeSnapshot(path, key, line.Recurse);
    bool woken = false;
    bool shownLast = false;
    for (unsigned long seen = 0; count == 0 || seen < count;) {
        // A watched key that is gone has nothing more to tell.
        RegistryValue probe;
        if (woken && key.ReadValue(L"", probe) == ERROR_KEY_DELETED) {
            OutLine(console, Now() + kColumnGap + path.FullName() + kColumnGap + L"key_deleted");
            break;
        }
        // Registered before the snapshot is taken, so that nothing falls between the two.
        Require(RegNotifyChangeKeyValue(key.Handle(), line.Recurse ? TRUE : FALSE, filter, event.Get(), TRUE));
        Snapshot after = TakeSnapshot(path, key, line.Recurse);
        const std::vector<Change> changes = Diff(before, after);
        seen += Report(changes, filter, count == 0 ? 0 : count - seen, console);
        // A signal for a change that the last round showed already is no change of attributes.
        if (woken && changes.empty() && !shownLast)
            seen += ReportUnseen(path, filter, console);
        shownLast = !changes.empty();
        before = std::move(after);
        if (count != 0 && seen >= count)
            break;
        if (WaitForSingleObject(event.Get(), INFINITE) != WAIT_OBJECT_0)
            throw ToolError::FromStatus(static_cast<LSTATUS>(GetLastError()));
        woken = true;
    }
    return kExitSuccess;
}

} // namespace Tessel::Reg

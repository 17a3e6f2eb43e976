// Bad input through the registry functions and the library: null pointers, bad handles, names
// and paths past their limits, sizes that lie, huge values, malformed data-source names and
// paths. Each case runs in a process of its own, so that a crash names its case and the rest
// still run; each must give its documented status (or exception class) and leave the store
// whole.
//   tessel-bad-input

#include <climits>
#include <functional>
#include <iostream>
#include <typeinfo>
#include <unistd.h>

#include "DriverSupport.h"

using namespace Reliability;

namespace {

const wchar_t* const kKey = L"Software\\BadInput";
// Any status that refuses the call; used where the documented behaviour names no single code.
constexpr LONG kAnyFailure = -1000000;

struct Case {
    std::string what;
    LONG expected;
    std::function<LONG(HKEY key)> call;
};

HKEY Garbage()
{
    return reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0xDEADBEEFCAFEull));
}

HKEY Closed()
{
    HKEY key = nullptr;
    RegOpenKeyExW(HKEY_CURRENT_USER, kKey, 0, KEY_READ, &key);
    RegCloseKey(key);
    return key;
}

std::vector<Case> RegistryCases()
{
    static const std::wstring name256(256, L'n'), name16384(16384, L'v'), path(600, L'p');
    static BYTE small[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    std::vector<Case> cases;
    const std::pair<const char*, std::function<HKEY()>> badHandles[] = {
        {"null", [] { return HKEY(nullptr); }}, {"garbage", Garbage}, {"closed", Closed},
        {"dyn data", [] { return HKEY_DYN_DATA; }}};
    for (const auto& [label, handle] : badHandles) {
        const std::string h = label;
        cases.push_back({h + " handle: open", ERROR_INVALID_HANDLE, [handle = handle](HKEY) {
                             HKEY out = nullptr;
                             return RegOpenKeyExW(handle(), L"x", 0, KEY_READ, &out);
                         }});
        cases.push_back({h + " handle: set", ERROR_INVALID_HANDLE, [handle = handle](HKEY) {
                             return RegSetValueExW(handle(), L"v", 0, REG_BINARY, small, 4);
                         }});
        cases.push_back({h + " handle: enum", ERROR_INVALID_HANDLE, [handle = handle](HKEY) {
                             wchar_t name[8];
                             DWORD length = 8;
                             return RegEnumKeyExW(handle(), 0, name, &length, nullptr, nullptr, nullptr, nullptr);
                         }});
        cases.push_back({h + " handle: delete tree", ERROR_INVALID_HANDLE,
                         [handle = handle](HKEY) { return SHDeleteKeyW(handle(), L"x"); }});
        cases.push_back({h + " handle: grant", ERROR_INVALID_HANDLE,
                         [handle = handle](HKEY) { return TesselRegSetKeyAccess(handle(), KEY_READ); }});
    }
    cases.insert(cases.end(), {
        {"open into a null result", ERROR_INVALID_PARAMETER,
         [](HKEY key) { return RegOpenKeyExW(key, L"x", 0, KEY_READ, nullptr); }},
        {"create into a null result", ERROR_INVALID_PARAMETER,
         [](HKEY key) { return RegCreateKeyExW(key, L"x", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, nullptr, nullptr); }},
        {"create with a null sub-key", kAnyFailure,
         [](HKEY key) {
             HKEY out = nullptr;
             return RegCreateKeyExW(key, nullptr, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &out, nullptr);
         }},
        {"key name of 256 units", ERROR_INVALID_PARAMETER,
         [](HKEY key) {
             HKEY out = nullptr;
             return RegCreateKeyExW(key, name256.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &out, nullptr);
         }},
        {"path of one 600-unit name", ERROR_INVALID_PARAMETER,
         [](HKEY key) {
             HKEY out = nullptr;
             return RegOpenKeyExW(key, path.c_str(), 0, KEY_READ, &out);
         }},
        {"value name of 16384 units", ERROR_INVALID_PARAMETER,
         [](HKEY key) { return RegSetValueExW(key, name16384.c_str(), 0, REG_BINARY, small, 4); }},
        {"path with an empty component", ERROR_BAD_PATHNAME,
         [](HKEY key) {
             HKEY out = nullptr;
             return RegCreateKeyExW(key, L"a\\\\b", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &out, nullptr);
         }},
        {"both registry views", ERROR_INVALID_PARAMETER,
         [](HKEY key) {
             HKEY out = nullptr;
             return RegOpenKeyExW(key, L"", 0, KEY_READ | KEY_WOW64_32KEY | KEY_WOW64_64KEY, &out);
         }},
        {"set with null data and a size", ERROR_INVALID_PARAMETER,
         [](HKEY key) { return RegSetValueExW(key, L"v", 0, REG_BINARY, nullptr, 4); }},
        {"set with reserved not 0", ERROR_INVALID_PARAMETER,
         [](HKEY key) { return RegSetValueExW(key, L"v", 1, REG_BINARY, small, 4); }},
        {"REG_DWORD of 2 bytes is stored as given", ERROR_SUCCESS,
         [](HKEY key) { return RegSetValueExW(key, L"short", 0, REG_DWORD, small, 2); }},
        {"REG_SZ of an odd byte count is stored as given", ERROR_SUCCESS,
         [](HKEY key) { return RegSetValueExW(key, L"odd", 0, REG_SZ, small, 3); }},
        {"a type no one defined is stored as given", ERROR_SUCCESS,
         [](HKEY key) { return RegSetValueExW(key, L"odd type", 0, 0x7FFFFFFF, small, 8); }},
        // Value data is limited by memory alone: a huge value is stored whole, or not at all.
        {"a value of 64 MiB", ERROR_SUCCESS,
         [](HKEY key) {
             const std::vector<BYTE> huge(static_cast<std::size_t>(64) << 20, 0x5A);
             LONG status = RegSetValueExW(key, L"huge", 0, REG_BINARY, huge.data(), static_cast<DWORD>(huge.size()));
             DWORD size = 0;
             if (status == ERROR_SUCCESS)
                 status = RegQueryValueExW(key, L"huge", nullptr, nullptr, nullptr, &size);
             return status == ERROR_SUCCESS && size != huge.size() ? ERROR_INVALID_DATA : status;
         }},
        {"query data without a size", ERROR_INVALID_PARAMETER,
         [](HKEY key) { return RegQueryValueExW(key, L"v", nullptr, nullptr, small, nullptr); }},
        {"query into a buffer that is too small", ERROR_MORE_DATA,
         [](HKEY key) {
             BYTE data[8] = {};
             const BYTE sixteen[16] = {9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9};
             RegSetValueExW(key, L"sixteen", 0, REG_BINARY, sixteen, 16);
             DWORD size = 4;
             const LONG status = RegQueryValueExW(key, L"sixteen", nullptr, nullptr, data, &size);
             return status == ERROR_MORE_DATA && size == 16 && data[5] == 0 ? ERROR_MORE_DATA : status;
         }},
        {"enum with a name length of 0", ERROR_MORE_DATA,
         [](HKEY key) {
             HKEY sub = nullptr;
             RegCreateKeyExW(key, L"child", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &sub, nullptr);
             RegCloseKey(sub);
             wchar_t name[1];
             DWORD length = 0;
             return RegEnumKeyExW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr);
         }},
        {"enum past the end", ERROR_NO_MORE_ITEMS,
         [](HKEY key) {
             wchar_t name[8];
             DWORD length = 8;
             return RegEnumValueW(key, 0x7FFFFFFF, name, &length, nullptr, nullptr, nullptr, nullptr);
         }},
        {"enum without a length", ERROR_INVALID_PARAMETER,
         [](HKEY key) {
             wchar_t name[8];
             return RegEnumValueW(key, 0, name, nullptr, nullptr, nullptr, nullptr, nullptr);
         }},
        {"delete with a null sub-key", ERROR_INVALID_PARAMETER, [](HKEY key) { return RegDeleteKeyW(key, nullptr); }},
        {"delete a key that has sub-keys", ERROR_ACCESS_DENIED,
         [](HKEY key) {
             HKEY sub = nullptr;
             RegCreateKeyExW(key, L"a\\b", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &sub, nullptr);
             RegCloseKey(sub);
             return RegDeleteKeyW(key, L"a");
         }},
        {"a tree 513 levels deep", ERROR_INVALID_PARAMETER,
         [](HKEY key) {
             std::wstring deep = L"d";
             for (int i = 0; i < 520; ++i)
                 deep += L"\\d";
             HKEY out = nullptr;
             return RegCreateKeyExW(key, deep.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &out, nullptr);
         }},
        {"grant on the performance key", ERROR_ACCESS_DENIED,
         [](HKEY) { return TesselRegSetKeyAccess(HKEY_PERFORMANCE_DATA, KEY_READ); }},
    });
    return cases;
}

// The class of the exception a library call raised, or "none".
std::string Raised(const std::function<void()>& call)
{
    try {
        call();
    } catch (const Tessel::ExceptionBase& error) {
        return typeid(error).name();
    }
    return "none";
}

std::vector<Case> LibraryCases()
{
    // Names that the factories and the wrapper must refuse with one of the library's exceptions,
    // and names that may mean something (an empty location is a root) but must not crash.
    static const std::wstring refused[] = {
        L"nonsense:HKLM\\x", L"registry:HKXX\\x", L"HKLM\\\\x", L"HKLM\\" + std::wstring(300, L'k'),
        L"\\\\remote\\HKLM", L"registry:HKCU\\Software\\BadInput\\missing"};
    static const std::wstring odd[] = {L"", L":", L"registry:", L"registry:\x00C4\x03A9\x0416", L"%s%n%S",
                                       L"registry:HKCU\\" + std::wstring(40000, L'p')};
    std::vector<Case> cases;
    const auto add = [&](const std::wstring& name, LONG expected) {
        const std::string label = Narrow(name.substr(0, 24));
        // Only the library's own exceptions may leave: anything else ends the case's process.
        const auto library = [expected](const std::function<void()>& call) {
            return Raised(call) != "none" || expected == ERROR_SUCCESS ? expected : ERROR_SUCCESS;
        };
        cases.push_back({"reader for \"" + label + "\"", expected, [name, library](HKEY) {
                             return library([&] { Tessel::ConfigReaderFactory::GetInstance().GetConfigReader(name); });
                         }});
        cases.push_back({"PersistRegistry on \"" + label + "\"", expected, [name, library](HKEY) {
                             return library([&] { Tessel::PersistRegistry(name.c_str(), Tessel::ReadOnly); });
                         }});
    };
    for (const std::wstring& name : refused)
        add(name, kAnyFailure);
    for (const std::wstring& name : odd)
        add(name, ERROR_SUCCESS);
    cases.push_back({"PersistRegistry on a null path", kAnyFailure, [](HKEY) {
                         return Raised([] { Tessel::PersistRegistry(nullptr, Tessel::ReadOnly); }) == "none"
                                    ? ERROR_SUCCESS
                                    : kAnyFailure;
                     }});
    cases.push_back({"reads of a missing parameter and of a wrong type", kAnyFailure, [](HKEY key) {
                         RegSetValueExW(key, L"binary", 0, REG_BINARY, reinterpret_cast<const BYTE*>("xyz"), 3);
                         const auto reader =
                             Tessel::ConfigReaderFactory::GetInstance().GetConfigReader(L"registry:HKCU\\Software\\BadInput");
                         int raised = 0;
                         for (const wchar_t* name : {L"missing", L"binary"}) {
                             raised += Raised([&] { reader->GetInt(name); }) != "none";
                             raised += Raised([&] { reader->GetDoubleList(name); }) != "none";
                             raised += Raised([&] { reader->GetString(name); }) != "none";
                         }
                         return raised == 6 ? kAnyFailure : ERROR_SUCCESS;
                     }});
    return cases;
}

// Runs one case in a process of its own: 0 when it gave what was expected, 1 when not, and a
// signal when it crashed.
ChildEnd RunCase(const Case& c, LONG& actual)
{
    int out[2];
    if (pipe(out) != 0)
        return {};
    const ChildEnd end = RunChild(
        [&] {
            close(out[0]);
            HKEY key = nullptr;
            if (RegCreateKeyExW(HKEY_CURRENT_USER, kKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) !=
                ERROR_SUCCESS)
                return 2;
            LONG status = c.call(key);
            if (status != ERROR_SUCCESS && c.expected == kAnyFailure)
                status = kAnyFailure;
            RegCloseKey(key);
            return write(out[1], &status, sizeof status) == static_cast<ssize_t>(sizeof status) ? 0 : 3;
        },
        120);
    close(out[1]);
    if (read(out[0], &actual, sizeof actual) != static_cast<ssize_t>(sizeof actual))
        actual = -1;
    close(out[0]);
    return end;
}

// After all the cases the store must still answer, and its hive pass the integrity check.
void CheckStoreWhole(const std::string& directory, Tally& tally)
{
    const ChildEnd end = RunChild([] { return WriteAndReadBack(kKey, 5); }, 60);
    tally.Check(end.Clean(), "the store takes writes after the bad input: " + end.Describe());
    for (const std::string& file : HiveFiles(directory))
        tally.Check(IntegrityCheck(file) == "ok", "integrity of " + file);
}

} // namespace

int main()
{
    Tally tally;
    ScratchDirectory scratch("bad-input");
    const std::string store = scratch.NewSubdirectory("store");
    UseStore(store);
    long crashes = 0, cases = 0;
    for (const auto& group : {RegistryCases(), LibraryCases()}) {
        for (const Case& c : group) {
            ++cases;
            LONG actual = 0;
            const ChildEnd end = RunCase(c, actual);
            if (!end.exited && !end.timedOut)
                ++crashes;
            tally.Check(end.Clean() && actual == c.expected,
                        c.what + ": " + (end.Clean() ? "status " + std::to_string(actual) : end.Describe()));
        }
    }
    CheckStoreWhole(store, tally);
    PrintMetrics("bad-input", {{"calls", std::to_string(cases)}, {"crashes", std::to_string(crashes)}});
    return tally.Finish();
}

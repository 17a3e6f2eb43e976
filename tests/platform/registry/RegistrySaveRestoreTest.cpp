// RegSaveKeyExW and RegRestoreKeyW: a tree to a file and back with every type, class and time;
// a restore over a different tree; a restore that another process reads meanwhile; and the
// statuses of bad arguments and bad files, which leave the registry as it was.

#include <gtest/gtest.h>

#ifndef _WIN32

#include <cstdlib>
#include <sqlite3.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "platform/registry/RegistryProcessSupport.h"
#include "platform/registry/RegistryTestSupport.h"

using namespace RegistryTest;

namespace {

const std::wstring kSource = std::wstring(kTestRoot) + L"\\SaveSource";
const std::wstring kTarget = std::wstring(kTestRoot) + L"\\SaveTarget";

std::wstring SaveFile(const std::string& name)
{
    const std::string path = std::string(std::getenv("TESSEL_REGISTRY_DIR")) + "/" + name;
    unlink(path.c_str());
    return std::wstring(path.begin(), path.end());
}

std::string Narrow(const std::wstring& path)
{
    return std::string(path.begin(), path.end());
}

// One key as the registry functions show it, and all below it.
struct KeyState {
    std::wstring name;
    std::wstring className;
    FILETIME written{};
    std::vector<std::tuple<std::wstring, DWORD, std::vector<BYTE>>> values;
    std::vector<KeyState> children;
};

KeyState ReadState(HKEY key, const std::wstring& name)
{
    KeyState state;
    state.name = name;
    wchar_t className[256] = {};
    DWORD classChars = 256;
    EXPECT_EQ(ERROR_SUCCESS, RegQueryInfoKeyW(key, className, &classChars, nullptr, nullptr, nullptr, nullptr,
                                              nullptr, nullptr, nullptr, nullptr, &state.written));
    state.className.assign(className, classChars);
    for (DWORD index = 0;; ++index) {
        wchar_t valueName[300];
        DWORD nameChars = 300;
        std::vector<BYTE> data(70000);
        DWORD size = static_cast<DWORD>(data.size());
        DWORD type = 0;
        if (RegEnumValueW(key, index, valueName, &nameChars, nullptr, &type, data.data(), &size) != ERROR_SUCCESS)
            break;
        data.resize(size);
        state.values.emplace_back(std::wstring(valueName, nameChars), type, data);
    }
    LONG status;
    for (const std::wstring& child : SubKeyNames(key, status)) {
        ScopedKey opened;
        EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(key, child.c_str(), 0, KEY_READ, opened.Put()));
        state.children.push_back(ReadState(opened.Get(), child));
    }
    return state;
}

KeyState ReadState(const std::wstring& path)
{
    ScopedKey key;
    EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, key.Put()));
    return ReadState(key.Get(), L"");
}

// Compares everything but the top key's own class, which a restore leaves as it was.
void ExpectSameTree(const KeyState& expected, const KeyState& actual, bool top = true)
{
    SCOPED_TRACE(std::string(expected.name.begin(), expected.name.end()));
    EXPECT_EQ(expected.name, actual.name);
    if (!top) {
        EXPECT_EQ(expected.className, actual.className);
    }
    EXPECT_EQ(expected.written.dwLowDateTime, actual.written.dwLowDateTime);
    EXPECT_EQ(expected.written.dwHighDateTime, actual.written.dwHighDateTime);
    EXPECT_EQ(expected.values, actual.values);
    ASSERT_EQ(expected.children.size(), actual.children.size());
    for (std::size_t i = 0; i < expected.children.size(); ++i)
        ExpectSameTree(expected.children[i], actual.children[i], false);
}

void MakeKey(const std::wstring& path, const wchar_t* className = nullptr)
{
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, const_cast<LPWSTR>(className), 0,
                                             KEY_ALL_ACCESS, nullptr, key.Put(), nullptr));
}

void SetRaw(const std::wstring& path, const wchar_t* name, DWORD type, std::vector<BYTE> data)
{
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, path.c_str(), key));
    ASSERT_EQ(ERROR_SUCCESS,
              RegSetValueExW(key.Get(), name, 0, type, data.data(), static_cast<DWORD>(data.size())));
}

// Every value type, empty data, the default value, class names, a key without values, depth.
void MakeSourceTree()
{
    SHDeleteKeyW(HKEY_CURRENT_USER, kSource.c_str());
    MakeKey(kSource, L"TopClass");
    const DWORD types[] = {REG_NONE, REG_SZ, REG_EXPAND_SZ, REG_BINARY, REG_DWORD, REG_DWORD_BIG_ENDIAN,
                           REG_LINK, REG_MULTI_SZ, REG_RESOURCE_LIST, REG_FULL_RESOURCE_DESCRIPTOR,
                           REG_RESOURCE_REQUIREMENTS_LIST, REG_QWORD, 0x12345};
    for (DWORD type : types) {
        const std::wstring name = L"type" + std::to_wstring(type);
        SetRaw(kSource, name.c_str(), type, std::vector<BYTE>(type % 9, static_cast<BYTE>(type)));
    }
    SetRaw(kSource, nullptr, REG_SZ, StringData(u"default"));
    SetRaw(kSource, L"empty", REG_BINARY, {});
    SetRaw(kSource, L"big", REG_BINARY, std::vector<BYTE>(65536, 0xA5));
    MakeKey(kSource + L"\\Classy", L"ClassOfClassy");
    SetRaw(kSource + L"\\Classy\\Deeper\\Deepest", L"\u00c4rger", REG_SZ, StringData(u"\u00e4"));
    MakeKey(kSource + L"\\NoValues");
}

void MakeTarget()
{
    SHDeleteKeyW(HKEY_CURRENT_USER, kTarget.c_str());
    MakeKey(kTarget);
}

LONG Save(const std::wstring& path, const std::wstring& file, DWORD flags = REG_LATEST_FORMAT)
{
    ScopedKey key;
    EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, key.Put()));
    return RegSaveKeyExW(key.Get(), file.c_str(), nullptr, flags);
}

LONG Restore(const std::wstring& path, const std::wstring& file, DWORD flags = 0, REGSAM sam = KEY_ALL_ACCESS)
{
    ScopedKey key;
    EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, sam, key.Put()));
    return RegRestoreKeyW(key.Get(), file.c_str(), flags);
}

void RunSql(const std::string& file, const char* sql)
{
    sqlite3* db = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(file.c_str(), &db));
    EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, sql, nullptr, nullptr, nullptr));
    sqlite3_close(db);
}

TEST(RegistrySaveRestore, RoundTripKeepsEveryTypeClassAndTime)
{
    MakeSourceTree();
    MakeTarget();
    const std::wstring file = SaveFile("roundtrip.sav");
    ASSERT_EQ(ERROR_SUCCESS, Save(kSource, file));
    usleep(2000); // so that a time set by the restore itself would show
    ASSERT_EQ(ERROR_SUCCESS, Restore(kTarget, file));
    ExpectSameTree(ReadState(kSource), ReadState(kTarget));
}

// Checks that what the target held goes, including sub-keys with the names of restored ones,
// and that a handle to a replaced sub-key is left pointing at nothing.
TEST(RegistrySaveRestore, RestoreReplacesADifferentTree)
{
    MakeSourceTree();
    MakeTarget();
    SetRaw(kTarget, L"stale", REG_DWORD, {1, 0, 0, 0});
    SetRaw(kTarget, L"type1", REG_DWORD, {2, 0, 0, 0});
    SetRaw(kTarget + L"\\Classy\\Other", L"x", REG_SZ, StringData(u"old"));
    SetRaw(kTarget + L"\\Gone\\Below", L"y", REG_SZ, StringData(u"old"));
    ScopedKey replaced;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, (kTarget + L"\\Gone").c_str(), replaced));

    const std::wstring file = SaveFile("replace.sav");
    ASSERT_EQ(ERROR_SUCCESS, Save(kSource, file));
    ASSERT_EQ(ERROR_SUCCESS, Restore(kTarget, file, REG_FORCE_RESTORE));
    ExpectSameTree(ReadState(kSource), ReadState(kTarget));
    EXPECT_EQ(ERROR_KEY_DELETED, SetDword(replaced.Get(), L"z", 1));
}

TEST(RegistrySaveRestore, ArgumentsAndFilesGiveTheirStatus)
{
    MakeSourceTree();
    const std::wstring file = SaveFile("arguments.sav");
    ASSERT_EQ(ERROR_SUCCESS, Save(kSource, file));
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, kSource.c_str(), 0, KEY_ALL_ACCESS, key.Put()));
    ScopedKey readOnly;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, kSource.c_str(), 0, KEY_READ, readOnly.Put()));
    const std::wstring fresh = SaveFile("fresh.sav");
    const std::wstring noFolder = SaveFile("missing/x.sav");
    struct Case {
        const char* what;
        LONG expected;
        LONG actual;
    };
    const Case cases[] = {
        {"file exists", ERROR_ALREADY_EXISTS, RegSaveKeyExW(key.Get(), file.c_str(), nullptr, REG_LATEST_FORMAT)},
        {"no format", ERROR_INVALID_PARAMETER, RegSaveKeyExW(key.Get(), fresh.c_str(), nullptr, 0)},
        {"two formats", ERROR_INVALID_PARAMETER, RegSaveKeyExW(key.Get(), fresh.c_str(), nullptr, 3)},
        {"no compression below a hive root", ERROR_INVALID_PARAMETER,
         RegSaveKeyExW(key.Get(), fresh.c_str(), nullptr, REG_NO_COMPRESSION)},
        {"null file", ERROR_INVALID_PARAMETER, RegSaveKeyExW(key.Get(), nullptr, nullptr, REG_LATEST_FORMAT)},
        {"classes root", ERROR_INVALID_HANDLE,
         RegSaveKeyExW(HKEY_CLASSES_ROOT, fresh.c_str(), nullptr, REG_LATEST_FORMAT)},
        {"closed handle", ERROR_INVALID_HANDLE, RegSaveKeyW(nullptr, fresh.c_str(), nullptr)},
        {"missing folder", ERROR_PATH_NOT_FOUND, RegSaveKeyW(key.Get(), noFolder.c_str(), nullptr)},
        {"volatile hive", ERROR_NOT_SUPPORTED, RegRestoreKeyW(key.Get(), file.c_str(), REG_WHOLE_HIVE_VOLATILE)},
        {"unknown flag", ERROR_INVALID_PARAMETER, RegRestoreKeyW(key.Get(), file.c_str(), 0x100)},
        {"read-only handle", ERROR_ACCESS_DENIED, RegRestoreKeyW(readOnly.Get(), file.c_str(), 0)},
        {"missing file", ERROR_FILE_NOT_FOUND, RegRestoreKeyW(key.Get(), fresh.c_str(), 0)},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.expected, row.actual);
    }
    EXPECT_NE(0, access(Narrow(fresh).c_str(), F_OK));
    // The whole hive saved from its root, which is where REG_NO_COMPRESSION is allowed.
    EXPECT_EQ(ERROR_SUCCESS, RegSaveKeyExW(HKEY_CURRENT_USER, fresh.c_str(), nullptr, REG_NO_COMPRESSION));
}

// Checks that a file that isn't a saved key of this version, or that breaks the registry's
// rules, is refused before anything is changed.
TEST(RegistrySaveRestore, ABadFileChangesNothing)
{
    MakeSourceTree();
    MakeTarget();
    SetRaw(kTarget, L"kept", REG_DWORD, {7, 0, 0, 0});
    MakeKey(kTarget + L"\\KeptToo");
    const KeyState before = ReadState(kTarget);

    struct Case {
        const char* what;
        const char* sql; // applied to a good saved file; null: the file holds text instead
    };
    const Case cases[] = {
        {"not a database", nullptr},
        {"a newer format", "PRAGMA user_version=2"},
        {"another kind of database", "PRAGMA application_id=0"},
        {"two sub-keys of one name", "UPDATE key SET name = (SELECT name FROM key WHERE id = 2) WHERE id = 3"},
        {"a parent after its child", "UPDATE key SET parent = 4 WHERE id = 2"},
        {"a backslash in a name", "UPDATE key SET name = x'5c00' WHERE id = 2"},
        {"an odd-length name", "UPDATE value SET name = x'41' WHERE key = 1 AND seq = 1"},
        {"a value of no key", "INSERT INTO value VALUES(99, 1, x'4100', 1, x'')"},
        {"a text where bytes belong", "UPDATE key SET name = 'Classy' WHERE id = 2"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.what);
        const std::wstring file = SaveFile("bad.sav");
        if (row.sql == nullptr) {
            FILE* out = fopen(Narrow(file).c_str(), "w");
            fputs("Windows Registry Editor Version 5.00\r\n", out);
            fclose(out);
        } else {
            ASSERT_EQ(ERROR_SUCCESS, Save(kSource, file));
            RunSql(Narrow(file), row.sql);
        }
        EXPECT_EQ(ERROR_BADDB, Restore(kTarget, file));
        ExpectSameTree(before, ReadState(kTarget));
    }
}

constexpr int kGenerations = 12;
constexpr int kSubKeys = 6;
constexpr int kValuesPerKey = 8;

// A tree where every value holds the generation; each generation a file of its own.
std::wstring MakeGeneration(int generation)
{
    SHDeleteKeyW(HKEY_CURRENT_USER, kSource.c_str());
    for (int k = 0; k < kSubKeys; ++k) {
        const std::wstring path = kSource + L"\\K" + std::to_wstring(k);
        ScopedKey key;
        EXPECT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, path.c_str(), key));
        for (int v = 0; v < kValuesPerKey; ++v)
            SetDword(key.Get(), (L"v" + std::to_wstring(v)).c_str(), static_cast<DWORD>(generation));
    }
    // A sub-key only some generations have, so that a half-done restore would also show in keys.
    if (generation % 2 == 0)
        MakeKey(kSource + L"\\Even");
    ScopedKey top;
    EXPECT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kSource.c_str(), top));
    SetDword(top.Get(), L"generation", static_cast<DWORD>(generation));
    const std::wstring file = SaveFile("generation" + std::to_string(generation) + ".sav");
    EXPECT_EQ(ERROR_SUCCESS, Save(kSource, file));
    return file;
}

DWORD ReadGeneration()
{
    ScopedKey top;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, kTarget.c_str(), 0, KEY_READ, top.Put()) != ERROR_SUCCESS)
        return 0;
    LONG status;
    const DWORD generation = QueryDword(top.Get(), L"generation", status);
    return status == ERROR_SUCCESS ? generation : 0;
}

// Reads the whole target between two reads of its generation. When the two agree, no restore
// committed in between (each one raises it), so every value read must be of that generation.
// Returns false on a mix.
bool ReadIsWhole(int& wholeReads)
{
    const DWORD before = ReadGeneration();
    std::vector<DWORD> seen;
    bool evenThere = false;
    for (int k = 0; k < kSubKeys; ++k) {
        ScopedKey key;
        const std::wstring path = kTarget + L"\\K" + std::to_wstring(k);
        if (RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, key.Put()) != ERROR_SUCCESS) {
            seen.push_back(0);
            continue;
        }
        for (int v = 0; v < kValuesPerKey; ++v) {
            LONG status;
            const DWORD value = QueryDword(key.Get(), (L"v" + std::to_wstring(v)).c_str(), status);
            seen.push_back(status == ERROR_SUCCESS ? value : 0);
        }
    }
    ScopedKey even;
    evenThere = RegOpenKeyExW(HKEY_CURRENT_USER, (kTarget + L"\\Even").c_str(), 0, KEY_READ, even.Put()) ==
                ERROR_SUCCESS;
    if (before == 0 || ReadGeneration() != before)
        return true; // a restore landed in between: nothing to judge
    ++wholeReads;
    for (DWORD value : seen) {
        if (value != before)
            return false;
    }
    return evenThere == (before % 2 == 0);
}

// Checks that a process reading the target while another restores generation after generation
// over it sees each restore whole or not at all.
TEST(RegistrySaveRestore, AnotherProcessSeesARestoreWholeOrNotAtAll)
{
    std::vector<std::wstring> files;
    for (int g = 1; g <= kGenerations; ++g)
        files.push_back(MakeGeneration(g));
    MakeTarget();
    ASSERT_EQ(ERROR_SUCCESS, Restore(kTarget, files[0]));

    const Child writer([&] {
        int failures = 0;
        // Each round ends back at the first: a reader would take it for unchanged only if all
        // twelve restores landed within one of its reads.
        for (int round = 0; round < 3; ++round) {
            for (std::size_t g = 1; g <= files.size(); ++g) {
                ScopedKey key;
                RegOpenKeyExW(HKEY_CURRENT_USER, kTarget.c_str(), 0, KEY_ALL_ACCESS, key.Put());
                failures += RegRestoreKeyW(key.Get(), files[g % files.size()].c_str(), 0) != ERROR_SUCCESS;
            }
        }
        return failures == 0 ? 0 : 1;
    });
    int wholeReads = 0;
    bool mixed = false;
    while (!mixed && writer.Running())
        mixed = !ReadIsWhole(wholeReads);
    EXPECT_FALSE(mixed);
    EXPECT_EQ(0, writer.Wait());
    EXPECT_GT(wholeReads, 0);
}

} // namespace

#endif // _WIN32

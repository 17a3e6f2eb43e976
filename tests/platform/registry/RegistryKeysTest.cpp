// The key functions as a client sees them: handles, paths and names, access, deletion, the
// predefined keys and the 32-bit view.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/registry/RegistryTestSupport.h"

using namespace RegistryTest;

namespace {

class RegistryKeys : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kTestRoot, m_root)); }

    LONG Open(const wchar_t* path, ScopedKey& key, REGSAM sam = KEY_ALL_ACCESS)
    {
        return RegOpenKeyExW(m_root.Get(), path, 0, sam, key.Put());
    }

    ScopedKey m_root;
};

TEST(RegistryHandles, BadHandlesAreRefusedWithoutHarm)
{
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, L"Software\\Closed", key));
    const HKEY closed = key.Release();
    ASSERT_EQ(ERROR_SUCCESS, RegCloseKey(closed));

    struct Case {
        const char* what;
        HKEY key;
    } cases[] = {
        {"null", nullptr},
        {"closed", closed},
        {"garbage", reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0xDEADBEEFCAFEull))},
        {"almost a handle", reinterpret_cast<HKEY>(reinterpret_cast<ULONG_PTR>(closed) + 0x10)},
#ifndef _WIN32
        {"dyn data", HKEY_DYN_DATA},
#endif
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        HKEY opened = nullptr;
        DWORD size = 0;
        EXPECT_EQ(ERROR_INVALID_HANDLE, RegOpenKeyExW(c.key, L"x", 0, KEY_READ, &opened));
        EXPECT_EQ(ERROR_INVALID_HANDLE, RegCreateKeyExW(c.key, L"x", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &opened, nullptr));
        EXPECT_EQ(ERROR_INVALID_HANDLE, RegQueryValueExW(c.key, L"v", nullptr, nullptr, nullptr, &size));
        EXPECT_EQ(ERROR_INVALID_HANDLE, SetDword(c.key, L"v", 1));
        EXPECT_EQ(ERROR_INVALID_HANDLE, RegDeleteKeyW(c.key, L"x"));
        EXPECT_EQ(ERROR_INVALID_HANDLE, RegQueryInfoKeyW(c.key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                          nullptr, nullptr, nullptr, nullptr, nullptr));
        EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(c.key));
        EXPECT_EQ(nullptr, opened);
    }
}

TEST(RegistryHandles, ClosingAPredefinedKeyLeavesItUsable)
{
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(HKEY_CURRENT_USER));
    ScopedKey key;
    EXPECT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, L"Software\\AfterClose", key));
}

TEST_F(RegistryKeys, EmptyAndNullSubKeysFollowTheDocumentedHandleRules)
{
    HKEY same = nullptr;
    EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CLASSES_ROOT, L"", 0, KEY_READ, &same));
    EXPECT_EQ(HKEY_CLASSES_ROOT, same);
    EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, nullptr, 0, KEY_READ, &same));
    EXPECT_EQ(HKEY_CURRENT_USER, same);

    ScopedKey fresh;
    EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, L"", 0, KEY_READ, fresh.Put()));
    EXPECT_NE(HKEY_CURRENT_USER, fresh.Get());

    // On NT every open of an ordinary key gives a handle of its own.
    ScopedKey first, second;
    ASSERT_EQ(ERROR_SUCCESS, Open(L"", first));
    ASSERT_EQ(ERROR_SUCCESS, Open(nullptr, second));
    EXPECT_NE(first.Get(), second.Get());
    EXPECT_NE(m_root.Get(), first.Get());
    ASSERT_EQ(ERROR_SUCCESS, SetDword(first.Get(), L"shared", 7));
    EXPECT_EQ(7u, QueryDword(second.Get(), L"shared"));

    HKEY created = nullptr;
    EXPECT_EQ(ERROR_INVALID_PARAMETER,
              RegCreateKeyExW(m_root.Get(), nullptr, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &created, nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, RegOpenKeyExW(m_root.Get(), L"x", 0, KEY_READ, nullptr));
}

TEST_F(RegistryKeys, CreateReportsNewOrExistingAndMakesEveryMissingLevel)
{
    DWORD disposition = 0;
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(m_root.Get(), L"a\\b\\c", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key.Put(),
                                             &disposition));
    EXPECT_EQ(static_cast<DWORD>(REG_CREATED_NEW_KEY), disposition);
    ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(m_root.Get(), L"A\\B\\C", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                             key.Put(), &disposition));
    EXPECT_EQ(static_cast<DWORD>(REG_OPENED_EXISTING_KEY), disposition);
    ScopedKey middle;
    EXPECT_EQ(ERROR_SUCCESS, Open(L"a\\b", middle));
    ScopedKey missing;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, Open(L"a\\nope", missing));
}

TEST_F(RegistryKeys, PathsAreCheckedBeforeAnythingIsMade)
{
    const std::wstring longest(255, L'k');
    struct Case {
        std::wstring path;
        LONG expected;
    } cases[] = {
        {L"trailing\\", ERROR_SUCCESS},
        {L"trailing\\\\", ERROR_SUCCESS},
        {L"\\leading", ERROR_BAD_PATHNAME},
        {L"double\\\\middle", ERROR_BAD_PATHNAME},
        {L"\\", ERROR_BAD_PATHNAME},
        {longest, ERROR_SUCCESS},
        {longest + L"k", ERROR_INVALID_PARAMETER},
        {L"ok\\" + longest + L"k", ERROR_INVALID_PARAMETER},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.path.begin(), c.path.end()).substr(0, 40));
        ScopedKey key;
        EXPECT_EQ(c.expected, CreateKey(m_root.Get(), c.path.c_str(), key));
        if (c.expected == ERROR_SUCCESS) {
            ScopedKey again;
            EXPECT_EQ(ERROR_SUCCESS, Open(c.path.c_str(), again));
        }
    }
    ScopedKey trailing;
    ASSERT_EQ(ERROR_SUCCESS, Open(L"trailing", trailing));
    LONG status;
    EXPECT_EQ((std::vector<std::wstring>{longest, L"trailing"}), SubKeyNames(m_root.Get(), status));
}

TEST_F(RegistryKeys, TreesEndAtDepth512)
{
    // The test root is two levels below the hive root.
    std::wstring path;
    for (int level = 3; level <= 512; ++level)
        path += (path.empty() ? L"" : L"\\") + std::to_wstring(level % 10);
    ScopedKey deepest;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(m_root.Get(), path.c_str(), deepest));
    ScopedKey tooDeep;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, CreateKey(deepest.Get(), L"513", tooDeep));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, CreateKey(m_root.Get(), (path + L"\\x").c_str(), tooDeep));
}

TEST_F(RegistryKeys, NamesMatchWithoutCaseAndKeepTheirCase)
{
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(m_root.Get(), L"MixedCase\\\u00C4rger", key));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"v", 1));
    const wchar_t* spellings[] = {L"mixedcase\\\u00E4rger", L"MIXEDCASE\\\u00C4RGER", L"mIxEdCaSe\\\u00E4RGER"};
    for (const wchar_t* spelling : spellings) {
        ScopedKey found;
        EXPECT_EQ(ERROR_SUCCESS, Open(spelling, found));
        EXPECT_EQ(1u, QueryDword(found.Get(), L"V"));
    }
    // A simple upper-case mapping: the sharp s has none, so it stays apart from "SS".
    ScopedKey sharp;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(m_root.Get(), L"stra\u00DFe", sharp));
    ScopedKey missing;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, Open(L"STRASSE", missing));
    LONG status;
    EXPECT_EQ((std::vector<std::wstring>{L"MixedCase", L"stra\u00DFe"}), SubKeyNames(m_root.Get(), status));
}

TEST_F(RegistryKeys, HandlesCarryTheRightsTheyWereOpenedWith)
{
    ScopedKey child;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(m_root.Get(), L"rights", child));
    ScopedKey reader;
    ASSERT_EQ(ERROR_SUCCESS, Open(L"rights", reader, KEY_READ));
    // Creating checks the key's grant, not the handle; setting a value checks the handle.
    ScopedKey sub;
    EXPECT_EQ(ERROR_SUCCESS, CreateKey(reader.Get(), L"made through a reader", sub));
    EXPECT_EQ(ERROR_ACCESS_DENIED, SetDword(reader.Get(), L"v", 1));
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegDeleteValueW(reader.Get(), L"v"));
    // Deleting ignores the handle's rights.
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteKeyW(reader.Get(), L"made through a reader"));

    ScopedKey setter;
    ASSERT_EQ(ERROR_SUCCESS, Open(L"rights", setter, KEY_SET_VALUE));
    DWORD size = 0;
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegQueryValueExW(setter.Get(), L"v", nullptr, nullptr, nullptr, &size));
    wchar_t name[16];
    DWORD length = 16;
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegEnumKeyExW(setter.Get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegEnumValueW(setter.Get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_SUCCESS, SetDword(setter.Get(), L"v", 1));
}

#ifndef _WIN32
TEST_F(RegistryKeys, TheKeysGrantLimitsOpensCreatesAndDeletes)
{
    ScopedKey guarded;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(m_root.Get(), L"guarded\\inner", guarded));
    ASSERT_EQ(ERROR_SUCCESS, Open(L"guarded", guarded));
    ASSERT_EQ(ERROR_SUCCESS, TesselRegSetKeyAccess(guarded.Get(), KEY_READ));

    struct Case {
        const char* what;
        REGSAM sam;
        LONG expected;
    } opens[] = {
        {"read", KEY_READ, ERROR_SUCCESS},
        {"query only", KEY_QUERY_VALUE, ERROR_SUCCESS},
        {"write", KEY_WRITE, ERROR_ACCESS_DENIED},
        {"all", KEY_ALL_ACCESS, ERROR_ACCESS_DENIED},
        {"read in the 64-bit view", KEY_READ | KEY_WOW64_64KEY, ERROR_SUCCESS},
    };
    for (const Case& c : opens) {
        SCOPED_TRACE(c.what);
        ScopedKey key;
        EXPECT_EQ(c.expected, Open(L"guarded", key, c.sam));
    }
    ScopedKey sub;
    EXPECT_EQ(ERROR_ACCESS_DENIED, CreateKey(guarded.Get(), L"new", sub));
    EXPECT_EQ(ERROR_SUCCESS, CreateKey(guarded.Get(), L"inner", sub)) << "opening an existing key needs no create right";
    sub.Reset();
    EXPECT_EQ(ERROR_ACCESS_DENIED, SHDeleteKeyW(m_root.Get(), L"guarded")) << "the key lacks DELETE";

    ASSERT_EQ(ERROR_SUCCESS, CreateKey(guarded.Get(), L"inner", sub));
    ASSERT_EQ(ERROR_SUCCESS, TesselRegSetKeyAccess(sub.Get(), KEY_READ));
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegDeleteKeyW(guarded.Get(), L"inner"));
    ScopedKey stillThere;
    EXPECT_EQ(ERROR_SUCCESS, Open(L"guarded\\inner", stillThere, KEY_READ));

    // A predefined key's own handle has what the key grants, no more.
    ScopedKey config;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_CONFIG, L"", config));
    ASSERT_EQ(ERROR_SUCCESS, TesselRegSetKeyAccess(config.Get(), KEY_READ));
    EXPECT_EQ(ERROR_ACCESS_DENIED, SetDword(HKEY_CURRENT_CONFIG, L"v", 1));
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegDeleteValueW(HKEY_CURRENT_CONFIG, L"v"));
    DWORD size = 0;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExW(HKEY_CURRENT_CONFIG, L"v", nullptr, nullptr, nullptr, &size));
    EXPECT_EQ(ERROR_SUCCESS, TesselRegSetKeyAccess(config.Get(), KEY_ALL_ACCESS));
}
#endif

TEST_F(RegistryKeys, DeletingNeedsALeafAndAnExistingKey)
{
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(m_root.Get(), L"parent\\child", key));
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegDeleteKeyW(m_root.Get(), L"parent"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteKeyW(m_root.Get(), L"parent\\nobody"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, SHDeleteKeyW(m_root.Get(), L"nobody"));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, RegDeleteKeyW(m_root.Get(), nullptr));
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteKeyW(m_root.Get(), L"PARENT\\CHILD"));
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteKeyW(m_root.Get(), L"parent"));

    ASSERT_EQ(ERROR_SUCCESS, CreateKey(m_root.Get(), L"tree\\a\\b", key));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"v", 1));
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(m_root.Get(), L"tree\\c", key));
    EXPECT_EQ(ERROR_SUCCESS, SHDeleteKeyW(m_root.Get(), L"tree"));
    LONG status;
    EXPECT_TRUE(SubKeyNames(m_root.Get(), status).empty());
}

TEST_F(RegistryKeys, HandlesToDeletedKeysAnswerKeyDeletedEvenAfterTheNameReturns)
{
    ScopedKey doomed, below;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(m_root.Get(), L"doomed", doomed));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(doomed.Get(), L"v", 1));
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(m_root.Get(), L"tree\\below", below));
    ASSERT_EQ(ERROR_SUCCESS, RegDeleteKeyW(m_root.Get(), L"doomed"));
    ASSERT_EQ(ERROR_SUCCESS, SHDeleteKeyW(m_root.Get(), L"tree"));

    ScopedKey recreated;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(m_root.Get(), L"doomed", recreated));
    for (HKEY gone : {doomed.Get(), below.Get()}) {
        DWORD size = 0;
        wchar_t name[16];
        DWORD length = 16;
        ScopedKey sub;
        EXPECT_EQ(ERROR_KEY_DELETED, RegQueryValueExW(gone, L"v", nullptr, nullptr, nullptr, &size));
        EXPECT_EQ(ERROR_KEY_DELETED, SetDword(gone, L"v", 2));
        EXPECT_EQ(ERROR_KEY_DELETED, RegDeleteValueW(gone, L"v"));
        EXPECT_EQ(ERROR_KEY_DELETED, RegEnumKeyExW(gone, 0, name, &length, nullptr, nullptr, nullptr, nullptr));
        EXPECT_EQ(ERROR_KEY_DELETED, RegEnumValueW(gone, 0, name, &length, nullptr, nullptr, nullptr, nullptr));
        EXPECT_EQ(ERROR_KEY_DELETED, RegQueryInfoKeyW(gone, nullptr, nullptr, nullptr, &size, nullptr, nullptr, nullptr,
                                                      nullptr, nullptr, nullptr, nullptr));
        EXPECT_EQ(ERROR_KEY_DELETED, CreateKey(gone, L"sub", sub));
        EXPECT_EQ(ERROR_KEY_DELETED, RegOpenKeyExW(gone, L"", 0, KEY_READ, sub.Put()));
    }
    LONG status;
    QueryDword(recreated.Get(), L"v", status);
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, status) << "the new key starts empty";
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(doomed.Release()));
}

TEST_F(RegistryKeys, BothViewFlagsAtOnceAreRefused)
{
    ScopedKey key;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Open(L"", key, KEY_READ | KEY_WOW64_32KEY | KEY_WOW64_64KEY));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, CreateKey(m_root.Get(), L"x", key, KEY_ALL_ACCESS | KEY_WOW64_RES));
}

#ifndef _WIN32
TEST(RegistryViews, The32BitViewRedirectsSoftwareButNotClasses)
{
    ScopedKey vendor, classes;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_LOCAL_MACHINE, L"Software\\Vendor", vendor, KEY_ALL_ACCESS | KEY_WOW64_32KEY));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(vendor.Get(), L"bits", 32));
    ASSERT_EQ(ERROR_SUCCESS,
              CreateKey(HKEY_LOCAL_MACHINE, L"Software\\Classes\\Shared", classes, KEY_ALL_ACCESS | KEY_WOW64_32KEY));

    ScopedKey native, redirected, shared;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Vendor", 0, KEY_READ, native.Put()));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND,
              RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Vendor", 0, KEY_READ | KEY_WOW64_64KEY, native.Put()));
    ASSERT_EQ(ERROR_SUCCESS,
              RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\WOW6432Node\\Vendor", 0, KEY_READ, redirected.Put()));
    EXPECT_EQ(32u, QueryDword(redirected.Get(), L"bits"));
    EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CLASSES_ROOT, L"Shared", 0, KEY_READ, shared.Put()));
}

TEST(RegistryPredefinedKeys, AliasesNameTheirPathsInTheMachineHive)
{
    ScopedKey viaAlias, viaPath;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CLASSES_ROOT, L".tessel", viaAlias));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(viaAlias.Get(), L"v", 1));
    ASSERT_EQ(ERROR_SUCCESS,
              RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Classes\\.tessel", 0, KEY_READ, viaPath.Put()));
    EXPECT_EQ(1u, QueryDword(viaPath.Get(), L"v"));

    ASSERT_EQ(ERROR_SUCCESS, SetDword(HKEY_CURRENT_CONFIG, L"profile", 3));
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"System\\CurrentControlSet\\Hardware Profiles\\Current",
                                           0, KEY_READ, viaPath.Put()));
    EXPECT_EQ(3u, QueryDword(viaPath.Get(), L"profile"));
}

TEST(RegistryPredefinedKeys, PerformanceDataHoldsNothingAndTakesNothing)
{
    HKEY key = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_PERFORMANCE_DATA, L"", 0, KEY_READ, &key));
    DWORD size = 0;
    wchar_t name[16];
    DWORD length = 16;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExW(key, L"Global", nullptr, nullptr, nullptr, &size));
    EXPECT_EQ(ERROR_NO_MORE_ITEMS, RegEnumKeyExW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_NO_MORE_ITEMS, RegEnumValueW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_ACCESS_DENIED, SetDword(key, L"v", 1));
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegCreateKeyExW(key, L"x", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr));
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(HKEY_PERFORMANCE_DATA));
}
#endif

} // namespace

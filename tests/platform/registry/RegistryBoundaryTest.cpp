// Boundaries of the store's rules that a small slip would move without other tests noticing:
// the last letter of each case run, a handle opened with MAXIMUM_ALLOWED on a restricted key, and
// the refusal to delete a hive's root through a handle to it.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/registry/RegistryTestSupport.h"

using namespace RegistryTest;

namespace {

class RegistryBoundaries : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kTestRoot, m_root)); }

    ScopedKey m_root;
};

// Checks letters at the ends of the case table's runs, where an off-by-one in a run's length
// would split one name into two; and one pair each from Greek and Cyrillic.
TEST_F(RegistryBoundaries, NamesEndingInTheLastLetterOfACaseRunMatchAcrossCase)
{
    const struct {
        const char* what;
        const wchar_t* made;
        const wchar_t* looked;
    } pairs[] = {
        {"z ends the ASCII run", L"quiz", L"QUIZ"},
        {"thorn ends the Latin-1 run", L"\u00FE", L"\u00DE"},
        {"y with diaeresis is a run of its own", L"na\u00EFve\u00FF", L"NA\u00CFVE\u0178"},
        {"rho ends the first Greek run", L"\u03C1", L"\u03A1"},
        {"upsilon with dialytika ends the second", L"\u03CB", L"\u03AB"},
        {"omega", L"\u03C9\u03BC\u03B5\u03B3\u03B1", L"\u03A9\u039C\u0395\u0393\u0391"},
        {"final sigma upper-cases to sigma", L"\u03C2", L"\u03A3"},
        {"ya ends the basic Cyrillic run", L"\u044F", L"\u042F"},
        {"dzhe ends the Cyrillic run with delta 80", L"\u045F", L"\u040F"},
        {"zhe", L"\u0436\u0443\u043A", L"\u0416\u0423\u041A"},
    };
    for (const auto& pair : pairs) {
        SCOPED_TRACE(pair.what);
        for (const bool upperFirst : {false, true}) {
            const std::wstring made = pair.made, looked = pair.looked;
            const std::wstring first = upperFirst ? looked : made, second = upperFirst ? made : looked;
            const std::wstring parent = std::wstring(L"case\\") + (upperFirst ? L"upper" : L"lower");
            ScopedKey key;
            ASSERT_EQ(ERROR_SUCCESS, CreateKey(m_root.Get(), (parent + L"\\" + first).c_str(), key));
            ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), first.c_str(), 7));

            ScopedKey again;
            DWORD disposition = 0;
            ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(m_root.Get(), (parent + L"\\" + second).c_str(), 0, nullptr, 0,
                                                     KEY_ALL_ACCESS, nullptr, again.Put(), &disposition));
            EXPECT_EQ(REG_OPENED_EXISTING_KEY, disposition);
            LONG status;
            EXPECT_EQ(7u, QueryDword(again.Get(), second.c_str(), status));
            EXPECT_EQ(ERROR_SUCCESS, status);

            ScopedKey parentKey;
            ASSERT_EQ(ERROR_SUCCESS, CreateKey(m_root.Get(), parent.c_str(), parentKey));
            EXPECT_EQ(std::vector<std::wstring>{first}, SubKeyNames(parentKey.Get(), status)) << "case is kept";
            ASSERT_EQ(ERROR_SUCCESS, RegDeleteKeyW(parentKey.Get(), second.c_str()));
        }
    }
}

#ifndef _WIN32
// The grant stands in for a security descriptor, which only this store has.
TEST_F(RegistryBoundaries, MaximumAllowedGivesWhatTheKeyGrantsAndNoMore)
{
    ScopedKey made;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(m_root.Get(), L"granted\\child", made));
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(m_root.Get(), L"granted", 0, KEY_ALL_ACCESS, made.Put()));
    ASSERT_EQ(ERROR_SUCCESS, TesselRegSetKeyAccess(made.Get(), KEY_QUERY_VALUE | KEY_SET_VALUE));

    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(m_root.Get(), L"granted", 0, MAXIMUM_ALLOWED, key.Put()));
    EXPECT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"v", 3));
    EXPECT_EQ(3u, QueryDword(key.Get(), L"v"));
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteValueW(key.Get(), L"v"));

    wchar_t name[16];
    DWORD length = 16;
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegEnumKeyExW(key.Get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr));
    ScopedKey sub;
    EXPECT_EQ(ERROR_ACCESS_DENIED, CreateKey(key.Get(), L"new", sub));

    const struct {
        const char* what;
        REGSAM sam;
        LONG expected;
    } opens[] = {
        {"with a granted right beside it", MAXIMUM_ALLOWED | KEY_QUERY_VALUE, ERROR_SUCCESS},
        {"with a right outside the grant", MAXIMUM_ALLOWED | KEY_ENUMERATE_SUB_KEYS, ERROR_ACCESS_DENIED},
        {"with DELETE", MAXIMUM_ALLOWED | DELETE, ERROR_ACCESS_DENIED},
        {"through create", MAXIMUM_ALLOWED, ERROR_SUCCESS},
    };
    for (const auto& open : opens) {
        SCOPED_TRACE(open.what);
        ScopedKey other;
        EXPECT_EQ(open.expected, CreateKey(m_root.Get(), L"granted", other, open.sam));
    }
}

// Checks that the refusal does not hang on whichever check happens to come first: each way of
// naming the root itself, through each delete function, must leave the hive whole.
TEST_F(RegistryBoundaries, AHandleToAHiveRootCannotDeleteTheRoot)
{
    ASSERT_EQ(ERROR_SUCCESS, SetDword(m_root.Get(), L"survivor", 1));
    const struct {
        const char* what;
        HKEY root;
        const wchar_t* subKey;
    } roots[] = {
        {"HKCU through a null sub-key", HKEY_CURRENT_USER, nullptr},
        {"HKCU through an empty sub-key", HKEY_CURRENT_USER, L""},
        {"HKLM through an empty sub-key", HKEY_LOCAL_MACHINE, L""},
        {"HKU through an empty sub-key", HKEY_USERS, L""},
    };
    for (const auto& root : roots) {
        SCOPED_TRACE(root.what);
        HKEY handle = nullptr;
        ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(root.root, root.subKey, 0, KEY_ALL_ACCESS, &handle));
        EXPECT_EQ(ERROR_ACCESS_DENIED, RegDeleteKeyW(handle, L""));
        EXPECT_EQ(ERROR_ACCESS_DENIED, SHDeleteKeyW(handle, L""));
        EXPECT_NE(ERROR_SUCCESS, SHDeleteKeyW(handle, nullptr));
        RegCloseKey(handle);
    }
    ScopedKey still;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, kTestRoot, 0, KEY_READ, still.Put()));
    EXPECT_EQ(1u, QueryDword(still.Get(), L"survivor"));
}
#endif

} // namespace

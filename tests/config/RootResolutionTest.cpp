// How a location selects a root and a key, and what a location that selects nothing raises.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ConfigTestSupport.h"

using namespace Tessel;
using namespace TesselTest;

namespace {

bool Contains(const std::vector<std::wstring>& names, const std::wstring& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

// Checks that every keyword is accepted: a missing key below it is reported as missing, with
// the path below the root as the whole text, never as an unknown root.
TEST(RootResolution, AcceptsTheTwelveKeywords)
{
    const wchar_t* keywords[] = {
        L"HKEY_LOCAL_MACHINE", L"HKLM", L"HKEY_CURRENT_USER", L"HKCU", L"HKEY_CLASSES_ROOT", L"HKCR",
        L"HKEY_CURRENT_CONFIG", L"HKCC", L"HKEY_USERS", L"HKU", L"HKEY_DYN_DATA", L"HKDD",
    };
    for (const wchar_t* keyword : keywords) {
        SCOPED_TRACE(Narrow(keyword));
        ExpectFailure<ConfigurationNotFoundException>(
            [&] { OpenReader(std::wstring(keyword) + L"\\Kavor Missing\\Key"); }, L"Kavor Missing\\Key");
    }
}

TEST(RootResolution, RefusesLocationsWithoutARootKeyword)
{
    const wchar_t* locations[] = {
        L"Software\\Kavor", L"hklm\\Software", L"Hklm\\Software", L"\\Software", L"HKPD\\x",
        L"HKEY_PERFORMANCE_DATA\\x", L"HKLM \\Software", L" HKLM\\Software", L"HKEY_LOCAL_MACHINE_\\x",
    };
    for (const wchar_t* location : locations) {
        SCOPED_TRACE(Narrow(location));
        ExpectFailureWithoutText<UnknownConfigurationException>([&] { OpenReader(location); });
    }
}

TEST(RootResolution, SelectsTheKeyBelowTheRoot)
{
    auto machine = TestKey();
    machine.SetText(L"Marker", L"machine");
    ScopedKey user(HKEY_CURRENT_USER, L"Software\\Kavor\\Tessel\\Test");
    user.SetText(L"Marker", L"user");
    ScopedKey classes(HKEY_LOCAL_MACHINE, L"Software\\Classes\\KavorTest");
    classes.SetText(L"Marker", L"classes");

    struct Row {
        const wchar_t* location;
        const wchar_t* marker;
    };
    const Row rows[] = {
        {L"HKLM\\Software\\Kavor\\Tessel\\Test", L"machine"},
        {L"HKEY_LOCAL_MACHINE\\Software\\Kavor\\Tessel\\Test", L"machine"},
        {L"HKLM\\Software\\Kavor\\Tessel\\Test\\", L"machine"},
        {L"HKCU\\Software\\Kavor\\Tessel\\Test", L"user"},
        {L"HKEY_CURRENT_USER\\Software\\Kavor\\Tessel\\Test\\", L"user"},
        {L"HKCR\\KavorTest", L"classes"},
        // No backslash: a key below HKEY_LOCAL_MACHINE, whatever the text.
        {L"Software", nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(Narrow(row.location));
        const auto reader = OpenReader(row.location);
        if (row.marker != nullptr)
            EXPECT_EQ(reader->GetString(L"Marker"), row.marker);
        else
            EXPECT_TRUE(Contains(reader->GetSubDatasetNames(), L"Kavor"));
    }
}

TEST(RootResolution, EmptySubKeyOpensTheRootItself)
{
    auto machine = TestKey();
    for (const wchar_t* location : {L"HKLM\\", L"HKEY_LOCAL_MACHINE\\", L""}) {
        SCOPED_TRACE(Narrow(location));
        const auto reader = OpenReader(location);
        EXPECT_TRUE(Contains(reader->GetSubDatasetNames(), L"Software"));
        EXPECT_EQ(reader->GetDatasetName(), L"");
    }
}

TEST(RootResolution, KeywordAloneIsAKeyName)
{
    // Without a backslash the keyword is not looked at: these name keys below HKEY_LOCAL_MACHINE.
    for (const wchar_t* location : {L"HKLM", L"HKCU", L"HKLM/Software"}) {
        SCOPED_TRACE(Narrow(location));
        ExpectFailure<ConfigurationNotFoundException>([&] { OpenReader(location); }, location);
    }
}

TEST(RootResolution, MissingKeyQuotesThePathLiterally)
{
    ExpectFailure<ConfigurationNotFoundException>([] { OpenReader(L"HKLM\\Software\\100%s\\%d%n"); },
                                                  L"Software\\100%s\\%d%n");
}

TEST(RootResolution, DeniedKeyIsNotFound)
{
    auto key = TestKey(L"Denied");
    ASSERT_EQ(TesselRegSetKeyAccess(key.Get(), KEY_SET_VALUE), ERROR_SUCCESS);
    ExpectFailure<ConfigurationNotFoundException>([] { OpenReader(kBaseLocation + L"\\Denied"); },
                                                  kBase + L"\\Denied");
}

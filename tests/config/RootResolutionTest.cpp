// How a location selects a root and a key, and what a location that selects nothing raises.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

#include "ConfigTestSupport.h"

using namespace Tessel;
using namespace TesselTest;

// Checks that every keyword is accepted: a missing key below it is reported as missing, with the
// path below the root as the whole text, never as an unknown root.
TEST(RootResolution, AcceptsExactlyTheTwelveKeywords)
{
    for (const wchar_t* keyword : {L"HKEY_LOCAL_MACHINE", L"HKLM", L"HKEY_CURRENT_USER", L"HKCU", L"HKEY_CLASSES_ROOT",
                                   L"HKCR", L"HKEY_CURRENT_CONFIG", L"HKCC", L"HKEY_USERS", L"HKU",
                                   L"HKEY_DYN_DATA", L"HKDD"}) {
        SCOPED_TRACE(Narrow(keyword));
        ExpectFailure<ConfigurationNotFoundException>([&] { OpenReader(std::wstring(keyword) + L"\\No\\Key"); },
                                                      L"No\\Key");
    }
    for (const wchar_t* location : {L"Software\\Kavor", L"hklm\\Software", L"\\Software", L"HKPD\\x",
                                    L"HKEY_PERFORMANCE_DATA\\x", L"HKLM \\Software"}) {
        SCOPED_TRACE(Narrow(location));
        ExpectFailure<UnknownConfigurationException>([&] { OpenReader(location); }, nullptr);
    }
    // Without a backslash nothing is compared: these are key names below HKEY_LOCAL_MACHINE.
    for (const wchar_t* location : {L"HKLM", L"HKCU", L"HKLM/Software"}) {
        SCOPED_TRACE(Narrow(location));
        ExpectFailure<ConfigurationNotFoundException>([&] { OpenReader(location); }, location);
    }
}

TEST(RootResolution, SelectsTheKeyBelowTheRoot)
{
    ScopedKey(kBase).SetText(L"Marker", L"machine");
    ScopedKey(kBase, HKEY_CURRENT_USER).SetText(L"Marker", L"user");
    ScopedKey(L"Software\\Classes\\KavorTest").SetText(L"Marker", L"classes");
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"HKEY_LOCAL_MACHINE\\Software\\Kavor\\Tessel\\Test\\", L"machine"},
        {L"HKCU\\Software\\Kavor\\Tessel\\Test", L"user"},
        {L"HKCR\\KavorTest", L"classes"}};
    for (const auto& [location, marker] : rows) {
        SCOPED_TRACE(Narrow(location));
        EXPECT_EQ(OpenReader(location)->GetString(L"Marker"), marker);
    }
    // An empty sub key opens the root itself; a bare name is a key below the default root.
    for (const wchar_t* location : {L"HKLM\\", L"", L"Software"}) {
        SCOPED_TRACE(Narrow(location));
        const auto names = OpenReader(location)->GetSubDatasetNames();
        const wchar_t* expected = *location == L'S' ? L"Kavor" : L"Software";
        EXPECT_NE(std::find(names.begin(), names.end(), expected), names.end());
    }
}

TEST(RootResolution, KeyThatCannotBeOpenedQuotesItsPathLiterally)
{
    ExpectFailure<ConfigurationNotFoundException>([] { OpenReader(L"HKLM\\Software\\100%s\\%d%n"); },
                                                  L"Software\\100%s\\%d%n");
    ScopedKey denied(kBase);
    ASSERT_EQ(TesselRegSetKeyAccess(denied.Get(), KEY_SET_VALUE), ERROR_SUCCESS);
    ExpectFailure<ConfigurationNotFoundException>([] { OpenReader(kBaseLocation); }, kBase);
}

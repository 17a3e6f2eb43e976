// Listing parameters and sub datasets, opening sub readers by name, and dataset names.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "ConfigTestSupport.h"

using namespace Tessel;
using namespace TesselTest;

using Names = std::vector<std::wstring>;

TEST(Navigation, ListsInTheStoresOrder)
{
    ScopedKey key(kBase);
    const auto reader = OpenReader(kBaseLocation);
    EXPECT_TRUE(reader->GetParameterNames().empty());
    EXPECT_TRUE(reader->GetSubDatasets().empty());
    EXPECT_FALSE(reader->HasSubDataset(L""));

    key.SetText(L"Zeta", L"1");
    key.SetDword(L"alpha", 2);
    key.SetText(L"", L"default"); // the unnamed default value lists as the empty name
    for (const wchar_t* sub : {L"Beta", L"alpha", L"Gamma\\Deeper"})
        ScopedKey(kBase + L"\\" + sub);
    // Values in the order they were made, subkeys by name without regard to case.
    EXPECT_EQ(reader->GetParameterNames(), (Names{L"Zeta", L"alpha", L""}));
    EXPECT_EQ(reader->GetSubDatasetNames(), (Names{L"alpha", L"Beta", L"Gamma"}));
    Names paths;
    for (const auto& sub : reader->GetSubDatasets())
        paths.push_back(sub->GetDatasetPath());
    EXPECT_EQ(paths, (Names{kBaseLocation + L"\\alpha", kBaseLocation + L"\\Beta", kBaseLocation + L"\\Gamma"}));
    // A key removed meanwhile makes a walk shorter, not a failure.
    ASSERT_EQ(RegDeleteKeyW(key.Get(), L"Beta"), ERROR_SUCCESS);
    EXPECT_EQ(reader->GetSubDatasetNames(), (Names{L"alpha", L"Gamma"}));
}

TEST(Navigation, FindsSubDatasetsWithoutRegardToCase)
{
    ScopedKey(kBase + L"\\Alpha\\Inner").SetText(L"Value", L"inner");
    const auto reader = OpenReader(kBaseLocation + L"\\");
    EXPECT_TRUE(reader->HasSubDataset(L"ALPHA"));
    EXPECT_FALSE(reader->HasSubDataset(L"Alph"));
    EXPECT_FALSE(reader->HasSubDataset(L"Alpha\\Inner")); // direct sub datasets only
    // The store's spelling, and no second backslash behind a location that ends in one.
    const auto alpha = reader->GetSubDataset(L"aLPHA");
    EXPECT_EQ(alpha->GetDatasetPath(), kBaseLocation + L"\\Alpha");
    EXPECT_EQ(alpha->GetSubDataset(L"INNER")->GetString(L"Value"), L"inner");
    for (const wchar_t* name : {L"Missing", L"Alpha\\Inner", L"%s%n", L""}) {
        SCOPED_TRACE(Narrow(name));
        ExpectFailure<ConfigurationNotFoundException>([&] { reader->GetSubDataset(name); }, name);
    }
}

TEST(Navigation, RootsAndBareNamesHaveSubDatasetsOfTheirOwnKind)
{
    ScopedKey key(kBase);
    EXPECT_EQ(OpenReader(L"HKLM\\")->GetSubDataset(L"software")->GetDatasetPath(), L"HKLM\\Software");
    // An empty location stands on the default root: its sub datasets are bare key names.
    const auto software = OpenReader(L"")->GetSubDataset(L"SOFTWARE");
    EXPECT_EQ(software->GetDatasetPath(), L"Software");
    // Below a bare name, a sub dataset's location starts with that name, which is no root keyword.
    EXPECT_TRUE(software->HasSubDataset(L"Kavor"));
    EXPECT_EQ(software->GetSubDatasetNames(), Names{L"Kavor"});
    ExpectFailure<UnknownConfigurationException>([&] { software->GetSubDataset(L"Kavor"); }, nullptr);
    ExpectFailure<UnknownConfigurationException>([&] { software->GetSubDatasets(); }, nullptr);
}

TEST(Navigation, SubDatasetThatCannotBeOpenedEndsTheWalk)
{
    ScopedKey(kBase + L"\\Open");
    ScopedKey shut(kBase + L"\\Shut");
    ASSERT_EQ(TesselRegSetKeyAccess(shut.Get(), KEY_SET_VALUE), ERROR_SUCCESS);
    const auto reader = OpenReader(kBaseLocation);
    EXPECT_EQ(reader->GetSubDatasetNames(), (Names{L"Open", L"Shut"}));
    ExpectFailure<ConfigurationNotFoundException>([&] { reader->GetSubDatasets(); }, kBase + L"\\Shut");
    ExpectFailure<ConfigurationNotFoundException>([&] { reader->GetSubDataset(L"shut"); }, kBase + L"\\Shut");
}

TEST(Navigation, DatasetNameIsTheLastComponentOfTheSubKey)
{
    ScopedKey key(kBase + L"\\A\\B");
    const std::pair<std::wstring, std::wstring> rows[] = {
        {kBaseLocation + L"\\A\\B", L"B"},
        {kBaseLocation + L"\\A\\B\\", L"B"},
        {kBaseLocation + L"\\A\\B\\\\", L""}, // only one trailing backslash is dropped
        {L"Software", L"Software"},
        {L"HKLM\\", L""},
        {L"", L""},
    };
    for (const auto& [location, name] : rows) {
        SCOPED_TRACE(Narrow(location));
        EXPECT_EQ(OpenReader(location)->GetDatasetName(), name);
    }
}

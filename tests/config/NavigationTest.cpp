// Listing parameters and sub datasets, opening sub readers by name, and dataset names.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ConfigTestSupport.h"

using namespace Tessel;
using namespace TesselTest;

namespace {

std::vector<std::wstring> Paths(const std::vector<std::shared_ptr<IConfigReader>>& readers)
{
    std::vector<std::wstring> paths;
    for (const auto& reader : readers)
        paths.push_back(reader->GetDatasetPath());
    return paths;
}

} // namespace

TEST(Navigation, ListsParametersAndSubDatasets)
{
    auto key = TestKey();
    key.SetText(L"Zeta", L"1");
    key.SetDword(L"alpha", 2);
    key.SetText(L"", L"default");
    TestKey(L"Beta");
    TestKey(L"alpha");
    TestKey(L"Gamma\\Deeper");
    const auto reader = OpenReader(kBaseLocation);

    // The store's order: values as created, subkeys by name without regard to case.
    EXPECT_EQ(reader->GetParameterNames(), (std::vector<std::wstring>{L"Zeta", L"alpha", L""}));
    EXPECT_EQ(reader->GetSubDatasetNames(), (std::vector<std::wstring>{L"alpha", L"Beta", L"Gamma"}));
    EXPECT_EQ(Paths(reader->GetSubDatasets()),
              (std::vector<std::wstring>{kBaseLocation + L"\\alpha", kBaseLocation + L"\\Beta",
                                         kBaseLocation + L"\\Gamma"}));
}

TEST(Navigation, EmptyDatasetGivesEmptyLists)
{
    TestKey();
    const auto reader = OpenReader(kBaseLocation);
    EXPECT_TRUE(reader->GetParameterNames().empty());
    EXPECT_TRUE(reader->GetSubDatasetNames().empty());
    EXPECT_TRUE(reader->GetSubDatasets().empty());
    EXPECT_FALSE(reader->HasSubDataset(L""));
}

TEST(Navigation, FindsSubDatasetsWithoutRegardToCase)
{
    TestKey(L"Alpha\\Inner").SetText(L"Value", L"inner");
    const auto reader = OpenReader(kBaseLocation);
    EXPECT_TRUE(reader->HasSubDataset(L"ALPHA"));
    EXPECT_TRUE(reader->HasSubDataset(L"alpha"));
    EXPECT_FALSE(reader->HasSubDataset(L"Alph"));
    EXPECT_FALSE(reader->HasSubDataset(L"Alpha\\Inner")); // direct sub datasets only
    EXPECT_FALSE(reader->HasSubDataset(L""));

    const auto alpha = reader->GetSubDataset(L"aLPHA");
    EXPECT_EQ(alpha->GetDatasetPath(), kBaseLocation + L"\\Alpha"); // the store's spelling
    EXPECT_EQ(alpha->GetDatasetName(), L"Alpha");
    EXPECT_EQ(alpha->GetSubDataset(L"INNER")->GetString(L"Value"), L"inner");
}

TEST(Navigation, MissingSubDatasetQuotesTheNameLiterally)
{
    TestKey(L"Alpha");
    const auto reader = OpenReader(kBaseLocation);
    for (const wchar_t* name : {L"Missing", L"Alpha\\Inner", L"%s%n", L""}) {
        SCOPED_TRACE(Narrow(name));
        ExpectFailure<ConfigurationNotFoundException>([&] { reader->GetSubDataset(name); }, name);
    }
}

TEST(Navigation, LocationEndingInBackslashGetsNoSecondOne)
{
    TestKey(L"Alpha");
    const auto reader = OpenReader(kBaseLocation + L"\\");
    EXPECT_EQ(reader->GetSubDataset(L"alpha")->GetDatasetPath(), kBaseLocation + L"\\Alpha");
    EXPECT_EQ(reader->GetDatasetName(), L"Test");
}

TEST(Navigation, RootReaderOpensKeysBelowTheRoot)
{
    TestKey();
    const auto root = OpenReader(L"HKLM\\");
    EXPECT_EQ(root->GetSubDataset(L"software")->GetDatasetPath(), L"HKLM\\Software");
    // An empty location stands on the root as well; its sub datasets are keys below it.
    const auto empty = OpenReader(L"");
    const auto software = empty->GetSubDataset(L"SOFTWARE");
    EXPECT_EQ(software->GetDatasetPath(), L"Software");
    EXPECT_TRUE(software->HasSubDataset(L"Kavor"));
}

// A reader below the default root has a location without a backslash: the location of a sub
// dataset then starts with a key name, which is no root keyword.
TEST(Navigation, ReaderBelowTheDefaultRootCannotOpenSubDatasets)
{
    TestKey();
    const auto reader = OpenReader(L"Software");
    EXPECT_TRUE(reader->HasSubDataset(L"Kavor"));
    EXPECT_FALSE(reader->GetSubDatasetNames().empty());
    ExpectFailureWithoutText<UnknownConfigurationException>([&] { reader->GetSubDataset(L"Kavor"); });
    ExpectFailureWithoutText<UnknownConfigurationException>([&] { reader->GetSubDatasets(); });
}

TEST(Navigation, SubDatasetThatCannotBeOpenedEndsTheWalk)
{
    TestKey(L"Open");
    auto denied = TestKey(L"Shut");
    ASSERT_EQ(TesselRegSetKeyAccess(denied.Get(), KEY_SET_VALUE), ERROR_SUCCESS);
    const auto reader = OpenReader(kBaseLocation);
    EXPECT_EQ(reader->GetSubDatasetNames(), (std::vector<std::wstring>{L"Open", L"Shut"}));
    ExpectFailure<ConfigurationNotFoundException>([&] { reader->GetSubDatasets(); }, kBase + L"\\Shut");
    ExpectFailure<ConfigurationNotFoundException>([&] { reader->GetSubDataset(L"shut"); }, kBase + L"\\Shut");
    EXPECT_EQ(reader->GetSubDataset(L"open")->GetDatasetName(), L"Open");
}

TEST(Navigation, DatasetNameIsTheLastComponentOfTheSubKey)
{
    TestKey(L"A\\B");
    struct Row {
        std::wstring location;
        std::wstring name;
    };
    const std::vector<Row> rows = {
        {kBaseLocation + L"\\A\\B", L"B"},
        {kBaseLocation + L"\\A\\B\\", L"B"},
        {L"HKLM\\Software", L"Software"},
        {L"Software", L"Software"},
        {L"HKLM\\", L""},
        {L"", L""},
        // Only one trailing backslash is removed, and the store ignores both.
        {kBaseLocation + L"\\A\\B\\\\", L""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(Narrow(row.location));
        EXPECT_EQ(OpenReader(row.location)->GetDatasetName(), row.name);
    }
}

TEST(Navigation, SubReadersOutliveTheirParent)
{
    TestKey(L"Child\\Grandchild").SetText(L"Value", L"deep");
    auto parent = OpenReader(kBaseLocation);
    auto children = parent->GetSubDatasets();
    auto child = parent->GetSubDataset(L"Child");
    parent.reset();
    auto grandchild = child->GetSubDataset(L"Grandchild");
    child.reset();
    EXPECT_EQ(grandchild->GetString(L"Value"), L"deep");
    EXPECT_EQ(children.at(0)->GetSubDatasetNames(), (std::vector<std::wstring>{L"Grandchild"}));
}

TEST(Navigation, WalkFollowsSubKeysRemovedMeanwhile)
{
    TestKey(L"One");
    TestKey(L"Two");
    const auto reader = OpenReader(kBaseLocation);
    ASSERT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, (kBase + L"\\One").c_str()), ERROR_SUCCESS);
    EXPECT_EQ(reader->GetSubDatasetNames(), (std::vector<std::wstring>{L"Two"}));
}

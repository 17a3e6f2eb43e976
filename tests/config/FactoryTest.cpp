// The data-source name grammar as GetConfigReader applies it, and readers that outlive the factory.

#include <gtest/gtest.h>

#include <string>

#include "ConfigTestSupport.h"

using namespace Tessel;
using namespace TesselTest;

TEST(ConfigReaderFactory, SplitsNamesIntoSchemeAndLocation)
{
    ScopedKey base(kBase);
    enum Outcome { Opens, KeyMissing, Refused };
    struct Row {
        const wchar_t* name;
        Outcome outcome;
        const wchar_t* location; // the reader's path, or the missing sub key
    };
    const Row rows[] = {
        {L"HKLM\\Software\\Kavor\\Tessel\\Test", Opens, L"HKLM\\Software\\Kavor\\Tessel\\Test"},
        {L"registry:HKLM\\Software", Opens, L"HKLM\\Software"},
        {L"REGISTRY:HKLM\\Software", Opens, L"HKLM\\Software"},
        {L"\tRegistry :HKLM\\Software", Opens, L"HKLM\\Software"},
        {L"\v\f\r\nregistry\t:HKLM\\Software", Opens, L"HKLM\\Software"},
        {L"registry:", Opens, L""},
        {L"", Opens, L""},
        // Further colons belong to the location.
        {L"registry:a:b", KeyMissing, L"a:b"},
        {L"registry:HKLM\\Software\\No:Such", KeyMissing, L"Software\\No:Such"},
        // The location keeps its blank, so " HKLM" is no root keyword.
        {L"registry: HKLM\\Software", Refused, nullptr},
        {L"xml:anything", Refused, nullptr},
        {L"database:HKLM\\Software", Refused, nullptr},
        {L":HKLM\\Software", Refused, nullptr},
        {L"C:\\temp", Refused, nullptr},
        {L"registry2:HKLM\\Software", Refused, nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(Narrow(row.name));
        if (row.outcome == Opens)
            EXPECT_EQ(OpenReader(row.name)->GetDatasetPath(), row.location);
        else if (row.outcome == KeyMissing)
            ExpectFailure<ConfigurationNotFoundException>([&] { OpenReader(row.name); }, row.location);
        else
            ExpectFailure<UnknownConfigurationException>([&] { OpenReader(row.name); }, nullptr);
    }
}

// Checks that readers need neither the factory nor their parent once they exist, and that each
// call gives a reader of its own.
TEST(ConfigReaderFactory, ReadersOutliveFactoryAndParents)
{
    ScopedKey(kBase + L"\\Child\\Grandchild").SetText(L"Value", L"42");
    auto parent = OpenReader(kBaseLocation);
    EXPECT_NE(parent, OpenReader(kBaseLocation));
    auto children = parent->GetSubDatasets();
    ThreadSafeSingleton<ConfigReaderFactory>::DestroyInstance();
    ThreadSafeSingleton<ConfigReaderFactory>::DestroyInstance(); // nothing left to destroy
    auto child = parent->GetSubDataset(L"child");
    parent.reset();
    auto grandchild = child->GetSubDataset(L"Grandchild");
    child.reset();
    EXPECT_EQ(grandchild->GetInt(L"Value"), 42);
    EXPECT_EQ(children.at(0)->GetSubDatasetNames(), std::vector<std::wstring>{L"Grandchild"});
    EXPECT_FALSE(ThreadSafeSingleton<ConfigReaderFactory>::IsInstantiated());
}

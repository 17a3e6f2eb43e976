// The data-source name grammar as GetConfigReader applies it, and the life of the factory.

#include <gtest/gtest.h>

#include <string>

#include "ConfigTestSupport.h"

using namespace Tessel;
using namespace TesselTest;

namespace {

enum class Outcome { Opens, KeyMissing, Refused };

struct NameCase {
    const wchar_t* name;
    Outcome outcome;
    const wchar_t* location; // the reader's path, or the missing sub key
};

} // namespace

TEST(ConfigReaderFactory, SplitsNamesIntoSchemeAndLocation)
{
    auto base = TestKey();

    const NameCase cases[] = {
        {L"HKLM\\Software\\Kavor\\Tessel\\Test", Outcome::Opens, L"HKLM\\Software\\Kavor\\Tessel\\Test"},
        {L"registry:HKLM\\Software", Outcome::Opens, L"HKLM\\Software"},
        {L"REGISTRY:HKLM\\Software", Outcome::Opens, L"HKLM\\Software"},
        {L"\tRegistry :HKLM\\Software", Outcome::Opens, L"HKLM\\Software"},
        {L"\v\f\r\nregistry\t:HKLM\\Software", Outcome::Opens, L"HKLM\\Software"},
        {L"registry:", Outcome::Opens, L""},
        {L"", Outcome::Opens, L""},
        // Further colons belong to the location, which names one key below the default root.
        {L"registry:a:b", Outcome::KeyMissing, L"a:b"},
        {L"registry:HKLM\\Software\\No:Such", Outcome::KeyMissing, L"Software\\No:Such"},
        // The location keeps its blank, so " HKLM" is no root keyword.
        {L"registry: HKLM\\Software", Outcome::Refused, nullptr},
        {L"xml:anything", Outcome::Refused, nullptr},
        {L"database:anything", Outcome::Refused, nullptr},
        {L"XML:HKLM\\Software", Outcome::Refused, nullptr},
        {L":HKLM\\Software", Outcome::Refused, nullptr},
        {L" :HKLM\\Software", Outcome::Refused, nullptr},
        {L"C:\\temp", Outcome::Refused, nullptr},
        {L"registry2:HKLM\\Software", Outcome::Refused, nullptr},
    };
    for (const NameCase& row : cases) {
        SCOPED_TRACE(Narrow(row.name));
        switch (row.outcome) {
        case Outcome::Opens: {
            const auto reader = OpenReader(row.name);
            ASSERT_NE(reader, nullptr);
            EXPECT_EQ(reader->GetDatasetPath(), row.location);
            break;
        }
        case Outcome::KeyMissing:
            ExpectFailure<ConfigurationNotFoundException>([&] { OpenReader(row.name); }, row.location);
            break;
        case Outcome::Refused:
            ExpectFailureWithoutText<UnknownConfigurationException>([&] { OpenReader(row.name); });
            break;
        }
    }
}

TEST(ConfigReaderFactory, GivesIndependentReadersForOneName)
{
    auto key = TestKey();
    key.SetText(L"Value", L"1");
    const auto first = OpenReader(kBaseLocation);
    const auto second = OpenReader(kBaseLocation);
    EXPECT_NE(first, second);
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(first->GetString(L"Value"), second->GetString(L"Value"));
}

TEST(ConfigReaderFactory, InstanceComesAndGoes)
{
    using Singleton = ThreadSafeSingleton<ConfigReaderFactory>;
    Singleton::DestroyInstance(); // nothing to destroy: no effect
    EXPECT_FALSE(Singleton::IsInstantiated());
    ConfigReaderFactory& first = ConfigReaderFactory::GetInstance();
    EXPECT_TRUE(Singleton::IsInstantiated());
    EXPECT_EQ(&first, &ConfigReaderFactory::GetInstance());
    Singleton::DestroyInstance();
    EXPECT_FALSE(Singleton::IsInstantiated());
    Singleton::DestroyInstance();
    ConfigReaderFactory::GetInstance();
    EXPECT_TRUE(Singleton::IsInstantiated());
    // The writer factory is a singleton of its own.
    EXPECT_FALSE(ThreadSafeSingleton<PersistentDataWriterFactory>::IsInstantiated());
    PersistentDataWriterFactory::GetInstance();
    EXPECT_TRUE(ThreadSafeSingleton<PersistentDataWriterFactory>::IsInstantiated());
    ThreadSafeSingleton<PersistentDataWriterFactory>::DestroyInstance();
    EXPECT_TRUE(Singleton::IsInstantiated());
}

// Checks that readers need neither the factory nor their parent once they exist.
TEST(ConfigReaderFactory, ReadersOutliveFactoryAndParents)
{
    auto key = TestKey(L"Child");
    key.SetText(L"Value", L"42");
    auto parent = OpenReader(kBaseLocation);
    ThreadSafeSingleton<ConfigReaderFactory>::DestroyInstance();
    auto child = parent->GetSubDataset(L"child");
    parent.reset();
    EXPECT_EQ(child->GetInt(L"Value"), 42);
    EXPECT_EQ(child->GetDatasetPath(), kBaseLocation + L"\\Child");
    EXPECT_FALSE(ThreadSafeSingleton<ConfigReaderFactory>::IsInstantiated());
}

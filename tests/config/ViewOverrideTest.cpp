// The registry view that ForcePlatform selects, carried into every open of a reader and its sub
// readers. A forced view lasts for the process, so these tests have a binary of their own.

#include <gtest/gtest.h>

#include <string>

#include "ConfigTestSupport.h"

using namespace Tessel;
using namespace TesselTest;

TEST(ViewOverride, ForcedViewReachesReadersAndSubReaders)
{
    // The store redirects the 32-bit view of HKLM\Software to WOW6432Node.
    ScopedKey(L"Software\\Kavor\\View\\Child").SetText(L"Marker", L"native");
    ScopedKey(L"Software\\WOW6432Node\\Kavor\\View\\Child").SetText(L"Marker", L"wow32");
    const std::wstring location = L"HKLM\\Software\\Kavor\\View";
    const auto before = OpenReader(location);

    PersistentDataWriterFactory::ForcePlatform(32); // the writer factory's setting is its own
    EXPECT_EQ(OpenReader(location + L"\\Child")->GetString(L"Marker"), L"native");

    ConfigReaderFactory::ForcePlatform(32);
    const auto forced = OpenReader(location);
    EXPECT_EQ(forced->GetSubDataset(L"child")->GetString(L"Marker"), L"wow32");
    EXPECT_EQ(forced->GetSubDatasets().at(0)->GetString(L"Marker"), L"wow32");
    // Readers made earlier keep their view, and hand it to their sub readers.
    EXPECT_EQ(before->GetSubDataset(L"Child")->GetString(L"Marker"), L"native");

    // No value resets the view, and the factory's instance does not hold it.
    ConfigReaderFactory::ForcePlatform(0);
    ConfigReaderFactory::ForcePlatform(16);
    ThreadSafeSingleton<ConfigReaderFactory>::DestroyInstance();
    EXPECT_EQ(OpenReader(location + L"\\Child")->GetString(L"Marker"), L"wow32");

    ConfigReaderFactory::ForcePlatform(64);
    EXPECT_EQ(OpenReader(location + L"\\Child")->GetString(L"Marker"), L"native");
    EXPECT_EQ(forced->GetSubDataset(L"Child")->GetString(L"Marker"), L"wow32");
}

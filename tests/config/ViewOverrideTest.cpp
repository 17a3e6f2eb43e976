// The registry view that ForcePlatform selects, carried into every open of a reader and its sub
// readers. A forced view lasts for the process, so these tests have a binary of their own.

#include <gtest/gtest.h>

#include <string>

#include "ConfigTestSupport.h"

using namespace Tessel;
using namespace TesselTest;

namespace {

// The 64-bit view and the 32-bit view of the same location hold different markers.
void StoreBothViews()
{
    ScopedKey native(HKEY_LOCAL_MACHINE, L"Software\\Kavor\\View\\Child");
    native.SetText(L"Marker", L"native");
    ScopedKey redirected(HKEY_LOCAL_MACHINE, L"Software\\WOW6432Node\\Kavor\\View\\Child");
    redirected.SetText(L"Marker", L"wow32");
}

const std::wstring kLocation = L"HKLM\\Software\\Kavor\\View";

} // namespace

TEST(ViewOverride, ForcedViewReachesReadersAndSubReaders)
{
    StoreBothViews();
    const auto before = OpenReader(kLocation);
    EXPECT_EQ(before->GetSubDataset(L"Child")->GetString(L"Marker"), L"native");

    // The writer factory's setting is its own.
    PersistentDataWriterFactory::ForcePlatform(32);
    EXPECT_EQ(OpenReader(kLocation + L"\\Child")->GetString(L"Marker"), L"native");

    ConfigReaderFactory::ForcePlatform(32);
    const auto forced = OpenReader(kLocation);
    EXPECT_EQ(forced->GetSubDataset(L"child")->GetString(L"Marker"), L"wow32");
    EXPECT_EQ(forced->GetSubDatasets().at(0)->GetString(L"Marker"), L"wow32");
    // Readers made earlier keep their view, and so do their sub readers.
    EXPECT_EQ(before->GetSubDataset(L"Child")->GetString(L"Marker"), L"native");

    // No value resets the view; the factory's instance does not hold it either.
    ConfigReaderFactory::ForcePlatform(0);
    ConfigReaderFactory::ForcePlatform(16);
    ThreadSafeSingleton<ConfigReaderFactory>::DestroyInstance();
    EXPECT_EQ(OpenReader(kLocation + L"\\Child")->GetString(L"Marker"), L"wow32");

    ConfigReaderFactory::ForcePlatform(64);
    EXPECT_EQ(OpenReader(kLocation + L"\\Child")->GetString(L"Marker"), L"native");
    // The sub readers of a 32-bit reader stay in the 32-bit view.
    EXPECT_EQ(forced->GetSubDataset(L"Child")->GetString(L"Marker"), L"wow32");
}

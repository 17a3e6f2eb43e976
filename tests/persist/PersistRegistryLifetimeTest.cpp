// Tests of PersistRegistry's lifetime: the root table and its prefix matching, the open, closed
// and reopened states, Create, the relative constructor, and the ownership of keys among copies.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "PersistTestSupport.h"
#include "Tessel/PersistRegistry.h"

using PersistTest::ExpectRaises;
using PersistTest::RawKey;
using Tessel::PersistRegistry;

namespace {

std::wstring Text(const PersistRegistry& registry, const wchar_t* name)
{
    std::wstring text;
    registry.Read(name, text, false, false);
    return text;
}

// Checks which root a path reaches: each reachable root holds a key "Mark" naming the root.
TEST(PersistRegistryRoots, KeywordsAndTheirPrefixesTakeTheFirstMatchInTableOrder)
{
    RawKey(L"Mark", HKEY_CLASSES_ROOT).SetText(L"Root", L"HKCR");
    RawKey(L"Mark", HKEY_CURRENT_CONFIG).SetText(L"Root", L"HKCC");
    RawKey(L"Software\\Mark", HKEY_CURRENT_USER).SetText(L"Root", L"HKCU");
    RawKey(L"Software\\Mark", HKEY_LOCAL_MACHINE).SetText(L"Root", L"HKLM");
    const wchar_t* const cases[][2] = {
        {L"HKEY_CLASSES_ROOT\\Mark", L"HKCR"}, {L"HK\\Mark", L"HKCR"}, {L"HKEY_C\\Mark", L"HKCR"},
        {L"\\Mark", L"HKCR"}, {L"HKEY_CURRENT_CONFIG\\Mark", L"HKCC"}, {L"HKEY_CU\\Mark", L"HKCC"},
        {L"HKEY_CURRENT_\\Mark", L"HKCC"}, {L"HKEY_CURRENT_USER\\Software\\Mark", L"HKCU"},
        {L"HKCU\\Software\\Mark", L"HKCU"}, {L"HKC\\Software\\Mark", L"HKCU"},
        {L"HKEY_LOCAL_MACHINE\\Software\\Mark", L"HKLM"}, {L"hklm\\software\\mark", L"HKLM"},
        {L"HKL\\Software\\Mark", L"HKLM"}, {L"HKLM\\Software\\Mark\\", L"HKLM"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(::testing::Message() << "path " << std::wstring(row[0]));
        EXPECT_EQ(row[1], Text(PersistRegistry(row[0], Tessel::ReadOnly), L"Root"));
    }

    // The remaining roots, and a root alone, which opens the root itself.
    ExpectRaises<Tessel::PersistencyNotFound>([] { PersistRegistry(L"HKEY_U\\Nobody", Tessel::ReadOnly); },
                                              L"Nobody");
    EXPECT_NE(nullptr, PersistRegistry(L"HKEY_PERFORMANCE_DATA", Tessel::ReadOnly).GetKey());
    const PersistRegistry machine(L"HKLM", Tessel::ReadOnly);
    EXPECT_STREQ(L"HKLM\\", machine.GetPath());
    EXPECT_EQ(L"HKLM", Text(PersistRegistry(machine, L"Software\\Mark", Tessel::ReadOnly), L"Root"));
    PersistRegistry classes(L"", Tessel::ReadOnly);
    EXPECT_EQ(L"Mark", *classes.begin());
}

TEST(PersistRegistryRoots, AnyOtherFirstComponentIsMissingTheRoot)
{
    for (const wchar_t* path : {L"HKCR\\x", L"HKU\\x", L"HKCC\\x", L"HKEY_DYN_DATA\\x", L"Software\\x",
                                L"HKLMX\\x", L"HKEY_USERS_\\x", L"HKLM %s"}) {
        SCOPED_TRACE(::testing::Message() << "path " << std::wstring(path));
        const std::wstring message = L"Registry path '" + std::wstring(path) + L"' is missing the root specifier";
        PersistRegistry registry;
        ExpectRaises<Tessel::InvalidArg>([&] { registry.Open(path, Tessel::ReadWrite); }, message);
        EXPECT_EQ(std::wstring(path) + L"\\", registry.GetPath()) << "Open stores the path first";
        ExpectRaises<Tessel::InvalidArg>([&] { registry.Create(L"HKU\\y", Tessel::ReadWrite, nullptr); },
                                         L"Registry path 'HKU\\y' is missing the root specifier");
        EXPECT_EQ(std::wstring(path) + L"\\", registry.GetPath()) << "Create stores nothing when it fails";
    }
}

using Expectation = std::function<void(const std::function<void()>&)>;

template <class Expected>
Expectation Raises(const std::wstring& text)
{
    return [text](const std::function<void()>& action) { ExpectRaises<Expected>(action, text); };
}

// Checks the state table: every failure leaves the object closed, Open keeps the new path and
// access (but not for a null path), Create keeps nothing, and the object can always reopen.
TEST(PersistRegistryStates, FailuresCloseTheObjectAndReopeningWorks)
{
    const RawKey key(PersistTest::kTestKey);
    const wchar_t* const original = L"HKCU\\Software\\PersistTest\\";
    const auto unknown = static_cast<Tessel::StorageAccess>(-1);
    const auto unknownMask = Raises<Tessel::InternalError>(L"PersistRegistry::GetAccessMask received unknown mask -1");
    const struct {
        std::function<void(PersistRegistry&)> call;
        Expectation raises;
        const wchar_t* pathAfter;
        Tessel::StorageAccess accessAfter;
    } cases[] = {
        {[](PersistRegistry& r) { r.Open(L"HKCU\\Software\\Missing 100%", Tessel::ReadOnly); },
         Raises<Tessel::PersistencyNotFound>(L"Software\\Missing 100%"), L"HKCU\\Software\\Missing 100%\\",
         Tessel::ReadOnly},
        {[](PersistRegistry& r) { r.Open(nullptr, Tessel::ReadOnly); },
         Raises<Tessel::InvalidArg>(L"Null registry path specified"), original, Tessel::ReadWrite},
        {[](PersistRegistry& r) { r.Create(nullptr, Tessel::ReadOnly, nullptr); },
         Raises<Tessel::InvalidArg>(L"Null registry path specified"), original, Tessel::ReadWrite},
        {[&](PersistRegistry& r) { r.Open(L"HKCU\\Software\\PersistTest", unknown); }, unknownMask, original,
         unknown},
        {[&](PersistRegistry& r) { r.Create(L"HKCU\\Software\\New", unknown, nullptr); }, unknownMask, original,
         Tessel::ReadWrite},
        // The store refuses an empty component for another reason than absence.
        {[](PersistRegistry& r) { r.Open(L"HKCU\\Software\\\\x", Tessel::ReadOnly); },
         Raises<Tessel::Unexpected>(
             L"PersistRegistry::Open - RegOpenKeyEx returned 000000a1 on opening 'Software\\\\x'"),
         L"HKCU\\Software\\\\x\\", Tessel::ReadOnly},
        {[](PersistRegistry& r) { r.Create(L"HKCU\\Software\\\\x", Tessel::ReadOnly, nullptr); },
         Raises<Tessel::PersistencyFailed>(L"Failed to create reg.key 'Software\\\\x' with result=000000a1"),
         original, Tessel::ReadWrite},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(::testing::Message() << "case " << (&row - cases));
        PersistRegistry registry(original, Tessel::ReadWrite);
        row.raises([&] { row.call(registry); });
        EXPECT_EQ(nullptr, registry.GetKey());
        EXPECT_STREQ(row.pathAfter, registry.GetPath());
        EXPECT_EQ(row.accessAfter, registry.GetAccess());
        registry.Close();
        registry.Open(original, Tessel::ReadOnly);
        EXPECT_NE(nullptr, registry.GetKey());
    }
    EXPECT_FALSE(RawKey(L"Software").HasSubKey(L"New"));
}

TEST(PersistRegistryStates, CreateMakesMissingKeysAndKeepsExistingContents)
{
    PersistRegistry registry;
    registry.Create(L"HKCU\\Software\\PersistTest\\New\\Deeper", Tessel::ReadOnly, nullptr);
    EXPECT_STREQ(L"HKCU\\Software\\PersistTest\\New\\Deeper\\", registry.GetPath());
    ExpectRaises<Tessel::PersistencyDenied>(
        [&] { registry.Write(L"v", L"x"); },
        L"Can't perform operation as object has been opened with read permission only");

    RawKey(L"Software\\PersistTest\\New").SetText(L"Kept", L"yes");
    registry.Create(L"HKCU\\Software\\PersistTest\\New", Tessel::ReadWrite, nullptr);
    EXPECT_EQ(L"yes", Text(registry, L"Kept"));
}

#if !defined(_WIN32)
TEST(PersistRegistryStates, DeniedAccessIsReported)
{
    const RawKey locked(L"Software\\Locked");
    ASSERT_EQ(ERROR_SUCCESS, TesselRegSetKeyAccess(locked.Get(), KEY_READ));
    PersistRegistry registry;
    ExpectRaises<Tessel::AccessDenied>([&] { registry.Open(L"HKCU\\Software\\Locked", Tessel::ReadWrite); },
                                       L"Access to registry path 'Software\\Locked' has been denied");
    ExpectRaises<Tessel::AccessDenied>([&] { registry.Create(L"HKCU\\Software\\Locked", Tessel::ReadWrite, nullptr); },
                                       L"Failed to create key 'Software\\Locked'");
}
#endif

TEST(PersistRegistryRelative, UsesOnlyTheParentsTextAndHoldsItsOwnHandle)
{
    RawKey(L"Software\\PersistTest\\Child").SetText(L"Who", L"child");
    PersistRegistry parent(PersistTest::kTestPath, Tessel::ReadOnly);
    PersistRegistry twin(parent, nullptr, Tessel::ReadWrite);
    EXPECT_NE(parent.GetKey(), twin.GetKey());
    EXPECT_STREQ(parent.GetPath(), twin.GetPath());
    parent.Close();
    twin.Write(L"w", L"2");

    const PersistRegistry child(parent, L"Child", Tessel::ReadOnly);
    EXPECT_STREQ(L"HKCU\\Software\\PersistTest\\Child\\", child.GetPath());
    EXPECT_EQ(L"child", Text(child, L"Who"));
    ExpectRaises<Tessel::PersistencyNotFound>([&] { PersistRegistry(parent, L"Nobody", Tessel::ReadOnly); },
                                              L"Software\\PersistTest\\Nobody");
}

bool HandleIsOpen(HKEY key)
{
    return RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr) == ERROR_SUCCESS;
}

// Checks that copies share one handle, that it stays open while any holder lives, and that it
// is closed when the last holder closes, goes, or is assigned over.
TEST(PersistRegistryCopies, TheLastHolderClosesTheKey)
{
    RawKey(PersistTest::kTestKey).SetText(L"v", L"shared");
    RawKey(L"Software\\PersistTest\\Other").SetText(L"v", L"other");
    auto source = std::make_unique<PersistRegistry>(PersistTest::kTestPath, Tessel::ReadWrite);
    const HKEY key = source->GetKey();
    { const PersistRegistry copy(*source); EXPECT_EQ(key, copy.GetKey()); }
    EXPECT_EQ(L"shared", Text(*source, L"v")) << "a copy's end must not close the source's key";

    PersistRegistry survivor(*source);
    source->Close();
    source.reset();
    EXPECT_EQ(L"shared", Text(survivor, L"v"));

    PersistRegistry other(L"HKCU\\Software\\PersistTest\\Other", Tessel::ReadOnly);
    const HKEY otherKey = other.GetKey();
    PersistRegistry otherCopy(other);
    other = survivor;
    EXPECT_EQ(key, other.GetKey());
    EXPECT_EQ(Tessel::ReadWrite, other.GetAccess());
    EXPECT_EQ(L"other", Text(otherCopy, L"v"));
    otherCopy = PersistRegistry();
    EXPECT_FALSE(HandleIsOpen(otherKey));

    PersistRegistry& alias = other;
    other = alias;
    survivor.Close();
    EXPECT_TRUE(HandleIsOpen(key));
    other.Open(L"HKCU\\Software\\PersistTest\\Other", Tessel::ReadOnly);
    EXPECT_FALSE(HandleIsOpen(key));
}

} // namespace

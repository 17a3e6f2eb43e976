// Tests of PersistRegistry::iterator: the walk over sub-key names, its end state, and that it
// follows the owner's key rather than holding one of its own.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "PersistTestSupport.h"
#include "Tessel/PersistRegistry.h"

using PersistTest::RawKey;
using Tessel::PersistRegistry;
using Names = std::vector<std::wstring>;

namespace {

Names Walk(PersistRegistry& registry)
{
    Names names;
    for (const std::wstring& name : registry)
        names.push_back(name);
    return names;
}

TEST(PersistRegistryIterator, WalksSubKeyNamesOneLevelDeepAndEndsOnEmptyOrClosedObjects)
{
    {
        const RawKey key(PersistTest::kTestKey);
        PersistRegistry empty(PersistTest::kTestPath, Tessel::ReadOnly);
        EXPECT_TRUE(empty.begin() == empty.end() && empty.begin()->empty()) << "an empty object starts at the end";
    }
    RawKey(L"Software\\PersistTest\\B");
    RawKey(L"Software\\PersistTest\\a\\Deeper");
    RawKey((L"Software\\PersistTest\\" + std::wstring(255, L'k')).c_str());
    RawKey(PersistTest::kTestKey).SetText(L"Value", L"not a key");
    PersistRegistry registry(PersistTest::kTestPath, Tessel::ReadOnly);
    EXPECT_EQ((Names{L"a", L"B", std::wstring(255, L'k')}), Walk(registry));

    auto it = registry.begin();
    const auto previous = it++;
    EXPECT_EQ(L"a", *previous);
    EXPECT_EQ(L"B", *it);
    ++++it;
    EXPECT_TRUE(it == registry.end() && it->empty());
    EXPECT_EQ(registry.end(), ++it) << "there is no way back from the end";

    registry.Close();
    EXPECT_EQ(registry.end(), registry.begin()) << "a closed object starts at the end";
    PersistRegistry copy(registry);
    EXPECT_NE(registry.end(), copy.end()) << "iterators of different owners differ";
}

TEST(PersistRegistryIterator, FollowsTheOwnersKey)
{
    RawKey(L"Software\\PersistTest\\One");
    RawKey(L"Software\\PersistTest\\Two");
    RawKey(L"Software\\Elsewhere\\Four");
    RawKey(L"Software\\Elsewhere\\Three");
    PersistRegistry registry(PersistTest::kTestPath, Tessel::ReadOnly);
    auto it = registry.begin();
    registry.Open(L"HKCU\\Software\\Elsewhere", Tessel::ReadOnly);
    EXPECT_EQ(L"Three", *++it) << "index 1 of the newly opened key";
    registry.Close();
    EXPECT_EQ(registry.end(), ++it);
}

} // namespace

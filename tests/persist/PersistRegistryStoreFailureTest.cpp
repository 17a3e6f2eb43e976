// An optional Read whose query fails for a reason other than absence: the key deleted through
// another handle, or the store itself failing. Either way the item counts as absent.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "PersistTestSupport.h"
#include "Tessel/PersistRegistry.h"

using PersistTest::RawKey;
using Tessel::PersistRegistry;

namespace {

// One optional Read of "item" into a value that starts as a sentinel (`kept` says whether it
// survived), and a stored form that the overload takes.
struct SentinelRead {
    const char* label;
    std::function<bool(const PersistRegistry&, bool& kept)> read;
    DWORD storedType;
    std::vector<BYTE> stored;
};

template <class T>
SentinelRead Keeps(const char* label, T sentinel, DWORD storedType, std::vector<BYTE> stored)
{
    return {label,
            [sentinel](const PersistRegistry& registry, bool& kept) {
                T value = sentinel;
                const bool delivered = registry.Read(L"item", value, true);
                kept = value == sentinel;
                return delivered;
            },
            storedType, std::move(stored)};
}

const std::vector<SentinelRead>& Reads()
{
    static const std::vector<SentinelRead> reads = {
        Keeps<LONG>("long", -7, REG_DWORD, PersistTest::Dword(5)),
        Keeps<ULONG>("unsigned long", 7u, REG_DWORD, PersistTest::Dword(5)),
        Keeps<float>("float", 2.5f, REG_SZ, PersistTest::Utf16(L"1.5")),
        Keeps<double>("double", 2.5, REG_SZ, PersistTest::Utf16(L"1.5")),
        Keeps<bool>("bool", true, REG_DWORD, PersistTest::Dword(0)),
        {"string",
         [](const PersistRegistry& registry, bool& kept) {
             std::wstring value = L"sentinel";
             const bool delivered = registry.Read(L"item", value, false, true);
             kept = value == L"sentinel";
             return delivered;
         },
         REG_SZ, PersistTest::Utf16(L"stored")},
        {"characters",
         [](const PersistRegistry& registry, bool& kept) {
             wchar_t value[16] = L"sentinel";
             const bool delivered = registry.Read(L"item", value, 16, false, true);
             kept = std::wstring(value) == L"sentinel";
             return delivered;
         },
         REG_SZ, PersistTest::Utf16(L"stored")},
    };
    return reads;
}

void ExpectEachReadAbsent(const PersistRegistry& registry)
{
    for (const SentinelRead& read : Reads()) {
        SCOPED_TRACE(read.label);
        bool kept = false;
        bool delivered = true;
        EXPECT_NO_THROW(delivered = read.read(registry, kept));
        EXPECT_FALSE(delivered);
        EXPECT_TRUE(kept) << "the value was touched";
    }
}

TEST(PersistRegistryOptionalRead, AKeyDeletedThroughAnotherHandleReadsAsAbsent)
{
    {
        const RawKey key(L"Software\\PersistTest\\Doomed");
        key.SetText(L"item", L"1");
    }
    const PersistRegistry registry(L"HKCU\\Software\\PersistTest\\Doomed", Tessel::ReadOnly);
    ASSERT_EQ(ERROR_SUCCESS, SHDeleteKeyW(HKEY_CURRENT_USER, L"Software\\PersistTest\\Doomed"));
    ExpectEachReadAbsent(registry);
}

#if !defined(_WIN32)
// Checks every place in a Read where one database step can fail: a failure in the query that
// looks for the item makes it absent; one in the fetch after it may raise PersistencyFailed,
// which names the store's status; nothing else may come out, and a delivered value is right.
TEST(PersistRegistryOptionalRead, AFailingStoreReadsAsAbsent)
{
    const RawKey key(PersistTest::kTestKey);
    const PersistRegistry registry(PersistTest::kTestPath, Tessel::ReadOnly);
    constexpr int kSqliteIoError = 10;
    for (const SentinelRead& read : Reads()) {
        SCOPED_TRACE(read.label);
        int absent = 0;
        for (DWORD nth = 1; nth <= 8; ++nth) {
            SCOPED_TRACE(nth);
            // A fresh write drops the item from this process's cache, so the read reaches the
            // database.
            key.Set(L"item", read.storedType, read.stored);
            TesselRegInjectFailure(kSqliteIoError, nth);
            bool kept = false;
            bool delivered = false;
            try {
                delivered = read.read(registry, kept);
            } catch (const Tessel::PersistencyFailed&) {
                continue;
            }
            TesselRegInjectFailure(0, 0);
            if (delivered)
                break;
            ++absent;
            EXPECT_TRUE(kept) << "the value was touched";
        }
        TesselRegInjectFailure(0, 0);
        EXPECT_GT(absent, 0) << "no injected failure reached the query";
    }
}
#endif

} // namespace

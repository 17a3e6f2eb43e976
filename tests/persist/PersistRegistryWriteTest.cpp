// Tests of the Write overloads and Remove: what each stores byte for byte, and that refused
// writes leave the store as it was.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "PersistTestSupport.h"
#include "Tessel/PersistRegistry.h"

using PersistTest::ExpectRaises;
using PersistTest::RawKey;
using PersistTest::Utf16;
using Tessel::PersistRegistry;

namespace {

class PersistRegistryWrite : public ::testing::Test {
protected:
    RawKey m_raw{PersistTest::kTestKey};
    PersistRegistry m_registry{PersistTest::kTestPath, Tessel::ReadWrite};
};

using Write = std::function<void(const PersistRegistry&)>;

TEST_F(PersistRegistryWrite, EachSourceTypeHasItsStoredForm)
{
    unsigned char bytes[] = {0x00, 0xFF, 0x10};
    const struct {
        const char* label;
        Write write;
        DWORD type;
        std::vector<BYTE> data;
    } cases[] = {
        {"string", [](auto& r) { r.Write(L"v", L"Ab", false); }, REG_SZ, {'A', 0, 'b', 0, 0, 0}},
        {"empty string", [](auto& r) { r.Write(L"v", L""); }, REG_SZ, {0, 0}},
        {"expandable", [](auto& r) { r.Write(L"v", L"%X%", true); }, REG_EXPAND_SZ, Utf16(L"%X%")},
        {"string object", [](auto& r) { r.Write(L"v", std::wstring(L"ab\0cd", 5), false); }, REG_SZ, Utf16(L"ab")},
        {"long", [](auto& r) { r.Write(L"v", LONG{-2147483647 - 1}); }, REG_SZ, Utf16(L"-2147483648")},
        {"unsigned long", [](auto& r) { r.Write(L"v", ULONG{4000000000u}); }, REG_DWORD,
         PersistTest::Dword(4000000000u)},
        {"float", [](auto& r) { r.Write(L"v", 0.1f); }, REG_SZ, Utf16(L"0.1")},
        {"negative zero", [](auto& r) { r.Write(L"v", -0.0f); }, REG_SZ, Utf16(L"-0")},
        {"double", [](auto& r) { r.Write(L"v", 1.0 / 3.0); }, REG_SZ, Utf16(L"0.333333333333333")},
        {"large double", [](auto& r) { r.Write(L"v", 1e300); }, REG_SZ, Utf16(L"1e+300")},
        {"bytes", [&](auto& r) { r.Write(L"v", bytes, sizeof bytes); }, REG_BINARY, {0x00, 0xFF, 0x10}},
        {"no bytes", [&](auto& r) { r.Write(L"v", bytes, 0); }, REG_BINARY, {}},
        {"true", [](auto& r) { r.Write(L"v", true); }, REG_DWORD, PersistTest::Dword(1)},
        {"false", [](auto& r) { r.Write(L"v", false); }, REG_DWORD, PersistTest::Dword(0)},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.label);
        // Each write replaces the one before, type included.
        row.write(m_registry);
        EXPECT_EQ(std::make_pair(row.type, row.data), m_raw.Stored(L"v"));
    }
}

TEST_F(PersistRegistryWrite, RefusedWritesLeaveTheStoreAlone)
{
    m_raw.SetText(L"v", L"before");
    RawKey(L"Software\\PersistTest\\Sub\\Leaf");
    unsigned char bytes[] = {1};
    const Write writes[] = {
        [](auto& r) { r.Write(L"v", L"new", false); },
        [](auto& r) { r.Write(L"v", std::wstring(L"new"), true); },
        [](auto& r) { r.Write(L"v", LONG{1}); },
        [](auto& r) { r.Write(L"v", ULONG{1}); },
        [](auto& r) { r.Write(L"v", 1.0f); },
        [](auto& r) { r.Write(L"v", 1.0); },
        [&](auto& r) { r.Write(L"v", bytes, 1); },
        [](auto& r) { r.Write(L"v", true); },
        [](auto& r) { r.Remove(L"Sub\\Leaf", false); },
        [](auto& r) { r.Remove(L"Sub", true); },
    };
    const PersistRegistry readOnly(PersistTest::kTestPath, Tessel::ReadOnly);
    PersistRegistry closedReadOnly(readOnly);
    closedReadOnly.Close();
    for (const auto& write : writes) {
        SCOPED_TRACE(::testing::Message() << "operation " << (&write - writes));
        ExpectRaises<Tessel::PersistencyDenied>(
            [&] { write(readOnly); }, L"Can't perform operation as object has been opened with read permission only");
        ExpectRaises<Tessel::PersistencyClosed>(
            [&] { write(closedReadOnly); }, L"Can't perform operation because registry object has been closed");
        EXPECT_EQ(std::make_pair(DWORD{REG_SZ}, Utf16(L"before")), m_raw.Stored(L"v"));
        EXPECT_TRUE(m_raw.HasSubKey(L"Sub\\Leaf"));
    }

    // A store refusal: a handle whose key is gone answers ERROR_KEY_DELETED (1018).
    const PersistRegistry doomed(L"HKCU\\Software\\PersistTest\\Sub\\Leaf", Tessel::ReadWrite);
    m_registry.Remove(L"Sub\\Leaf", false);
    ExpectRaises<Tessel::PersistencyFailed>([&] { doomed.Write(L"100%", ULONG{1}); },
                                            L"Writing item '100%' failed with 000003fa");
}

TEST_F(PersistRegistryWrite, RemoveTakesSubKeysOnlyWhenAskedToRecurse)
{
    RawKey(L"Software\\PersistTest\\Tree\\Leaf").SetText(L"v", L"x");
    RawKey(L"Software\\PersistTest\\Single");
    m_raw.SetText(L"Single", L"a value of the same name");

    // The message begins with the words "Removal" or "Recursive removal".
    ExpectRaises<Tessel::PersistencyFailed>([&] { m_registry.Remove(L"Tree", false); },
                                            L"Removal of key 'Tree' failed");
    EXPECT_TRUE(m_raw.HasSubKey(L"Tree\\Leaf"));
    m_registry.Remove(L"Tree", true);
    EXPECT_FALSE(m_raw.HasSubKey(L"Tree"));
    m_registry.Remove(L"Single", false);
    EXPECT_FALSE(m_raw.HasSubKey(L"Single"));
    EXPECT_EQ(DWORD{REG_SZ}, m_raw.Stored(L"Single").first) << "values are not Remove's business";
    ExpectRaises<Tessel::PersistencyFailed>([&] { m_registry.Remove(L"Tree %s", true); },
                                            L"Recursive removal of key 'Tree %s' failed");
}

} // namespace

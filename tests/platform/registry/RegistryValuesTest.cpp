// Values and enumeration as a client sees them: buffers and sizes, names, order, key information.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/registry/RegistryTestSupport.h"

using namespace RegistryTest;

namespace {

class RegistryValues : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kTestRoot, m_key)); }

    std::vector<std::wstring> ValueNames()
    {
        std::vector<std::wstring> names;
        for (DWORD index = 0;; ++index) {
            wchar_t name[64];
            DWORD length = 64;
            const LONG status = RegEnumValueW(m_key.Get(), index, name, &length, nullptr, nullptr, nullptr, nullptr);
            if (status != ERROR_SUCCESS) {
                EXPECT_EQ(ERROR_NO_MORE_ITEMS, status);
                break;
            }
            names.emplace_back(name, length);
        }
        return names;
    }

    ScopedKey m_key;
};

TEST_F(RegistryValues, QueryBuffersFollowTheSizeProtocol)
{
    ASSERT_EQ(ERROR_SUCCESS, SetString(m_key.Get(), L"text", u"hello"));
    const DWORD stored = 12; // five units and the terminator
    struct Case {
        const char* what;
        bool withBuffer;
        DWORD size;
        LONG expected;
    } cases[] = {
        {"size probe", false, 0, ERROR_SUCCESS},
        {"exact", true, stored, ERROR_SUCCESS},
        {"roomy", true, 64, ERROR_SUCCESS},
        {"one byte short", true, stored - 1, ERROR_MORE_DATA},
        {"empty buffer", true, 0, ERROR_MORE_DATA},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<BYTE> buffer(64, 0xAB);
        DWORD size = c.size;
        DWORD type = 0;
        EXPECT_EQ(c.expected, RegQueryValueExW(m_key.Get(), L"TEXT", nullptr, &type, c.withBuffer ? buffer.data() : nullptr,
                                               &size));
        EXPECT_EQ(stored, size);
        EXPECT_EQ(static_cast<DWORD>(REG_SZ), type);
        if (c.withBuffer && c.expected == ERROR_SUCCESS) {
            EXPECT_EQ(StringData(u"hello"), std::vector<BYTE>(buffer.begin(), buffer.begin() + size));
        }
    }
    DWORD size = 4;
    BYTE byte[4];
    EXPECT_EQ(ERROR_INVALID_PARAMETER, RegQueryValueExW(m_key.Get(), L"text", nullptr, nullptr, byte, nullptr));
    DWORD reserved = 0;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, RegQueryValueExW(m_key.Get(), L"text", &reserved, nullptr, byte, &size));
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExW(m_key.Get(), L"text", nullptr, nullptr, nullptr, nullptr));
}

TEST_F(RegistryValues, DataIsStoredAsGivenWhateverTheType)
{
    const BYTE odd[] = {'a', 0, 'b'};
    const BYTE threeBytes[] = {1, 2, 3};
    struct Case {
        const wchar_t* name;
        DWORD type;
        std::vector<BYTE> data;
    } cases[] = {
        {L"odd string", REG_SZ, {odd, odd + 3}},
        {L"unterminated", REG_SZ, {'x', 0, 'y', 0}},
        {L"short dword", REG_DWORD, {threeBytes, threeBytes + 3}},
        {L"empty binary", REG_BINARY, {}},
        {L"unknown type", 0x1234, {9}},
        {L"back\\slash", REG_MULTI_SZ, {'a', 0, 0, 0, 0, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::wstring(c.name).size());
        ASSERT_EQ(ERROR_SUCCESS, RegSetValueExW(m_key.Get(), c.name, 0, c.type, c.data.empty() ? nullptr : c.data.data(),
                                                static_cast<DWORD>(c.data.size())));
        LONG status;
        DWORD type = 0;
        EXPECT_EQ(c.data, QueryBytes(m_key.Get(), c.name, status, &type));
        EXPECT_EQ(ERROR_SUCCESS, status);
        EXPECT_EQ(c.type, type);
    }
}

TEST_F(RegistryValues, BadArgumentsToSetWriteNothing)
{
    const BYTE data[] = {1, 2, 3, 4};
    const std::wstring longest(16383, L'n');
    EXPECT_EQ(ERROR_INVALID_PARAMETER, RegSetValueExW(m_key.Get(), L"v", 1, REG_BINARY, data, 4));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, RegSetValueExW(m_key.Get(), L"v", 0, REG_BINARY, nullptr, 4));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, RegSetValueExW(m_key.Get(), (longest + L"n").c_str(), 0, REG_BINARY, data, 4));
    EXPECT_TRUE(ValueNames().empty());
    EXPECT_EQ(ERROR_SUCCESS, RegSetValueExW(m_key.Get(), longest.c_str(), 0, REG_BINARY, data, 4));
    LONG status;
    EXPECT_EQ(4u, QueryBytes(m_key.Get(), longest.c_str(), status).size());
}

TEST_F(RegistryValues, TheDefaultValueHasTwoNamesAndIsNotThereUntilSet)
{
    LONG status;
    QueryDword(m_key.Get(), nullptr, status);
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, status);
    ASSERT_EQ(ERROR_SUCCESS, SetDword(m_key.Get(), L"", 5));
    EXPECT_EQ(5u, QueryDword(m_key.Get(), nullptr));
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteValueW(m_key.Get(), nullptr));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteValueW(m_key.Get(), L""));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteValueW(m_key.Get(), L"never set"));
}

TEST_F(RegistryValues, ValuesEnumerateInCreationOrderAndKeepTheirFirstName)
{
    for (const wchar_t* name : {L"zeta", L"Alpha", L"mid", L"beta"})
        ASSERT_EQ(ERROR_SUCCESS, SetDword(m_key.Get(), name, 1));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(m_key.Get(), L"ALPHA", 2)) << "an overwrite keeps the place and the name";
    EXPECT_EQ((std::vector<std::wstring>{L"zeta", L"Alpha", L"mid", L"beta"}), ValueNames());
    EXPECT_EQ(2u, QueryDword(m_key.Get(), L"alpha"));

    ASSERT_EQ(ERROR_SUCCESS, RegDeleteValueW(m_key.Get(), L"MID"));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(m_key.Get(), L"mid", 3)) << "a value made again goes last";
    EXPECT_EQ((std::vector<std::wstring>{L"zeta", L"Alpha", L"beta", L"mid"}), ValueNames());
}

TEST_F(RegistryValues, SubKeysEnumerateByUpperCasedUnits)
{
    // Upper-casing puts '_' (0x5F) after the letters, and a supplementary character's
    // surrogates (0xD8xx) after everything in the first few blocks but before U+FF21.
    const std::vector<std::wstring> created = {L"b", L"_under", L"A", L"\U0001F600", L"\uFF41", L"a1", L"Z", L"\u00E9"};
    for (const std::wstring& name : created) {
        ScopedKey key;
        ASSERT_EQ(ERROR_SUCCESS, CreateKey(m_key.Get(), name.c_str(), key));
    }
    LONG status;
    EXPECT_EQ((std::vector<std::wstring>{L"A", L"a1", L"b", L"Z", L"_under", L"\u00E9", L"\U0001F600", L"\uFF41"}),
              SubKeyNames(m_key.Get(), status));
    EXPECT_EQ(ERROR_SUCCESS, status);
}

TEST_F(RegistryValues, SmallNameBuffersGetNothingAndKeepTheirCount)
{
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(m_key.Get(), L"seven77", key));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(m_key.Get(), L"six666", 1));

    wchar_t name[16];
    for (DWORD room : {0u, 5u, 6u, 7u}) {
        SCOPED_TRACE(room);
        std::fill(std::begin(name), std::end(name), L'#');
        DWORD length = room;
        const bool fitsValue = room > 6;
        EXPECT_EQ(ERROR_MORE_DATA, RegEnumKeyExW(m_key.Get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr));
        EXPECT_EQ(room, length);
        EXPECT_EQ(L'#', name[0]);
        length = room;
        EXPECT_EQ(fitsValue ? ERROR_SUCCESS : ERROR_MORE_DATA,
                  RegEnumValueW(m_key.Get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr));
        EXPECT_EQ(fitsValue ? 6u : room, length);
    }
    DWORD length = 8;
    EXPECT_EQ(ERROR_SUCCESS, RegEnumKeyExW(m_key.Get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(std::wstring(L"seven77"), std::wstring(name, length));
    length = 8;
    EXPECT_EQ(ERROR_NO_MORE_ITEMS, RegEnumKeyExW(m_key.Get(), 1, name, &length, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_NO_MORE_ITEMS, RegEnumValueW(m_key.Get(), 1, name, &length, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, RegEnumKeyExW(m_key.Get(), 0, nullptr, &length, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, RegEnumValueW(m_key.Get(), 0, name, nullptr, nullptr, nullptr, nullptr, nullptr));

    BYTE data[2];
    DWORD size = sizeof(data);
    length = 16;
    EXPECT_EQ(ERROR_MORE_DATA, RegEnumValueW(m_key.Get(), 0, name, &length, nullptr, nullptr, data, &size));
    EXPECT_EQ(4u, size);
}

TEST_F(RegistryValues, EnumeratingWhileDeletingShiftsTheIndices)
{
    for (const wchar_t* name : {L"a", L"b", L"c", L"d"}) {
        ScopedKey key;
        ASSERT_EQ(ERROR_SUCCESS, CreateKey(m_key.Get(), name, key));
    }
    // The usual way to empty a key: always take index 0.
    std::vector<std::wstring> deleted;
    wchar_t name[8];
    DWORD length = 8;
    while (RegEnumKeyExW(m_key.Get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS) {
        deleted.emplace_back(name, length);
        ASSERT_EQ(ERROR_SUCCESS, RegDeleteKeyW(m_key.Get(), name));
        length = 8;
    }
    EXPECT_EQ((std::vector<std::wstring>{L"a", L"b", L"c", L"d"}), deleted);
}

TEST_F(RegistryValues, QueryInfoDescribesTheKey)
{
    ScopedKey sub;
    wchar_t className[] = L"TesselClass";
    ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(m_key.Get(), L"abc", 0, className, 0, KEY_ALL_ACCESS, nullptr, sub.Put(),
                                             nullptr));
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(m_key.Get(), L"longer name", sub));
    ASSERT_EQ(ERROR_SUCCESS, SetString(sub.Get(), L"x", u"0123456789"));
    ASSERT_EQ(ERROR_SUCCESS, SetString(m_key.Get(), L"value name", u"12"));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(m_key.Get(), L"v", 1));

    DWORD subKeys = 0, maxSubKey = 0, maxClass = 0, values = 0, maxValueName = 0, maxData = 0;
    FILETIME before{};
    ASSERT_EQ(ERROR_SUCCESS, RegQueryInfoKeyW(m_key.Get(), nullptr, nullptr, nullptr, &subKeys, &maxSubKey, &maxClass,
                                              &values, &maxValueName, &maxData, nullptr, &before));
    EXPECT_EQ(2u, subKeys);
    EXPECT_EQ(11u, maxSubKey);
    EXPECT_EQ(11u, maxClass);
    EXPECT_EQ(2u, values);
    EXPECT_EQ(10u, maxValueName);
    EXPECT_EQ(6u, maxData);

    ASSERT_EQ(ERROR_SUCCESS, SetDword(m_key.Get(), L"v", 2));
    FILETIME after{};
    ASSERT_EQ(ERROR_SUCCESS, RegQueryInfoKeyW(m_key.Get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                              nullptr, nullptr, nullptr, &after));
    const auto ticks = [](const FILETIME& time) {
        return (static_cast<ULONGLONG>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
    };
    EXPECT_GT(ticks(after), ticks(before));
    EXPECT_GT(ticks(before), 130000000000000000ull) << "a FILETIME from this century";

    // A sub-key's last write, as enumeration reports it, moves with its values too.
    wchar_t name[32];
    DWORD nameLength = 32;
    FILETIME childBefore{}, childAfter{};
    ASSERT_EQ(ERROR_SUCCESS, RegEnumKeyExW(m_key.Get(), 1, name, &nameLength, nullptr, nullptr, nullptr, &childBefore));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(sub.Get(), L"x", 1));
    nameLength = 32;
    ASSERT_EQ(ERROR_SUCCESS, RegEnumKeyExW(m_key.Get(), 1, name, &nameLength, nullptr, nullptr, nullptr, &childAfter));
    EXPECT_EQ(std::wstring(L"longer name"), std::wstring(name, nameLength));
    EXPECT_GT(ticks(childAfter), ticks(childBefore));

    ScopedKey withClass;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(m_key.Get(), L"abc", 0, KEY_READ, withClass.Put()));
    wchar_t buffer[32];
    DWORD length = 5;
    EXPECT_EQ(ERROR_MORE_DATA, RegQueryInfoKeyW(withClass.Get(), buffer, &length, nullptr, nullptr, nullptr, nullptr,
                                                nullptr, nullptr, nullptr, nullptr, nullptr));
    length = 32;
    ASSERT_EQ(ERROR_SUCCESS, RegQueryInfoKeyW(withClass.Get(), buffer, &length, nullptr, nullptr, nullptr, nullptr,
                                              nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(std::wstring(L"TesselClass"), std::wstring(buffer, length));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, RegQueryInfoKeyW(withClass.Get(), buffer, nullptr, nullptr, nullptr, nullptr,
                                                        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
}

TEST_F(RegistryValues, SupplementaryCharactersSurviveTheRoundTrip)
{
    const wchar_t* name = L"smile\U0001F600";
    ASSERT_EQ(ERROR_SUCCESS, SetDword(m_key.Get(), name, 1));
    EXPECT_EQ((std::vector<std::wstring>{name}), ValueNames());
    EXPECT_EQ(1u, QueryDword(m_key.Get(), L"SMILE\U0001F600"));
}

} // namespace

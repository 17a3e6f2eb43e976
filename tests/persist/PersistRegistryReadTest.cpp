// Tests of the nine Read overloads: each against every stored type it refuses, the optional
// rule, the conversions of text, list splitting, expansion and the two buffer forms.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cwchar>
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

class PersistRegistryRead : public ::testing::Test {
protected:
    RawKey m_raw{PersistTest::kTestKey};
    PersistRegistry m_registry{PersistTest::kTestPath, Tessel::ReadOnly};
};

// One Read overload: the stored types it takes and the tail of its wrong-type message.
struct Overload {
    const char* label;
    std::vector<DWORD> accepts;
    const wchar_t* wrongType;
    std::function<bool(const PersistRegistry&, const wchar_t*, bool optional)> read;
};

template <class T>
bool ReadAs(const PersistRegistry& registry, const wchar_t* name, bool optional)
{
    T value{};
    return registry.Read(name, value, optional);
}

const Overload kOverloads[] = {
    {"long", {REG_SZ, REG_DWORD}, L"is not dword or string", ReadAs<LONG>},
    {"unsigned long", {REG_DWORD}, L"is not dword", ReadAs<ULONG>},
    {"float", {REG_SZ, REG_EXPAND_SZ}, L"is not a string", ReadAs<float>},
    {"double", {REG_SZ, REG_EXPAND_SZ}, L"is not a string", ReadAs<double>},
    {"list", {REG_SZ, REG_EXPAND_SZ}, L"is not a string", ReadAs<std::vector<std::wstring>>},
    {"bool", {REG_DWORD, REG_BINARY}, L"is not dword or binary", ReadAs<bool>},
    {"string", {REG_SZ, REG_EXPAND_SZ}, L"is not a string",
     [](const PersistRegistry& r, const wchar_t* n, bool o) {
         std::wstring v;
         return r.Read(n, v, true, o);
     }},
    {"bytes", {REG_BINARY}, L"is not binary",
     [](const PersistRegistry& r, const wchar_t* n, bool o) {
         unsigned char v[16];
         return r.Read(n, v, 0, sizeof v, o);
     }},
    {"characters", {REG_SZ, REG_EXPAND_SZ}, L"is not a string",
     [](const PersistRegistry& r, const wchar_t* n, bool o) {
         wchar_t v[16];
         return r.Read(n, v, 16, false, o);
     }},
};

// Checks every overload against every stored type, and against an absent item and a closed
// object. `optional` forgives absence only: a wrong type raises either way.
TEST_F(PersistRegistryRead, EachOverloadTakesItsTypesAndRefusesTheRest)
{
    const struct {
        const wchar_t* name;
        DWORD type;
        std::vector<BYTE> data;
    } items[] = {
        {L"sz", REG_SZ, Utf16(L"42")},         {L"expand", REG_EXPAND_SZ, Utf16(L"42")},
        {L"binary", REG_BINARY, {1, 0}},       {L"dword", REG_DWORD, PersistTest::Dword(1)},
        {L"multi", REG_MULTI_SZ, Utf16(L"a")}, {L"qword", REG_QWORD, {1, 0, 0, 0, 0, 0, 0, 0}},
        {L"none", REG_NONE, {}},
    };
    for (const auto& item : items)
        m_raw.Set(item.name, item.type, item.data);
    PersistRegistry closed(m_registry);
    closed.Close();

    for (const Overload& overload : kOverloads) {
        for (const bool optional : {false, true}) {
            SCOPED_TRACE(::testing::Message() << overload.label << (optional ? ", optional" : ""));
            for (const auto& item : items) {
                SCOPED_TRACE(::testing::Message() << "stored " << std::wstring(item.name));
                const auto& accepts = overload.accepts;
                if (std::find(accepts.begin(), accepts.end(), item.type) != accepts.end())
                    EXPECT_TRUE(overload.read(m_registry, item.name, optional));
                else
                    ExpectRaises<Tessel::PersistencyOtherType>(
                        [&] { overload.read(m_registry, item.name, optional); },
                        L"Storage item '" + std::wstring(item.name) + L"' " + overload.wrongType);
            }
            if (optional)
                EXPECT_FALSE(overload.read(m_registry, L"missing", true));
            else
                ExpectRaises<Tessel::PersistencyNotFound>([&] { overload.read(m_registry, L"missing %s", false); },
                                                          L"Storage item 'missing %s' not found");
            ExpectRaises<Tessel::PersistencyClosed>(
                [&] { overload.read(closed, L"sz", optional); },
                L"Can't perform operation because registry object has been closed");
        }
    }
}

// Checks the text conversions of the numeric reads, and that they never expand references.
TEST_F(PersistRegistryRead, NumbersFromText)
{
    setenv("TESSEL_PERSIST_NUMBER", "5", 1);
    const struct {
        const wchar_t* text;
        const wchar_t* asLong;   // value, or the message behind "Storage item 'n' contains "
        const wchar_t* asFloat;
        const wchar_t* asDouble;
    } cases[] = {
        {L"  42 \t", L"42", L"42", L"42"},
        {L"-5", L"-5", L"a float outside valid range", L"-5"},
        {L"0", L"0", L"a float outside valid range", L"0"},
        {L"0.1", L"illegal a signed value", L"0.1", L"0.1"},
        {L"42x", L"illegal a signed value", L"illegal float value", L"illegal double value"},
        {L"4294967295", L"a signed long outside valid range", L"4294967295", L"4294967295"},
        {L"1e39", L"illegal a signed value", L"a float outside valid range", L"1e+39"},
        {L"%TESSEL_PERSIST_NUMBER%", L"illegal a signed value", L"a float outside valid range",
         L"illegal double value"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(::testing::Message() << "text '" << std::wstring(row.text) << "'");
        m_raw.SetText(L"n", row.text);
        auto check = [&](const wchar_t* expected, auto value) {
            const std::wstring expectation = expected;
            if (expectation.find(L' ') == std::wstring::npos) {
                EXPECT_TRUE(m_registry.Read(L"n", value, false));
                EXPECT_EQ(static_cast<decltype(value)>(std::wcstod(expected, nullptr)), value);
            } else {
                ExpectRaises<Tessel::PersistencyInvalid>([&] { m_registry.Read(L"n", value, false); },
                                                         L"Storage item 'n' contains " + expectation);
            }
        };
        check(row.asLong, LONG{0});
        check(row.asFloat, 0.0f);
        check(row.asDouble, 0.0);
    }
}

TEST_F(PersistRegistryRead, BooleanFromDwordOrShortBinary)
{
    const struct {
        DWORD type;
        std::vector<BYTE> data;
        bool value;
    } cases[] = {
        {REG_BINARY, {0x00, 0x01}, true}, {REG_BINARY, {0x00, 0x00}, false}, {REG_BINARY, {}, false},
        {REG_BINARY, {0, 0, 0, 0x80}, true}, {REG_DWORD, PersistTest::Dword(0), false},
        {REG_DWORD, PersistTest::Dword(2), true},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(::testing::Message() << "type " << row.type << ", " << row.data.size() << " bytes");
        m_raw.Set(L"b", row.type, row.data);
        bool value = !row.value;
        EXPECT_TRUE(m_registry.Read(L"b", value, false));
        EXPECT_EQ(row.value, value);
    }
    m_raw.Set(L"b", REG_BINARY, {0, 0, 0, 0, 1});
    bool value = true;
    ExpectRaises<Tessel::PersistencyOtherType>(
        [&] { m_registry.Read(L"b", value, true); },
        L"Storage item 'b' is typed as binary larger then 4 bytes, can't convert to boolean");
}

TEST_F(PersistRegistryRead, TextsAndLists)
{
    using List = std::vector<std::wstring>;
    const struct {
        std::vector<BYTE> data;
        std::wstring text; // up to the first NUL, or the end of the data
        List list;
    } cases[] = {
        {Utf16(L"a, b"), L"a, b", {L"a", L"b"}},
        {Utf16(L"a,,b"), L"a,,b", {L"a", L"", L"b"}},
        {Utf16(L"a,"), L"a,", {L"a", L""}},
        {Utf16(L"   "), L"   ", {L""}},
        {{}, L"", {}},
        {Utf16(L"a  ,b"), L"a  ,b", {L"a ", L"b"}},
        {Utf16(L" \ta\t, b"), L" \ta\t, b", {L"\ta\t", L"b"}},
        {Utf16(L"%HOME%,x", false), L"%HOME%,x", {L"%HOME%", L"x"}},
        {Utf16(std::wstring(L"ab\0c,d", 6)), L"ab", {L"ab"}},
        {{'a', 0, 'b'}, L"a", {L"a"}},
        {Utf16(L"x\U0001F600"), L"x\U0001F600", {L"x\U0001F600"}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(::testing::Message() << "text '" << row.text << "'");
        m_raw.Set(L"t", REG_EXPAND_SZ, row.data);
        std::wstring text = L"old";
        List list{L"stale"};
        EXPECT_TRUE(m_registry.Read(L"t", text, false, false));
        EXPECT_TRUE(m_registry.Read(L"t", list, false));
        EXPECT_EQ(row.text, text);
        EXPECT_EQ(row.list, list);
    }
    std::wstring text = L"kept";
    std::vector<std::wstring> list{L"stale"};
    EXPECT_FALSE(m_registry.Read(L"missing", text, false, true) || m_registry.Read(L"missing", list, true));
    EXPECT_EQ(L"kept", text);
    EXPECT_TRUE(list.empty()) << "a list is emptied first, whatever the outcome";
}

TEST_F(PersistRegistryRead, ExpansionFollowsTheCallerNotTheStoredType)
{
    setenv("TESSEL_PERSIST_HOME", "/home/tessel", 1);
    m_raw.SetText(L"expand", L"%TESSEL_PERSIST_HOME%\\x", REG_EXPAND_SZ);
    m_raw.SetText(L"plain", L"%TESSEL_PERSIST_HOME%;%TESSEL_PERSIST_UNSET%");
    std::wstring text;
    EXPECT_TRUE(m_registry.Read(L"expand", text, false, false));
    EXPECT_EQ(L"%TESSEL_PERSIST_HOME%\\x", text);
    EXPECT_TRUE(m_registry.Read(L"plain", text, true, false));
    EXPECT_EQ(L"/home/tessel;%TESSEL_PERSIST_UNSET%", text);
    wchar_t buffer[15];
    EXPECT_TRUE(m_registry.Read(L"expand", buffer, 15, true, false));
    EXPECT_STREQ(L"/home/tessel\\x", buffer);
}

TEST_F(PersistRegistryRead, BuffersCheckSizesBeforeTouchingAnything)
{
    m_raw.SetText(L"five", L"12345");
    m_raw.SetText(L"six", L"123456");
    std::wstring chars(8, L'Z');
    EXPECT_TRUE(m_registry.Read(L"five", &chars[0], 6, false, false));
    EXPECT_EQ(std::wstring(L"12345\0ZZ", 8), chars);
    ExpectRaises<Tessel::PersistencyMoreData>([&] { m_registry.Read(L"six", &chars[0], 6, false, false); },
                                              L"String for item 'six' requires 7 characters (incl. terminator)");
    EXPECT_EQ(std::wstring(L"12345\0ZZ", 8), chars);
    EXPECT_TRUE(m_registry.Read(L"six", &chars[0], 8, false, false));
    EXPECT_EQ(std::wstring(L"123456\0\0", 8), chars);

    using Bytes = std::vector<unsigned char>;
    m_raw.Set(L"four", REG_BINARY, {1, 2, 3, 4});
    Bytes bytes(8, 0xAA);
    EXPECT_TRUE(m_registry.Read(L"four", bytes.data(), 4, 4, false));
    EXPECT_EQ((Bytes{1, 2, 3, 4, 0xAA, 0xAA, 0xAA, 0xAA}), bytes);
    EXPECT_TRUE(m_registry.Read(L"four", bytes.data(), 2, 6, false));
    EXPECT_EQ((Bytes{1, 2, 3, 4, 0, 0, 0xAA, 0xAA}), bytes);

    bytes.assign(8, 0xAA);
    ExpectRaises<Tessel::PersistencyInvalid>([&] { m_registry.Read(L"four", bytes.data(), 5, 8, false); },
                                             L"Storage item 'four' doesn't contain minimum of 5 bytes binary data");
    ExpectRaises<Tessel::PersistencyMoreData>([&] { m_registry.Read(L"four", bytes.data(), 0, 3, true); },
                                              L"Storage item 'four' contains 4 bytes");
    EXPECT_EQ(Bytes(8, 0xAA), bytes);
}

} // namespace

// Stored text turned into numbers, booleans and lists, at the edges of each conversion, with the
// exact texts of its failures.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "ConfigTestSupport.h"

using namespace Tessel;
using namespace TesselTest;

namespace {

class Conversion : public ::testing::Test {
protected:
    // Stores text under a fresh name and gives the name.
    std::wstring Store(const std::wstring& text)
    {
        const std::wstring name = L"V" + std::to_wstring(m_count++);
        m_key.SetText(name, text);
        return name;
    }

    ScopedKey m_key = TestKey();
    std::shared_ptr<IConfigReader> m_reader = OpenReader(kBaseLocation);
    int m_count = 0;
};

const std::wstring kNoFailure; // no failure expected

std::wstring Partial(int count, const std::wstring& text)
{
    return L"Cannot parse whole string. Only first " + std::to_wstring(count) + L" chars are processed. '" + text +
           L"'";
}

} // namespace

TEST_F(Conversion, IntegersUseTheWholeTextAnd32Bits)
{
    struct Row {
        std::wstring text;
        int value;
        std::wstring failure;
    };
    const std::vector<Row> rows = {
        {L"12", 12, kNoFailure},
        {L"+5", 5, kNoFailure},
        {L"-0", 0, kNoFailure},
        {L" 12", 12, kNoFailure},
        {L"\t\n-7", -7, kNoFailure},
        {L"2147483647", 2147483647, kNoFailure},
        {L"-2147483648", INT32_MIN, kNoFailure},
        {L"2147483648", 0, L"stoi argument out of range"},
        {L"-2147483649", 0, L"stoi argument out of range"},
        {L"99999999999999999999", 0, L"stoi argument out of range"},
        {L"", 0, L"invalid stoi argument"},
        {L"abc", 0, L"invalid stoi argument"},
        {L" ", 0, L"invalid stoi argument"},
        {L"12 ", 0, Partial(2, L"12 ")},
        {L"0x10", 0, Partial(1, L"0x10")},
        {L" 3.5", 0, Partial(2, L" 3.5")},
        {L"12%s%d", 0, Partial(2, L"12%s%d")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(Narrow(row.text));
        const std::wstring name = Store(row.text);
        if (row.failure.empty()) {
            EXPECT_EQ(m_reader->GetInt(name), row.value);
            EXPECT_EQ(m_reader->GetIntOr(name, 1), row.value);
        } else {
            ExpectFailure<InvalidTypeException>([&] { m_reader->GetInt(name); }, row.failure);
            // A default replaces a missing parameter, never a bad one.
            ExpectFailure<InvalidTypeException>([&] { m_reader->GetIntOr(name, 1); }, row.failure);
        }
    }
}

TEST_F(Conversion, UnsignedListItemsAndDoubles)
{
    struct Row {
        std::wstring text;
        std::vector<unsigned int> value;
        std::wstring failure;
    };
    const std::vector<Row> unsignedRows = {
        {L"0,4294967295", {0u, 4294967295u}, kNoFailure},
        {L"-1", {4294967295u}, kNoFailure}, // negated in 32 bits, as the runtime does
        {L"4294967296", {}, L"stoul argument out of range"},
        {L"x", {}, L"invalid stoul argument"},
        {L"7 x", {}, Partial(1, L"7 x")},
    };
    for (const Row& row : unsignedRows) {
        SCOPED_TRACE(Narrow(row.text));
        const std::wstring name = Store(row.text);
        if (row.failure.empty())
            EXPECT_EQ(m_reader->GetUIntList(name), row.value);
        else
            ExpectFailure<InvalidTypeException>([&] { m_reader->GetUIntList(name); }, row.failure);
    }

    EXPECT_DOUBLE_EQ(m_reader->GetDouble(Store(L"12.5")), 12.5);
    EXPECT_DOUBLE_EQ(m_reader->GetDouble(Store(L" -1e3")), -1000.0);
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetDouble(Store(L"1e999")); }, L"stod argument out of range");
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetDoubleOr(Store(L"pi"), 3.0); }, L"invalid stod argument");
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetDouble(Store(L"1.5 ")); }, Partial(3, L"1.5 "));
    EXPECT_DOUBLE_EQ(m_reader->GetDoubleOr(L"Missing", 2.5), 2.5);
}

TEST_F(Conversion, BooleansAreYesOrNo)
{
    struct Row {
        std::wstring text;
        bool value;
        bool accepted;
    };
    const std::vector<Row> rows = {
        {L"yes", true, true},       {L"YES", true, true},  {L"Yes", true, true},
        {L" \tyes\n\r\v\f", true, true}, {L"no", false, true},  {L"NO", false, true},
        {L"true", false, false},    {L"1", false, false},  {L"on", false, false},
        {L"", false, false},        {L"y es", false, false}, {L" 100% ", false, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(Narrow(row.text));
        const std::wstring name = Store(row.text);
        if (row.accepted) {
            EXPECT_EQ(m_reader->GetBool(name), row.value);
            EXPECT_EQ(m_reader->GetBoolOr(name, !row.value), row.value);
        } else {
            // The text stands as stored, neither trimmed nor folded.
            ExpectFailure<InvalidTypeException>([&] { m_reader->GetBool(name); },
                                                L"Could not convert " + row.text + L" to bool");
        }
    }
    EXPECT_TRUE(m_reader->GetBoolOr(L"Missing", true));
}

TEST_F(Conversion, ListsSplitAtRunsOfSeparators)
{
    struct Row {
        std::wstring text;
        std::vector<int> value;
        std::wstring failure;
    };
    const std::vector<Row> rows = {
        {L"1,2;3", {1, 2, 3}, kNoFailure},
        {L"1 , 2 ; 3", {1, 2, 3}, kNoFailure},
        {L"1,;2,;3", {1, 2, 3}, kNoFailure},
        {L",,1;;", {1}, kNoFailure},
        {L"-5", {-5}, kNoFailure},
        {L"", {}, kNoFailure},
        {L",;", {}, kNoFailure},
        {L"1, ,2", {}, L"invalid stoi argument"}, // the blank item stays, empty
        {L"1,x", {}, L"invalid stoi argument"},
        {L"1,2 3", {}, Partial(1, L"2 3")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(Narrow(row.text));
        const std::wstring name = Store(row.text);
        if (row.failure.empty()) {
            EXPECT_EQ(m_reader->GetIntList(name), row.value);
            // A stored empty list is a value: the default does not replace it.
            EXPECT_EQ(m_reader->GetIntListOr(name, {9, 9}), row.value);
        } else {
            ExpectFailure<InvalidTypeException>([&] { m_reader->GetIntListOr(name, {9}); }, row.failure);
        }
    }
    EXPECT_EQ(m_reader->GetIntListOr(L"Missing", {9, 8}), (std::vector<int>{9, 8}));
    EXPECT_EQ(m_reader->GetBoolList(Store(L"yes; NO ,Yes")), (std::vector<bool>{true, false, true}));
    EXPECT_EQ(m_reader->GetDoubleList(Store(L"0.5;-2")), (std::vector<double>{0.5, -2.0}));
    EXPECT_EQ(m_reader->GetUIntListOr(L"Missing", {4}), (std::vector<unsigned int>{4}));
    m_key.SetMultiText(L"Multi", {L"1"});
    ExpectFailure<InvalidTypeException>(
        [&] { m_reader->GetIntList(L"Multi"); },
        L"Datatype of value 'Multi' in registry key '" + kBaseLocation + L"' differs from expected datatype.");
}

TEST_F(Conversion, StringListsKeepTheirItemsWhole)
{
    m_key.SetMultiText(L"Items", {L" a, b ", L"c;d"});
    EXPECT_EQ(m_reader->GetStringList(L"Items"), (std::vector<std::wstring>{L" a, b ", L"c;d"}));
    // An empty string in the middle ends the list.
    m_key.SetMultiText(L"Gap", {L"a", L"", L"b"});
    EXPECT_EQ(m_reader->GetStringList(L"Gap"), (std::vector<std::wstring>{L"a"}));
    m_key.SetRaw(L"Unterminated", REG_MULTI_SZ, Utf16Bytes(L"x", false));
    EXPECT_EQ(m_reader->GetStringList(L"Unterminated"), (std::vector<std::wstring>{L"x"}));
    m_key.SetRaw(L"Empty", REG_MULTI_SZ, Utf16Bytes(L""));
    EXPECT_TRUE(m_reader->GetStringListOr(L"Empty", {L"default"}).empty());
    EXPECT_EQ(m_reader->GetStringListOr(L"Missing", {L"default"}), (std::vector<std::wstring>{L"default"}));
    ExpectFailure<InvalidTypeException>(
        [&] { m_reader->GetStringList(Store(L"a")); },
        L"Datatype of value 'V0' in registry key '" + kBaseLocation + L"' differs from expected datatype.");
}

TEST_F(Conversion, CoercedReadsTakeTextOrNumber)
{
    m_key.SetText(L"Text", L" 12.5 ");
    m_key.SetDword(L"Number", 42);
    m_key.SetDword(L"Max", 0xFFFFFFFFu);
    m_key.SetText(L"NotNumber", L"abc");
    m_key.SetRaw(L"Binary", REG_BINARY, {1, 0, 0, 0});
    EXPECT_DOUBLE_EQ(m_reader->GetDoubleCoerced(L"Text"), 12.5);
    EXPECT_DOUBLE_EQ(m_reader->GetDoubleCoerced(L"Number"), 42.0);
    EXPECT_EQ(m_reader->GetDoubleCoerced(L"Max"), 4294967295.0);
    // Text that is no number fails; it does not fall back to the number form.
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetDoubleCoercedOr(L"NotNumber", 1.0); },
                                        L"invalid stod argument");
    EXPECT_EQ(m_reader->GetStringCoerced(L"Text"), L" 12.5 ");
    EXPECT_EQ(m_reader->GetStringCoerced(L"Number"), L"42");
    EXPECT_EQ(m_reader->GetStringCoerced(L"Max"), L"4294967295");
    EXPECT_EQ(m_reader->GetStringCoercedOr(L"Missing", L"default"), L"default");
    EXPECT_DOUBLE_EQ(m_reader->GetDoubleCoercedOr(L"Missing", 0.25), 0.25);
    const std::wstring wrongType =
        L"Datatype of value 'Binary' in registry key '" + kBaseLocation + L"' differs from expected datatype.";
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetStringCoercedOr(L"Binary", L"d"); }, wrongType);
    ExpectFailure<ParameterNotFoundException>(
        [&] { m_reader->GetStringCoerced(L"Missing"); },
        L"Parameter 'Missing' not found in registry key '" + kBaseLocation + L"'.");
    // Only the number query's status is reported: an oversized text reads as too large for it.
    m_key.SetText(L"Long", L"12345");
    EXPECT_EQ(m_reader->GetStringCoerced(L"Long"), L"12345");
    m_key.SetRaw(L"LongBinary", REG_BINARY, std::vector<BYTE>(12, 0));
    ExpectFailure<UnknownConfigurationException>(
        [&] { m_reader->GetStringCoerced(L"LongBinary"); },
        L"Failed to read value 'LongBinary' from registry key '" + kBaseLocation + L"'. Supplied buffer too small.");
}

// Checks that the partial-parse text reaches the caller only through the inner exception's
// narrow text: a text too long for it arrives as the default text.
TEST_F(Conversion, OverlongPartialParseMessageIsTheDefaultText)
{
    const std::wstring text = L"1" + std::wstring(1100, L'x');
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetInt(Store(text)); }, L"Message not specified");
}

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

    ScopedKey m_key{kBase};
    std::shared_ptr<IConfigReader> m_reader = OpenReader(kBaseLocation);
    int m_count = 0;
};

} // namespace

TEST_F(Conversion, IntegersUseTheWholeTextAnd32Bits)
{
    struct Row {
        std::wstring text;
        int value;
        std::wstring failure; // empty: converts
    };
    const std::vector<Row> rows = {
        {L"+5", 5, L""},
        {L" \t\n-7", -7, L""},
        {L"2147483647", INT32_MAX, L""},
        {L"-2147483648", INT32_MIN, L""},
        {L"2147483648", 0, L"stoi argument out of range"},
        {L"-2147483649", 0, L"stoi argument out of range"},
        {L"", 0, L"invalid stoi argument"},
        {L" abc", 0, L"invalid stoi argument"},
        {L"12 ", 0, PartialParseText(2, L"12 ")},
        {L"0x10", 0, PartialParseText(1, L"0x10")},
        {L"12%s%d", 0, PartialParseText(2, L"12%s%d")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(Narrow(row.text));
        const std::wstring name = Store(row.text);
        if (row.failure.empty()) {
            EXPECT_EQ(m_reader->GetIntOr(name, 1), row.value);
        } else {
            ExpectFailure<InvalidTypeException>([&] { m_reader->GetInt(name); }, row.failure);
            ExpectFailure<InvalidTypeException>([&] { m_reader->GetIntOr(name, 1); }, row.failure);
        }
    }
    EXPECT_EQ(m_reader->GetIntOr(L"Missing", 3), 3);
    m_key.SetDword(L"Dword", 1);
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetIntOr(L"Dword", 1); }, WrongTypeText(L"Dword"));
    // The partial-parse text reaches the caller only through the narrow text of an inner
    // exception: a text too long for that arrives as its default text.
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetInt(Store(L"1" + std::wstring(1100, L'x'))); },
                                        L"Message not specified");
}

TEST_F(Conversion, UnsignedAndDoubleEdges)
{
    EXPECT_EQ(m_reader->GetUIntList(Store(L"0,4294967295,-1")),
              (std::vector<unsigned int>{0u, 4294967295u, 4294967295u})); // -1 negates in 32 bits
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetUIntList(Store(L"4294967296")); },
                                        L"stoul argument out of range");
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetUIntList(Store(L"x")); }, L"invalid stoul argument");
    EXPECT_DOUBLE_EQ(m_reader->GetDouble(Store(L" -1.25e3")), -1250.0);
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetDouble(Store(L"1e999")); }, L"stod argument out of range");
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetDoubleOr(Store(L"pi"), 3.0); }, L"invalid stod argument");
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetDouble(Store(L"1.5 ")); }, PartialParseText(3, L"1.5 "));
    EXPECT_DOUBLE_EQ(m_reader->GetDoubleOr(L"Missing", 2.5), 2.5);
}

TEST_F(Conversion, BooleansAreYesOrNo)
{
    for (const wchar_t* text : {L"yes", L"YES", L" \tYes\n\r\v\f"}) {
        SCOPED_TRACE(Narrow(text));
        EXPECT_TRUE(m_reader->GetBool(Store(text)));
    }
    EXPECT_FALSE(m_reader->GetBoolOr(Store(L"No"), true));
    EXPECT_TRUE(m_reader->GetBoolOr(L"Missing", true));
    // The text stands in the message as stored, neither trimmed nor folded.
    for (const wchar_t* text : {L"true", L"1", L"", L"y es", L" 100%s "}) {
        SCOPED_TRACE(Narrow(text));
        ExpectFailure<InvalidTypeException>([&] { m_reader->GetBoolOr(Store(text), true); },
                                            L"Could not convert " + std::wstring(text) + L" to bool");
    }
}

TEST_F(Conversion, ListsSplitAtRunsOfSeparators)
{
    struct Row {
        std::wstring text;
        std::vector<int> value;
        std::wstring failure;
    };
    const std::vector<Row> rows = {
        {L"1,2;3", {1, 2, 3}, L""},
        {L"1 , 2 ; 3", {1, 2, 3}, L""},
        {L"1,;2,;3", {1, 2, 3}, L""},
        {L",,1;;", {1}, L""},
        {L"", {}, L""}, // a stored empty list: the default does not replace it
        {L",;", {}, L""},
        {L"1, ,2", {}, L"invalid stoi argument"}, // the blank item stays, empty
        {L"1,2 3", {}, PartialParseText(1, L"2 3")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(Narrow(row.text));
        const std::wstring name = Store(row.text);
        if (row.failure.empty())
            EXPECT_EQ(m_reader->GetIntListOr(name, {9, 9}), row.value);
        else
            ExpectFailure<InvalidTypeException>([&] { m_reader->GetIntListOr(name, {9}); }, row.failure);
    }
    EXPECT_EQ(m_reader->GetIntListOr(L"Missing", {9, 8}), (std::vector<int>{9, 8}));
    EXPECT_EQ(m_reader->GetBoolList(Store(L"yes; NO ,Yes")), (std::vector<bool>{true, false, true}));
    EXPECT_EQ(m_reader->GetDoubleList(Store(L"0.5;-2")), (std::vector<double>{0.5, -2.0}));
    m_key.SetMultiText(L"Multi", {L"1"});
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetIntList(L"Multi"); }, WrongTypeText(L"Multi"));
}

TEST_F(Conversion, StringListsKeepTheirItemsWhole)
{
    m_key.SetMultiText(L"Items", {L" a, b ", L"c;d"});
    EXPECT_EQ(m_reader->GetStringList(L"Items"), (std::vector<std::wstring>{L" a, b ", L"c;d"}));
    m_key.SetMultiText(L"Gap", {L"a", L"", L"b"}); // an empty string ends the list
    EXPECT_EQ(m_reader->GetStringList(L"Gap"), (std::vector<std::wstring>{L"a"}));
    m_key.SetRaw(L"Unterminated", REG_MULTI_SZ, Utf16Bytes(L"x", false));
    EXPECT_EQ(m_reader->GetStringList(L"Unterminated"), (std::vector<std::wstring>{L"x"}));
    m_key.SetRaw(L"Empty", REG_MULTI_SZ, Utf16Bytes(L""));
    EXPECT_TRUE(m_reader->GetStringListOr(L"Empty", {L"default"}).empty());
    EXPECT_EQ(m_reader->GetStringListOr(L"Missing", {L"default"}), (std::vector<std::wstring>{L"default"}));
    const std::wstring text = Store(L"a");
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetStringList(text); }, WrongTypeText(text));
}

TEST_F(Conversion, CoercedReadsTakeTextOrNumber)
{
    m_key.SetText(L"Text", L" 12.5 ");
    m_key.SetDword(L"Max", 0xFFFFFFFFu);
    m_key.SetRaw(L"Binary", REG_BINARY, {1, 0, 0, 0});
    m_key.SetRaw(L"LongBinary", REG_BINARY, std::vector<BYTE>(12, 0));
    EXPECT_DOUBLE_EQ(m_reader->GetDoubleCoerced(L"Text"), 12.5);
    EXPECT_EQ(m_reader->GetDoubleCoerced(L"Max"), 4294967295.0);
    EXPECT_EQ(m_reader->GetStringCoerced(L"Text"), L" 12.5 ");
    EXPECT_EQ(m_reader->GetStringCoerced(L"Max"), L"4294967295");
    EXPECT_EQ(m_reader->GetStringCoercedOr(L"Missing", L"default"), L"default");
    EXPECT_DOUBLE_EQ(m_reader->GetDoubleCoercedOr(L"Missing", 0.25), 0.25);
    // Text that is no number does not fall back to the number form.
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetDoubleCoercedOr(Store(L"abc"), 1.0); },
                                        L"invalid stod argument");
    // Only the number query's status is reported.
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetStringCoercedOr(L"Binary", L"d"); },
                                        WrongTypeText(L"Binary"));
    ExpectFailure<UnknownConfigurationException>([&] { m_reader->GetStringCoerced(L"LongBinary"); },
                                                 TooLargeText(L"LongBinary"));
    ExpectFailure<ParameterNotFoundException>([&] { m_reader->GetDoubleCoerced(L"Missing"); },
                                              NotFoundText(L"Missing"));
}

// Checks the conversions between value data and text in both directions, and the query line
// layout that administrators read.

#include <gtest/gtest.h>

#include "Commands.h"
#include "FakeConsole.h"
#include "RegistryValue.h"

namespace Tessel::Reg {
namespace {

using Bytes = std::vector<BYTE>;
using Testing::Narrow;

TEST(RegistryValue, ParsesDataOfEachType)
{
    struct Case {
        DWORD Type;
        const wchar_t* Text;
        Bytes Expected;
    };
    const Case cases[] = {
        {REG_SZ, L"Hi", {'H', 0, 'i', 0, 0, 0}}, {REG_SZ, L"", {0, 0}},
        {REG_EXPAND_SZ, L"%TMP%", {'%', 0, 'T', 0, 'M', 0, 'P', 0, '%', 0, 0, 0}},
        {REG_SZ, L"\u00e9\u20ac", {0xE9, 0, 0xAC, 0x20, 0, 0}}, {REG_DWORD, L"10", {10, 0, 0, 0}},
        {REG_DWORD, L"0x1F", {0x1F, 0, 0, 0}}, {REG_DWORD, L"0XfF", {0xFF, 0, 0, 0}},
        {REG_DWORD, L"4294967295", {0xFF, 0xFF, 0xFF, 0xFF}}, {REG_DWORD, L"0xFFFFFFFF", {0xFF, 0xFF, 0xFF, 0xFF}},
        {REG_DWORD, L"", {0, 0, 0, 0}}, {REG_QWORD, L"0x0102030405060708", {8, 7, 6, 5, 4, 3, 2, 1}},
        {REG_QWORD, L"18446744073709551615", Bytes(8, 0xFF)}, {REG_BINARY, L"00ffA1", {0x00, 0xFF, 0xA1}},
        {REG_BINARY, L"", {}}, {REG_NONE, L"0a", {0x0A}},
        {REG_MULTI_SZ, L"a\\0bc", {'a', 0, 0, 0, 'b', 0, 'c', 0, 0, 0, 0, 0}},
        {REG_MULTI_SZ, L"a\\0", {'a', 0, 0, 0, 0, 0}}, {REG_MULTI_SZ, L"", {0, 0}},
        {REG_DWORD_BIG_ENDIAN, L"0x01020304", {1, 2, 3, 4}}, {REG_DWORD_BIG_ENDIAN, L"", {0, 0, 0, 0}},
        {REG_LINK, L"\\Registry\\X",
         {'\\', 0, 'R', 0, 'e', 0, 'g', 0, 'i', 0, 's', 0, 't', 0, 'r', 0, 'y', 0, '\\', 0, 'X', 0, 0, 0}},
        {REG_RESOURCE_LIST, L"0aFF", {0x0A, 0xFF}},
        {REG_FULL_RESOURCE_DESCRIPTOR, L"", {}}, {REG_RESOURCE_REQUIREMENTS_LIST, L"01", {1}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(Narrow(TypeName(c.Type) + L" " + c.Text));
        const std::optional<Bytes> bytes = ParseData(c.Type, c.Text);
        ASSERT_TRUE(bytes.has_value());
        EXPECT_EQ(*bytes, c.Expected);
    }
}

TEST(RegistryValue, RefusesDataThatDoesNotFitTheType)
{
    struct Case {
        DWORD Type;
        const wchar_t* Text;
    };
    const Case cases[] = {
        {REG_DWORD, L"abc"},        {REG_DWORD, L"-1"},        {REG_DWORD, L"+1"},
        {REG_DWORD, L"4294967296"}, {REG_DWORD, L"0x100000000"}, {REG_DWORD, L"0x"},
        {REG_DWORD, L" 1"},         {REG_DWORD, L"1 "},        {REG_DWORD, L"1.5"},
        {REG_DWORD, L"0x1G"},       {REG_QWORD, L"18446744073709551616"}, {REG_QWORD, L"0x10000000000000000"},
        {REG_BINARY, L"abc"},       {REG_BINARY, L"zz"},       {REG_BINARY, L"0x00"},
        {REG_NONE, L"1"},           {REG_MULTI_SZ, L"a\\0\\0b"}, {REG_MULTI_SZ, L"\\0a"},
        {REG_DWORD_BIG_ENDIAN, L"0x100000000"}, {REG_RESOURCE_LIST, L"0"},   {0x1234, L""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(Narrow(TypeName(c.Type) + L" " + c.Text));
        EXPECT_FALSE(ParseData(c.Type, c.Text).has_value());
    }
}

TEST(RegistryValue, FormatsDataAsQueryShowsIt)
{
    struct Case {
        DWORD Type;
        Bytes Data;
        const wchar_t* Expected;
    };
    const Case cases[] = {
        {REG_SZ, {'H', 0, 'i', 0, 0, 0}, L"Hi"}, {REG_SZ, {}, L""},
        {REG_SZ, {'H', 0, 'i', 0}, L"Hi"},              // stored without terminator
        {REG_SZ, {'a', 0, 0, 0, 'b', 0, 0, 0}, L"a"},   // text ends at the first NUL
        {REG_EXPAND_SZ, {'%', 0, 'X', 0, '%', 0, 0, 0}, L"%X%"}, {REG_DWORD, {0x2A, 0, 0, 0}, L"0x2a"},
        {REG_DWORD, {0, 0, 0, 0}, L"0x0"}, {REG_DWORD, {0xFF, 0xFF, 0xFF, 0xFF}, L"0xffffffff"},
        {REG_DWORD, {1, 2}, L"0102"},                   // wrong size shows raw
        {REG_DWORD_BIG_ENDIAN, {0, 0, 1, 0}, L"0x100"}, {REG_QWORD, {8, 7, 6, 5, 4, 3, 2, 1}, L"0x102030405060708"},
        {REG_BINARY, {0x00, 0xAB, 0x0F}, L"00AB0F"}, {REG_BINARY, {}, L""}, {REG_NONE, {0xDE, 0xAD}, L"DEAD"},
        {REG_MULTI_SZ, {'a', 0, 0, 0, 'b', 0, 'c', 0, 0, 0, 0, 0}, L"a\\0bc"}, {REG_MULTI_SZ, {0, 0}, L""},
        {REG_MULTI_SZ, {'a', 0, 0, 0, 0, 0, 'z', 0, 0, 0}, L"a"}, // nothing after the list's end
        {REG_RESOURCE_LIST, {1, 2}, L"0102"}, {REG_LINK, {'x', 0, 0, 0}, L"x"}, {0x1234, {0xAB}, L"AB"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(Narrow(TypeName(c.Type) + L" " + c.Expected));
        EXPECT_EQ(FormatData(c.Type, c.Data), c.Expected);
    }
}

TEST(RegistryValue, EveryTypeHasANameThatReadsBack)
{
    for (DWORD type = REG_NONE; type <= REG_QWORD; ++type) {
        SCOPED_TRACE(type);
        EXPECT_EQ(TypeFromName(TypeName(type)), type);
    }
    EXPECT_EQ(TypeFromName(L"reg_dword"), REG_DWORD);
    EXPECT_EQ(TypeFromName(L"REG_DWORD_LITTLE_ENDIAN"), REG_DWORD);
    EXPECT_EQ(TypeName(REG_DWORD), L"REG_DWORD");
    EXPECT_FALSE(TypeFromName(L"DWORD").has_value());
    EXPECT_EQ(TypeName(0x1234), L"REG_UNKNOWN");
}

TEST(RegistryValue, Utf16KeepsCharactersBeyondTheBasicPlane)
{
    const std::wstring text = L"a\u00e9\u20ac\U0001F600z";
    const Bytes bytes = Utf16FromText(text);
    const Bytes expected = {'a', 0, 0xE9, 0, 0xAC, 0x20, 0x3D, 0xD8, 0x00, 0xDE, 'z', 0};
    EXPECT_EQ(bytes, expected);
    EXPECT_EQ(TextFromUtf16(bytes), text);
    // A lone trailing byte is not half a character to guess at.
    Bytes odd = bytes;
    odd.push_back('x');
    EXPECT_EQ(TextFromUtf16(odd), text);
}

TEST(QueryReport, LinesHaveFourSpaceColumns)
{
    ValueFormat numbered;
    numbered.NumericType = true;
    numbered.Separator = L"#";
    EXPECT_EQ(FormatValueLine({L"L", REG_MULTI_SZ, {'a', 0, 0, 0, 'b', 0, 0, 0, 0, 0}}, numbered),
              L"    L    REG_MULTI_SZ (7)    a#b\n");
    EXPECT_EQ(FormatValueLine({L"Count", REG_DWORD, {5, 0, 0, 0}}), L"    Count    REG_DWORD    0x5\n");
    EXPECT_EQ(FormatValueLine({L"", REG_SZ, {'x', 0, 0, 0}}), L"    (Default)    REG_SZ    x\n");
    EXPECT_EQ(FormatUnsetDefaultLine(), L"    (Default)    REG_SZ    (value not set)\n");
    EXPECT_EQ(FormatKeyBlock(L"HKEY_CURRENT_USER\\a", {{L"n", REG_BINARY, {1}}}),
              L"\nHKEY_CURRENT_USER\\a\n    n    REG_BINARY    01\n");
    EXPECT_EQ(FormatSubKeyList(L"HKEY_CURRENT_USER\\a", {L"b", L"c"}),
              L"\nHKEY_CURRENT_USER\\a\\b\nHKEY_CURRENT_USER\\a\\c\n");
    EXPECT_EQ(FormatSearchEnd(2), L"End of search: 2 match(es) found.\n");
}

} // namespace
} // namespace Tessel::Reg

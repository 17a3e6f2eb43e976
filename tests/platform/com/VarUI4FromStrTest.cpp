// Checks VarUI4FromStr's syntax, its rounding and its two failure codes.

#include <gtest/gtest.h>

#include "TesselWin32.h"

namespace {

TEST(VarUI4FromStr, ParsesTheAutomationNumberFormsAndRefusesNulls)
{
    const struct {
        const wchar_t* text;
        HRESULT expected;
        ULONG value;
    } rows[] = {
        {L"0", S_OK, 0},
        {L"  42\t\r\n", S_OK, 42},
        {L"+17", S_OK, 17},
        {L"4294967295", S_OK, 4294967295u},
        {L"0004294967295", S_OK, 4294967295u},
        {L"&HFF", S_OK, 255},
        {L"&hffffffff", S_OK, 4294967295u},
        {L"&O17", S_OK, 15},
        {L"2.5", S_OK, 2},
        {L"3.5", S_OK, 4},
        {L"2.51", S_OK, 3},
        {L"2.4999", S_OK, 2},
        {L".5", S_OK, 0},
        {L"7.", S_OK, 7},
        {L"-0", S_OK, 0},
        {L"-0.4", S_OK, 0},
        {L"-0.5", S_OK, 0},
        {L"4294967295.4", S_OK, 4294967295u},
        {L"", DISP_E_TYPEMISMATCH, 0},
        {L"   ", DISP_E_TYPEMISMATCH, 0},
        {L"abc", DISP_E_TYPEMISMATCH, 0},
        {L"12abc", DISP_E_TYPEMISMATCH, 0},
        {L"1 2", DISP_E_TYPEMISMATCH, 0},
        {L"&H", DISP_E_TYPEMISMATCH, 0},
        {L"&HG", DISP_E_TYPEMISMATCH, 0},
        {L"&O8", DISP_E_TYPEMISMATCH, 0},
        {L"0x10", DISP_E_TYPEMISMATCH, 0},
        {L"+", DISP_E_TYPEMISMATCH, 0},
        {L".", DISP_E_TYPEMISMATCH, 0},
        {L"- 1", DISP_E_TYPEMISMATCH, 0},
        {L"4294967296", DISP_E_OVERFLOW, 0},
        {L"4294967295.5", DISP_E_OVERFLOW, 0},
        {L"99999999999999999999999", DISP_E_OVERFLOW, 0},
        {L"&H100000000", DISP_E_OVERFLOW, 0},
        {L"-1", DISP_E_OVERFLOW, 0},
        {L"-0.6", DISP_E_OVERFLOW, 0},
        {L"-&H1", DISP_E_OVERFLOW, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        ULONG value = 12345;
        EXPECT_EQ(VarUI4FromStr(row.text, 0, 0, &value), row.expected);
        EXPECT_EQ(value, row.expected == S_OK ? row.value : 12345u);
    }
    ULONG value = 0;
    EXPECT_EQ(VarUI4FromStr(nullptr, 0, 0, &value), E_INVALIDARG);
    EXPECT_EQ(VarUI4FromStr(L"1", 0, 0, nullptr), E_INVALIDARG);
}

} // namespace

// Checks the 32-bit parsing rule at the edges of both ranges, and where parsing stops.

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "common/Long32.h"

namespace {

using Tessel::Detail::WcsToLong32;
using Tessel::Detail::WcsToULong32;

struct ParseCase {
    const wchar_t* text;
    int base;
    long long value;
    int errnoAfter;  // 0: untouched
    size_t consumed; // characters up to the end pointer
};

TEST(Long32, SignedEdges)
{
    const ParseCase rows[] = {
        {L"2147483647", 10, 2147483647LL, 0, 10},
        {L"2147483648", 10, 2147483647LL, ERANGE, 10},
        {L"-2147483648", 10, -2147483648LL, 0, 11},
        {L"-2147483649", 10, -2147483648LL, ERANGE, 11},
        {L"99999999999999999999999", 10, 2147483647LL, ERANGE, 23},
        {L"  12abc", 10, 12, 0, 4},
        {L"\t+7", 10, 7, 0, 3},
        {L"", 10, 0, 0, 0},
        {L"  -", 10, 0, 0, 0},
        {L"- 5", 10, 0, 0, 0},
        {L"0x1F", 16, 31, 0, 4},
        {L"0x1F", 0, 31, 0, 4},
        {L"0x1F", 10, 0, 0, 1},
        {L"017", 0, 15, 0, 3},
        {L"0xg", 16, 0, 0, 1},
        {L"-80000000", 16, -2147483648LL, 0, 9},
        {L"zz", 36, 1295, 0, 2},
    };
    for (const ParseCase& row : rows) {
        SCOPED_TRACE(testing::Message() << '"' << row.text << "\" base " << row.base);
        wchar_t* end = nullptr;
        errno = 0;
        EXPECT_EQ(row.value, WcsToLong32(row.text, &end, row.base));
        EXPECT_EQ(row.errnoAfter, errno);
        EXPECT_EQ(row.consumed, static_cast<size_t>(end - row.text));
    }
}

TEST(Long32, UnsignedEdgesAndNegation)
{
    const ParseCase rows[] = {
        {L"4294967295", 10, 4294967295LL, 0, 10},
        {L"4294967296", 10, 4294967295LL, ERANGE, 10},
        {L"-1", 10, 4294967295LL, 0, 2},
        {L"-4294967295", 10, 1, 0, 11},
        {L"-4294967296", 10, 4294967295LL, ERANGE, 11},
        {L"  12abc", 10, 12, 0, 4},
        {L"", 10, 0, 0, 0},
        {L"0x1F", 16, 31, 0, 4},
        {L"FFFFFFFF", 16, 4294967295LL, 0, 8},
    };
    for (const ParseCase& row : rows) {
        SCOPED_TRACE(testing::Message() << '"' << row.text << "\" base " << row.base);
        wchar_t* end = nullptr;
        errno = 0;
        EXPECT_EQ(row.value, static_cast<long long>(WcsToULong32(row.text, &end, row.base)));
        EXPECT_EQ(row.errnoAfter, errno);
        EXPECT_EQ(row.consumed, static_cast<size_t>(end - row.text));
    }
}

TEST(Long32, RefusedArgumentsGiveEinval)
{
    wchar_t* end = nullptr;
    const wchar_t* text = L"12";
    errno = 0;
    EXPECT_EQ(0, WcsToLong32(text, &end, 1));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ(text, end);
    errno = 0;
    EXPECT_EQ(0u, WcsToULong32(nullptr, nullptr, 10));
    EXPECT_EQ(EINVAL, errno);
}

} // namespace

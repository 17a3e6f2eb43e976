// Checks the 32-bit parsing rule at the edges of both ranges, and where parsing stops.

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "common/Long32.h"

namespace {

using Tessel::Detail::WcsToLong32;
using Tessel::Detail::WcsToULong32;

// Checks both parsers at the edges of their ranges: the value, errno afterwards (0: untouched)
// and the characters consumed up to the end pointer.
TEST(Long32, SignedAndUnsignedEdgesAndRefusedArguments)
{
    const struct {
        bool isUnsigned;
        const wchar_t* text;
        int base;
        long long value;
        int errnoAfter;
        size_t consumed;
    } rows[] = {
        {false, L"2147483647", 10, 2147483647LL, 0, 10},
        {false, L"2147483648", 10, 2147483647LL, ERANGE, 10},
        {false, L"-2147483648", 10, -2147483648LL, 0, 11},
        {false, L"-2147483649", 10, -2147483648LL, ERANGE, 11},
        {false, L"99999999999999999999999", 10, 2147483647LL, ERANGE, 23},
        {false, L"  12abc", 10, 12, 0, 4},
        {false, L"\t+7", 10, 7, 0, 3},
        {false, L"", 10, 0, 0, 0},
        {false, L"  -", 10, 0, 0, 0},
        {false, L"- 5", 10, 0, 0, 0},
        {false, L"0x1F", 16, 31, 0, 4},
        {false, L"0x1F", 0, 31, 0, 4},
        {false, L"0x1F", 10, 0, 0, 1},
        {false, L"017", 0, 15, 0, 3},
        {false, L"0xg", 16, 0, 0, 1},
        {false, L"-80000000", 16, -2147483648LL, 0, 9},
        {false, L"zz", 36, 1295, 0, 2},
        {true, L"4294967295", 10, 4294967295LL, 0, 10},
        {true, L"4294967296", 10, 4294967295LL, ERANGE, 10},
        {true, L"-1", 10, 4294967295LL, 0, 2},
        {true, L"-4294967295", 10, 1, 0, 11},
        {true, L"-4294967296", 10, 4294967295LL, ERANGE, 11},
        {true, L"  12abc", 10, 12, 0, 4},
        {true, L"", 10, 0, 0, 0},
        {true, L"0x1F", 16, 31, 0, 4},
        {true, L"FFFFFFFF", 16, 4294967295LL, 0, 8},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << (row.isUnsigned ? "unsigned \"" : "signed \"") << row.text << "\" base "
                                        << row.base);
        wchar_t* end = nullptr;
        errno = 0;
        const long long value = row.isUnsigned ? static_cast<long long>(WcsToULong32(row.text, &end, row.base))
                                               : static_cast<long long>(WcsToLong32(row.text, &end, row.base));
        EXPECT_EQ(row.value, value);
        EXPECT_EQ(row.errnoAfter, errno);
        EXPECT_EQ(row.consumed, static_cast<size_t>(end - row.text));
    }
    // Refused arguments give EINVAL.
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

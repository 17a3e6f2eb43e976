// Checks the secure copies' results and errno, and the case-insensitive comparisons.

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <string>

#include "TesselWin32.h"

namespace {

TEST(WideString, SecureCopiesRefuseWhatDoesNotFit)
{
    struct Row {
        size_t destSize;
        const wchar_t* source;
        size_t count;
        errno_t result;
        const wchar_t* copied;
        int errnoAfter; // 0: untouched
    };
    const Row rows[] = {
        {4, L"abc", _TRUNCATE, 0, L"abc", 0},
        {4, L"abcd", _TRUNCATE, STRUNCATE, L"abc", 0},
        {4, L"abcdefgh", 2, 0, L"ab", 0},
        {4, L"ab", 10, 0, L"ab", 0},
        {4, L"abcd", 4, ERANGE, L"", ERANGE},
        {4, L"abcd", 0, 0, L"", 0},
        {4, nullptr, 3, EINVAL, L"", EINVAL},
        {4, nullptr, 0, 0, L"", 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << (row.source ? row.source : L"(null)") << " size " << row.destSize
                                        << " count " << row.count);
        wchar_t dest[4] = L"old";
        errno = 0;
        EXPECT_EQ(row.result, wcsncpy_s(dest, row.destSize, row.source, row.count));
        EXPECT_STREQ(row.copied, dest);
        EXPECT_EQ(row.errnoAfter, errno);
    }

    errno = 0;
    EXPECT_EQ(EINVAL, wcsncpy_s(nullptr, 4, L"a", 1));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ(0, wcsncpy_s(nullptr, 0, L"a", 0));

    wchar_t small[3] = L"xy";
    errno = 0;
    EXPECT_EQ(ERANGE, wcscpy_s(small, L"abc"));
    EXPECT_EQ(ERANGE, errno);
    EXPECT_EQ(L'\0', small[0]);
    EXPECT_EQ(0, wcscpy_s(small, L"ab"));
    EXPECT_STREQ(L"ab", small);
    EXPECT_EQ(EINVAL, wcscpy_s(small, nullptr));
}

TEST(WideString, CaseInsensitiveComparisons)
{
    struct Row {
        const wchar_t* left;
        const wchar_t* right;
        int sign;
    };
    const Row rows[] = {
        {L"Software", L"SOFTWARE", 0},
        {L"Grüße", L"GRÜSSE", 1}, // ß has no simple upper case: no folding to "ss"
        {L"ÄÖÜÀÉÞ", L"äöüàéþ", 0},
        {L"×", L"÷", -1}, // the multiplication sign is no letter
        {L"ŸŁŽĀ", L"ÿłžā", 0},
        {L"ΑΒΓΆΏ", L"αβγάώ", 0},
        {L"МОСКВА Ё Ї", L"москва ё ї", 0},
        {L"ＡＢＣ Ա Ạ", L"ａｂｃ ա ạ", 0},
        // Compared in lower case, as the Windows runtime does: '_' sorts before the letters.
        {L"A_", L"AB", -1},
        {L"abc", L"ab", 1},
        {L"", L"", 0},
    };
    const auto sign = [](int value) { return (value > 0) - (value < 0); };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.left << " vs " << row.right);
        EXPECT_EQ(row.sign, sign(lstrcmpiW(row.left, row.right)));
        EXPECT_EQ(-row.sign, sign(lstrcmpiW(row.right, row.left)));
    }

    EXPECT_EQ(0, _wcsicmp(L"Software_A", L"sOFTWARE_a"));
    EXPECT_EQ(-1, sign(_wcsicmp(L"A_", L"AB")));
    EXPECT_EQ(0, _wcsnicmp(L"HKEY_Local", L"hkey_lOCAL_machine", 10));
    EXPECT_NE(0, _wcsnicmp(L"HKEY_Local", L"hkey_lOCAL_machine", 11));
    EXPECT_EQ(0, _wcsnicmp(nullptr, L"a", 0));
    errno = 0;
    EXPECT_EQ(_NLSCMPERROR, _wcsicmp(nullptr, L"a"));
    EXPECT_EQ(EINVAL, errno);
}

} // namespace

// Checks that the runtime's comparison folds what the process's locale folds, as the Windows
// runtime's does: A to Z alone in the "C" locale, every paired letter in a UTF-8 locale.
TEST(WideString, RuntimeComparisonFollowsTheLocale)
{
    ASSERT_STREQ("C", std::setlocale(LC_CTYPE, nullptr));
    EXPECT_NE(0, _wcsicmp(L"\u00C4rger", L"\u00E4rger"));
    EXPECT_NE(0, _wcsnicmp(L"\u0391\u0392", L"\u03B1\u03B2", 2));
    EXPECT_EQ(0, lstrcmpiW(L"\u00C4rger", L"\u00E4rger")) << "the system's comparison ignores the locale";

    if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr)
        GTEST_SKIP() << "no C.UTF-8 locale on this machine";
    EXPECT_EQ(0, _wcsicmp(L"\u00C4rger", L"\u00E4rger"));
    EXPECT_EQ(0, _wcsnicmp(L"\u0391\u0392x", L"\u03B1\u03B2y", 2));
    std::setlocale(LC_CTYPE, "C");
}

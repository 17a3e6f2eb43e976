// Checks the secure wide formatters: the Windows reading of the conversions, truncation at
// the buffer's edge and what errno says afterwards.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <string>

#include "TesselWin32.h"

namespace {

// errno value that no formatter sets, to see whether a call touched errno.
constexpr int kUntouched = 12345;

std::wstring Format(const wchar_t* format, ...)
{
    wchar_t buffer[1024];
    va_list args;
    va_start(args, format);
    const int result = _vsnwprintf_s(buffer, 1024, _TRUNCATE, format, args);
    va_end(args);
    if (result < 0)
        return L"<failed>";
    return std::wstring(buffer, static_cast<size_t>(result));
}

struct FormatCase {
    std::wstring expected;
    std::wstring actual;
};

void ExpectRows(const FormatCase* rows, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        SCOPED_TRACE(testing::Message() << "row " << i);
        EXPECT_EQ(rows[i].expected, rows[i].actual);
    }
}

TEST(WideFormat, StringsAndCharactersTakeTheWindowsWidth)
{
    const FormatCase rows[] = {
        {L"[wide]", Format(L"[%s]", L"wide")},
        {L"[wide]", Format(L"[%ls]", L"wide")},
        {L"[wide]", Format(L"[%ws]", L"wide")},
        {L"[narrow]", Format(L"[%S]", "narrow")},
        {L"[narrow]", Format(L"[%hs]", "narrow")},
        {L"[wide]", Format(L"[%lS]", L"wide")},
        {L"Grüße \U0001D11E", Format(L"%S", "Gr\xC3\xBC\xC3\x9F" "e \xF0\x9D\x84\x9E")},
        {L"a\uFFFDb", Format(L"%S", "a\xC3" "b")},
        {L"(null)|(null)", Format(L"%s|%S", static_cast<const wchar_t*>(nullptr), static_cast<const char*>(nullptr))},
        {L"x y z \u00E4", Format(L"%c %C %hc %lc", L'x', 'y', 'z', L'\u00E4')},
        {L"abc|  abc|abc  |00abc", Format(L"%.3s|%5.3S|%-5s|%05s", L"abcdef", "abcdef", L"abc", L"abc")},
        {L"[ä    ]", Format(L"[%-5S]", "\xC3\xA4")},
    };
    ExpectRows(rows, std::size(rows));
}

TEST(WideFormat, SizePrefixesFollowWindows)
{
    // l is 32 bits: a LONG argument must not swallow the one behind it.
    const FormatCase rows[] = {
        {L"-5|7", Format(L"%ld|%d", static_cast<LONG>(-5), 7)},
        {L"4294967295|1", Format(L"%lu|%d", static_cast<DWORD>(0xFFFFFFFFu), 1)},
        {L"deadbeef|DEADBEEF", Format(L"%lx|%lX", static_cast<DWORD>(0xDEADBEEF), static_cast<ULONG>(0xDEADBEEF))},
        {L"-9223372036854775808", Format(L"%I64d", INT64_MIN)},
        {L"18446744073709551615", Format(L"%llu", UINT64_MAX)},
        {L"4294967295|2", Format(L"%I32u|%d", UINT32_MAX, 2)},
        {L"18446744073709551615", Format(L"%Iu", SIZE_MAX)},
        {L"12|-3", Format(L"%zu|%Id", static_cast<size_t>(12), static_cast<INT_PTR>(-3))},
        {L"-1|5", Format(L"%hd|%hhu", 65535, 261)},
    };
    ExpectRows(rows, std::size(rows));
}

TEST(WideFormat, NumbersAndPointersKeepFlagsWidthAndPrecision)
{
    const FormatCase rows[] = {
        {L"[   42]", Format(L"[%5d]", 42)},
        {L"[42   ]", Format(L"[%-5d]", 42)},
        {L"[00042]", Format(L"[%05d]", 42)},
        {L"[+42] [ 42]", Format(L"[%+d] [% d]", 42, 42)},
        {L"[042]", Format(L"[%.3d]", 42)},
        {L"[42  ]", Format(L"[%*d]", -4, 42)},
        {L"[  42]", Format(L"[%*d]", 4, 42)},
        {L"ff FF 0xff 17", Format(L"%x %X %#x %o", 255, 255, 255, 15)},
        {L"1.500000 2.25 1.234568e+04 0.5", Format(L"%f %.2f %e %g", 1.5, 2.25, 12345.678, 0.5)},
        {L"3.14", Format(L"%.*f", 2, 3.14159)},
        {L"2.50", Format(L"%.2Lf", 2.5L)},
        {L"100% sure", Format(L"%d%% sure", 100)},
        {L"[" + std::wstring(300, L' ') + L"1]", Format(L"[%301d]", 1)},
        // Pointers show all their digits, in upper case.
        {std::wstring(sizeof(void*) * 2 - 4, L'0') + L"ABCD",
         Format(L"%p", reinterpret_cast<void*>(static_cast<uintptr_t>(0xABCD)))},
    };
    ExpectRows(rows, std::size(rows));
}

TEST(WideFormat, RefusedFormatsAndNullArgumentsGiveEinvalAndEmptyBuffer)
{
    const wchar_t* formats[] = {L"%n", L"%k", L"trailing %", L"%ls%q", L"%Ld"};
    for (const wchar_t* format : formats) {
        SCOPED_TRACE(testing::Message() << format);
        wchar_t buffer[16] = L"previous";
        int written = 0;
        errno = 0;
        EXPECT_EQ(-1, _snwprintf_s(buffer, 16, _TRUNCATE, format, L"x", &written));
        EXPECT_EQ(EINVAL, errno);
        EXPECT_EQ(L'\0', buffer[0]);
    }
    wchar_t buffer[8] = L"keep";
    errno = 0;
    EXPECT_EQ(-1, _snwprintf_s(buffer, 8, _TRUNCATE, nullptr));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ(L'\0', buffer[0]);
    errno = 0;
    EXPECT_EQ(-1, swprintf_s(nullptr, 8, L"x"));
    EXPECT_EQ(EINVAL, errno);
}

// Checks the boundary that exception texts rely on: 1023 characters fit a buffer of 1024, one
// more is cut to 1023 with -1 and errno left alone.
TEST(WideFormat, TruncateCutsAtTheBufferEdgeWithoutErrno)
{
    for (size_t length : {size_t{1022}, size_t{1023}, size_t{1024}, size_t{5000}}) {
        SCOPED_TRACE(testing::Message() << "length " << length);
        const std::wstring text(length, L'q');
        wchar_t buffer[1024];
        errno = kUntouched;
        const int result = _snwprintf_s(buffer, 1024, _TRUNCATE, L"%s", text.c_str());
        EXPECT_EQ(kUntouched, errno);
        if (length <= 1023) {
            EXPECT_EQ(static_cast<int>(length), result);
            EXPECT_EQ(text, buffer);
        } else {
            EXPECT_EQ(-1, result);
            EXPECT_EQ(std::wstring(1023, L'q'), buffer);
        }
    }
}

TEST(WideFormat, HugeWidthIsCutLikeAnyLongText)
{
    wchar_t buffer[16];
    EXPECT_EQ(-1, _snwprintf_s(buffer, 16, _TRUNCATE, L"%2000000000d", 7));
    EXPECT_EQ(std::wstring(15, L' '), buffer);
    EXPECT_EQ(-1, _snwprintf_s(buffer, 16, _TRUNCATE, L"%-2000000000.1f|", 0.25));
    EXPECT_EQ(L"0.2" + std::wstring(12, L' '), buffer);
    EXPECT_EQ(-1, _snwprintf_s(buffer, 16, _TRUNCATE, L"%+02000000000d", 7));
    EXPECT_EQ(L"+" + std::wstring(14, L'0'), buffer);
    EXPECT_EQ(-1, _snwprintf_s(buffer, 16, _TRUNCATE, L"%2000000000s", L"x"));
    EXPECT_EQ(std::wstring(15, L' '), buffer);
}

// A count below the buffer's size cuts like _TRUNCATE; without either, too small a buffer gives
// ERANGE.
TEST(WideFormat, CountCutsAndTooSmallWithoutTruncationGivesErange)
{
    wchar_t wide[10];
    errno = kUntouched;
    EXPECT_EQ(-1, _snwprintf_s(wide, 10, 3, L"%s", L"abcdef"));
    EXPECT_STREQ(L"abc", wide);
    EXPECT_EQ(kUntouched, errno);
    EXPECT_EQ(2, _snwprintf_s(wide, 10, 3, L"ab"));
    EXPECT_STREQ(L"ab", wide);

    wchar_t buffer[4] = L"old";
    errno = 0;
    EXPECT_EQ(-1, swprintf_s(buffer, 4, L"%d", 12345));
    EXPECT_EQ(ERANGE, errno);
    EXPECT_EQ(L'\0', buffer[0]);

    wcscpy_s(buffer, L"old");
    errno = 0;
    EXPECT_EQ(-1, _snwprintf_s(buffer, 4, 10, L"abcdef"));
    EXPECT_EQ(ERANGE, errno);
    EXPECT_EQ(L'\0', buffer[0]);

    errno = kUntouched;
    EXPECT_EQ(3, swprintf_s(buffer, L"%S", "abc"));
    EXPECT_STREQ(L"abc", buffer);
    EXPECT_EQ(kUntouched, errno);
}

} // namespace

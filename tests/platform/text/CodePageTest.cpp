// Checks the conversions between UTF-8 and wide text: sizes with and without terminator,
// buffers too small, ill-formed input in both directions and the refused parameters.

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "TesselWin32.h"

namespace {

// "Grüße €𝄞": two-, three- and four-byte sequences.
const char kNarrow[] = "Gr\xC3\xBC\xC3\x9F" "e \xE2\x82\xAC\xF0\x9D\x84\x9E";
const wchar_t kWide[] = L"Grüße €\U0001D11E";

std::wstring ToWide(const std::string& narrow, DWORD flags = 0)
{
    const int count = static_cast<int>(narrow.size());
    const int needed = MultiByteToWideChar(CP_UTF8, flags, narrow.data(), count, nullptr, 0);
    if (needed == 0)
        return L"<failed>";
    std::wstring wide(static_cast<size_t>(needed), L'\0');
    EXPECT_EQ(needed, MultiByteToWideChar(CP_UTF8, flags, narrow.data(), count, wide.data(), needed));
    return wide;
}

std::string ToNarrow(const std::wstring& wide, DWORD flags = 0)
{
    const int count = static_cast<int>(wide.size());
    const int needed = WideCharToMultiByte(CP_UTF8, flags, wide.data(), count, nullptr, 0, nullptr, nullptr);
    if (needed == 0)
        return "<failed>";
    std::string narrow(static_cast<size_t>(needed), '\0');
    EXPECT_EQ(needed,
              WideCharToMultiByte(CP_UTF8, flags, wide.data(), count, narrow.data(), needed, nullptr, nullptr));
    return narrow;
}

TEST(CodePage, AnsiCodePagesAreUtf8AndCountTheTerminator)
{
    for (UINT codePage : {UINT{CP_ACP}, UINT{CP_OEMCP}, UINT{CP_THREAD_ACP}, UINT{CP_UTF8}}) {
        SCOPED_TRACE(testing::Message() << "code page " << codePage);
        EXPECT_EQ(9, MultiByteToWideChar(codePage, 0, kNarrow, -1, nullptr, 0));
        wchar_t wide[9];
        ASSERT_EQ(9, MultiByteToWideChar(codePage, 0, kNarrow, -1, wide, 9));
        EXPECT_STREQ(kWide, wide);

        EXPECT_EQ(16, WideCharToMultiByte(codePage, 0, kWide, -1, nullptr, 0, nullptr, nullptr));
        char narrow[16];
        ASSERT_EQ(16, WideCharToMultiByte(codePage, 0, kWide, -1, narrow, 16, nullptr, nullptr));
        EXPECT_STREQ(kNarrow, narrow);
    }
}

TEST(CodePage, ExplicitCountWritesNoTerminatorAndBufferOneShortIsInsufficient)
{
    wchar_t wide[8] = {L'x', L'x', L'x', L'x'};
    EXPECT_EQ(2, MultiByteToWideChar(CP_UTF8, 0, "abc", 2, wide, 4));
    EXPECT_EQ(L'x', wide[2]);
    char narrow[15] = "xxx";
    EXPECT_EQ(2, WideCharToMultiByte(CP_UTF8, 0, L"abc", 2, narrow, 4, nullptr, nullptr));
    EXPECT_EQ('x', narrow[2]);

    SetLastError(0);
    EXPECT_EQ(0, MultiByteToWideChar(CP_UTF8, 0, kNarrow, -1, wide, 8));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER), GetLastError());
    // The four-byte character doesn't fit into three bytes even though bytes are left.
    SetLastError(0);
    EXPECT_EQ(0, WideCharToMultiByte(CP_UTF8, 0, kWide, -1, narrow, 15, nullptr, nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER), GetLastError());
}

TEST(CodePage, IllFormedTextBecomesReplacementOrFailsInBothDirections)
{
    struct Row {
        std::string input;
        std::wstring lenient;
    };
    const Row rows[] = {
        {"a\xC3", L"a\uFFFD"},                             // cut-off sequence
        {"\xE2\x82" "A", L"\uFFFDA"},                     // one replacement for the broken prefix
        {"\xED\xA0\x80", L"\uFFFD\uFFFD\uFFFD"},          // an encoded surrogate
        {"\xC0\xAF", L"\uFFFD\uFFFD"},                    // overlong
        {"\xF4\x90\x80\x80", L"\uFFFD\uFFFD\uFFFD\uFFFD"}, // beyond U+10FFFF
        {"\xFF", L"\uFFFD"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "input of " << row.input.size() << " bytes");
        EXPECT_EQ(row.lenient, ToWide(row.input));
        SetLastError(0);
        EXPECT_EQ(0, MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, row.input.data(),
                                         static_cast<int>(row.input.size()), nullptr, 0));
        EXPECT_EQ(static_cast<DWORD>(ERROR_NO_UNICODE_TRANSLATION), GetLastError());
    }

    // A pair that a caller built by hand is the character it encodes.
    const std::wstring pair = {static_cast<wchar_t>(0xD834), static_cast<wchar_t>(0xDD1E)};
    EXPECT_EQ("\xF0\x9D\x84\x9E", ToNarrow(pair));

    const std::wstring lone = {L'a', static_cast<wchar_t>(0xDC00), L'b'};
    EXPECT_EQ("a\xEF\xBF\xBD" "b", ToNarrow(lone));
    SetLastError(0);
    EXPECT_EQ(0, WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, lone.data(), 3, nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_NO_UNICODE_TRANSLATION), GetLastError());
}

TEST(CodePage, RefusedParameters)
{
    char narrow[8];
    wchar_t wide[8];
    BOOL usedDefault = FALSE;
    struct Row {
        const char* what;
        std::function<int()> call;
        DWORD error;
    };
    const Row rows[] = {
        {"code page 1252", [&] { return MultiByteToWideChar(1252, 0, "a", -1, wide, 8); }, ERROR_INVALID_PARAMETER},
        {"zero count", [&] { return MultiByteToWideChar(CP_UTF8, 0, "a", 0, wide, 8); }, ERROR_INVALID_PARAMETER},
        {"null output", [&] { return MultiByteToWideChar(CP_UTF8, 0, "a", -1, nullptr, 8); },
         ERROR_INVALID_PARAMETER},
        {"flags on UTF-8", [&] { return MultiByteToWideChar(CP_UTF8, MB_PRECOMPOSED, "a", -1, wide, 8); },
         ERROR_INVALID_FLAGS},
        {"default char", [&] { return WideCharToMultiByte(CP_UTF8, 0, L"a", -1, narrow, 8, "?", nullptr); },
         ERROR_INVALID_PARAMETER},
        {"used default", [&] { return WideCharToMultiByte(CP_ACP, 0, L"a", -1, narrow, 8, nullptr, &usedDefault); },
         ERROR_INVALID_PARAMETER},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        SetLastError(0);
        EXPECT_EQ(0, row.call());
        EXPECT_EQ(row.error, GetLastError());
    }

    // The single-byte callers' composition flag means nothing for UTF-8 but is no error.
    EXPECT_EQ(2, MultiByteToWideChar(CP_ACP, MB_PRECOMPOSED, "a", -1, wide, 8));
}

} // namespace

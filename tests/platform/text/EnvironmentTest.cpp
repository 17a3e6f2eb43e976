// Checks environment expansion: sizes written and needed, and the texts that are not
// references and so stay as they are.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "TesselWin32.h"

namespace {

class ExpandEnvironment : public testing::Test {
protected:
    void SetUp() override
    {
        setenv("TESSEL_TEXT_DIR", "/opt/t\xC3\xA4st", 1);
        setenv("TESSEL_TEXT_EMPTY", "", 1);
        unsetenv("TESSEL_TEXT_UNKNOWN");
    }
    void TearDown() override
    {
        unsetenv("TESSEL_TEXT_DIR");
        unsetenv("TESSEL_TEXT_EMPTY");
    }

    static std::wstring Expand(const wchar_t* text)
    {
        const DWORD needed = ExpandEnvironmentStringsW(text, nullptr, 0);
        if (needed == 0)
            return L"<failed>";
        std::wstring result(needed, L'\0');
        EXPECT_EQ(needed, ExpandEnvironmentStringsW(text, result.data(), needed));
        EXPECT_EQ(L'\0', result.back());
        result.pop_back();
        return result;
    }
};

TEST_F(ExpandEnvironment, ReplacesKnownNamesAndKeepsTheRest)
{
    struct Row {
        const wchar_t* input;
        const wchar_t* expected;
    };
    const Row rows[] = {
        {L"%TESSEL_TEXT_DIR%\\bin", L"/opt/täst\\bin"},
        {L"a%TESSEL_TEXT_EMPTY%b", L"ab"},
        {L"%TESSEL_TEXT_UNKNOWN%", L"%TESSEL_TEXT_UNKNOWN%"},
        {L"%tessel_text_dir%", L"%tessel_text_dir%"}, // the environment here is case-sensitive
        {L"100%% sure", L"100%% sure"},
        {L"%%TESSEL_TEXT_DIR%", L"%/opt/täst"},
        {L"%TESSEL_TEXT_UNKNOWN%TESSEL_TEXT_DIR%", L"%TESSEL_TEXT_UNKNOWN/opt/täst"},
        {L"50%", L"50%"},
        {L"", L""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.input);
        EXPECT_EQ(row.expected, Expand(row.input));
    }
}

TEST_F(ExpandEnvironment, TooSmallGivesTheSizeAndWritesNothingNullSourceFails)
{
    // "/opt/täst" is nine characters, the terminator makes ten.
    wchar_t buffer[10] = L"untouched";
    EXPECT_EQ(10u, ExpandEnvironmentStringsW(L"%TESSEL_TEXT_DIR%", buffer, 9));
    EXPECT_STREQ(L"untouched", buffer);
    EXPECT_EQ(10u, ExpandEnvironmentStringsW(L"%TESSEL_TEXT_DIR%", buffer, 10));
    EXPECT_STREQ(L"/opt/täst", buffer);
    SetLastError(0);
    EXPECT_EQ(0u, ExpandEnvironmentStringsW(nullptr, buffer, 4));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_PARAMETER), GetLastError());
}

} // namespace

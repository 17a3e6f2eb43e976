// Checks the one way to the system's text of a code: the text as the system gives it, its one-line
// form, and nothing for a code that the system has no text for.

#include <gtest/gtest.h>

#include <string>

#include "common/SystemText.h"

namespace {

using namespace Tessel::Detail;

TEST(SystemText, FetchKeepsTheLineEndThatTheSystemPutsThereOrGivesNothing)
{
    for (const DWORD language : {kSystemTextAnyLanguage, kSystemTextUserDefaultLanguage}) {
        SCOPED_TRACE(language);
        LocalText text;
        ASSERT_TRUE(FetchSystemText(ERROR_ACCESS_DENIED, language, text));
        EXPECT_EQ(std::wstring(text.Get()), L"Access is denied.\r\n");
    }
    LocalText none;
    EXPECT_FALSE(FetchSystemText(0x12345u, kSystemTextAnyLanguage, none));
    EXPECT_EQ(none.Get(), nullptr);
}

TEST(SystemText, LineHasNoLineEndAndWin32HresultsFindTheirCodesText)
{
    struct Case {
        DWORD code;
        const wchar_t* expected;
    };
    const Case cases[] = {
        {ERROR_FILE_NOT_FOUND, L"The system cannot find the file specified."},
        {0x80070005u, L"Access is denied."},
        {0x80004005u, L"Unspecified error"},
        {ERROR_KEY_DELETED, L"Illegal operation attempted on a registry key that has been marked for deletion."},
        {0x12345u, L""}, // no text
        {0x80040201u, L""},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.code);
        EXPECT_EQ(SystemTextLine(row.code), row.expected);
    }
}

} // namespace

// The system's message texts as FormatMessageW gives them, and the local heap that owns them.

#include "TesselWin32.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <string>

namespace {

const DWORD kAllocatingFlags =
    FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM;
const DWORD kDefaultLanguage = MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT);

// The text for a code as the library asks for it, or "<none>" with the reason in `error`.
std::wstring SystemText(DWORD code, DWORD language = kDefaultLanguage, DWORD* error = nullptr)
{
    LPWSTR text = nullptr;
    const DWORD length = FormatMessageW(kAllocatingFlags, nullptr, code, language, reinterpret_cast<LPWSTR>(&text),
                                        0, nullptr);
    if (error != nullptr)
        *error = GetLastError();
    if (length == 0) {
        EXPECT_EQ(text, nullptr);
        return L"<none>";
    }
    std::wstring result(text);
    EXPECT_EQ(result.size(), length);
    EXPECT_EQ(LocalFree(text), nullptr);
    return result;
}

TEST(FormatMessage, Win32TextsEndInCarriageReturnAndLineFeed)
{
    struct Case {
        DWORD code;
        const wchar_t* text;
    };
    const Case cases[] = {
        {0, L"The operation completed successfully."},
        {2, L"The system cannot find the file specified."},
        {3, L"The system cannot find the path specified."},
        {5, L"Access is denied."},
        {6, L"The handle is invalid."},
        {8, L"Not enough memory resources are available to process this command."},
        {14, L"Not enough memory resources are available to complete this operation."},
        {87, L"The parameter is incorrect."},
        {122, L"The data area passed to a system call is too small."},
        {161, L"The specified path is invalid."},
        {234, L"More data is available."},
        {259, L"No more data is available."},
        {740, L"The requested operation requires elevation."},
        {1010, L"The configuration registry key is invalid."},
        {1011, L"The configuration registry key could not be opened."},
        {1012, L"The configuration registry key could not be read."},
        {1013, L"The configuration registry key could not be written."},
        {1015, L"The registry is corrupted. The structure of one of the files containing registry data is "
               L"corrupted, or the system's memory image of the file is corrupted, or the file could not be "
               L"recovered because the alternate copy or log was absent or corrupted."},
        {1018, L"Illegal operation attempted on a registry key that has been marked for deletion."},
        {1804, L"The specified datatype is invalid."},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.code);
        const std::wstring expected = std::wstring(row.text) + L"\r\n";
        EXPECT_EQ(SystemText(row.code), expected);
        // The same code as an HRESULT of FACILITY_WIN32.
        if (row.code != 0) {
            EXPECT_EQ(SystemText(static_cast<DWORD>(HRESULT_FROM_WIN32(static_cast<LONG>(row.code)))), expected);
        }
    }
}

TEST(FormatMessage, HresultTexts)
{
    struct Case {
        DWORD code;
        const wchar_t* text;
    };
    const Case cases[] = {
        {0x80004005u, L"Unspecified error\r\n"},
        {0x8000FFFFu, L"Catastrophic failure\r\n"},
        {0x80020009u, L"Exception occurred.\r\n"},
        {0x8007000Eu, L"Not enough memory resources are available to complete this operation.\r\n"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.code);
        EXPECT_EQ(SystemText(row.code), row.text);
    }
}

TEST(FormatMessage, CodesWithoutTextGiveNothing)
{
    for (DWORD code : {0x80040200u, 0x80040201u, 0x8004FFFFu, 0x80050000u, 0x12345u, 0x8007FFFFu, 0xFFFFu}) {
        SCOPED_TRACE(code);
        DWORD error = 0;
        EXPECT_EQ(SystemText(code, kDefaultLanguage, &error), L"<none>");
        EXPECT_EQ(error, static_cast<DWORD>(ERROR_MR_MID_NOT_FOUND));
    }
}

TEST(FormatMessage, LanguagesAndSources)
{
    DWORD error = 0;
    EXPECT_EQ(SystemText(5, MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US)), L"Access is denied.\r\n");
    EXPECT_EQ(SystemText(5, MAKELANGID(0x07, 0x01), &error), L"<none>");
    EXPECT_EQ(error, static_cast<DWORD>(ERROR_RESOURCE_LANG_NOT_FOUND));

    wchar_t buffer[64] = L"";
    EXPECT_EQ(FormatMessageW(FORMAT_MESSAGE_FROM_STRING, L"text", 0, 0, buffer, 64, nullptr), 0u);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST(FormatMessage, CallersBufferMustHoldTextAndTerminator)
{
    const std::wstring expected = L"Access is denied.\r\n";
    const DWORD needed = static_cast<DWORD>(expected.size() + 1);
    wchar_t buffer[64];
    struct Case {
        DWORD size;
        DWORD result;
    };
    const Case cases[] = {{needed, needed - 1}, {needed - 1, 0}};
    for (const Case& row : cases) {
        SCOPED_TRACE(row.size);
        std::wmemset(buffer, L'#', 64);
        EXPECT_EQ(FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, 5, 0, buffer,
                                 row.size, nullptr),
                  row.result);
        if (row.result != 0) {
            EXPECT_EQ(std::wstring(buffer), expected);
        } else {
            EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
        }
    }
}

TEST(LocalMemory, ZeroInitAndFree)
{
    unsigned char* block = static_cast<unsigned char*>(LocalAlloc(LPTR, 64));
    ASSERT_NE(block, nullptr);
    for (int i = 0; i < 64; ++i)
        EXPECT_EQ(block[i], 0) << i;
    EXPECT_EQ(LocalFree(block), nullptr);
}

} // namespace

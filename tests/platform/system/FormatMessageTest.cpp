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

// Checks each code's text, which ends in a line end; a Win32 code's text also stands for the
// HRESULT of FACILITY_WIN32 made from it. A code without a text gives nothing.
TEST(FormatMessage, TextsOfWin32AndHresultCodes)
{
    struct Case {
        DWORD code;
        const wchar_t* text; // null: the system has none
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
        {0x80004005u, L"Unspecified error"},
        {0x8000FFFFu, L"Catastrophic failure"},
        {0x80020009u, L"Exception occurred."},
        {0x8007000Eu, L"Not enough memory resources are available to complete this operation."},
        {0x80040200u, nullptr}, {0x80040201u, nullptr}, {0x8004FFFFu, nullptr}, {0x80050000u, nullptr},
        {0x12345u, nullptr},    {0x8007FFFFu, nullptr}, {0xFFFFu, nullptr},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.code);
        DWORD error = 0;
        const std::wstring text = SystemText(row.code, kDefaultLanguage, &error);
        if (row.text == nullptr) {
            EXPECT_EQ(text, L"<none>");
            EXPECT_EQ(error, static_cast<DWORD>(ERROR_MR_MID_NOT_FOUND));
            continue;
        }
        const std::wstring expected = std::wstring(row.text) + L"\r\n";
        EXPECT_EQ(text, expected);
        if (row.code != 0 && row.code < 0x10000) {
            EXPECT_EQ(SystemText(static_cast<DWORD>(HRESULT_FROM_WIN32(static_cast<LONG>(row.code)))), expected);
        }
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
    const DWORD flags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    wchar_t buffer[64];
    std::wmemset(buffer, L'#', 64);
    EXPECT_EQ(FormatMessageW(flags, nullptr, 5, 0, buffer, needed, nullptr), needed - 1);
    EXPECT_EQ(std::wstring(buffer), expected);
    std::wmemset(buffer, L'#', 64);
    EXPECT_EQ(FormatMessageW(flags, nullptr, 5, 0, buffer, needed - 1, nullptr), 0u);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
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

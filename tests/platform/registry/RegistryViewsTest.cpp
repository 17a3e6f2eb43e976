// The 32-bit and 64-bit views of the machine hive: which paths the 32-bit view redirects to
// Software\WOW6432Node, which both views share, and that the 64-bit flag or no flag at all reads
// the native keys. Each key holds a value that names where it really is.

#include <gtest/gtest.h>

#include <cwchar>
#include <string>
#include <vector>

#include "platform/registry/RegistryTestSupport.h"

using namespace RegistryTest;

namespace {

#ifndef _WIN32
class RegistryViewTable : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        for (const wchar_t* path : {L"Software", L"Software\\WOW6432Node", L"Software\\Vendor",
                                    L"Software\\WOW6432Node\\Vendor", L"Software\\Classes", L"Software\\Policies",
                                    L"System"}) {
            ScopedKey key;
            ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_LOCAL_MACHINE, path, key));
            ASSERT_EQ(ERROR_SUCCESS, SetString(key.Get(), L"where", std::u16string(path, path + std::wcslen(path))));
        }
        ScopedKey user;
        ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, L"Software", user));
        ASSERT_EQ(ERROR_SUCCESS, SetString(user.Get(), L"where", u"HKCU\\Software"));
    }

    // What the where value of key says, or the status of the query.
    static std::u16string WhereIs(HKEY key)
    {
        LONG status;
        const std::vector<BYTE> data = QueryBytes(key, L"where", status);
        if (status != ERROR_SUCCESS)
            return u"query " + Number(status);
        std::u16string text;
        for (std::size_t i = 0; i + 1 < data.size(); i += 2)
            text.push_back(static_cast<char16_t>(data[i] | data[i + 1] << 8));
        while (!text.empty() && text.back() == 0)
            text.pop_back();
        return text;
    }

    // Where the key that path opens with sam really is, or the status of the open.
    static std::u16string Where(HKEY root, const wchar_t* path, REGSAM sam)
    {
        ScopedKey key;
        const LONG status = RegOpenKeyExW(root, path, 0, sam, key.Put());
        return status != ERROR_SUCCESS ? u"open " + Number(status) : WhereIs(key.Get());
    }

    static std::u16string Number(LONG status)
    {
        const std::string digits = std::to_string(status);
        return std::u16string(digits.begin(), digits.end());
    }
};

TEST_F(RegistryViewTable, OpensFollowTheRedirectorForEachPathAndFlag)
{
    struct Case {
        HKEY root;
        const wchar_t* path;
        REGSAM view;
        const char16_t* where;
    };
    const Case cases[] = {
        {HKEY_LOCAL_MACHINE, L"Software", 0, u"Software"},
        {HKEY_LOCAL_MACHINE, L"Software", KEY_WOW64_64KEY, u"Software"},
        {HKEY_LOCAL_MACHINE, L"Software", KEY_WOW64_32KEY, u"Software\\WOW6432Node"},
        {HKEY_LOCAL_MACHINE, L"SOFTWARE", KEY_WOW64_32KEY, u"Software\\WOW6432Node"},
        {HKEY_LOCAL_MACHINE, L"Software\\Vendor", 0, u"Software\\Vendor"},
        {HKEY_LOCAL_MACHINE, L"Software\\Vendor", KEY_WOW64_64KEY, u"Software\\Vendor"},
        {HKEY_LOCAL_MACHINE, L"Software\\Vendor", KEY_WOW64_32KEY, u"Software\\WOW6432Node\\Vendor"},
        // Shared keys: the flag changes nothing.
        {HKEY_LOCAL_MACHINE, L"Software\\Classes", KEY_WOW64_32KEY, u"Software\\Classes"},
        {HKEY_LOCAL_MACHINE, L"Software\\Policies", KEY_WOW64_32KEY, u"Software\\Policies"},
        {HKEY_LOCAL_MACHINE, L"Software\\WOW6432Node", KEY_WOW64_32KEY, u"Software\\WOW6432Node"},
        {HKEY_LOCAL_MACHINE, L"Software\\WOW6432Node\\Vendor", KEY_WOW64_32KEY, u"Software\\WOW6432Node\\Vendor"},
        {HKEY_LOCAL_MACHINE, L"System", KEY_WOW64_32KEY, u"System"},
        {HKEY_CURRENT_USER, L"Software", KEY_WOW64_32KEY, u"HKCU\\Software"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::wstring(c.path) + (c.view == KEY_WOW64_32KEY ? L" 32" : c.view == KEY_WOW64_64KEY ? L" 64" : L""));
        EXPECT_EQ(std::u16string(c.where), Where(c.root, c.path, KEY_READ | c.view));
    }
}

TEST_F(RegistryViewTable, AHandleToSoftwareInThe32BitViewReachesTheRedirectedKeys)
{
    ScopedKey software;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software", 0, KEY_READ | KEY_WOW64_32KEY, software.Put()));
    EXPECT_EQ(u"Software\\WOW6432Node\\Vendor", Where(software.Get(), L"Vendor", KEY_READ));

    ScopedKey made;
    DWORD disposition = 0;
    ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"Software", 0, nullptr, 0, KEY_ALL_ACCESS | KEY_WOW64_32KEY,
                                             nullptr, made.Put(), &disposition));
    EXPECT_EQ(static_cast<DWORD>(REG_OPENED_EXISTING_KEY), disposition);
    EXPECT_EQ(u"Software\\WOW6432Node", WhereIs(made.Get()));
}
#endif

} // namespace

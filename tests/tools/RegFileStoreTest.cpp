// Checks .reg files against the registry: a tree with every kind of value exported, imported
// into an empty store and exported again gives the same bytes; imports land where the mapped
// roots and the 32-bit view put them; a failed import says on which line.

#include <gtest/gtest.h>

#include "RegFile.h"
#include "RegistryKey.h"

namespace Tessel::Reg {
namespace {

using Bytes = std::vector<BYTE>;

KeyPath Path(const std::wstring& text)
{
    return ParseKeyPath(text).value();
}

void Set(const std::wstring& key, const std::wstring& name, DWORD type, const Bytes& data)
{
    RegistryKey opened;
    ASSERT_EQ(opened.Create(Path(key), KEY_ALL_ACCESS), ERROR_SUCCESS);
    ASSERT_EQ(opened.WriteValue({name, type, data}), ERROR_SUCCESS);
}

std::optional<RegistryValue> Get(const KeyPath& key, const std::wstring& name)
{
    RegistryKey opened;
    RegistryValue value;
    if (opened.Open(key, KEY_READ) != ERROR_SUCCESS || opened.ReadValue(name, value) != ERROR_SUCCESS)
        return std::nullopt;
    return value;
}

std::string Export(const std::wstring& key)
{
    RegFileWriter writer;
    EXPECT_EQ(ExportRegistryTree(Path(key), writer), ERROR_SUCCESS);
    return writer.Finish();
}

RegFileImportFailure Import(const std::string& file, REGSAM view = 0)
{
    return ImportRegFile(ReadRegFile(reinterpret_cast<const BYTE*>(file.data()), file.size()), view);
}

Bytes Text(const std::wstring& text)
{
    Bytes data = Utf16FromText(text);
    data.push_back(0);
    data.push_back(0);
    return data;
}

TEST(RegFileStore, ExportImportExportGivesTheSameBytes)
{
    const std::wstring root = L"HKCU\\Software\\RoundTrip";
    Set(root, L"", REG_SZ, Text(L"default"));
    Set(root, L"empty sz", REG_SZ, {});
    Set(root, L"only terminator", REG_SZ, {0, 0});
    Set(root, L"q\"uote \\ = ] [ sp\u00e4ce \u65e5", REG_SZ, Text(L"x\"\\y \u00e9\U0001F600"));
    Set(root, L"nul inside", REG_SZ, {'a', 0, 0, 0, 'b', 0, 0, 0});
    Set(root, L"no terminator", REG_SZ, {'a', 0});
    Set(root, L"line break", REG_SZ, Text(L"a\r\nb"));
    Set(root, L"expand", REG_EXPAND_SZ, Text(L"%PATH%;x"));
    Set(root, L"expand empty", REG_EXPAND_SZ, {});
    Set(root, L"multi", REG_MULTI_SZ, {'a', 0, 0, 0, 0, 0, 'b', 0, 0, 0, 0, 0});
    Set(root, L"multi empty", REG_MULTI_SZ, {0, 0});
    Set(root, L"dword", REG_DWORD, {0xEF, 0xBE, 0xAD, 0xDE});
    Set(root, L"dword short", REG_DWORD, {1});
    Set(root, L"big endian", REG_DWORD_BIG_ENDIAN, {1, 2, 3, 4});
    Set(root, L"qword", REG_QWORD, {1, 2, 3, 4, 5, 6, 7, 8});
    Set(root, L"none", REG_NONE, {});
    Set(root, L"none data", REG_NONE, {0, 1});
    Set(root, L"link", REG_LINK, Text(L"\\Registry\\Machine"));
    Set(root, L"resources", REG_RESOURCE_LIST, Bytes(40, 0x11));
    Set(root, L"odd type", 0x1234, {9});
    Bytes wide(1000);
    for (size_t i = 0; i < wide.size(); ++i)
        wide[i] = static_cast<BYTE>(i * 7);
    Set(root, L"binary long", REG_BINARY, wide);
    Set(root, L"binary empty", REG_BINARY, {});
    Set(root + L"\\No Values", L"x", REG_SZ, Text(L"gone"));
    RegistryKey noValues;
    ASSERT_EQ(noValues.Open(Path(root + L"\\No Values"), KEY_ALL_ACCESS), ERROR_SUCCESS);
    ASSERT_EQ(noValues.DeleteValue(L"x"), ERROR_SUCCESS);
    std::wstring deep = root;
    for (int level = 0; level < 40; ++level)
        deep += L"\\L" + std::to_wstring(level);
    Set(deep, L"bottom", REG_DWORD, {1, 0, 0, 0});
    Set(root + L"\\\u00c4 key [with] brackets", L"", REG_SZ, Text(L"y"));

    const std::string first = Export(root);
    ASSERT_EQ(DeleteKeyTree(Path(root)), ERROR_SUCCESS);
    const RegFileImportFailure failure = Import(first);
    EXPECT_EQ(failure.Status, ERROR_SUCCESS) << failure.Line;
    EXPECT_EQ(Export(root), first);
    EXPECT_EQ(Get(Path(root), L"nul inside")->Data, (Bytes{'a', 0, 0, 0, 'b', 0, 0, 0}));
    EXPECT_EQ(Get(Path(root), L"empty sz")->Type, REG_SZ);
    EXPECT_EQ(Get(Path(root), L"empty sz")->Data, Bytes{});
}

// Checks that a file's [-KEY] and "name"=- delete, that deleting what isn't there is no
// failure, and that later lines win.
TEST(RegFileStore, ImportDeletesKeysAndValuesAndAppliesLinesInOrder)
{
    Set(L"HKCU\\Software\\Old\\Deep", L"v", REG_SZ, Text(L"1"));
    Set(L"HKCU\\Software\\Keep", L"gone", REG_SZ, Text(L"1"));
    Set(L"HKCU\\Software\\Keep", L"stays", REG_SZ, Text(L"1"));
    const RegFileImportFailure failure = Import("Windows Registry Editor Version 5.00\n"
                                                "[-HKEY_CURRENT_USER\\Software\\Old]\n"
                                                "[-HKEY_CURRENT_USER\\Software\\Never]\n"
                                                "[HKEY_CURRENT_USER\\Software\\Keep]\n"
                                                "\"gone\"=-\n"
                                                "\"never\"=-\n"
                                                "\"twice\"=\"first\"\n"
                                                "\"twice\"=dword:00000002\n");
    EXPECT_EQ(failure.Status, ERROR_SUCCESS);
    RegistryKey old;
    EXPECT_EQ(old.Open(Path(L"HKCU\\Software\\Old"), KEY_READ), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(Get(Path(L"HKCU\\Software\\Keep"), L"gone").has_value());
    EXPECT_TRUE(Get(Path(L"HKCU\\Software\\Keep"), L"stays").has_value());
    EXPECT_EQ(Get(Path(L"HKCU\\Software\\Keep"), L"twice")->Type, REG_DWORD);
}

TEST(RegFileStore, MappedRootsAndTheThirtyTwoBitViewLandWhereTheyLive)
{
    ASSERT_EQ(Import("Windows Registry Editor Version 5.00\n[HKEY_CLASSES_ROOT\\.tessel]\n@=\"classes\"\n"
                     "[HKEY_CURRENT_CONFIG\\Display]\n\"c\"=\"config\"\n").Status, ERROR_SUCCESS);
    EXPECT_EQ(Get(Path(L"HKLM\\Software\\Classes\\.tessel"), L"")->Data, Text(L"classes"));
    EXPECT_EQ(Get(Path(L"HKLM\\System\\CurrentControlSet\\Hardware Profiles\\Current\\Display"), L"c")->Data,
              Text(L"config"));

    ASSERT_EQ(Import("Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\Software\\Vendor]\n\"bits\"=dword:20\n",
                     KEY_WOW64_32KEY).Status, ERROR_SUCCESS);
    EXPECT_TRUE(Get(Path(L"HKLM\\Software\\WOW6432Node\\Vendor"), L"bits").has_value());
    EXPECT_FALSE(Get(Path(L"HKLM\\Software\\Vendor"), L"bits").has_value());
    KeyPath view32 = Path(L"HKLM\\Software\\Vendor");
    view32.View = KEY_WOW64_32KEY;
    EXPECT_TRUE(Get(view32, L"bits").has_value());
}

TEST(RegFileStore, FailedImportNamesItsLineAndKeepsWhatCameBefore)
{
    Set(L"HKCU\\Software\\Locked", L"v", REG_SZ, Text(L"old"));
    RegistryKey locked;
    ASSERT_EQ(locked.Open(Path(L"HKCU\\Software\\Locked"), KEY_ALL_ACCESS), ERROR_SUCCESS);
    ASSERT_EQ(TesselRegSetKeyAccess(locked.Handle(), KEY_READ), ERROR_SUCCESS);

    const RegFileImportFailure failure = Import("Windows Registry Editor Version 5.00\n"
                                                "[HKEY_CURRENT_USER\\Software\\Open]\n"
                                                "\"v\"=\"new\"\n"
                                                "[HKEY_CURRENT_USER\\Software\\Locked]\n"
                                                "\"v\"=\"new\"\n");
    EXPECT_EQ(failure.Status, ERROR_ACCESS_DENIED);
    EXPECT_EQ(failure.Line, 4u);
    EXPECT_EQ(Get(Path(L"HKCU\\Software\\Open"), L"v")->Data, Text(L"new"));
    EXPECT_EQ(Get(Path(L"HKCU\\Software\\Locked"), L"v")->Data, Text(L"old"));
}

} // namespace
} // namespace Tessel::Reg

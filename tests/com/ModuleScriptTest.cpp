// Checks the module's script operations: scripts found by number and by name in the module's
// resources, with the caller's replacements and the module's own.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "com/ComModule.h"
#include "com/RegistryProbe.h"

using ATL::g_module;
using ATL::RegistrarReplacement;
using namespace ComTest;

namespace {

const char kPathsScript[] = "HKCR { Paths { val Module = s '%Module%' val Raw = s '%Module_Raw%' "
                            "val AppId = s '%APPID%' val Extra = s '%Extra%' } }";
const char kNamedScript[] = "HKCR\n{\n  Named = s 'by name \xC3\xA4'\n}\n";
const char kEmptyScript[] = "";

const TESSEL_RESOURCE kScripts[] = {
    {L"REGISTRY", MAKEINTRESOURCEW(101), kPathsScript, sizeof kPathsScript - 1},
    {L"REGISTRY", L"NAMED", kNamedScript, sizeof kNamedScript - 1},
    {L"REGISTRY", MAKEINTRESOURCEW(102), kEmptyScript, 0},
    {L"OTHER", MAKEINTRESOURCEW(103), kNamedScript, sizeof kNamedScript - 1},
};
TESSEL_MODULE_RESOURCES(kScripts);

std::wstring ProgramPath()
{
    wchar_t path[MAX_PATH];
    const DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
    return std::wstring(path, length);
}

TEST(ModuleScripts, ScriptByIdGetsTheModuleReplacements)
{
    const RegistrarReplacement replacements[] = {{L"Extra", L"given"}, {L"Unused", nullptr}, {nullptr, nullptr}};
    ASSERT_EQ(g_module.RunScriptById(101, TRUE, replacements), S_OK);
    const std::wstring path = ProgramPath();
    // The resource module is the program itself, whose path is quoted for a command line.
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, L"Paths", L"Module"), L"\"" + path + L"\"");
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, L"Paths", L"Raw"), path);
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, L"Paths", L"AppId"), L"");
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, L"Paths", L"Extra"), L"given");

    // Only the low 16 bits of the number count.
    ASSERT_EQ(g_module.RunScriptById(0x10000 + 101, FALSE, replacements), S_OK);
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"Paths"));
}

TEST(ModuleScripts, ScriptByNameIsConvertedFromTheCodePage)
{
    for (const wchar_t* name : {L"NAMED", L"named", L"#102"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(g_module.RunScriptByName(name, TRUE, nullptr), S_OK);
    }
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, L"Named", nullptr), L"by name \u00E4");
    EXPECT_EQ(g_module.RunScriptByName(L"Named", FALSE, nullptr), S_OK);
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"Named"));
}

TEST(ModuleScripts, FailuresGiveTheirCodes)
{
    const RegistrarReplacement noExtra[] = {{L"Extra", nullptr}, {nullptr, nullptr}};
    EXPECT_EQ(g_module.RunScriptById(101, TRUE, noExtra), DISP_E_EXCEPTION);
    EXPECT_EQ(g_module.RunScriptById(999, TRUE, nullptr), HRESULT_FROM_WIN32(ERROR_RESOURCE_NAME_NOT_FOUND));
    // Resources of another type are not scripts.
    EXPECT_EQ(g_module.RunScriptById(103, TRUE, nullptr), HRESULT_FROM_WIN32(ERROR_RESOURCE_NAME_NOT_FOUND));
    EXPECT_EQ(g_module.RunScriptByName(nullptr, TRUE, nullptr), E_INVALIDARG);
    EXPECT_EQ(SubKeyCount(HKEY_CLASSES_ROOT, L""), 0u);
}

TEST(ModuleScripts, ScriptsOfAnotherModuleKeepTheQuoteInItsPath)
{
    // A module elsewhere than the program, in a folder whose name holds a quote.
    const std::string folder = std::string(std::getenv("TESSEL_REGISTRY_DIR")) + "/it's here";
    const std::string copy = folder + "/ScriptModule.so";
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    {
        std::ifstream from(TESSEL_SCRIPT_MODULE, std::ios::binary);
        std::ofstream to(copy, std::ios::binary);
        to << from.rdbuf();
    }
    const std::wstring path(copy.begin(), copy.end());
    const HMODULE module = LoadLibraryExW(path.c_str(), nullptr, 0);
    ASSERT_NE(module, nullptr);
    const HINSTANCE previous = ATL::g_baseModule.SetResourceInstance(module);

    EXPECT_EQ(g_module.RunScriptById(201, TRUE, nullptr), S_OK);
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, L"ModulePaths", L"Module"), path);
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, L"ModulePaths", L"Raw"), path);
    // The program's own scripts are not in that module.
    EXPECT_EQ(g_module.RunScriptById(101, TRUE, nullptr), HRESULT_FROM_WIN32(ERROR_RESOURCE_NAME_NOT_FOUND));

    ATL::g_baseModule.SetResourceInstance(previous);
    EXPECT_TRUE(FreeLibrary(module));
}

} // namespace

// Checks module handles, file names, loading and freeing, and resources found by number, by
// name and by the "#number" form.

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <string>

#include "TesselWin32.h"

namespace {

const char kText[] = "resource text";
const char kOther[] = "other";
const TESSEL_RESOURCE kResources[] = {
    {L"REGISTRY", MAKEINTRESOURCEW(7), kText, sizeof kText - 1},
    {L"REGISTRY", L"Named", kOther, sizeof kOther - 1},
    {MAKEINTRESOURCEW(10), MAKEINTRESOURCEW(1), kOther, sizeof kOther - 1},
};
TESSEL_MODULE_RESOURCES(kResources);

std::wstring ProgramPath()
{
    char buffer[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer);
    return std::wstring(buffer, buffer + length);
}

TEST(ModuleHandles, ProgramAndLibrariesAreFoundByNameAndAddress)
{
    const HMODULE program = GetModuleHandleW(nullptr);
    ASSERT_NE(program, nullptr);
    HMODULE fromAddress = nullptr;
    ASSERT_TRUE(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                   reinterpret_cast<LPCWSTR>(&kResources), &fromAddress));
    EXPECT_EQ(fromAddress, program);

    HMODULE platform = nullptr;
    ASSERT_TRUE(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                   reinterpret_cast<LPCWSTR>(&RegOpenKeyExW), &platform));
    EXPECT_NE(platform, program);
    wchar_t path[MAX_PATH];
    ASSERT_GT(GetModuleFileNameW(platform, path, MAX_PATH), 0u);
    EXPECT_EQ(GetModuleHandleW(path), platform);
    EXPECT_EQ(reinterpret_cast<void*>(GetProcAddress(platform, "RegOpenKeyExW")), reinterpret_cast<void*>(&RegOpenKeyExW));
    EXPECT_EQ(GetProcAddress(platform, "NoSuchFunction"), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PROC_NOT_FOUND));

    // The Windows system libraries don't exist here: a probe for one finds nothing.
    EXPECT_EQ(GetModuleHandleW(L"Advapi32.dll"), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
}

TEST(ModuleHandles, FileNameIsCutToTheBuffer)
{
    const std::wstring program = ProgramPath();
    wchar_t path[MAX_PATH];
    ASSERT_EQ(GetModuleFileNameW(nullptr, path, MAX_PATH), program.size());
    EXPECT_EQ(std::wstring(path), program);

    wchar_t small[5];
    SetLastError(0);
    EXPECT_EQ(GetModuleFileNameW(nullptr, small, 5), 5u);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(std::wstring(small), program.substr(0, 4));

    EXPECT_EQ(GetModuleFileNameW(reinterpret_cast<HMODULE>(0x1000), path, MAX_PATH), 0u);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
}

TEST(ModuleHandles, LoadingALoadedModuleOnlyCountsIt)
{
    const std::wstring program = ProgramPath();
    const HMODULE loaded = LoadLibraryExW(program.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    EXPECT_EQ(loaded, GetModuleHandleW(nullptr));
    EXPECT_EQ(LoadLibraryExW(program.c_str(), nullptr, 0), loaded);
    EXPECT_TRUE(FreeLibrary(loaded));
    EXPECT_TRUE(FreeLibrary(loaded));
    EXPECT_FALSE(FreeLibrary(loaded));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));

    EXPECT_EQ(LoadLibraryExW(L"/no/such/module.so", nullptr, 0), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    EXPECT_EQ(LoadLibraryExW(L"/proc/self/status", nullptr, 0), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_BAD_EXE_FORMAT));
}

TEST(ModuleResources, FoundByNumberNameAndNumberText)
{
    const HMODULE program = GetModuleHandleW(nullptr);
    const struct {
        LPCWSTR name;
        LPCWSTR type;
        const char* data;
    } rows[] = {
        {MAKEINTRESOURCEW(7), L"REGISTRY", kText},
        {L"#7", L"registry", kText},
        {L"NAMED", L"Registry", kOther},
        {MAKEINTRESOURCEW(1), RT_RCDATA, kOther},
        {L"#1", L"#10", kOther},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(reinterpret_cast<ULONG_PTR>(row.name));
        for (HMODULE module : {program, static_cast<HMODULE>(nullptr)}) {
            const HRSRC found = FindResourceW(module, row.name, row.type);
            ASSERT_NE(found, nullptr);
            const HGLOBAL loaded = LoadResource(module, found);
            ASSERT_NE(loaded, nullptr);
            EXPECT_EQ(std::string(static_cast<const char*>(LockResource(loaded)), SizeofResource(module, found)),
                      row.data);
        }
    }
}

TEST(ModuleResources, MissingTypeAndMissingNameAreTold)
{
    const HMODULE program = GetModuleHandleW(nullptr);
    EXPECT_EQ(FindResourceW(program, MAKEINTRESOURCEW(8), L"REGISTRY"), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_RESOURCE_NAME_NOT_FOUND));
    EXPECT_EQ(FindResourceW(program, L"#0x7", L"REGISTRY"), nullptr);
    EXPECT_EQ(FindResourceW(program, MAKEINTRESOURCEW(7), L"TYPELIB"), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_RESOURCE_TYPE_NOT_FOUND));

    // The platform library carries no resources: the program's are not found through it.
    HMODULE platform = nullptr;
    ASSERT_TRUE(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                   reinterpret_cast<LPCWSTR>(&RegOpenKeyExW), &platform));
    EXPECT_EQ(FindResourceW(platform, MAKEINTRESOURCEW(7), L"REGISTRY"), nullptr);
    EXPECT_EQ(FindResourceW(program, nullptr, L"REGISTRY"), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

} // namespace

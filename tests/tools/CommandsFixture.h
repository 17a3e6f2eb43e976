// A test's own registry store and the tool run in-process over it: the exact output, the state
// left behind, and the questions asked before anything is overwritten or deleted.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "Commands.h"
#include "FakeConsole.h"
#include "RegistryValue.h"

namespace Tessel::Reg::Testing {

inline const std::wstring kKey = L"HKCU\\Software\\TesselRegTest";
inline const std::wstring kFull = L"HKEY_CURRENT_USER\\Software\\TesselRegTest";
inline const std::wstring kNotFound = L"ERROR: The system was unable to find the specified registry key or value.\n";
inline const std::wstring kDone = L"The operation completed successfully.\n";

class TesselRegCommands : public ::testing::Test {
protected:
    int Run(std::vector<std::wstring> args)
    {
        m_console = FakeConsole();
        return RunTool(args, m_console);
    }
    int Run(std::vector<std::wstring> args, FakeConsole& console) { return RunTool(args, console); }

    void Add(std::vector<std::wstring> args)
    {
        args.insert(args.begin(), L"add");
        ASSERT_EQ(Run(args), 0) << std::string(m_console.ErrText.begin(), m_console.ErrText.end());
    }

    std::wstring Query(std::vector<std::wstring> args)
    {
        args.insert(args.begin(), L"query");
        EXPECT_EQ(Run(args), 0);
        EXPECT_EQ(m_console.ErrText, L"");
        return m_console.OutText;
    }

    // What the store holds, read without the tool.
    std::optional<RegistryValue> Stored(const std::wstring& subKey, const std::wstring& name)
    {
        HKEY key = nullptr;
        if (RegOpenKeyExW(HKEY_CURRENT_USER, subKey.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
            return std::nullopt;
        RegistryValue value;
        value.Name = name;
        DWORD size = 0;
        LSTATUS status = RegQueryValueExW(key, name.c_str(), nullptr, &value.Type, nullptr, &size);
        if (status == ERROR_SUCCESS) {
            value.Data.resize(size);
            status = RegQueryValueExW(key, name.c_str(), nullptr, &value.Type, value.Data.data(), &size);
        }
        RegCloseKey(key);
        if (status != ERROR_SUCCESS)
            return std::nullopt;
        return value;
    }

    bool KeyExists(const std::wstring& subKey)
    {
        HKEY key = nullptr;
        if (RegOpenKeyExW(HKEY_CURRENT_USER, subKey.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
            return false;
        RegCloseKey(key);
        return true;
    }

    FakeConsole m_console;
};

} // namespace Tessel::Reg::Testing

// What several of tessel-reg's commands share: exit codes, turning a registry status into the
// failure that ends a command, asking before a change, and walking a tree of keys.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "Console.h"
#include "RegistryKey.h"

namespace Tessel::Reg {

constexpr int kExitSuccess = 0;
constexpr int kExitFailure = 1;
constexpr int kExitDifferent = 2; // compare: the keys differ

// Throws the status's ToolError unless it is ERROR_SUCCESS.
void Require(LSTATUS status);

// True to go ahead. With force, always; with nobody to ask, refuses with the given text; else
// asks, and on "no" tells the user that nothing was done.
bool ConfirmOrRefuse(Console& console, bool force, const std::wstring& question, const std::wstring& refusal);

// A file name from the command line as a path of this system.
std::filesystem::path FilePath(const std::wstring& name);

// Prints text and a line end.
void OutLine(Console& console, const std::wstring& text);

std::vector<std::wstring> SubKeyNames(const RegistryKey& key);

// Opens a key that a walk found, or reports that another process deleted it meanwhile.
bool OpenFoundKey(RegistryKey& key, const KeyPath& path, REGSAM access);

// Visits the key and everything below it, parents before children, in enumeration order. A
// sub-key that another process deletes during the walk is passed over.
template <typename Visit>
void WalkTree(const KeyPath& path, RegistryKey& key, Visit& visit)
{
    visit(path, key);
    std::vector<std::wstring> names;
    const LSTATUS status = key.ReadSubKeyNames(names);
    // Deleted after it was opened: it is passed over like one deleted before.
    if (status == ERROR_KEY_DELETED)
        return;
    Require(status);
    for (const std::wstring& name : names) {
        const KeyPath childPath = path.Child(name);
        RegistryKey child;
        if (OpenFoundKey(child, childPath, KEY_READ))
            WalkTree(childPath, child, visit);
    }
}

} // namespace Tessel::Reg

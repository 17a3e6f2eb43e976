// A registry key as users name it: a predefined root, a backslash path below it, and the view of
// the store (32-bit or 64-bit) through which it is opened.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "TesselWin32.h"

namespace Tessel::Reg {

struct KeyPath {
    HKEY Root = nullptr;
    std::wstring RootName; // always the long form, as output and .reg files show it
    std::wstring SubKey;   // empty for the root itself; never starts or ends with a backslash
    REGSAM View = 0;       // KEY_WOW64_32KEY, KEY_WOW64_64KEY or nothing; added to every open

    // The path as output shows it: the long root name, then the sub-key path.
    std::wstring FullName() const;
    bool IsRoot() const { return SubKey.empty(); }
    // The path of a child named name, in the same view.
    KeyPath Child(std::wstring_view name) const;
};

// Parses "HKLM\Software\X" and its long form. The root is matched without regard to case; one
// trailing backslash is allowed. Returns nothing for an unknown root, an empty path component or
// a remote-machine name.
std::optional<KeyPath> ParseKeyPath(std::wstring_view text);

// As ParseKeyPath, but the root must be in its long form, as .reg files write it.
std::optional<KeyPath> ParseLongKeyPath(std::wstring_view text);

} // namespace Tessel::Reg

// Key names as users type them: a root in its short or long form, then a backslash path.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "TesselWin32.h"

namespace Tessel::Reg {

struct KeyPath {
    HKEY Root = nullptr;
    std::wstring RootName; // always the long form, as output shows it
    std::wstring SubKey;   // empty for the root itself; never starts or ends with a backslash

    // The path as output shows it: the long root name, then the sub-key path.
    std::wstring FullName() const;
    bool IsRoot() const { return SubKey.empty(); }
    // The path of a child named name.
    KeyPath Child(std::wstring_view name) const;
};

// Parses "HKLM\Software\X" and its long form. The root is matched without regard to case; one
// trailing backslash is allowed. Returns nothing for an unknown root, an empty path component or
// a remote-machine name.
std::optional<KeyPath> ParseKeyPath(std::wstring_view text);

// ASCII-only case folding comparison; option names, roots and type names are ASCII.
bool EqualsIgnoringCase(std::wstring_view left, std::wstring_view right);

} // namespace Tessel::Reg

// A saved key: a key and everything below it, with all that a restore brings back, and the file
// that holds one (docs/saved-key-format.md). The file is a SQLite database of its own, apart
// from any hive; this unit alone knows its tables.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "registry/Records.h"

namespace TesselPlatform::Registry {

struct SavedKey {
    std::size_t parent = 0; // index of the parent in the tree; the first key, the saved one, has none
    Utf16 name;
    Utf16 className;       // empty: the key has no class
    REGSAM access = 0;     // what the key grants
    std::int64_t written = 0; // last-write time, a FILETIME count
    ValueList values;      // in the order they were created
};

// Parents before their children; the first entry is the saved key itself.
using SavedTree = std::vector<SavedKey>;

// The format version that this build writes and the only one it reads.
constexpr int SavedKeyFormatVersion = 1;

// Writes tree to a new file at path. ERROR_ALREADY_EXISTS when there is a file there already,
// including one that another process makes meanwhile; the file appears whole or not at all.
LONG WriteSavedKeyFile(const std::string& path, const SavedTree& tree);

// Reads and checks a whole file: ERROR_FILE_NOT_FOUND when there is none, ERROR_ACCESS_DENIED
// when it can't be read, ERROR_BADDB when it isn't a saved key of this version or breaks the
// registry's rules (names, limits, duplicates, a tree that isn't one).
LONG ReadSavedKeyFile(const std::string& path, SavedTree& out);

} // namespace TesselPlatform::Registry

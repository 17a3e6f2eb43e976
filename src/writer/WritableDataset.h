// The writer's side of a registry dataset: re-opening its key for writing, removing a key with
// everything below it, and copying parameters between two datasets.
#pragma once

#include <string>

#include "TesselWin32.h"
#include "config/RegistryDataset.h"

namespace Tessel::Detail {

// KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_ENUMERATE_SUB_KEYS: what a writer's key is opened with.
constexpr REGSAM kWriteAccess = 0xB;

// Opens the dataset's key for writing, creating it and every missing key above it, unless that
// has been done already. On failure throws PersistentDataNotFoundException "Cannot open " and
// the sub key, and leaves the key closed, so that later reads find nothing.
void EnsureWritable(RegistryDataset& dataset);

// Removes subPath below parent with all its subkeys, children first, and gives the first
// non-zero status of the store, or ERROR_BADKEY for an empty path. Throws nothing; what was
// removed before a failure stays removed. regOverride selects the registry view.
LONG DeleteKeyTree(HKEY parent, const wchar_t* subPath, ULONG regOverride);

// Brings every value of source into target, type and bytes unchanged. With overwrite false a
// value that target has is left alone. Makes target writable first, so that it exists
// afterwards even when there is nothing to copy. A failed write throws Unexpected.
void CopyValues(RegistryDataset& target, const RegistryDataset& source, bool overwrite);

} // namespace Tessel::Detail

// Copying parameters between two registry datasets. The dataset's own writer-side operations,
// EnsureWritable and DeleteKeyTree, are members of RegistryDataset.
#pragma once

#include <string>

#include "TesselWin32.h"
#include "config/RegistryDataset.h"

namespace Tessel::Detail {

// Brings every value of source into target, type and bytes unchanged. With overwrite false a
// value that target has is left alone. Makes target writable first, so that it exists
// afterwards even when there is nothing to copy. A failed write throws Unexpected.
void CopyValues(RegistryDataset& target, const RegistryDataset& source, bool overwrite);

} // namespace Tessel::Detail

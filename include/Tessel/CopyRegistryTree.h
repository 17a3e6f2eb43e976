// Copying a dataset with its parameters and sub datasets from a reader's store into a writer's.
#pragma once

#include "Tessel/Export.h"
#include "Tessel/IConfigReader.h"
#include "Tessel/IPersistentDataWriter.h"

namespace Tessel {

// Copies the dataset at reader's location into the dataset at writer's location, level by level:
// every dataset gets its parameters before its sub datasets are created. The two objects give
// their locations only; fresh ones are opened through the factories, with the factories' current
// registry views. With recursive false the direct sub datasets are created but not filled.
// overwrite is handed to CopyParameters; either way the result is a merge, and what the target
// has beside the source stays.
//
// Any failure of the library ends the copy as Unexpected, whose text quotes the failure's text;
// what was copied before it stays. Standard exceptions such as std::bad_alloc pass unchanged.
TESSEL_API void CopyRegistryTree(const IConfigReader& reader, IPersistentDataWriter& writer, bool recursive,
                                 bool overwrite);

} // namespace Tessel

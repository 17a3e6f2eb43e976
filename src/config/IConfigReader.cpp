// The exported constructor and destructor of the reader interface.

#include "Tessel/IConfigReader.h"

namespace Tessel {

IConfigReader::IConfigReader() = default;

IConfigReader::~IConfigReader() = default;

} // namespace Tessel

// The writer factory's life and its view setting; its writers come with the writer.

#include "Tessel/PersistentDataWriterFactory.h"

#include "config/DataSourceName.h"

namespace Tessel {

ULONG PersistentDataWriterFactory::m_regOverride = 0;

PersistentDataWriterFactory::PersistentDataWriterFactory() = default;

PersistentDataWriterFactory::~PersistentDataWriterFactory() = default;

void PersistentDataWriterFactory::ForcePlatform(int bitness)
{
    Detail::ForcePlatformView(bitness, m_regOverride);
}

} // namespace Tessel

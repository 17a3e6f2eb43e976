// The writer factory's singleton and its view setting.

#include "Tessel/PersistentDataWriterFactory.h"

#include "config/ThreadSafeSingletonImpl.h"

namespace Tessel {

// The attributes come from the declaration in the public header.
template class ThreadSafeSingleton<PersistentDataWriterFactory>;

ULONG PersistentDataWriterFactory::m_regOverride = 0;

PersistentDataWriterFactory::PersistentDataWriterFactory() = default;

PersistentDataWriterFactory::~PersistentDataWriterFactory() = default;

void PersistentDataWriterFactory::ForcePlatform(int bitness)
{
    if (bitness == 32)
        m_regOverride = KEY_WOW64_32KEY;
    else if (bitness == 64)
        m_regOverride = KEY_WOW64_64KEY;
}

} // namespace Tessel

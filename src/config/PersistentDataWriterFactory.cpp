// The writer factory: its life, its view setting, and a data-source name in, a writer out.

#include "Tessel/PersistentDataWriterFactory.h"

#include "Tessel/Exceptions.h"
#include "config/DataSourceName.h"
#include "writer/RegistryDataWriter.h"

namespace Tessel {

ULONG PersistentDataWriterFactory::m_regOverride = 0;

PersistentDataWriterFactory::PersistentDataWriterFactory() = default;

PersistentDataWriterFactory::~PersistentDataWriterFactory() = default;

void PersistentDataWriterFactory::ForcePlatform(int bitness)
{
    Detail::ForcePlatformView(bitness, m_regOverride);
}

const std::shared_ptr<IPersistentDataWriter> PersistentDataWriterFactory::GetPersistentDataWriter(
    const std::wstring& dataSourceName) const
{
    std::wstring location;
    if (Detail::SplitDataSourceName(dataSourceName, location) != Detail::DataSourceKind::Registry)
        throw UnknownPersistentDataException(static_cast<const wchar_t*>(nullptr));
    return std::make_shared<Detail::RegistryDataWriter>(location, m_regOverride);
}

} // namespace Tessel

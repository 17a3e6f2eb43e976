// The reader factory: a data-source name in, a reader out.

#include "Tessel/ConfigReaderFactory.h"

#include "Tessel/Exceptions.h"
#include "config/DataSourceName.h"
#include "config/RegistryReader.h"

namespace Tessel {

ULONG ConfigReaderFactory::m_regOverride = 0;

ConfigReaderFactory::ConfigReaderFactory() = default;

ConfigReaderFactory::~ConfigReaderFactory() = default;

void ConfigReaderFactory::ForcePlatform(int bitness)
{
    Detail::ForcePlatformView(bitness, m_regOverride);
}

const std::shared_ptr<IConfigReader> ConfigReaderFactory::GetConfigReader(const std::wstring& dataSourceName) const
{
    std::wstring location;
    if (Detail::SplitDataSourceName(dataSourceName, location) != Detail::DataSourceKind::Registry)
        throw UnknownConfigurationException(static_cast<const wchar_t*>(nullptr));
    return std::make_shared<Detail::RegistryReader>(location, m_regOverride);
}

} // namespace Tessel

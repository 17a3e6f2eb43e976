// The reader factory and its singleton.

#include "Tessel/ConfigReaderFactory.h"

#include "Tessel/Exceptions.h"
#include "config/DataSourceName.h"
#include "config/RegistryReader.h"
#include "config/ThreadSafeSingletonImpl.h"

namespace Tessel {

// The attributes come from the declaration in the public header.
template class ThreadSafeSingleton<ConfigReaderFactory>;

ULONG ConfigReaderFactory::m_regOverride = 0;

ConfigReaderFactory::ConfigReaderFactory() = default;

ConfigReaderFactory::~ConfigReaderFactory() = default;

void ConfigReaderFactory::ForcePlatform(int bitness)
{
    // No value resets the view: once forced, a process stays with it.
    if (bitness == 32)
        m_regOverride = KEY_WOW64_32KEY;
    else if (bitness == 64)
        m_regOverride = KEY_WOW64_64KEY;
}

const std::shared_ptr<IConfigReader> ConfigReaderFactory::GetConfigReader(const std::wstring& dataSourceName) const
{
    std::wstring location;
    if (Detail::SplitDataSourceName(dataSourceName, location) != Detail::DataSourceKind::Registry)
        throw UnknownConfigurationException(static_cast<const wchar_t*>(nullptr));
    return std::make_shared<Detail::RegistryReader>(location, m_regOverride);
}

} // namespace Tessel

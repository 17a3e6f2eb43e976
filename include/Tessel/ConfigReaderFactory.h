// The factory that turns a data-source name into a reader of configuration.
#pragma once

#include <memory>
#include <string>

#include "Tessel/Export.h"
#include "Tessel/IConfigReader.h"
#include "Tessel/ThreadSafeSingleton.h"
#include "TesselWin32.h"

namespace Tessel {

class ConfigReaderFactory;

// The instantiation lives in the library; clients use it from there.
extern template class TESSEL_API ThreadSafeSingleton<ConfigReaderFactory>;

// Hands out readers of configuration. A name is "scheme:location" or a bare registry location;
// only the registry scheme exists. Get the factory with ConfigReaderFactory::GetInstance().
class TESSEL_API ConfigReaderFactory : public ThreadSafeSingleton<ConfigReaderFactory> {
public:
    // Makes every reader created from now on use the 32-bit (32) or 64-bit (64) registry view.
    // Other values change nothing, so a forced view cannot be undone. Readers that already exist
    // keep the view they were made with.
    static void ForcePlatform(int bitness);

    // Opens a reader on the dataset that the name selects. Throws UnknownConfigurationException
    // for a scheme other than "registry" or a bad root, ConfigurationNotFoundException when the
    // key cannot be opened. Each call gives a new, independent reader.
    const std::shared_ptr<IConfigReader> GetConfigReader(const std::wstring& dataSourceName) const;

private:
    friend class ThreadSafeSingleton<ConfigReaderFactory>;

    ConfigReaderFactory();
    virtual ~ConfigReaderFactory();
    ConfigReaderFactory(const ConfigReaderFactory&) = delete;
    ConfigReaderFactory& operator=(const ConfigReaderFactory&) = delete;

    static ULONG m_regOverride; // view flags ORed into every access mask of new readers
};

} // namespace Tessel

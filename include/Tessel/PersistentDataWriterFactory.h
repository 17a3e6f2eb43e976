// The factory that turns a data-source name into a writer of persistent data.
#pragma once

#include <memory>
#include <string>

#include "Tessel/Export.h"
#include "Tessel/IPersistentDataWriter.h"
#include "Tessel/ThreadSafeSingleton.h"
#include "TesselWin32.h"

namespace Tessel {

class PersistentDataWriterFactory;

// The instantiation lives in the library; clients use it from there.
extern template class TESSEL_API ThreadSafeSingleton<PersistentDataWriterFactory>;

// Hands out writers of persistent data, with a registry view setting of its own: forcing the
// reader factory does not force this one.
class TESSEL_API PersistentDataWriterFactory : public ThreadSafeSingleton<PersistentDataWriterFactory> {
public:
    // Makes every writer created from now on use the 32-bit (32) or 64-bit (64) registry view.
    // Other values change nothing.
    static void ForcePlatform(int bitness);

    // Gives a writer on the dataset that the name selects, whether the dataset exists or not.
    // Throws UnknownPersistentDataException for a scheme other than "registry" or a bad root.
    // Each call gives a new, independent writer.
    const std::shared_ptr<IPersistentDataWriter> GetPersistentDataWriter(const std::wstring& dataSourceName) const;

private:
    friend class ThreadSafeSingleton<PersistentDataWriterFactory>;

    PersistentDataWriterFactory();
    virtual ~PersistentDataWriterFactory();
    PersistentDataWriterFactory(const PersistentDataWriterFactory&) = delete;
    PersistentDataWriterFactory& operator=(const PersistentDataWriterFactory&) = delete;

    static ULONG m_regOverride; // view flags ORed into every access mask of new writers
};

} // namespace Tessel

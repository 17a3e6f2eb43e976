// The factory singletons' locks. The module's detach destroys the instances under these locks, so
// they must outlive the load hook. They are defined in a unit of their own, where the public
// headers' explicit instantiation declarations of the singletons are not seen: GCC drops the
// initialisation priority of a member of a specialisation that such a declaration has named.

#include "Tessel/CriticalSection.h"
#include "Tessel/Export.h"
#include "Tessel/ThreadSafeSingleton.h"

namespace Tessel {

class ConfigReaderFactory;
class PersistentDataWriterFactory;

// Exported with the rest of each instantiation, as the class's declaration in the headers asks.
template <class T>
TESSEL_API CriticalSection ThreadSafeSingleton<T>::m_singletonMutex TESSEL_OUTLIVES_LOAD_HOOK;

template CriticalSection ThreadSafeSingleton<ConfigReaderFactory>::m_singletonMutex;
template CriticalSection ThreadSafeSingleton<PersistentDataWriterFactory>::m_singletonMutex;

} // namespace Tessel

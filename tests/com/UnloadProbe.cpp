// A module that links the library and makes both factory singletons on request, so that the
// library's unload has instances to destroy.

#include "Tessel/ConfigReaderFactory.h"
#include "Tessel/PersistentDataWriterFactory.h"

extern "C" __attribute__((visibility("default"))) void TesselProbeMakeFactories()
{
    Tessel::ConfigReaderFactory::GetInstance();
    Tessel::PersistentDataWriterFactory::GetInstance();
}

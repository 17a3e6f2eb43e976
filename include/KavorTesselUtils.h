// The umbrella header: every public header of the library, and with them the Win32 names
// (the system's on Windows, the platform layer's elsewhere).
#pragma once

#include "TesselWin32.h"
#include "Tessel/Export.h"
#include "Tessel/ComErrorText.h"
#include "Tessel/ConfigReaderFactory.h"
#include "Tessel/CopyRegistryTree.h"
#include "Tessel/CriticalSection.h"
#include "Tessel/ErrorStorage.h"
#include "Tessel/ExceptionFactory.h"
#include "Tessel/Exceptions.h"
#include "Tessel/IConfigReader.h"
#include "Tessel/IPersistentDataWriter.h"
#include "Tessel/PersistBasic.h"
#include "Tessel/PersistRegistry.h"
#include "Tessel/PersistentDataWriterFactory.h"
#include "Tessel/ServiceAppGlobalOptions.h"
#include "Tessel/ThreadSafeSingleton.h"
#include "Tessel/Version.h"

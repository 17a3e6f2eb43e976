// The library's module-level objects, its COM entry points, and the loader's calls into it. On
// Windows the loader calls DllMain; elsewhere the shared object's own start and end run the same
// sequences, in the one marked place at the end of this file.

#include "com/ComEntryPoints.h"

#include "Tessel/ConfigReaderFactory.h"
#include "Tessel/PersistentDataWriterFactory.h"
#include "com/ComModule.h"

namespace ATL {

// Defined in this one unit so that they are made before, and ended after, the load hook below.
ComTableState g_comTableState;
CAtlBaseModule g_baseModule;
CComModule g_module;

} // namespace ATL

namespace {

// The library serves no class: the table holds its end entry alone.
ATL::ClassTableEntry g_classTable[] = {
    {nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0, nullptr, nullptr},
};

void ReleaseFactories()
{
    ATL::DestroyFactories<Tessel::ThreadSafeSingleton<Tessel::ConfigReaderFactory>,
                          Tessel::ThreadSafeSingleton<Tessel::PersistentDataWriterFactory>>();
}

BOOL ModuleMain(HINSTANCE instance, DWORD reason)
{
    return ATL::ModuleEntry(g_classTable, instance, reason, ReleaseFactories);
}

} // namespace

extern "C" {

HRESULT WINAPI DllCanUnloadNow(void)
{
    return ATL::g_module.ReadLockCount() == 0 ? S_OK : S_FALSE;
}

HRESULT WINAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv)
{
    return ATL::GetClassObject(ATL::g_module.m_classTable, rclsid, riid, ppv);
}

HRESULT WINAPI DllRegisterServer(void)
{
    return ATL::RegisterServer(ATL::g_module.m_classTable, true);
}

HRESULT WINAPI DllUnregisterServer(void)
{
    return ATL::RegisterServer(ATL::g_module.m_classTable, false);
}

} // extern "C"

#if defined(_WIN32)
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID)
{
    return ModuleMain(instance, reason);
}
#else
namespace {

// Stands in for the loader's DllMain calls, at dlclose and at process exit alike. The objects
// that detach needs are made before this one and end after it: those of this unit because they
// are defined above it, the singletons' locks because their definitions (SingletonLocks.cpp)
// carry TESSEL_OUTLIVES_LOAD_HOOK. The order in which the units are linked plays no part.
class LoadHook {
public:
    LoadHook() { ModuleMain(ATL::g_comTableState.m_imageHandle, DLL_PROCESS_ATTACH); }
    ~LoadHook() { ModuleMain(ATL::g_comTableState.m_imageHandle, DLL_PROCESS_DETACH); }
    LoadHook(const LoadHook&) = delete;
    LoadHook& operator=(const LoadHook&) = delete;
};

const LoadHook g_loadHook;

} // namespace
#endif

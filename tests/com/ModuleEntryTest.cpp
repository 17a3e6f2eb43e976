// Checks the library's four COM entry points and what stands behind them: the attach and detach
// sequences, the class tables with their category maps, and the factories' end at unload.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "Tessel/ConfigReaderFactory.h"
#include "Tessel/PersistentDataWriterFactory.h"
#include "com/ComEntryPoints.h"
#include "com/ComModule.h"
#include "com/RegistryProbe.h"

using namespace ATL;
using namespace ComTest;

namespace {

const CLSID kClass = {0x1B2C3D4E, 0x5F60, 0x7182, {0x93, 0xA4, 0xB5, 0xC6, 0xD7, 0xE8, 0xF9, 0x0A}};
const GUID kImplemented = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}};
const GUID kRequired = {0xAAAAAAAA, 0xBBBB, 0xCCCC, {0xDD, 0xDD, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}};
const wchar_t kClassKey[] = L"CLSID\\{1B2C3D4E-5F60-7182-93A4-B5C6D7E8F90A}";

std::vector<std::string> g_events;
HRESULT g_updateResult = S_OK;

struct ClassObject final : public IUnknown {
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override
    {
        if (!IsEqualIID(riid, IID_IUnknown)) {
            *ppv = nullptr;
            return E_NOINTERFACE;
        }
        *ppv = this;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        g_events.push_back("release class object");
        return --references;
    }
    ULONG references = 0;
    int made = 0;
} g_classObject;

HRESULT WINAPI GetTestClassObject(CreateInstanceFunction, REFIID riid, void** ppv)
{
    ++g_classObject.made;
    return g_classObject.QueryInterface(riid, ppv);
}

HRESULT WINAPI UpdateTestRegistry(BOOL bRegister)
{
    g_events.push_back(bRegister ? "register" : "unregister");
    return g_updateResult;
}

const CategoryMapEntry* TestCategories()
{
    static const CategoryMapEntry map[] = {{1, &kImplemented}, {2, &kRequired}, {0, nullptr}};
    return map;
}

void WINAPI TestClassStart(bool starting)
{
    g_events.push_back(starting ? "class start" : "class end");
}

ClassTableEntry g_testTable[] = {
    {&kClass, UpdateTestRegistry, GetTestClassObject, nullptr, nullptr, 0, 0, TestCategories, TestClassStart},
    {nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0, nullptr, nullptr},
};

TEST(ComEntryPoints, ServeNoClassWriteNothingAndAllowUnloading)
{
    const CLSID classes[] = {kClass, CLSID_GlobalOptions, {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}}};
    for (const CLSID& clsid : classes) {
        SCOPED_TRACE(clsid.Data1);
        void* object = &g_classObject;
        EXPECT_EQ(DllGetClassObject(clsid, IID_IUnknown, &object), CLASS_E_CLASSNOTAVAILABLE);
        EXPECT_EQ(object, nullptr);
    }
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(DllRegisterServer(), S_OK);
        EXPECT_EQ(DllUnregisterServer(), S_OK);
    }
    EXPECT_EQ(SubKeyCount(HKEY_LOCAL_MACHINE, L""), 0u);
    EXPECT_EQ(SubKeyCount(HKEY_CURRENT_USER, L""), 0u);

    // The library can unload while clients hold readers.
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    ASSERT_TRUE(MakeKey(HKEY_CURRENT_USER, L"Software\\TesselUnload"));
    const auto reader =
        Tessel::ConfigReaderFactory::GetInstance().GetConfigReader(L"registry:HKCU\\Software\\TesselUnload");
    Tessel::PersistentDataWriterFactory::GetInstance();
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

// Checks that a process that used both factories ends cleanly: the library's detach runs before
// the static clean-up takes the singletons' locks away.
TEST(ComEntryPoints, ProcessEndsCleanlyAfterBothFactoriesWereUsed)
{
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        Tessel::ConfigReaderFactory::GetInstance();
        Tessel::PersistentDataWriterFactory::GetInstance();
        std::exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

struct ReaderSingleton {
    static void DestroyInstance() { g_events.push_back("reader factory"); }
};
struct WriterSingleton {
    static void DestroyInstance() { g_events.push_back("writer factory"); }
};

void ReleaseTestFactories()
{
    DestroyFactories<ReaderSingleton, WriterSingleton>();
}

TEST(ModuleEntry, DetachEndsFactoriesFirstReaderBeforeWriter)
{
    g_events.clear();
    EXPECT_TRUE(ModuleEntry(g_testTable, GetModuleHandleW(nullptr), DLL_PROCESS_ATTACH, ReleaseTestFactories));
    EXPECT_EQ(g_module.m_classTable, g_testTable);
    void* object = nullptr;
    ASSERT_EQ(GetClassObject(g_testTable, kClass, IID_IUnknown, &object), S_OK);
    static_cast<IUnknown*>(object)->Release();

    EXPECT_TRUE(ModuleEntry(g_testTable, GetModuleHandleW(nullptr), DLL_THREAD_ATTACH, ReleaseTestFactories));
    EXPECT_TRUE(ModuleEntry(g_testTable, GetModuleHandleW(nullptr), DLL_PROCESS_DETACH, ReleaseTestFactories));
    const std::vector<std::string> expected = {"class start",          "release class object", "reader factory",
                                               "writer factory",       "release class object", "class end"};
    EXPECT_EQ(g_events, expected);
    EXPECT_EQ(g_testTable[0].classObject, nullptr);
    EXPECT_EQ(g_module.m_moduleSize, 0u);
    // The module object's own destructor later finds nothing left to do.
    g_module.Terminate();
}

TEST(ModuleEntry, ClassObjectIsMadeOnceAndMissingStateIsUnexpected)
{
    void* object = nullptr;
    ASSERT_EQ(GetClassObject(g_testTable, kClass, IID_IUnknown, &object), S_OK);
    ASSERT_EQ(GetClassObject(g_testTable, kClass, IID_IUnknown, &object), S_OK);
    EXPECT_EQ(g_classObject.made, 1);
    EXPECT_EQ(GetClassObject(g_testTable, kClass, kImplemented, &object), E_NOINTERFACE);

    const CLSID other = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    object = &g_classObject;
    EXPECT_EQ(GetClassObject(g_testTable, other, IID_IUnknown, &object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    const ULONG size = g_comTableState.m_stateSize;
    g_comTableState.m_stateSize = 0;
    EXPECT_EQ(GetClassObject(g_testTable, other, IID_IUnknown, &object), E_UNEXPECTED);
    // A class of the table is still served: the table comes before the state check.
    EXPECT_EQ(GetClassObject(g_testTable, kClass, IID_IUnknown, &object), S_OK);
    g_comTableState.m_stateSize = size;
}

TEST(ModuleEntry, CategoryMapIsRegisteredAndUnregistered)
{
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    const std::wstring implemented = std::wstring(kClassKey) + L"\\Implemented Categories";
    const std::wstring required = std::wstring(kClassKey) + L"\\Required Categories";
    g_events.clear();
    ASSERT_EQ(RegisterServer(g_testTable, true), S_OK);
    EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, (implemented + L"\\{11111111-2222-3333-4444-555555555555}").c_str()));
    EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, (required + L"\\{AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE}").c_str()));

    // Another category below "Implemented Categories" keeps that key.
    ASSERT_TRUE(MakeKey(HKEY_CLASSES_ROOT, (implemented + L"\\{Foreign}").c_str()));
    ASSERT_EQ(RegisterServer(g_testTable, false), S_OK);
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, required.c_str()));
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, (implemented + L"\\{11111111-2222-3333-4444-555555555555}").c_str()));
    EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, (implemented + L"\\{Foreign}").c_str()));
    EXPECT_EQ(g_events, (std::vector<std::string>{"register", "unregister"}));

    // The first failure ends registration, before the categories.
    g_updateResult = E_ACCESSDENIED;
    EXPECT_EQ(RegisterServer(g_testTable, true), E_ACCESSDENIED);
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, required.c_str()));
    g_updateResult = S_OK;
    CoUninitialize();
}

TEST(ModuleEntry, InterfaceTableIsMadeOnceAndNeedsCom)
{
    IGlobalInterfaceTable* table = nullptr;
    EXPECT_EQ(g_module.GetInterfaceTable(nullptr), E_POINTER);
    EXPECT_EQ(g_module.GetInterfaceTable(&table), CO_E_NOTINITIALIZED);
    EXPECT_EQ(table, nullptr);
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    IGlobalInterfaceTable* again = nullptr;
    ASSERT_EQ(g_module.GetInterfaceTable(&table), S_OK);
    ASSERT_EQ(g_module.GetInterfaceTable(&again), S_OK);
    EXPECT_EQ(table, again);
    table->Release();
    again->Release();
    CoUninitialize();
}

} // namespace

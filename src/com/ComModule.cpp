// The module objects and the work behind the four COM entry points: class objects, registration
// over the class tables, category maps, and the attach and detach sequences.

#include "com/ComModule.h"

#include <cwchar>
#include <string>

#include "com/registrar/RegObject.h"

namespace ATL {

namespace {

// The build gathers no classes into the automatic table: its first and last are one place.
ClassTableEntry* const g_noAutomaticEntries[1] = {nullptr};

const CLSID kClsidStdGlobalInterfaceTable = {0x00000323, 0x0000, 0x0000,
                                             {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID kIidGlobalInterfaceTable = {0x00000146, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const CLSID kClsidStdComponentCategoriesMgr = {0x0002E005, 0x0000, 0x0000,
                                               {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID kIidCatRegister = {0x0002E012, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

// A GUID in braces with its terminator.
constexpr int kGuidTextSize = 39;

// The image that holds this code, whichever module it is linked into.
HINSTANCE OwnImage()
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&g_noAutomaticEntries), &module);
    return module;
}

bool IsNullGuid(REFGUID guid)
{
    static const GUID kNull = {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};
    return IsEqualGUID(guid, kNull) != FALSE;
}

std::wstring GuidText(REFGUID guid)
{
    wchar_t text[kGuidTextSize];
    StringFromGUID2(guid, text, kGuidTextSize);
    return text;
}

// Deletes the key when nothing is left below it; a missing key is no concern.
void DeleteIfEmpty(const std::wstring& path)
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
        return;
    DWORD subKeys = 0;
    const LSTATUS status =
        RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subKeys, nullptr, nullptr, nullptr, nullptr, nullptr,
                         nullptr, nullptr);
    RegCloseKey(key);
    if (status == ERROR_SUCCESS && subKeys == 0)
        RegDeleteKeyW(HKEY_CLASSES_ROOT, path.c_str());
}

HRESULT GetClassObjectFromEntry(ClassTableEntry* entry, REFIID riid, LPVOID* ppv)
{
    if (entry->classObject == nullptr) {
        EnterCriticalSection(&g_comTableState.m_tableLock);
        HRESULT hr = S_OK;
        // Another thread may have made it while this one waited.
        if (entry->classObject == nullptr) {
            hr = entry->getClassObject(entry->createInstance, IID_IUnknown,
                                       reinterpret_cast<void**>(&entry->classObject));
        }
        LeaveCriticalSection(&g_comTableState.m_tableLock);
        if (FAILED(hr))
            return hr;
    }
    if (entry->classObject == nullptr)
        return CLASS_E_CLASSNOTAVAILABLE;
    return entry->classObject->QueryInterface(riid, ppv);
}

bool Matches(const ClassTableEntry* entry, REFCLSID rclsid)
{
    return entry->getClassObject != nullptr && IsEqualCLSID(rclsid, *entry->classId);
}

HRESULT RegisterEntry(ClassTableEntry* entry, bool bRegister)
{
    const CategoryMapEntry* map = entry->getCategoryMap != nullptr ? entry->getCategoryMap() : nullptr;
    if (bRegister) {
        if (HRESULT hr = entry->updateRegistry(TRUE); FAILED(hr))
            return hr;
        return RegisterClassCategories(*entry->classId, map, true);
    }
    if (HRESULT hr = RegisterClassCategories(*entry->classId, map, false); FAILED(hr))
        return hr;
    return entry->updateRegistry(FALSE);
}

} // namespace

ComTableState::ComTableState()
    : m_stateSize(0), m_imageHandle(OwnImage()), m_autoTableFirst(g_noAutomaticEntries),
      m_autoTableLast(g_noAutomaticEntries), m_tableLock()
{
    if (InitializeCriticalSectionEx(&m_tableLock, 0, 0))
        m_stateSize = sizeof(ComTableState);
}

ComTableState::~ComTableState()
{
    if (m_stateSize != 0) {
        DeleteCriticalSection(&m_tableLock);
        m_stateSize = 0;
    }
}

CAtlBaseModule::CAtlBaseModule() : m_size(0), m_resourceInstance(OwnImage()), m_lock()
{
    if (InitializeCriticalSectionEx(&m_lock, 0, 0)) {
        m_size = sizeof(CAtlBaseModule);
    } else if (IsDebuggerPresent()) {
        OutputDebugStringW(L"ERROR : Unable to initialize critical section in CAtlBaseModule\n");
    }
}

CAtlBaseModule::~CAtlBaseModule()
{
    if (m_size != 0) {
        DeleteCriticalSection(&m_lock);
        m_size = 0;
    }
}

HINSTANCE CAtlBaseModule::SetResourceInstance(HINSTANCE instance)
{
    const HINSTANCE previous = m_resourceInstance;
    m_resourceInstance = instance;
    return previous;
}

CAtlModule::CAtlModule() : _ATL_MODULE70{0, {0}, nullptr, {}}, m_interfaceTable(nullptr)
{
    if (InitializeCriticalSectionEx(&m_moduleLock, 0, 0))
        m_moduleSize = sizeof(_ATL_MODULE70);
}

CAtlModule::~CAtlModule()
{
    Terminate();
}

void CAtlModule::Terminate()
{
    if (m_moduleSize == 0)
        return;
    for (TermFunctionNode* node = m_termFunctions; node != nullptr;) {
        node->function(node->argument);
        TermFunctionNode* next = node->next;
        delete node;
        node = next;
    }
    m_termFunctions = nullptr;
    if (m_interfaceTable != nullptr) {
        m_interfaceTable->Release();
        m_interfaceTable = nullptr;
    }
    DeleteCriticalSection(&m_moduleLock);
    m_moduleSize = 0;
}

LONG CAtlModule::IncrementLock()
{
    return ++m_lockCount;
}

LONG CAtlModule::DecrementLock()
{
    return --m_lockCount;
}

LONG CAtlModule::ReadLockCount()
{
    return m_lockCount;
}

HRESULT CAtlModule::GetInterfaceTable(IGlobalInterfaceTable** ppTable)
{
    if (ppTable == nullptr)
        return E_POINTER;
    if (m_interfaceTable == nullptr) {
        EnterCriticalSection(&m_moduleLock);
        HRESULT hr = S_OK;
        if (m_interfaceTable == nullptr) {
            hr = CoCreateInstance(kClsidStdGlobalInterfaceTable, nullptr, CLSCTX_INPROC_SERVER,
                                  kIidGlobalInterfaceTable, reinterpret_cast<void**>(&m_interfaceTable));
        }
        LeaveCriticalSection(&m_moduleLock);
        if (FAILED(hr)) {
            *ppTable = nullptr;
            return hr;
        }
    }
    *ppTable = m_interfaceTable;
    m_interfaceTable->AddRef();
    return S_OK;
}

HRESULT CAtlModule::AddStandardReplacements(IRegistrarBase* registrar)
{
    return registrar->AddReplacementPair(L"APPID", L"");
}

HRESULT CAtlModule::ReservedOperation1()
{
    return E_FAIL;
}

HRESULT CAtlModule::ReservedOperation2()
{
    return E_FAIL;
}

CComModule::~CComModule() = default;

HRESULT GetClassObject(ClassTableEntry* classTable, REFCLSID rclsid, REFIID riid, LPVOID* ppv)
{
    if (ppv == nullptr)
        return E_POINTER;
    *ppv = nullptr;
    for (ClassTableEntry* entry = classTable; entry != nullptr && entry->classId != nullptr; ++entry) {
        if (Matches(entry, rclsid))
            return GetClassObjectFromEntry(entry, riid, ppv);
    }
    if (g_comTableState.m_stateSize == 0)
        return E_UNEXPECTED;
    for (ClassTableEntry* const* slot = g_comTableState.m_autoTableFirst; slot < g_comTableState.m_autoTableLast;
         ++slot) {
        if (*slot != nullptr && Matches(*slot, rclsid))
            return GetClassObjectFromEntry(*slot, riid, ppv);
    }
    return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT RegisterServer(ClassTableEntry* classTable, bool bRegister)
{
    for (ClassTableEntry* entry = classTable; entry != nullptr && entry->classId != nullptr; ++entry) {
        if (HRESULT hr = RegisterEntry(entry, bRegister); FAILED(hr))
            return hr;
    }
    for (ClassTableEntry* const* slot = g_comTableState.m_autoTableFirst; slot < g_comTableState.m_autoTableLast;
         ++slot) {
        if (*slot == nullptr)
            continue;
        if (HRESULT hr = RegisterEntry(*slot, bRegister); FAILED(hr))
            return hr;
    }
    return S_OK;
}

HRESULT RegisterClassCategories(REFCLSID rclsid, const CategoryMapEntry* map, bool bRegister)
{
    if (map == nullptr || IsNullGuid(rclsid))
        return S_OK;
    ICatRegister* categories = nullptr;
    HRESULT hr = CoCreateInstance(kClsidStdComponentCategoriesMgr, nullptr, CLSCTX_INPROC_SERVER, kIidCatRegister,
                                  reinterpret_cast<void**>(&categories));
    if (FAILED(hr))
        return hr;
    for (const CategoryMapEntry* entry = map; entry->kind != 0; ++entry) {
        CATID category = *entry->categoryId;
        const bool implemented = entry->kind == 1;
        if (bRegister) {
            hr = implemented ? categories->RegisterClassImplCategories(rclsid, 1, &category)
                             : categories->RegisterClassReqCategories(rclsid, 1, &category);
            if (FAILED(hr))
                break;
        } else if (implemented) {
            categories->UnRegisterClassImplCategories(rclsid, 1, &category);
        } else {
            categories->UnRegisterClassReqCategories(rclsid, 1, &category);
        }
    }
    categories->Release();
    if (!bRegister) {
        const std::wstring classKey = L"CLSID\\" + GuidText(rclsid);
        DeleteIfEmpty(classKey + L"\\Required Categories");
        DeleteIfEmpty(classKey + L"\\Implemented Categories");
        return S_OK;
    }
    return hr;
}

BOOL ModuleEntry(ClassTableEntry* classTable, HINSTANCE instance, DWORD reason, void (*releaseFactories)())
{
    if (reason == DLL_PROCESS_ATTACH) {
        g_module.m_classTable = classTable;
        for (ClassTableEntry* entry = classTable; entry != nullptr && entry->classId != nullptr; ++entry) {
            if (entry->classStart != nullptr)
                entry->classStart(true);
        }
        for (ClassTableEntry* const* slot = g_comTableState.m_autoTableFirst;
             slot < g_comTableState.m_autoTableLast; ++slot) {
            if (*slot != nullptr && (*slot)->classStart != nullptr)
                (*slot)->classStart(true);
        }
        DisableThreadLibraryCalls(instance);
    } else if (reason == DLL_PROCESS_DETACH) {
        if (releaseFactories != nullptr)
            releaseFactories();
        for (ClassTableEntry* entry = classTable; entry != nullptr && entry->classId != nullptr; ++entry) {
            if (entry->classObject != nullptr) {
                entry->classObject->Release();
                entry->classObject = nullptr;
            }
            if (entry->classStart != nullptr)
                entry->classStart(false);
        }
        for (ClassTableEntry* const* slot = g_comTableState.m_autoTableFirst;
             slot < g_comTableState.m_autoTableLast; ++slot) {
            if (*slot != nullptr && (*slot)->classStart != nullptr)
                (*slot)->classStart(false);
        }
        g_module.Terminate();
    }
    return TRUE;
}

} // namespace ATL

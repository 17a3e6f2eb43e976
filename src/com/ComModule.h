// The module objects of the library's COM server shell: the class table and its entries, the
// table state, the base module state and CComModule, which drives the four entry points and
// runs registrar scripts from a module's resources.
#pragma once

#include <atomic>

#include "TesselWin32.h"

namespace ATL {

struct IRegistrarBase;

// One category of a class: kind 1 says the class implements it, any other kind that it needs
// it. A kind of 0 ends the map.
struct CategoryMapEntry {
    DWORD kind;
    const GUID* categoryId;
};

using CreateInstanceFunction = HRESULT(WINAPI*)(void* outer, REFIID riid, void** ppv);

// One COM class of a module. A table ends with an entry whose classId is null.
struct ClassTableEntry {
    const CLSID* classId;
    HRESULT(WINAPI* updateRegistry)(BOOL bRegister);
    HRESULT(WINAPI* getClassObject)(CreateInstanceFunction create, REFIID riid, void** ppv);
    CreateInstanceFunction createInstance;
    IUnknown* classObject; // made on first request, released at detach
    DWORD_PTR reserved1;
    DWORD_PTR reserved2;
    const CategoryMapEntry* (*getCategoryMap)();
    void(WINAPI* classStart)(bool starting);
};

// The state of the class tables: the library's own image and the lock that guards the first
// creation of a class object.
struct ComTableState {
    ComTableState();
    ~ComTableState();
    ComTableState(const ComTableState&) = delete;
    ComTableState& operator=(const ComTableState&) = delete;

    ULONG m_stateSize; // sizeof(*this) once m_tableLock exists, 0 before and after
    HINSTANCE m_imageHandle;
    ClassTableEntry* const* m_autoTableFirst;
    ClassTableEntry* const* m_autoTableLast;
    CRITICAL_SECTION m_tableLock;
};

// Where a module's registrar scripts come from: the library's own image unless a host says
// otherwise.
class CAtlBaseModule {
public:
    CAtlBaseModule();
    ~CAtlBaseModule();
    CAtlBaseModule(const CAtlBaseModule&) = delete;
    CAtlBaseModule& operator=(const CAtlBaseModule&) = delete;

    HINSTANCE GetResourceInstance() const { return m_resourceInstance; }
    // Gives the previous module.
    HINSTANCE SetResourceInstance(HINSTANCE instance);

private:
    ULONG m_size; // sizeof(*this) once m_lock exists
    HINSTANCE m_resourceInstance;
    CRITICAL_SECTION m_lock;
};

struct TermFunctionNode {
    void(WINAPI* function)(DWORD_PTR argument);
    DWORD_PTR argument;
    TermFunctionNode* next;
};

// A text for a replacement key of a registrar script; an array of them ends with a null key.
struct RegistrarReplacement {
    LPCOLESTR key;
    LPCOLESTR text;
};

struct _ATL_MODULE70 {
    ULONG m_moduleSize; // sizeof the module data once m_moduleLock exists, 0 before and after
    std::atomic<LONG> m_lockCount;
    TermFunctionNode* m_termFunctions;
    CRITICAL_SECTION m_moduleLock;
};

class CAtlModule : public _ATL_MODULE70 {
public:
    CAtlModule();
    virtual ~CAtlModule();
    CAtlModule(const CAtlModule&) = delete;
    CAtlModule& operator=(const CAtlModule&) = delete;

    virtual LONG IncrementLock();
    virtual LONG DecrementLock();
    virtual LONG ReadLockCount();
    virtual HRESULT GetInterfaceTable(IGlobalInterfaceTable** ppTable);
    virtual HRESULT AddStandardReplacements(IRegistrarBase* registrar);
    virtual HRESULT ReservedOperation1();
    virtual HRESULT ReservedOperation2();

    // Calls the termination functions, drops the interface table and the lock. A second call
    // does nothing.
    void Terminate();

protected:
    IGlobalInterfaceTable* m_interfaceTable;
};

template <class T>
class CAtlModuleT : public CAtlModule {};

class CComModule : public CAtlModuleT<CComModule> {
public:
    CComModule() = default;
    ~CComModule() override;

    // Run a REGISTRY script of the resource module, found by number (its low 16 bits) or by
    // name, with the caller's replacements and "APPID", "Module" and "Module_Raw".
    virtual HRESULT RunScriptById(UINT resourceId, BOOL bRegister, const RegistrarReplacement* replacements);
    virtual HRESULT RunScriptByName(LPCOLESTR resourceName, BOOL bRegister, const RegistrarReplacement* replacements);

    ClassTableEntry* m_classTable = nullptr;

private:
    HRESULT RunScript(LPCOLESTR resource, bool byName, BOOL bRegister, const RegistrarReplacement* replacements);
};

// The module-level objects. The library defines them beside its entry points.
extern ComTableState g_comTableState;
extern CAtlBaseModule g_baseModule;
extern CComModule g_module;

// The loader's attach and detach sequences. releaseFactories is the library's own unload work,
// done first at detach.
BOOL ModuleEntry(ClassTableEntry* classTable, HINSTANCE instance, DWORD reason, void (*releaseFactories)());

// The entry points' work over the tables.
HRESULT GetClassObject(ClassTableEntry* classTable, REFCLSID rclsid, REFIID riid, LPVOID* ppv);
HRESULT RegisterServer(ClassTableEntry* classTable, bool bRegister);
HRESULT RegisterClassCategories(REFCLSID rclsid, const CategoryMapEntry* map, bool bRegister);

// Destroys the two factory singletons in the order that the rest of the library relies on: the
// reader's first, then the writer's.
template <class ReaderSingleton, class WriterSingleton>
void DestroyFactories()
{
    ReaderSingleton::DestroyInstance();
    WriterSingleton::DestroyInstance();
}

} // namespace ATL

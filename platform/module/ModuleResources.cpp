// Resources of modules: each module registers its tables at start-up, and FindResourceW searches
// the tables of the module asked for. A resource handle points at the table entry, the loaded
// resource at the data itself, which stays in the module's static storage.

#include <cstdlib>
#include <cwchar>
#include <mutex>
#include <vector>

#include "TesselPlatform/Module.h"
#include "TesselPlatform/System.h"
#include "TesselPlatform/Text.h"
#include "module/ModuleInternal.h"

namespace {

struct Registration {
    std::uintptr_t module;
    const TESSEL_RESOURCE* table;
    DWORD count;
};

std::mutex g_registrationsMutex;
std::vector<Registration>& Registrations()
{
    static std::vector<Registration> registrations;
    return registrations;
}

// "#123" names the number 123; any other text is a name.
bool NumericForm(LPCWSTR name, ULONG_PTR* number)
{
    if (IS_INTRESOURCE(name)) {
        *number = reinterpret_cast<ULONG_PTR>(name);
        return true;
    }
    if (name[0] != L'#' || name[1] == L'\0')
        return false;
    ULONG_PTR value = 0;
    for (LPCWSTR p = name + 1; *p != L'\0'; ++p) {
        if (*p < L'0' || *p > L'9')
            return false;
        value = value * 10 + static_cast<ULONG_PTR>(*p - L'0');
        if (value > 0xFFFF)
            return false;
    }
    *number = value;
    return true;
}

bool SameName(LPCWSTR wanted, LPCWSTR held)
{
    ULONG_PTR wantedNumber = 0;
    ULONG_PTR heldNumber = 0;
    const bool wantedIsNumber = NumericForm(wanted, &wantedNumber);
    const bool heldIsNumber = NumericForm(held, &heldNumber);
    if (wantedIsNumber || heldIsNumber)
        return wantedIsNumber && heldIsNumber && wantedNumber == heldNumber;
    // The system's comparison, not the runtime's: resource names don't change with the locale.
    return lstrcmpiW(wanted, held) == 0;
}

const TESSEL_RESOURCE* EntryOf(HRSRC resource)
{
    return reinterpret_cast<const TESSEL_RESOURCE*>(resource);
}

} // namespace

extern "C" {

BOOL WINAPI TesselRegisterModuleResources(const TESSEL_RESOURCE* table, DWORD count)
{
    const std::uintptr_t module = table != nullptr ? TesselPlatform::Module::ModuleBaseOf(table) : 0;
    if (module == 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const std::lock_guard<std::mutex> lock(g_registrationsMutex);
    Registrations().push_back({module, table, count});
    return TRUE;
}

void WINAPI TesselUnregisterModuleResources(const TESSEL_RESOURCE* table)
{
    const std::lock_guard<std::mutex> lock(g_registrationsMutex);
    auto& registrations = Registrations();
    for (auto it = registrations.begin(); it != registrations.end(); ++it) {
        if (it->table == table) {
            registrations.erase(it);
            return;
        }
    }
}

HRSRC WINAPI FindResourceW(HMODULE hModule, LPCWSTR lpName, LPCWSTR lpType)
{
    if (lpName == nullptr || lpType == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const std::uintptr_t module =
        hModule != nullptr ? reinterpret_cast<std::uintptr_t>(hModule) : TesselPlatform::Module::ExecutableBase();
    bool typeSeen = false;
    const std::lock_guard<std::mutex> lock(g_registrationsMutex);
    for (const auto& registration : Registrations()) {
        if (registration.module != module)
            continue;
        for (DWORD i = 0; i < registration.count; ++i) {
            const TESSEL_RESOURCE& entry = registration.table[i];
            if (!SameName(lpType, entry.Type))
                continue;
            typeSeen = true;
            if (SameName(lpName, entry.Name))
                return reinterpret_cast<HRSRC>(const_cast<TESSEL_RESOURCE*>(&entry));
        }
    }
    SetLastError(typeSeen ? ERROR_RESOURCE_NAME_NOT_FOUND : ERROR_RESOURCE_TYPE_NOT_FOUND);
    return nullptr;
}

HGLOBAL WINAPI LoadResource(HMODULE, HRSRC hResInfo)
{
    if (hResInfo == nullptr) {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    return const_cast<void*>(EntryOf(hResInfo)->Data);
}

LPVOID WINAPI LockResource(HGLOBAL hResData)
{
    return hResData;
}

DWORD WINAPI SizeofResource(HMODULE, HRSRC hResInfo)
{
    if (hResInfo == nullptr) {
        SetLastError(ERROR_INVALID_HANDLE);
        return 0;
    }
    return EntryOf(hResInfo)->Size;
}

} // extern "C"

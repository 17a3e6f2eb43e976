// Module handles over the ELF dynamic loader: a handle is the start of an object's first mapping,
// which is what dladdr calls its base. Implementation here must contain only code for systems with
// dl_iterate_phdr, dladdr and dlopen (glibc, musl, the BSDs).

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "TesselPlatform/Module.h"
#include "TesselPlatform/System.h"
#include "module/ModuleInternal.h"
#include "text/Utf8Strings.h"

namespace {

struct LoadedObject {
    std::uintptr_t base;
    std::string path;
};

struct OwnedReference {
    void* dlHandle; // null for an object that was loaded before we were asked for it
    unsigned count;
};

// Recursive: a module loaded under the lock may load or free others from its start-up code.
std::recursive_mutex g_referencesMutex;
std::map<std::uintptr_t, OwnedReference>& References()
{
    static std::map<std::uintptr_t, OwnedReference> references;
    return references;
}

std::string ExecutablePath()
{
    char buffer[PATH_MAX + 1];
    const ssize_t length = readlink("/proc/self/exe", buffer, PATH_MAX);
    return length > 0 ? std::string(buffer, static_cast<std::size_t>(length)) : std::string();
}

int CollectObject(struct dl_phdr_info* info, std::size_t, void* data)
{
    auto* objects = static_cast<std::vector<LoadedObject>*>(data);
    ElfW(Addr) lowest = ~static_cast<ElfW(Addr)>(0);
    for (ElfW(Half) i = 0; i < info->dlpi_phnum; ++i) {
        if (info->dlpi_phdr[i].p_type == PT_LOAD && info->dlpi_phdr[i].p_vaddr < lowest)
            lowest = info->dlpi_phdr[i].p_vaddr;
    }
    if (lowest == ~static_cast<ElfW(Addr)>(0))
        return 0;
    const auto page = static_cast<ElfW(Addr)>(sysconf(_SC_PAGESIZE));
    const std::uintptr_t base = info->dlpi_addr + (lowest & ~(page - 1));
    // The loader reports the executable first, without a name.
    if (objects->empty())
        objects->push_back({base, ExecutablePath()});
    else if (info->dlpi_name != nullptr && info->dlpi_name[0] != '\0')
        objects->push_back({base, info->dlpi_name});
    return 0;
}

std::vector<LoadedObject> LoadedObjects()
{
    std::vector<LoadedObject> objects;
    dl_iterate_phdr(CollectObject, &objects);
    return objects;
}

std::string CanonicalPath(const std::string& path)
{
    char* resolved = realpath(path.c_str(), nullptr);
    if (resolved == nullptr)
        return path;
    std::string result(resolved);
    std::free(resolved);
    return result;
}

std::string FileName(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

const LoadedObject* FindByBase(const std::vector<LoadedObject>& objects, std::uintptr_t base)
{
    for (const auto& object : objects) {
        if (object.base == base)
            return &object;
    }
    return nullptr;
}

HMODULE ToHandle(std::uintptr_t base)
{
    return reinterpret_cast<HMODULE>(base);
}

} // namespace

namespace TesselPlatform::Module {

std::uintptr_t ExecutableBase()
{
    const auto objects = LoadedObjects();
    return objects.empty() ? 0 : objects.front().base;
}

std::uintptr_t ModuleBaseOf(const void* address)
{
    Dl_info info{};
    if (dladdr(address, &info) == 0 || info.dli_fbase == nullptr)
        return 0;
    return reinterpret_cast<std::uintptr_t>(info.dli_fbase);
}

} // namespace TesselPlatform::Module

extern "C" {

HMODULE WINAPI GetModuleHandleW(LPCWSTR lpModuleName)
{
    const auto objects = LoadedObjects();
    if (lpModuleName == nullptr)
        return objects.empty() ? nullptr : ToHandle(objects.front().base);
    const std::string wanted = TesselPlatform::Text::ToUtf8(lpModuleName);
    const bool byPath = wanted.find('/') != std::string::npos;
    const std::string canonical = byPath ? CanonicalPath(wanted) : wanted;
    for (const auto& object : objects) {
        if (byPath ? CanonicalPath(object.path) == canonical : FileName(object.path) == wanted)
            return ToHandle(object.base);
    }
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
}

BOOL WINAPI GetModuleHandleExW(DWORD dwFlags, LPCWSTR lpModuleName, HMODULE* phModule)
{
    if (phModule == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *phModule = nullptr;
    HMODULE module = nullptr;
    if ((dwFlags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS) != 0) {
        module = ToHandle(TesselPlatform::Module::ModuleBaseOf(lpModuleName));
        if (module == nullptr)
            SetLastError(ERROR_MOD_NOT_FOUND);
    } else {
        module = GetModuleHandleW(lpModuleName);
    }
    if (module == nullptr)
        return FALSE;
    if ((dwFlags & (GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT | GET_MODULE_HANDLE_EX_FLAG_PIN)) == 0) {
        const std::lock_guard<std::recursive_mutex> lock(g_referencesMutex);
        auto& reference = References()[reinterpret_cast<std::uintptr_t>(module)];
        ++reference.count;
    }
    *phModule = module;
    return TRUE;
}

DWORD WINAPI GetModuleFileNameW(HMODULE hModule, LPWSTR lpFilename, DWORD nSize)
{
    const auto objects = LoadedObjects();
    const LoadedObject* object = hModule == nullptr
                                     ? (objects.empty() ? nullptr : &objects.front())
                                     : FindByBase(objects, reinterpret_cast<std::uintptr_t>(hModule));
    if (object == nullptr) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return 0;
    }
    if (lpFilename == nullptr || nSize == 0) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    const std::wstring path = TesselPlatform::Text::ToWide(object->path);
    if (path.size() >= nSize) {
        path.copy(lpFilename, nSize - 1);
        lpFilename[nSize - 1] = L'\0';
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return nSize;
    }
    path.copy(lpFilename, path.size());
    lpFilename[path.size()] = L'\0';
    SetLastError(ERROR_SUCCESS);
    return static_cast<DWORD>(path.size());
}

HMODULE WINAPI LoadLibraryExW(LPCWSTR lpLibFileName, HANDLE hFile, DWORD)
{
    if (lpLibFileName == nullptr || lpLibFileName[0] == L'\0' || hFile != nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const std::string path = TesselPlatform::Text::ToUtf8(lpLibFileName);
    const std::lock_guard<std::recursive_mutex> lock(g_referencesMutex);
    // The executable cannot be opened a second time by the loader, and an object that is mapped
    // already needs no second mapping: either only gains a reference.
    if (HMODULE loaded = GetModuleHandleW(lpLibFileName); loaded != nullptr) {
        ++References()[reinterpret_cast<std::uintptr_t>(loaded)].count;
        return loaded;
    }
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        SetLastError(access(path.c_str(), F_OK) == 0 ? ERROR_BAD_EXE_FORMAT : ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    struct link_map* map = nullptr;
    std::uintptr_t base = 0;
    if (dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 && map != nullptr)
        base = TesselPlatform::Module::ModuleBaseOf(map->l_ld);
    if (base == 0) {
        dlclose(handle);
        SetLastError(ERROR_BAD_EXE_FORMAT);
        return nullptr;
    }
    auto& reference = References()[base];
    if (reference.dlHandle != nullptr)
        dlclose(handle); // two paths to one object: one loader reference is enough
    else
        reference.dlHandle = handle;
    ++reference.count;
    return ToHandle(base);
}

HMODULE WINAPI LoadLibraryW(LPCWSTR lpLibFileName)
{
    return LoadLibraryExW(lpLibFileName, nullptr, 0);
}

BOOL WINAPI FreeLibrary(HMODULE hLibModule)
{
    const std::lock_guard<std::recursive_mutex> lock(g_referencesMutex);
    auto& references = References();
    const auto found = references.find(reinterpret_cast<std::uintptr_t>(hLibModule));
    if (found == references.end()) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    if (--found->second.count == 0) {
        void* handle = found->second.dlHandle;
        references.erase(found);
        if (handle != nullptr)
            dlclose(handle);
    }
    return TRUE;
}

FARPROC WINAPI GetProcAddress(HMODULE hModule, LPCSTR lpProcName)
{
    if (hModule == nullptr || lpProcName == nullptr || IS_INTRESOURCE(lpProcName)) {
        SetLastError(ERROR_PROC_NOT_FOUND);
        return nullptr;
    }
    const auto objects = LoadedObjects();
    const LoadedObject* object = FindByBase(objects, reinterpret_cast<std::uintptr_t>(hModule));
    if (object == nullptr) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    void* handle = object == &objects.front() ? dlopen(nullptr, RTLD_LAZY)
                                              : dlopen(object->path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    void* symbol = handle != nullptr ? dlsym(handle, lpProcName) : nullptr;
    if (handle != nullptr)
        dlclose(handle);
    if (symbol == nullptr) {
        SetLastError(ERROR_PROC_NOT_FOUND);
        return nullptr;
    }
    return reinterpret_cast<FARPROC>(symbol);
}

// Threads are never announced to modules here, so there is nothing to turn off.
BOOL WINAPI DisableThreadLibraryCalls(HMODULE hLibModule)
{
    if (hLibModule == nullptr) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    return TRUE;
}

} // extern "C"

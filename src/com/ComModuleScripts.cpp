// CComModule's two script operations: a registrar is set up with the caller's replacements and
// the module's own ("APPID", "Module", "Module_Raw"), then runs a REGISTRY resource.

#include <new>
#include <string>

#include "com/ComModule.h"
#include "com/registrar/RegObject.h"

namespace ATL {

namespace {

// Quotes are doubled so that the path can stand inside a quoted token of the script.
std::wstring DoubleQuotes(const wchar_t* path)
{
    std::wstring doubled;
    for (const wchar_t* p = path; *p != L'\0'; ++p) {
        doubled.push_back(*p);
        if (*p == L'\'')
            doubled.push_back(L'\'');
    }
    return doubled;
}

} // namespace

HRESULT CComModule::RunScriptById(UINT resourceId, BOOL bRegister, const RegistrarReplacement* replacements)
{
    return RunScript(MAKEINTRESOURCEW(LOWORD(resourceId)), false, bRegister, replacements);
}

HRESULT CComModule::RunScriptByName(LPCOLESTR resourceName, BOOL bRegister, const RegistrarReplacement* replacements)
{
    return RunScript(resourceName, true, bRegister, replacements);
}

HRESULT CComModule::RunScript(LPCOLESTR resource, bool byName, BOOL bRegister,
                              const RegistrarReplacement* replacements)
{
    try {
        CRegObject registrar;
        HRESULT hr = registrar.FinalConstruct();
        if (FAILED(hr))
            return hr;
        for (const RegistrarReplacement* pair = replacements; pair != nullptr && pair->key != nullptr; ++pair) {
            if (pair->text == nullptr)
                continue;
            if (hr = registrar.AddReplacementPair(pair->key, pair->text); FAILED(hr))
                return hr;
        }
        if (hr = AddStandardReplacements(&registrar); FAILED(hr))
            return hr;

        const HINSTANCE resourceModule = g_baseModule.GetResourceInstance();
        wchar_t path[MAX_PATH];
        const DWORD length = GetModuleFileNameW(resourceModule, path, MAX_PATH);
        if (length == 0)
            return HRESULT_FROM_WIN32(static_cast<LONG>(GetLastError()));
        if (length == MAX_PATH)
            return HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER);

        const std::wstring raw = DoubleQuotes(path);
        // A program's path goes to the command line, where a space would split it.
        const bool isProgram = resourceModule == nullptr || resourceModule == GetModuleHandleW(nullptr);
        const std::wstring module = isProgram ? L"\"" + raw + L"\"" : raw;
        if (hr = registrar.AddReplacementPair(L"Module", module.c_str()); FAILED(hr))
            return hr;
        if (hr = registrar.AddReplacementPair(L"Module_Raw", raw.c_str()); FAILED(hr))
            return hr;
        // Number 0 is a null pointer too, but a number that the module may simply not have.
        if (byName && resource == nullptr)
            return E_INVALIDARG;
        return registrar.RunResourceScript(path, resource, L"REGISTRY", bRegister);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

} // namespace ATL

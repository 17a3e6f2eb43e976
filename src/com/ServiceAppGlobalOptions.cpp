// The service's COM exception option: read straight from the registry key of the application,
// handed to COM's global options object. Every failure is silent.

#include "Tessel/ServiceAppGlobalOptions.h"

#include <cwchar>

#include "TesselWin32.h"

namespace Tessel::Internal {

namespace {

const CLSID kClsidGlobalOptions = {0x0000034B, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID kIidGlobalOptions = {0x0000015B, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

constexpr std::int32_t kComGlobalExceptionHandling = 1;

} // namespace

ServiceAppGlobalOptions::ServiceAppGlobalOptions() : m_comExceptionHandling(ComExceptionDoNotHandleAny)
{
    InternalCreate(L"Software\\Kavor\\Tessel\\Default");
}

ServiceAppGlobalOptions::ServiceAppGlobalOptions(const wchar_t* name) : m_comExceptionHandling(ComExceptionDoNotHandleAny)
{
    wchar_t subKey[2048];
    swprintf_s(subKey, 2048, L"Software\\Kavor\\Tessel\\%s", name);
    InternalCreate(subKey);
}

ServiceAppGlobalOptions::~ServiceAppGlobalOptions() = default;

ComExceptionHandlingOption ServiceAppGlobalOptions::GetComExceptionHandlingOption() const
{
    return m_comExceptionHandling;
}

void ServiceAppGlobalOptions::InternalCreate(const wchar_t* subKey)
{
    // Opened for writing too, though only read: a caller who may not write keeps the default.
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, subKey, 0, KEY_READ | KEY_WRITE, &key) != ERROR_SUCCESS)
        return;
    DWORD value = 0;
    DWORD type = 0;
    DWORD size = sizeof(value);
    if (RegQueryValueExW(key, L"ComExceptionHandlingOption", nullptr, &type, reinterpret_cast<LPBYTE>(&value),
                         &size) == ERROR_SUCCESS &&
        type == REG_DWORD) {
        m_comExceptionHandling = static_cast<ComExceptionHandlingOption>(static_cast<std::int32_t>(value));
    }
    RegCloseKey(key);
}

void ServiceAppGlobalOptions::ApplyOptions()
{
    IGlobalOptions* options = nullptr;
    if (FAILED(CoCreateInstance(kClsidGlobalOptions, nullptr, CLSCTX_INPROC_SERVER, kIidGlobalOptions,
                                reinterpret_cast<void**>(&options))))
        return;
    if (m_comExceptionHandling != ComExceptionHandle) {
        options->Set(static_cast<GLOBALOPT_PROPERTIES>(kComGlobalExceptionHandling),
                     static_cast<ULONG_PTR>(static_cast<INT_PTR>(m_comExceptionHandling)));
    }
    options->Release();
}

} // namespace Tessel::Internal

// The component categories manager: it keeps categories and the categories of classes as keys
// below HKEY_CLASSES_ROOT, in the layout that Windows uses, so that registration scripts and
// tools see the same tree on both systems.

#include <atomic>
#include <cwchar>
#include <string>
#include <vector>

#include "TesselPlatform/ComRuntime.h"
#include "TesselPlatform/Registry.h"
#include "TesselPlatform/Text.h"
#include "comruntime/ComObjects.h"

namespace {

std::wstring GuidText(REFGUID guid)
{
    wchar_t text[40];
    swprintf_s(text, 40, L"{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", guid.Data1, guid.Data2, guid.Data3,
               guid.Data4[0], guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4], guid.Data4[5],
               guid.Data4[6], guid.Data4[7]);
    return text;
}

// Registry data is UTF-16LE whatever the width of wchar_t.
std::vector<BYTE> Utf16Bytes(const wchar_t* text)
{
    std::vector<BYTE> bytes;
    auto put = [&bytes](unsigned unit) {
        bytes.push_back(static_cast<BYTE>(unit & 0xFF));
        bytes.push_back(static_cast<BYTE>(unit >> 8));
    };
    for (; *text != L'\0'; ++text) {
        const auto code = static_cast<unsigned long>(*text);
        if (code > 0xFFFF) {
            put(0xD800 + ((code - 0x10000) >> 10));
            put(0xDC00 + ((code - 0x10000) & 0x3FF));
        } else {
            put(static_cast<unsigned>(code));
        }
    }
    put(0);
    return bytes;
}

HRESULT FromStatus(LSTATUS status)
{
    return HRESULT_FROM_WIN32(status);
}

HRESULT CreateKey(const std::wstring& path)
{
    HKEY key = nullptr;
    const LSTATUS status =
        RegCreateKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr);
    if (status == ERROR_SUCCESS)
        RegCloseKey(key);
    return FromStatus(status);
}

// A key that is already gone is no failure of an unregistration.
HRESULT DeleteTree(const std::wstring& path)
{
    const LSTATUS status = SHDeleteKeyW(HKEY_CLASSES_ROOT, path.c_str());
    return status == ERROR_FILE_NOT_FOUND ? S_OK : FromStatus(status);
}

class CategoryManager final : public ICatRegister {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override
    {
        if (ppvObject == nullptr)
            return E_POINTER;
        if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_ICatRegister)) {
            *ppvObject = static_cast<ICatRegister*>(this);
            AddRef();
            return S_OK;
        }
        *ppvObject = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }

    // Component Categories\{catid} holds the description under the locale's number in hex.
    HRESULT STDMETHODCALLTYPE RegisterCategories(ULONG cCategories, CATEGORYINFO rgCategoryInfo[]) override
    {
        if (cCategories > 0 && rgCategoryInfo == nullptr)
            return E_POINTER;
        for (ULONG i = 0; i < cCategories; ++i) {
            const CATEGORYINFO& info = rgCategoryInfo[i];
            const std::wstring path = L"Component Categories\\" + GuidText(info.catid);
            HKEY key = nullptr;
            LSTATUS status =
                RegCreateKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr);
            if (status != ERROR_SUCCESS)
                return FromStatus(status);
            wchar_t locale[16];
            swprintf_s(locale, 16, L"%x", info.lcid);
            wchar_t description[128];
            wcsncpy_s(description, 128, info.szDescription, _TRUNCATE);
            const std::vector<BYTE> data = Utf16Bytes(description);
            status = RegSetValueExW(key, locale, 0, REG_SZ, data.data(), static_cast<DWORD>(data.size()));
            RegCloseKey(key);
            if (status != ERROR_SUCCESS)
                return FromStatus(status);
        }
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE UnRegisterCategories(ULONG cCategories, CATID rgcatid[]) override
    {
        if (cCategories > 0 && rgcatid == nullptr)
            return E_POINTER;
        for (ULONG i = 0; i < cCategories; ++i) {
            if (HRESULT hr = DeleteTree(L"Component Categories\\" + GuidText(rgcatid[i])); FAILED(hr))
                return hr;
        }
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE RegisterClassImplCategories(REFCLSID rclsid, ULONG cCategories, CATID rgcatid[]) override
    {
        return RegisterClassCategories(rclsid, L"\\Implemented Categories\\", cCategories, rgcatid);
    }
    HRESULT STDMETHODCALLTYPE UnRegisterClassImplCategories(REFCLSID rclsid, ULONG cCategories,
                                                            CATID rgcatid[]) override
    {
        return UnRegisterClassCategories(rclsid, L"\\Implemented Categories\\", cCategories, rgcatid);
    }
    HRESULT STDMETHODCALLTYPE RegisterClassReqCategories(REFCLSID rclsid, ULONG cCategories, CATID rgcatid[]) override
    {
        return RegisterClassCategories(rclsid, L"\\Required Categories\\", cCategories, rgcatid);
    }
    HRESULT STDMETHODCALLTYPE UnRegisterClassReqCategories(REFCLSID rclsid, ULONG cCategories,
                                                           CATID rgcatid[]) override
    {
        return UnRegisterClassCategories(rclsid, L"\\Required Categories\\", cCategories, rgcatid);
    }

    ~CategoryManager() = default;

private:
    static HRESULT RegisterClassCategories(REFCLSID rclsid, const wchar_t* kind, ULONG count, CATID catids[])
    {
        if (count > 0 && catids == nullptr)
            return E_POINTER;
        for (ULONG i = 0; i < count; ++i) {
            if (HRESULT hr = CreateKey(L"CLSID\\" + GuidText(rclsid) + kind + GuidText(catids[i])); FAILED(hr))
                return hr;
        }
        return S_OK;
    }
    // The kind's own key stays, empty or not: removing it is the registering module's business.
    static HRESULT UnRegisterClassCategories(REFCLSID rclsid, const wchar_t* kind, ULONG count, CATID catids[])
    {
        if (count > 0 && catids == nullptr)
            return E_POINTER;
        for (ULONG i = 0; i < count; ++i) {
            if (HRESULT hr = DeleteTree(L"CLSID\\" + GuidText(rclsid) + kind + GuidText(catids[i])); FAILED(hr))
                return hr;
        }
        return S_OK;
    }

    std::atomic<ULONG> m_references{1};
};

} // namespace

namespace TesselCom {

HRESULT CreateCategoryManager(REFIID riid, void** ppv)
{
    auto* manager = new CategoryManager;
    const HRESULT hr = manager->QueryInterface(riid, ppv);
    manager->Release();
    return hr;
}

} // namespace TesselCom

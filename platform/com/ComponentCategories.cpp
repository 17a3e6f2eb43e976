// The component categories manager: it keeps categories and the categories of classes as keys
// below HKEY_CLASSES_ROOT, in the layout that Windows uses, so that registration scripts and
// tools see the same tree on both systems.

#include <cwchar>
#include <string>
#include <vector>

#include "TesselPlatform/ComRuntime.h"
#include "TesselPlatform/Registry.h"
#include "TesselPlatform/Text.h"
#include "com/ComObjects.h"
#include "com/RefCounted.h"
#include "text/Utf16Codec.h"

namespace {

using TesselPlatform::Com::Implements;
using TesselPlatform::Com::Lifetime;
using TesselPlatform::Com::RefCounted;

// A GUID in braces with its terminator.
constexpr int kGuidTextSize = 39;

std::wstring GuidText(REFGUID guid)
{
    wchar_t text[kGuidTextSize];
    StringFromGUID2(guid, text, kGuidTextSize);
    return text;
}

// Registry data is UTF-16LE whatever the width of wchar_t; the terminator goes with it. A character
// that UTF-16 cannot carry stands as U+FFFD.
std::vector<BYTE> Utf16Bytes(const wchar_t* text)
{
    std::vector<BYTE> bytes;
    auto put = [&bytes](char16_t unit) {
        bytes.push_back(static_cast<BYTE>(unit & 0xFF));
        bytes.push_back(static_cast<BYTE>(unit >> 8));
    };
    char16_t units[2];
    for (; *text != L'\0'; ++text) {
        std::size_t count = TesselPlatform::Text::EncodeUtf16(static_cast<char32_t>(*text), units);
        if (count == 0)
            count = TesselPlatform::Text::EncodeUtf16(TesselPlatform::Text::kReplacementCharacter, units);
        for (std::size_t i = 0; i < count; ++i)
            put(units[i]);
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

class CategoryManager final
    : public RefCounted<Lifetime::DeleteAtLastRelease, Implements<ICatRegister, IID_ICatRegister>> {
public:

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

    ~CategoryManager() override = default;

private:
    // Creates (or, for the unregistering calls, removes) the key of each category below the class's
    // key of that kind. The kind's own key stays, empty or not: removing it is the registering
    // module's business.
    static HRESULT ForEachClassCategory(HRESULT (*action)(const std::wstring&), REFCLSID rclsid, const wchar_t* kind,
                                        ULONG count, CATID catids[])
    {
        if (count > 0 && catids == nullptr)
            return E_POINTER;
        for (ULONG i = 0; i < count; ++i) {
            if (HRESULT hr = action(L"CLSID\\" + GuidText(rclsid) + kind + GuidText(catids[i])); FAILED(hr))
                return hr;
        }
        return S_OK;
    }
    static HRESULT RegisterClassCategories(REFCLSID rclsid, const wchar_t* kind, ULONG count, CATID catids[])
    {
        return ForEachClassCategory(&CreateKey, rclsid, kind, count, catids);
    }
    static HRESULT UnRegisterClassCategories(REFCLSID rclsid, const wchar_t* kind, ULONG count, CATID catids[])
    {
        return ForEachClassCategory(&DeleteTree, rclsid, kind, count, catids);
    }
};

} // namespace

namespace TesselPlatform::Com {

HRESULT CreateCategoryManager(REFIID riid, void** ppv)
{
    auto* manager = new CategoryManager;
    const HRESULT hr = manager->QueryInterface(riid, ppv);
    manager->Release();
    return hr;
}

} // namespace TesselPlatform::Com

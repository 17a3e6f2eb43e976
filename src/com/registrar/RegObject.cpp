// The registrar object: its replacement pairs, the replacement of %KEY% marks, and the two ways
// of running a script, from text and from a module's resources.

#include "com/registrar/RegObject.h"

#include <cwchar>
#include <new>

#include "com/registrar/RegistryScriptParser.h"

namespace ATL {

namespace {

LPOLESTR CopyText(LPCOLESTR text)
{
    const size_t length = std::wcslen(text);
    auto* copy = static_cast<LPOLESTR>(CoTaskMemAlloc((length + 1) * sizeof(OLECHAR)));
    if (copy != nullptr)
        std::wmemcpy(copy, text, length + 1);
    return copy;
}

// The replacement's output: a buffer that doubles whenever the next piece would not fit.
class GrowingText {
public:
    explicit GrowingText(size_t capacity) : m_capacity(capacity)
    {
        m_text = static_cast<LPOLESTR>(CoTaskMemAlloc(m_capacity * sizeof(OLECHAR)));
    }
    ~GrowingText() { CoTaskMemFree(m_text); }
    GrowingText(const GrowingText&) = delete;
    GrowingText& operator=(const GrowingText&) = delete;

    bool Ready() const { return m_text != nullptr; }

    bool Append(LPCOLESTR piece, size_t count)
    {
        // One place stays free for the terminator.
        while (m_length + count + 1 > m_capacity) {
            auto* larger = static_cast<LPOLESTR>(CoTaskMemRealloc(m_text, m_capacity * 2 * sizeof(OLECHAR)));
            if (larger == nullptr)
                return false;
            m_text = larger;
            m_capacity *= 2;
        }
        std::wmemcpy(m_text + m_length, piece, count);
        m_length += count;
        return true;
    }

    LPOLESTR Release()
    {
        m_text[m_length] = L'\0';
        LPOLESTR text = m_text;
        m_text = nullptr;
        return text;
    }

private:
    LPOLESTR m_text = nullptr;
    size_t m_capacity;
    size_t m_length = 0;
};

} // namespace

CRegObject::~CRegObject()
{
    if (m_pairLockReady) {
        ClearReplacementPairs();
        DeleteCriticalSection(&m_pairLock);
        m_pairLockReady = false;
    }
    FreePairs();
}

HRESULT CRegObject::FinalConstruct()
{
    if (m_pairLockReady)
        return S_OK;
    if (!InitializeCriticalSectionEx(&m_pairLock, 0, 0))
        return HRESULT_FROM_WIN32(static_cast<LONG>(GetLastError()));
    m_pairLockReady = true;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CRegObject::QueryInterface(REFIID, void**)
{
    return E_NOTIMPL;
}

ULONG STDMETHODCALLTYPE CRegObject::AddRef()
{
    return 1;
}

ULONG STDMETHODCALLTYPE CRegObject::Release()
{
    return 0;
}

HRESULT STDMETHODCALLTYPE CRegObject::AddReplacementPair(LPCOLESTR key, LPCOLESTR item)
{
    if (key == nullptr || item == nullptr)
        return E_INVALIDARG;
    if (!m_pairLockReady)
        return E_UNEXPECTED;
    LPOLESTR keyCopy = CopyText(key);
    LPOLESTR itemCopy = CopyText(item);
    HRESULT hr = keyCopy != nullptr && itemCopy != nullptr ? S_OK : E_OUTOFMEMORY;
    EnterCriticalSection(&m_pairLock);
    if (SUCCEEDED(hr)) {
        const size_t count = static_cast<size_t>(m_pairCount) + 1;
        auto* keys = static_cast<LPOLESTR*>(CoTaskMemRealloc(m_keys, count * sizeof(LPOLESTR)));
        if (keys != nullptr)
            m_keys = keys;
        auto* items = keys != nullptr ? static_cast<LPOLESTR*>(CoTaskMemRealloc(m_items, count * sizeof(LPOLESTR)))
                                      : nullptr;
        if (items != nullptr)
            m_items = items;
        if (keys != nullptr && items != nullptr) {
            m_keys[m_pairCount] = keyCopy;
            m_items[m_pairCount] = itemCopy;
            ++m_pairCount;
            keyCopy = itemCopy = nullptr;
        } else {
            hr = E_OUTOFMEMORY;
        }
    }
    LeaveCriticalSection(&m_pairLock);
    CoTaskMemFree(keyCopy);
    CoTaskMemFree(itemCopy);
    return hr;
}

HRESULT STDMETHODCALLTYPE CRegObject::ClearReplacementPairs()
{
    if (!m_pairLockReady)
        return S_OK;
    EnterCriticalSection(&m_pairLock);
    for (LONG i = 0; i < m_pairCount; ++i) {
        CoTaskMemFree(m_keys[i]);
        CoTaskMemFree(m_items[i]);
    }
    m_pairCount = 0;
    LeaveCriticalSection(&m_pairLock);
    return S_OK;
}

void CRegObject::FreePairs()
{
    CoTaskMemFree(m_keys);
    CoTaskMemFree(m_items);
    m_keys = nullptr;
    m_items = nullptr;
}

LPCOLESTR CRegObject::FindReplacement(LPCOLESTR key, size_t length) const
{
    for (LONG i = 0; i < m_pairCount; ++i) {
        LPCOLESTR candidate = m_keys[i];
        if (std::wcslen(candidate) != length)
            continue;
        OLECHAR wanted[kMaxReplacementKey + 1];
        std::wmemcpy(wanted, key, length);
        wanted[length] = L'\0';
        if (lstrcmpiW(candidate, wanted) == 0)
            return m_items[i];
    }
    return nullptr;
}

HRESULT CRegObject::ReplaceText(LPCOLESTR text, LPOLESTR* result)
{
    if (text == nullptr || result == nullptr)
        return E_POINTER;
    *result = nullptr;
    const size_t length = std::wcslen(text);
    size_t capacity = length * 2;
    if (capacity < 100)
        capacity = 1000;
    GrowingText output(capacity);
    if (!output.Ready())
        return E_OUTOFMEMORY;

    for (LPCOLESTR p = text; *p != L'\0';) {
        LPCOLESTR next = CharNextW(p);
        if (*p == L'%' && *next == L'%') {
            if (!output.Append(p, 1))
                return E_OUTOFMEMORY;
            p = CharNextW(next);
            continue;
        }
        if (*p != L'%' || *next == L'\0') {
            if (!output.Append(p, static_cast<size_t>(next - p)))
                return E_OUTOFMEMORY;
            p = next;
            continue;
        }
        LPCOLESTR keyEnd = next;
        while (*keyEnd != L'\0' && *keyEnd != L'%')
            keyEnd = CharNextW(keyEnd);
        if (*keyEnd == L'\0')
            return DISP_E_EXCEPTION;
        const size_t keyLength = static_cast<size_t>(keyEnd - next);
        if (keyLength > kMaxReplacementKey)
            return E_FAIL;
        EnterCriticalSection(&m_pairLock);
        LPCOLESTR replacement = FindReplacement(next, keyLength);
        const bool copied = replacement == nullptr || output.Append(replacement, std::wcslen(replacement));
        LeaveCriticalSection(&m_pairLock);
        if (replacement == nullptr)
            return DISP_E_EXCEPTION;
        if (!copied)
            return E_OUTOFMEMORY;
        p = CharNextW(keyEnd);
    }
    *result = output.Release();
    return S_OK;
}

HRESULT CRegObject::RunScript(LPCOLESTR text, BOOL bRegister)
{
    if (!m_pairLockReady)
        return E_UNEXPECTED;
    LPOLESTR script = nullptr;
    HRESULT hr = ReplaceText(text, &script);
    if (FAILED(hr))
        return hr;
    try {
        RegistryScriptParser parser(script, *this);
        hr = parser.Run(bRegister != FALSE);
    } catch (const std::bad_alloc&) {
        hr = E_OUTOFMEMORY;
    }
    CoTaskMemFree(script);
    return hr;
}

HRESULT CRegObject::RunResourceScript(LPCOLESTR modulePath, LPCOLESTR resource, LPCOLESTR resourceType,
                                      BOOL bRegister)
{
    // The module is wanted for its resources only; a module that can't be mapped as an image is
    // taken as a plain data file.
    HMODULE module = LoadLibraryExW(modulePath, nullptr,
                                    LOAD_LIBRARY_AS_IMAGE_RESOURCE | LOAD_LIBRARY_AS_DATAFILE_EXCLUSIVE);
    if (module == nullptr)
        module = LoadLibraryExW(modulePath, nullptr, LOAD_LIBRARY_AS_DATAFILE);
    if (module == nullptr)
        return HRESULT_FROM_WIN32(static_cast<LONG>(GetLastError()));

    HRESULT hr = S_OK;
    const HRSRC found = FindResourceW(module, resource, resourceType);
    const HGLOBAL loaded = found != nullptr ? LoadResource(module, found) : nullptr;
    const DWORD size = found != nullptr ? SizeofResource(module, found) : 0;
    const auto* bytes = static_cast<LPCSTR>(loaded != nullptr ? LockResource(loaded) : nullptr);
    if (bytes == nullptr) {
        hr = HRESULT_FROM_WIN32(static_cast<LONG>(GetLastError()));
        if (SUCCEEDED(hr))
            hr = E_FAIL;
    }

    LPOLESTR text = nullptr;
    int converted = 0;
    if (SUCCEEDED(hr) && size > 0) {
        converted = MultiByteToWideChar(CP_THREAD_ACP, 0, bytes, static_cast<int>(size), nullptr, 0);
        if (converted == 0)
            hr = HRESULT_FROM_WIN32(static_cast<LONG>(GetLastError()));
    }
    if (SUCCEEDED(hr)) {
        text = static_cast<LPOLESTR>(CoTaskMemAlloc((static_cast<size_t>(converted) + 1) * sizeof(OLECHAR)));
        if (text == nullptr)
            hr = E_OUTOFMEMORY;
    }
    if (SUCCEEDED(hr)) {
        if (converted > 0)
            converted = MultiByteToWideChar(CP_THREAD_ACP, 0, bytes, static_cast<int>(size), text, converted);
        text[converted] = L'\0';
        hr = RunScript(text, bRegister);
    }
    CoTaskMemFree(text);
    FreeLibrary(module);
    return hr;
}

} // namespace ATL

// The registration script language: tokens, root keys, the registering walk with its recovery,
// and the unregistering walk that removes only what the script itself has emptied.

#include "com/registrar/RegistryScriptParser.h"

#include <vector>

#include "com/registrar/RegObject.h"
#include "common/DigitValue.h"
#include "common/Utf16Data.h"

namespace ATL {

namespace {

constexpr REGSAM kReadWrite = KEY_READ | KEY_WRITE;

struct RootKeyName {
    const wchar_t* name;
    HKEY key;
};

const RootKeyName kRootKeys[] = {
    {L"HKCR", HKEY_CLASSES_ROOT},
    {L"HKCU", HKEY_CURRENT_USER},
    {L"HKLM", HKEY_LOCAL_MACHINE},
    {L"HKU", HKEY_USERS},
    {L"HKPD", HKEY_PERFORMANCE_DATA},
    {L"HKDD", HKEY_DYN_DATA},
    {L"HKCC", HKEY_CURRENT_CONFIG},
    {L"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT},
    {L"HKEY_CURRENT_USER", HKEY_CURRENT_USER},
    {L"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE},
    {L"HKEY_USERS", HKEY_USERS},
    {L"HKEY_PERFORMANCE_DATA", HKEY_PERFORMANCE_DATA},
    {L"HKEY_DYN_DATA", HKEY_DYN_DATA},
    {L"HKEY_CURRENT_CONFIG", HKEY_CURRENT_CONFIG},
};

const wchar_t* const kProtectedKeyNames[] = {
    L"AppID", L"CLSID", L"Component Categories", L"FileType", L"Interface", L"Hardware",
    L"Mime",  L"SAM",   L"SECURITY",             L"SYSTEM",   L"Software",  L"TypeLib",
};

bool IsWhiteSpace(OLECHAR c)
{
    return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n';
}

bool Is(const std::wstring& token, const wchar_t* word)
{
    return lstrcmpiW(token.c_str(), word) == 0;
}

bool HasBackslash(const std::wstring& token)
{
    return token.find(L'\\') != std::wstring::npos;
}

HRESULT FromStatus(LSTATUS status)
{
    return HRESULT_FROM_WIN32(status);
}

using DeleteKeyExFunction = LSTATUS(WINAPI*)(HKEY, LPCWSTR, REGSAM, DWORD);

// RegDeleteKeyExW reaches keys of the other registry view; systems without it have only one.
DeleteKeyExFunction DeleteKeyEx()
{
    static const DeleteKeyExFunction function = []() -> DeleteKeyExFunction {
        HMODULE advapi = GetModuleHandleW(L"Advapi32.dll");
        if (advapi == nullptr)
            return nullptr;
        const FARPROC found = GetProcAddress(advapi, "RegDeleteKeyExW");
        return reinterpret_cast<DeleteKeyExFunction>(reinterpret_cast<void (*)()>(found));
    }();
    return function;
}

LSTATUS DeleteKey(HKEY parent, LPCWSTR name)
{
    if (DeleteKeyExFunction function = DeleteKeyEx(); function != nullptr)
        return function(parent, name, 0, 0);
    return RegDeleteKeyW(parent, name);
}

LSTATUS DeleteKeyTree(HKEY parent, LPCWSTR name)
{
    HKEY key = nullptr;
    LSTATUS status = RegOpenKeyExW(parent, name, 0, kReadWrite, &key);
    if (status != ERROR_SUCCESS)
        return status;
    for (;;) {
        wchar_t child[256];
        DWORD length = 256;
        if (RegEnumKeyExW(key, 0, child, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            break;
        status = DeleteKeyTree(key, child);
        if (status != ERROR_SUCCESS) {
            RegCloseKey(key);
            return status;
        }
    }
    RegCloseKey(key);
    return DeleteKey(parent, name);
}

// A character that is no hex digit counts as 0, as the registrar has always read it.
int HexDigit(wchar_t c)
{
    const int digit = Tessel::Detail::DigitValue(c);
    return digit < 16 ? digit : 0;
}

LSTATUS SetValue(HKEY key, LPCWSTR name, DWORD type, const std::vector<BYTE>& data)
{
    return RegSetValueExW(key, name, 0, type, data.empty() ? nullptr : data.data(),
                          static_cast<DWORD>(data.size()));
}

// "\0" marks the end of each string; the list ends at its first empty string.
std::vector<BYTE> MultiStringData(const std::wstring& text)
{
    std::wstring strings;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == L'\\' && i + 1 < text.size() && text[i + 1] == L'0') {
            strings.push_back(L'\0');
            ++i;
        } else {
            strings.push_back(text[i]);
        }
    }
    strings.append(2, L'\0');
    size_t end = 0;
    while (strings[end] != L'\0')
        end += std::wstring_view(strings.c_str() + end).size() + 1;
    return Tessel::Detail::Utf16FromWide(std::wstring_view(strings.data(), end + 1), false);
}

} // namespace

LSTATUS ScriptKey::Open(HKEY parent, LPCWSTR name, REGSAM access)
{
    Close();
    HKEY key = nullptr;
    const LSTATUS status = RegOpenKeyExW(parent, name, 0, access, &key);
    if (status == ERROR_SUCCESS) {
        m_key = key;
        // An empty name can give back a predefined parent itself, which is not ours to close.
        m_owned = key != parent;
    }
    return status;
}

LSTATUS ScriptKey::Create(HKEY parent, LPCWSTR name, REGSAM access)
{
    Close();
    HKEY key = nullptr;
    const LSTATUS status = RegCreateKeyExW(parent, name, 0, nullptr, 0, access, nullptr, &key, nullptr);
    if (status == ERROR_SUCCESS) {
        m_key = key;
        m_owned = true;
    }
    return status;
}

void ScriptKey::Close()
{
    if (m_key != nullptr && m_owned)
        RegCloseKey(m_key);
    m_key = nullptr;
    m_owned = false;
}

HKEY RegistryScriptParser::RootKeyFromName(const std::wstring& name)
{
    for (const auto& root : kRootKeys) {
        if (Is(name, root.name))
            return root.key;
    }
    return nullptr;
}

bool RegistryScriptParser::IsProtectedKeyName(const std::wstring& name)
{
    for (const wchar_t* protectedName : kProtectedKeyNames) {
        if (Is(name, protectedName))
            return true;
    }
    return false;
}

void RegistryScriptParser::SkipWhiteSpace()
{
    while (IsWhiteSpace(*m_cursor))
        m_cursor = CharNextW(m_cursor);
}

HRESULT RegistryScriptParser::NextToken(std::wstring& token)
{
    SkipWhiteSpace();
    token.clear();
    if (AtEnd())
        return DISP_E_EXCEPTION;
    if (*m_cursor == L'\'') {
        m_cursor = CharNextW(m_cursor);
        for (;;) {
            if (AtEnd())
                return DISP_E_EXCEPTION;
            LPOLESTR next = CharNextW(m_cursor);
            if (*m_cursor == L'\'') {
                if (*next != L'\'') {
                    m_cursor = next;
                    break;
                }
                token.push_back(L'\'');
                next = CharNextW(next);
            } else {
                token.append(m_cursor, next);
            }
            m_cursor = next;
            if (token.size() > kMaxToken)
                return DISP_E_EXCEPTION;
        }
        return S_OK;
    }
    while (!AtEnd() && !IsWhiteSpace(*m_cursor)) {
        LPOLESTR next = CharNextW(m_cursor);
        token.append(m_cursor, next);
        m_cursor = next;
        if (token.size() > kMaxToken)
            return DISP_E_EXCEPTION;
    }
    return S_OK;
}

HRESULT RegistryScriptParser::Run(bool bRegister)
{
    if (AtEnd())
        return S_OK;
    HRESULT hr = S_OK;
    std::wstring token;
    do {
        if (hr = NextToken(token); FAILED(hr))
            return hr;
        const HKEY root = RootKeyFromName(token);
        if (root == nullptr)
            return DISP_E_EXCEPTION;
        if (hr = NextToken(token); FAILED(hr))
            return hr;
        if (token[0] != L'{')
            return DISP_E_EXCEPTION;
        if (bRegister) {
            LPOLESTR blockStart = m_cursor;
            hr = RegisterBlock(root, 1);
            if (FAILED(hr)) {
                // Take back what the block did before it failed; that walk's own result is moot.
                m_cursor = blockStart;
                UnregisterBlock(root, false, 1);
                return hr;
            }
        } else if (hr = UnregisterBlock(root, false, 1); FAILED(hr)) {
            return hr;
        }
        SkipWhiteSpace();
    } while (!AtEnd());
    return hr;
}

HRESULT RegistryScriptParser::StoreValue(HKEY key, LPCWSTR valueName)
{
    std::wstring type;
    std::wstring text;
    HRESULT hr = NextToken(type);
    if (SUCCEEDED(hr))
        hr = NextToken(text);
    if (FAILED(hr))
        return hr;

    LSTATUS status = ERROR_SUCCESS;
    if (Is(type, L"S")) {
        status = SetValue(key, valueName, REG_SZ, Tessel::Detail::Utf16FromWide(text, true));
    } else if (Is(type, L"D")) {
        ULONG number = 0;
        if (hr = VarUI4FromStr(text.data(), 0, 0, &number); FAILED(hr))
            return hr;
        const std::vector<BYTE> data = {static_cast<BYTE>(number), static_cast<BYTE>(number >> 8),
                                        static_cast<BYTE>(number >> 16), static_cast<BYTE>(number >> 24)};
        status = SetValue(key, valueName, REG_DWORD, data);
    } else if (Is(type, L"B")) {
        if (text.size() % 2 != 0)
            return E_FAIL;
        std::vector<BYTE> data(text.size() / 2);
        for (size_t i = 0; i < data.size(); ++i)
            data[i] = static_cast<BYTE>(HexDigit(text[2 * i]) * 16 + HexDigit(text[2 * i + 1]));
        status = SetValue(key, valueName, REG_BINARY, data);
    } else if (Is(type, L"M")) {
        status = SetValue(key, valueName, REG_MULTI_SZ, MultiStringData(text));
    } else {
        return DISP_E_EXCEPTION;
    }
    return FromStatus(status);
}

HRESULT RegistryScriptParser::ReadValueClauseHead(std::wstring& valueName, std::wstring& token)
{
    HRESULT hr = NextToken(valueName);
    if (SUCCEEDED(hr))
        hr = NextToken(token);
    if (FAILED(hr))
        return hr;
    return token[0] == L'=' ? S_OK : DISP_E_EXCEPTION;
}

HRESULT RegistryScriptParser::SkipValue()
{
    std::wstring skipped;
    HRESULT hr = NextToken(skipped);
    if (SUCCEEDED(hr))
        hr = NextToken(skipped);
    return hr;
}

HRESULT RegistryScriptParser::SkipAssignment(std::wstring& token)
{
    if (token[0] != L'=')
        return S_OK;
    HRESULT hr = SkipValue();
    if (SUCCEEDED(hr))
        hr = NextToken(token);
    return hr;
}

HRESULT RegistryScriptParser::RegisterItemBlock(std::wstring& token, HKEY key, int depth)
{
    if (token != L"{")
        return S_OK;
    HRESULT hr = RegisterBlock(key, depth + 1);
    if (SUCCEEDED(hr))
        hr = NextToken(token);
    return hr;
}

HRESULT RegistryScriptParser::RegisterBlock(HKEY parent, int depth)
{
    if (depth > kMaxNesting)
        return DISP_E_EXCEPTION;
    std::wstring token;
    HRESULT hr = NextToken(token);
    while (SUCCEEDED(hr)) {
        if (token[0] == L'}')
            return S_OK;

        if (Is(token, L"ForceRemove") || Is(token, L"Delete")) {
            const bool deleteOnly = Is(token, L"Delete");
            if (hr = NextToken(token); FAILED(hr))
                return hr;
            if (HasBackslash(token))
                return DISP_E_EXCEPTION;
            // No key has an empty name; opening "" would reach the parent and empty it.
            if (!token.empty() && !IsProtectedKeyName(token))
                DeleteKeyTree(parent, token.c_str());
            if (deleteOnly) {
                hr = NextToken(token);
                if (SUCCEEDED(hr))
                    hr = SkipAssignment(token);
                if (SUCCEEDED(hr))
                    hr = RegisterItemBlock(token, nullptr, depth);
                continue;
            }
        }
        if (Is(token, L"NoRemove")) {
            if (hr = NextToken(token); FAILED(hr))
                return hr;
        }
        if (Is(token, L"Val")) {
            std::wstring valueName;
            if (hr = ReadValueClauseHead(valueName, token); FAILED(hr))
                return hr;
            hr = StoreValue(parent, valueName.c_str());
            if (SUCCEEDED(hr))
                hr = NextToken(token);
            if (SUCCEEDED(hr))
                hr = RegisterItemBlock(token, nullptr, depth);
            continue;
        }
        if (HasBackslash(token))
            return DISP_E_EXCEPTION;

        ScriptKey key;
        LSTATUS status = key.Open(parent, token.c_str(), kReadWrite);
        if (status != ERROR_SUCCESS)
            status = key.Open(parent, token.c_str(), KEY_READ);
        if (status != ERROR_SUCCESS)
            status = key.Create(parent, token.c_str(), kReadWrite);
        if (status != ERROR_SUCCESS)
            return FromStatus(status);
        hr = NextToken(token);
        if (SUCCEEDED(hr) && token[0] == L'=') {
            hr = StoreValue(key.Get(), nullptr);
            if (SUCCEEDED(hr))
                hr = NextToken(token);
        }
        if (SUCCEEDED(hr))
            hr = RegisterItemBlock(token, key.Get(), depth);
    }
    return hr;
}

HRESULT RegistryScriptParser::UnregisterBlock(HKEY parent, bool recover, int depth)
{
    if (depth > kMaxNesting)
        return DISP_E_EXCEPTION;
    std::wstring token;
    HRESULT hr = NextToken(token);
    while (SUCCEEDED(hr)) {
        if (token[0] == L'}')
            return S_OK;

        bool deleteMark = true;
        // Removal words mean nothing here: the item is taken back like any other.
        if (Is(token, L"ForceRemove") || Is(token, L"Delete")) {
            if (hr = NextToken(token); FAILED(hr))
                return hr;
        }
        if (Is(token, L"NoRemove")) {
            deleteMark = false;
            if (hr = NextToken(token); FAILED(hr))
                return hr;
        }
        if (Is(token, L"Val")) {
            std::wstring valueName;
            if (hr = ReadValueClauseHead(valueName, token); FAILED(hr))
                return hr;
            if (!recover && deleteMark) {
                ScriptKey key;
                LSTATUS status = key.Open(parent, L"", KEY_WRITE);
                if (status == ERROR_SUCCESS)
                    status = RegDeleteValueW(key.Get(), valueName.c_str());
                if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
                    return FromStatus(status);
            }
            hr = SkipValue();
            if (SUCCEEDED(hr))
                hr = NextToken(token);
            continue;
        }
        if (HasBackslash(token))
            return DISP_E_EXCEPTION;

        ScriptKey key;
        // An empty name would open the parent itself, which the item must not remove.
        const LSTATUS opened =
            recover || token.empty() ? ERROR_FILE_NOT_FOUND : key.Open(parent, token.c_str(), KEY_READ);
        const std::wstring name = token.substr(0, kMaxNotedKeyName);
        hr = NextToken(token);
        if (SUCCEEDED(hr))
            hr = SkipAssignment(token);
        if (FAILED(hr))
            return hr;
        if (token == L"{") {
            // Below a key that isn't there, the block is only read.
            hr = UnregisterBlock(key.Get(), recover || opened != ERROR_SUCCESS, depth + 1);
            if (opened == ERROR_SUCCESS && FAILED(hr))
                return hr;
            hr = NextToken(token);
        }
        if (opened == ERROR_FILE_NOT_FOUND)
            continue;
        if (opened != ERROR_SUCCESS)
            return FromStatus(opened);

        DWORD subKeys = 0;
        if (RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, &subKeys, nullptr, nullptr, nullptr, nullptr,
                             nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            subKeys = 0;
        key.Close();
        // A key that still has sub-keys holds something the script didn't make: it stays.
        if (deleteMark && subKeys == 0) {
            if (const LSTATUS status = DeleteKey(parent, name.c_str()); status != ERROR_SUCCESS)
                return FromStatus(status);
        }
    }
    return hr;
}

} // namespace ATL

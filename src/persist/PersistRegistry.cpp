// PersistRegistry's lifetime: opening and creating keys by full path through its own root
// table, closing them, sharing them among copies, the checks that every operation starts
// with, and the walk over sub-key names.

#include "Tessel/PersistRegistry.h"

#include <cwchar>
#include <new>
#include <string>

#include "Tessel/Exceptions.h"

namespace Tessel {

namespace {

constexpr DWORD kEndIndex = 0xFFFFFFFFu;
constexpr DWORD kNameBufferChars = 512; // room for the longest key name, 255 units, and more

// Copies share one handle and close it when the last of them lets go, so that each key is
// closed exactly once however the objects are copied, assigned, closed or destroyed.
std::shared_ptr<std::remove_pointer_t<HKEY>> AdoptKey(HKEY key)
{
    try {
        // If the shared state can't be had, the constructor closes the key before it throws.
        return std::shared_ptr<std::remove_pointer_t<HKEY>>(key, [](HKEY openKey) { RegCloseKey(openKey); });
    } catch (const std::bad_alloc&) {
        throw OutOfMemory(nullptr);
    }
}

} // namespace

PersistRegistry::PersistRegistry() = default;

PersistRegistry::PersistRegistry(const wchar_t* path, StorageAccess access)
{
    Open(path, access);
}

PersistRegistry::PersistRegistry(const PersistRegistry& parent, const wchar_t* subPath, StorageAccess access)
{
    std::wstring path;
    try {
        path = parent.GetPath();
        if (subPath != nullptr) {
            if (!path.empty() && path.back() != L'\\')
                path += L'\\';
            path += subPath;
        }
    } catch (const std::bad_alloc&) {
        throw OutOfMemory(nullptr);
    }
    Open(path.c_str(), access);
}

PersistRegistry::PersistRegistry(const PersistRegistry& other)
    : PersistBasic(other)
    , m_key(other.m_key)
{
}

PersistRegistry& PersistRegistry::operator=(const PersistRegistry& other)
{
    if (this != &other) {
        PersistBasic::operator=(other);
        // Letting go of our share closes the key we held if no other copy still holds it.
        m_key = other.m_key;
    }
    return *this;
}

PersistRegistry::~PersistRegistry() = default;

void PersistRegistry::Open(const wchar_t* path, StorageAccess access)
{
    m_key.reset();
    if (path == nullptr)
        throw InvalidArg(L"Null registry path specified");

    // The caller's text may be our own GetPath(), which Setup is about to replace.
    std::wstring text;
    try {
        text = path;
    } catch (const std::bad_alloc&) {
        throw OutOfMemory(nullptr);
    }
    Setup(text.c_str(), access);

    const wchar_t* subPath = text.c_str();
    const HKEY root = ParseRoot(subPath);
    const DWORD mask = GetAccessMask(access);

    HKEY key = nullptr;
    const LSTATUS result = RegOpenKeyExW(root, subPath, 0, mask, &key);
    switch (result) {
    case ERROR_SUCCESS:
        m_key = AdoptKey(key);
        return;
    case ERROR_FILE_NOT_FOUND:
        // The sub-path is data: it must not be read as a format.
        throw PersistencyNotFound(L"%s", subPath);
    case ERROR_ACCESS_DENIED:
        throw AccessDenied(L"Access to registry path '%s' has been denied", subPath);
    default:
        throw Unexpected(L"PersistRegistry::Open - RegOpenKeyEx returned %08x on opening '%s'",
                         static_cast<unsigned int>(result), subPath);
    }
}

void PersistRegistry::Create(const wchar_t* path, StorageAccess access, SECURITY_ATTRIBUTES* securityAttributes)
{
    m_key.reset();
    if (path == nullptr)
        throw InvalidArg(L"Null registry path specified");

    const wchar_t* subPath = path;
    const HKEY root = ParseRoot(subPath);
    const DWORD mask = GetAccessMask(access);

    HKEY created = nullptr;
    const LSTATUS result = RegCreateKeyExW(root, subPath, 0, nullptr, REG_OPTION_NON_VOLATILE, mask,
                                           securityAttributes, &created, nullptr);
    if (result == ERROR_ACCESS_DENIED)
        throw AccessDenied(L"Failed to create key '%s'", subPath);
    if (result != ERROR_SUCCESS)
        throw PersistencyFailed(L"Failed to create reg.key '%s' with result=%08x", subPath,
                                static_cast<unsigned int>(result));

    // Open stores path and access and takes the key afresh, so that an object made by Create
    // is in every way one made by Open.
    RegCloseKey(created);
    Open(path, access);
}

void PersistRegistry::Close()
{
    m_key.reset();
}

HKEY PersistRegistry::GetKey() const
{
    return m_key.get();
}

HKEY PersistRegistry::ParseRoot(const wchar_t*& path) const
{
    struct RootKeyword {
        const wchar_t* keyword;
        HKEY root;
    };
    // The search order matters: a first component that is only the beginning of a keyword
    // matches the first entry that begins with it, and an empty one matches the first entry.
    const RootKeyword table[] = {
        {L"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT},
        {L"HKEY_CURRENT_CONFIG", HKEY_CURRENT_CONFIG},
        {L"HKEY_CURRENT_USER", HKEY_CURRENT_USER},
        {L"HKCU", HKEY_CURRENT_USER},
        {L"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE},
        {L"HKLM", HKEY_LOCAL_MACHINE},
        {L"HKEY_USERS", HKEY_USERS},
        {L"HKEY_PERFORMANCE_DATA", HKEY_PERFORMANCE_DATA},
    };

    const wchar_t* separator = std::wcschr(path, L'\\');
    const size_t length = separator != nullptr ? static_cast<size_t>(separator - path) : std::wcslen(path);
    for (const RootKeyword& entry : table) {
        if (_wcsnicmp(path, entry.keyword, length) == 0) {
            path = separator != nullptr ? separator + 1 : path + length;
            return entry.root;
        }
    }
    throw InvalidArg(L"Registry path '%s' is missing the root specifier", path);
}

DWORD PersistRegistry::GetAccessMask(StorageAccess access) const
{
    switch (access) {
    case ReadOnly:
        return KEY_READ;
    case ReadWrite:
        return KEY_ALL_ACCESS;
    }
    throw InternalError(L"PersistRegistry::GetAccessMask received unknown mask %d", static_cast<int>(access));
}

void PersistRegistry::Validate(bool forWriting) const
{
    if (!m_key)
        throw PersistencyClosed(L"Can't perform operation because registry object has been closed");
    if (forWriting && GetAccess() == ReadOnly)
        throw PersistencyDenied(L"Can't perform operation as object has been opened with read permission only");
}

bool PersistRegistry::GetType(const wchar_t* name, bool optional, DWORD& type, DWORD& size) const
{
    Validate(false);
    if (RegQueryValueExW(GetKey(), name, nullptr, &type, nullptr, &size) == ERROR_SUCCESS)
        return true;
    // Whatever the store's reason, an item that can't be queried counts as absent.
    if (optional)
        return false;
    throw PersistencyNotFound(L"Storage item '%s' not found", name);
}

PersistRegistry::iterator PersistRegistry::begin()
{
    return iterator(this, false);
}

PersistRegistry::iterator PersistRegistry::end()
{
    return iterator(this, true);
}

PersistRegistry::iterator::iterator(PersistRegistry* owner, bool atEnd)
    : m_owner(owner)
    , m_index(atEnd ? kEndIndex : 0)
{
    if (!atEnd)
        Step();
}

const std::wstring& PersistRegistry::iterator::operator*() const
{
    return m_name;
}

const std::wstring* PersistRegistry::iterator::operator->() const
{
    return &m_name;
}

PersistRegistry::iterator& PersistRegistry::iterator::operator++()
{
    Step();
    return *this;
}

PersistRegistry::iterator PersistRegistry::iterator::operator++(int)
{
    iterator previous(*this);
    Step();
    return previous;
}

bool PersistRegistry::iterator::operator==(const iterator& other) const
{
    return m_owner == other.m_owner && m_index == other.m_index;
}

bool PersistRegistry::iterator::operator!=(const iterator& other) const
{
    return !(*this == other);
}

void PersistRegistry::iterator::Step()
{
    // There is no way back from the end: stepping there again must not wrap to index 0.
    if (m_index == kEndIndex)
        return;
    const DWORD index = m_index++;

    const HKEY key = m_owner != nullptr ? m_owner->GetKey() : nullptr;
    if (key == nullptr) {
        MakeEnd();
        return;
    }

    wchar_t name[kNameBufferChars];
    name[0] = L'\0';
    DWORD nameChars = kNameBufferChars;
    FILETIME lastWriteTime;
    const LSTATUS result = RegEnumKeyExW(key, index, name, &nameChars, nullptr, nullptr, nullptr, &lastWriteTime);
    if (result == ERROR_SUCCESS || result == ERROR_MORE_DATA) {
        m_name.assign(name, wcsnlen(name, kNameBufferChars));
        return;
    }
    // The walk ends at ERROR_NO_MORE_ITEMS and at every failure alike.
    MakeEnd();
}

void PersistRegistry::iterator::MakeEnd()
{
    m_index = kEndIndex;
    m_name.clear();
}

} // namespace Tessel

// The dataset's writer side: re-opening its key for writing, and removing a key tree children
// first.

#include "config/RegistryDataset.h"

namespace Tessel::Detail {

namespace {

// DELETE | KEY_ENUMERATE_SUB_KEYS: enough to list the children and remove the key itself.
constexpr REGSAM kDeleteTreeAccess = 0x10008;

// Registry key names have at most 255 characters; a longer one gives the status of the store.
constexpr DWORD kKeyNameCapacity = 256;

} // namespace

void RegistryDataset::EnsureWritable()
{
    if (m_writable)
        return;
    // A key opened for reading can't be upgraded: it is closed, and a failure below leaves the
    // dataset closed, so that a writer without write rights loses its reads as well.
    Close();
    HKEY key = nullptr;
    const LONG status = RegCreateKeyExW(m_root, m_subKey.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                        m_regOverride | kWriteAccess, nullptr, &key, nullptr);
    if (status != ERROR_SUCCESS)
        Raise(m_policy->datasetNotFound, L"Cannot open %s", m_subKey.c_str());
    m_key = key;
    m_writable = true;
}

LONG RegistryDataset::DeleteKeyTree(HKEY parent, const wchar_t* subPath) const
{
    if (subPath == nullptr || *subPath == L'\0')
        return ERROR_BADKEY;
    HKEY key = nullptr;
    LONG status = RegOpenKeyExW(parent, subPath, 0, m_regOverride | kDeleteTreeAccess, &key);
    if (status != ERROR_SUCCESS)
        return status;
    for (;;) {
        // Always index 0: every pass removes the first child, and the next one moves up.
        wchar_t child[kKeyNameCapacity];
        DWORD capacity = kKeyNameCapacity;
        status = RegEnumKeyExW(key, 0, child, &capacity, nullptr, nullptr, nullptr, nullptr);
        if (status == ERROR_NO_MORE_ITEMS) {
            status = RegDeleteKeyW(parent, subPath);
            break;
        }
        if (status != ERROR_SUCCESS)
            break;
        status = DeleteKeyTree(key, child);
        if (status != ERROR_SUCCESS)
            break;
    }
    RegCloseKey(key);
    return status;
}

} // namespace Tessel::Detail

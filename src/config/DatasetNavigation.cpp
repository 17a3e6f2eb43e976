// Listing what a dataset holds, and the names and locations of its sub datasets.

#include <string>
#include <utility>
#include <vector>

#include "config/RegistryDataset.h"

namespace Tessel::Detail {

namespace {

// The number of entries and the length of the longest name, subkeys or values.
LONG QueryCounts(HKEY key, bool subKeys, DWORD& count, DWORD& longestName)
{
    count = 0;
    longestName = 0;
    LONG status = subKeys ? RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &count, &longestName, nullptr, nullptr,
                                             nullptr, nullptr, nullptr, nullptr)
                          : RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count,
                                             &longestName, nullptr, nullptr, nullptr);
    if (status != ERROR_SUCCESS)
        count = 0;
    return status;
}

} // namespace

std::vector<std::wstring> RegistryDataset::EnumerateSubKeys() const
{
    return EnumerateNames(true);
}

std::vector<std::wstring> RegistryDataset::EnumerateValues() const
{
    return EnumerateNames(false);
}

std::vector<std::wstring> RegistryDataset::EnumerateNames(bool subKeys) const
{
    std::vector<std::wstring> names;
    DWORD count = 0;
    DWORD longestName = 0;
    QueryCounts(m_key, subKeys, count, longestName);
    names.reserve(count);

    std::vector<wchar_t> buffer;
    for (DWORD index = 0; index < count; ++index) {
        // Asked again at every index, so that a key that changes during the walk is followed:
        // entries removed meanwhile make the result shorter, never a failure.
        DWORD current = 0;
        if (QueryCounts(m_key, subKeys, current, longestName) != ERROR_SUCCESS || index >= current)
            continue;
        if (buffer.size() < longestName + 2)
            buffer.resize(longestName + 2);
        DWORD capacity = longestName + 1;
        LONG status;
        if (subKeys) {
            FILETIME lastWrite;
            status = RegEnumKeyExW(m_key, index, buffer.data(), &capacity, nullptr, nullptr, nullptr, &lastWrite);
        } else {
            status = RegEnumValueW(m_key, index, buffer.data(), &capacity, nullptr, nullptr, nullptr, nullptr);
        }
        if (status == ERROR_SUCCESS)
            names.emplace_back(buffer.data(), capacity);
    }
    return names;
}

bool RegistryDataset::FindSubKey(const std::wstring& subName, std::wstring& storedName) const
{
    for (std::wstring& name : EnumerateSubKeys()) {
        if (_wcsicmp(name.c_str(), subName.c_str()) == 0) {
            storedName = std::move(name);
            return true;
        }
    }
    return false;
}

std::wstring RegistryDataset::SubDatasetLocation(const std::wstring& storedName) const
{
    // A dataset with an empty location stands on HKEY_LOCAL_MACHINE itself, and a bare name is a
    // key below that root: adding a backslash would make an empty root keyword instead.
    std::wstring location = m_path;
    if (!location.empty() && location.back() != L'\\')
        location += L'\\';
    location += storedName;
    return location;
}

std::wstring RegistryDataset::LastSubKeyComponent() const
{
    std::wstring name = m_subKey;
    if (!name.empty() && name.back() == L'\\')
        name.pop_back();
    const std::wstring::size_type backslash = name.rfind(L'\\');
    return backslash == std::wstring::npos ? name : name.substr(backslash + 1);
}

} // namespace Tessel::Detail

// The reader interface's exported constructor and destructor, and the one reader: typed reads
// delegated to its dataset, and the walk to sub datasets.

#include "config/RegistryReader.h"

#include <utility>

#include "Tessel/Exceptions.h"

namespace Tessel {

IConfigReader::IConfigReader() = default;

IConfigReader::~IConfigReader() = default;

} // namespace Tessel

namespace Tessel::Detail {

RegistryReader::RegistryReader(const std::wstring& location, ULONG regOverride)
    : m_dataset(location, regOverride, true, ReaderPolicy()), m_regOverride(regOverride)
{
}

RegistryReader::~RegistryReader() = default;

template <class T>
T RegistryReader::Read(Fetch<T> fetch, const std::wstring& name, T value, bool required) const
{
    (m_dataset.*fetch)(name, value, required, true);
    return value;
}

int RegistryReader::GetInt(const std::wstring& name) const
{
    return Read<int>(&RegistryDataset::FetchInt, name, 0, true);
}

unsigned int RegistryReader::GetUInt(const std::wstring& name) const
{
    return Read<unsigned int>(&RegistryDataset::FetchUInt, name, 0, true);
}

double RegistryReader::GetDouble(const std::wstring& name) const
{
    return Read<double>(&RegistryDataset::FetchDouble, name, 0.0, true);
}

bool RegistryReader::GetBool(const std::wstring& name) const
{
    return Read<bool>(&RegistryDataset::FetchBool, name, false, true);
}

std::wstring RegistryReader::GetString(const std::wstring& name) const
{
    return Read<std::wstring>(&RegistryDataset::FetchString, name, {}, true);
}

std::vector<int> RegistryReader::GetIntList(const std::wstring& name) const
{
    return Read<std::vector<int>>(&RegistryDataset::FetchIntList, name, {}, true);
}

std::vector<unsigned int> RegistryReader::GetUIntList(const std::wstring& name) const
{
    return Read<std::vector<unsigned int>>(&RegistryDataset::FetchUIntList, name, {}, true);
}

std::vector<double> RegistryReader::GetDoubleList(const std::wstring& name) const
{
    return Read<std::vector<double>>(&RegistryDataset::FetchDoubleList, name, {}, true);
}

std::vector<bool> RegistryReader::GetBoolList(const std::wstring& name) const
{
    return Read<std::vector<bool>>(&RegistryDataset::FetchBoolList, name, {}, true);
}

std::vector<std::wstring> RegistryReader::GetStringList(const std::wstring& name) const
{
    return Read<std::vector<std::wstring>>(&RegistryDataset::FetchStringList, name, {}, true);
}

double RegistryReader::GetDoubleCoerced(const std::wstring& name) const
{
    return Read<double>(&RegistryDataset::FetchDoubleCoerced, name, 0.0, true);
}

std::wstring RegistryReader::GetStringCoerced(const std::wstring& name) const
{
    return Read<std::wstring>(&RegistryDataset::FetchStringCoerced, name, {}, true);
}

int RegistryReader::GetIntOr(const std::wstring& name, int defaultValue) const
{
    return Read<int>(&RegistryDataset::FetchInt, name, defaultValue, false);
}

unsigned int RegistryReader::GetUIntOr(const std::wstring& name, unsigned int defaultValue) const
{
    return Read<unsigned int>(&RegistryDataset::FetchUInt, name, defaultValue, false);
}

double RegistryReader::GetDoubleOr(const std::wstring& name, double defaultValue) const
{
    return Read<double>(&RegistryDataset::FetchDouble, name, defaultValue, false);
}

bool RegistryReader::GetBoolOr(const std::wstring& name, bool defaultValue) const
{
    return Read<bool>(&RegistryDataset::FetchBool, name, defaultValue, false);
}

std::wstring RegistryReader::GetStringOr(const std::wstring& name, const std::wstring& defaultValue) const
{
    return Read<std::wstring>(&RegistryDataset::FetchString, name, defaultValue, false);
}

std::vector<int> RegistryReader::GetIntListOr(const std::wstring& name, const std::vector<int>& defaultValue) const
{
    return Read<std::vector<int>>(&RegistryDataset::FetchIntList, name, defaultValue, false);
}

std::vector<unsigned int> RegistryReader::GetUIntListOr(const std::wstring& name,
                                                        const std::vector<unsigned int>& defaultValue) const
{
    return Read<std::vector<unsigned int>>(&RegistryDataset::FetchUIntList, name, defaultValue, false);
}

std::vector<double> RegistryReader::GetDoubleListOr(const std::wstring& name,
                                                    const std::vector<double>& defaultValue) const
{
    return Read<std::vector<double>>(&RegistryDataset::FetchDoubleList, name, defaultValue, false);
}

std::vector<bool> RegistryReader::GetBoolListOr(const std::wstring& name, const std::vector<bool>& defaultValue) const
{
    return Read<std::vector<bool>>(&RegistryDataset::FetchBoolList, name, defaultValue, false);
}

std::vector<std::wstring> RegistryReader::GetStringListOr(const std::wstring& name,
                                                          const std::vector<std::wstring>& defaultValue) const
{
    return Read<std::vector<std::wstring>>(&RegistryDataset::FetchStringList, name, defaultValue, false);
}

double RegistryReader::GetDoubleCoercedOr(const std::wstring& name, double defaultValue) const
{
    return Read<double>(&RegistryDataset::FetchDoubleCoerced, name, defaultValue, false);
}

std::wstring RegistryReader::GetStringCoercedOr(const std::wstring& name, const std::wstring& defaultValue) const
{
    return Read<std::wstring>(&RegistryDataset::FetchStringCoerced, name, defaultValue, false);
}

std::shared_ptr<IConfigReader> RegistryReader::GetSubDataset(const std::wstring& subName) const
{
    std::wstring storedName;
    if (!m_dataset.FindSubKey(subName, storedName))
        throw ConfigurationNotFoundException(L"%s", subName.c_str());
    // The store's spelling, not the caller's, so that the path names the key as it is.
    return std::make_shared<RegistryReader>(m_dataset.SubDatasetLocation(storedName), m_regOverride);
}

std::vector<std::shared_ptr<IConfigReader>> RegistryReader::GetSubDatasets() const
{
    std::vector<std::shared_ptr<IConfigReader>> readers;
    for (const std::wstring& name : m_dataset.EnumerateSubKeys())
        readers.push_back(std::make_shared<RegistryReader>(m_dataset.SubDatasetLocation(name), m_regOverride));
    return readers;
}

std::wstring RegistryReader::GetDatasetName() const
{
    return m_dataset.LastSubKeyComponent();
}

std::wstring RegistryReader::GetDatasetPath() const
{
    return m_dataset.m_path;
}

std::vector<std::wstring> RegistryReader::GetParameterNames() const
{
    return m_dataset.EnumerateValues();
}

bool RegistryReader::HasSubDataset(const std::wstring& subName) const
{
    std::wstring storedName;
    return m_dataset.FindSubKey(subName, storedName);
}

std::vector<std::wstring> RegistryReader::GetSubDatasetNames() const
{
    return m_dataset.EnumerateSubKeys();
}

} // namespace Tessel::Detail

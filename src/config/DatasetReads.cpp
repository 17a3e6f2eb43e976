// The typed reads and the listing calls that the reader and the writer share, and their two
// instantiations.

#include "config/DatasetReads.h"

namespace Tessel::Detail {

template <class Interface>
DatasetReads<Interface>::DatasetReads(const std::wstring& location, ULONG regOverride, bool mustExist,
                                      const DatasetPolicy& policy)
    : m_dataset(location, regOverride, mustExist, policy), m_regOverride(regOverride)
{
}

template <class Interface>
DatasetReads<Interface>::~DatasetReads() = default;

template <class Interface>
int DatasetReads<Interface>::GetInt(const std::wstring& name) const
{
    return Read<int, &RegistryDataset::FetchInt>(name);
}

template <class Interface>
unsigned int DatasetReads<Interface>::GetUInt(const std::wstring& name) const
{
    return Read<unsigned int, &RegistryDataset::FetchUInt>(name);
}

template <class Interface>
double DatasetReads<Interface>::GetDouble(const std::wstring& name) const
{
    return Read<double, &RegistryDataset::FetchDouble>(name);
}

template <class Interface>
bool DatasetReads<Interface>::GetBool(const std::wstring& name) const
{
    return Read<bool, &RegistryDataset::FetchBool>(name);
}

template <class Interface>
std::wstring DatasetReads<Interface>::GetString(const std::wstring& name) const
{
    return Read<std::wstring, &RegistryDataset::FetchString>(name);
}

template <class Interface>
std::vector<int> DatasetReads<Interface>::GetIntList(const std::wstring& name) const
{
    return Read<std::vector<int>, &RegistryDataset::FetchIntList>(name);
}

template <class Interface>
std::vector<unsigned int> DatasetReads<Interface>::GetUIntList(const std::wstring& name) const
{
    return Read<std::vector<unsigned int>, &RegistryDataset::FetchUIntList>(name);
}

template <class Interface>
std::vector<double> DatasetReads<Interface>::GetDoubleList(const std::wstring& name) const
{
    return Read<std::vector<double>, &RegistryDataset::FetchDoubleList>(name);
}

template <class Interface>
std::vector<bool> DatasetReads<Interface>::GetBoolList(const std::wstring& name) const
{
    return Read<std::vector<bool>, &RegistryDataset::FetchBoolList>(name);
}

template <class Interface>
std::vector<std::wstring> DatasetReads<Interface>::GetStringList(const std::wstring& name) const
{
    return Read<std::vector<std::wstring>, &RegistryDataset::FetchStringList>(name);
}

template <class Interface>
int DatasetReads<Interface>::GetIntOr(const std::wstring& name, int defaultValue) const
{
    return ReadOr<int, &RegistryDataset::FetchInt>(name, defaultValue);
}

template <class Interface>
unsigned int DatasetReads<Interface>::GetUIntOr(const std::wstring& name, unsigned int defaultValue) const
{
    return ReadOr<unsigned int, &RegistryDataset::FetchUInt>(name, defaultValue);
}

template <class Interface>
double DatasetReads<Interface>::GetDoubleOr(const std::wstring& name, double defaultValue) const
{
    return ReadOr<double, &RegistryDataset::FetchDouble>(name, defaultValue);
}

template <class Interface>
bool DatasetReads<Interface>::GetBoolOr(const std::wstring& name, bool defaultValue) const
{
    return ReadOr<bool, &RegistryDataset::FetchBool>(name, defaultValue);
}

template <class Interface>
std::wstring DatasetReads<Interface>::GetStringOr(const std::wstring& name, const std::wstring& defaultValue) const
{
    return ReadOr<std::wstring, &RegistryDataset::FetchString>(name, defaultValue);
}

template <class Interface>
std::vector<int> DatasetReads<Interface>::GetIntListOr(const std::wstring& name,
                                                       const std::vector<int>& defaultValue) const
{
    return ReadOr<std::vector<int>, &RegistryDataset::FetchIntList>(name, defaultValue);
}

template <class Interface>
std::vector<unsigned int> DatasetReads<Interface>::GetUIntListOr(const std::wstring& name,
                                                                 const std::vector<unsigned int>& defaultValue) const
{
    return ReadOr<std::vector<unsigned int>, &RegistryDataset::FetchUIntList>(name, defaultValue);
}

template <class Interface>
std::vector<double> DatasetReads<Interface>::GetDoubleListOr(const std::wstring& name,
                                                             const std::vector<double>& defaultValue) const
{
    return ReadOr<std::vector<double>, &RegistryDataset::FetchDoubleList>(name, defaultValue);
}

template <class Interface>
std::vector<bool> DatasetReads<Interface>::GetBoolListOr(const std::wstring& name,
                                                         const std::vector<bool>& defaultValue) const
{
    return ReadOr<std::vector<bool>, &RegistryDataset::FetchBoolList>(name, defaultValue);
}

template <class Interface>
std::vector<std::wstring> DatasetReads<Interface>::GetStringListOr(const std::wstring& name,
                                                                   const std::vector<std::wstring>& defaultValue) const
{
    return ReadOr<std::vector<std::wstring>, &RegistryDataset::FetchStringList>(name, defaultValue);
}

template <class Interface>
std::wstring DatasetReads<Interface>::GetDatasetPath() const
{
    return m_dataset.m_path;
}

template <class Interface>
std::vector<std::wstring> DatasetReads<Interface>::GetParameterNames() const
{
    return m_dataset.EnumerateValues();
}

template <class Interface>
bool DatasetReads<Interface>::HasSubDataset(const std::wstring& subName) const
{
    std::wstring storedName;
    return m_dataset.FindSubKey(subName, storedName);
}

template <class Interface>
std::vector<std::wstring> DatasetReads<Interface>::GetSubDatasetNames() const
{
    return m_dataset.EnumerateSubKeys();
}

template class DatasetReads<IConfigReader>;
template class DatasetReads<IPersistentDataWriter>;

} // namespace Tessel::Detail

// The reader interface's exported constructor and destructor, and the reader's own operations:
// the reads that fall back to a number, and the walk to sub datasets.

#include "config/RegistryReader.h"

#include "Tessel/Exceptions.h"

namespace Tessel {

IConfigReader::IConfigReader() = default;

IConfigReader::~IConfigReader() = default;

} // namespace Tessel

namespace Tessel::Detail {

RegistryReader::RegistryReader(const std::wstring& location, ULONG regOverride)
    : DatasetReads(location, regOverride, true, ReaderPolicy())
{
}

RegistryReader::~RegistryReader() = default;

double RegistryReader::GetDoubleCoerced(const std::wstring& name) const
{
    return Read<double, &RegistryDataset::FetchDoubleCoerced>(name);
}

std::wstring RegistryReader::GetStringCoerced(const std::wstring& name) const
{
    return Read<std::wstring, &RegistryDataset::FetchStringCoerced>(name);
}

double RegistryReader::GetDoubleCoercedOr(const std::wstring& name, double defaultValue) const
{
    return ReadOr<double, &RegistryDataset::FetchDoubleCoerced>(name, defaultValue);
}

std::wstring RegistryReader::GetStringCoercedOr(const std::wstring& name, const std::wstring& defaultValue) const
{
    return ReadOr<std::wstring, &RegistryDataset::FetchStringCoerced>(name, defaultValue);
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
    return OpenSubDatasets<RegistryReader>();
}

std::wstring RegistryReader::GetDatasetName() const
{
    return m_dataset.LastSubKeyComponent();
}

} // namespace Tessel::Detail

// The writer interface's exported members, the writer factory's one operation, and the writer's
// construction, reads, parameter deletion and sub datasets.

#include "writer/RegistryDataWriter.h"

#include <cwctype>

#include "Tessel/Exceptions.h"
#include "Tessel/PersistentDataWriterFactory.h"
#include "config/DataSourceName.h"
#include "writer/ParameterCopy.h"

namespace Tessel {

IPersistentDataWriter::IPersistentDataWriter() = default;

IPersistentDataWriter::IPersistentDataWriter(const IPersistentDataWriter&) = default;

IPersistentDataWriter& IPersistentDataWriter::operator=(const IPersistentDataWriter&) = default;

IPersistentDataWriter::~IPersistentDataWriter() = default;

const std::shared_ptr<IPersistentDataWriter> PersistentDataWriterFactory::GetPersistentDataWriter(
    const std::wstring& dataSourceName) const
{
    std::wstring location;
    if (Detail::SplitDataSourceName(dataSourceName, location) != Detail::DataSourceKind::Registry)
        throw UnknownPersistentDataException(static_cast<const wchar_t*>(nullptr));
    return std::make_shared<Detail::RegistryDataWriter>(location, m_regOverride);
}

} // namespace Tessel

namespace Tessel::Detail {

namespace {

std::wstring Lowered(std::wstring text)
{
    for (wchar_t& c : text)
        c = static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(c)));
    return text;
}

} // namespace

RegistryDataWriter::RegistryDataWriter(const std::wstring& location, ULONG regOverride)
    : m_dataset(location, regOverride, false, WriterPolicy()), m_regOverride(regOverride)
{
}

RegistryDataWriter::~RegistryDataWriter() = default;

template <class T>
T RegistryDataWriter::Read(Fetch<T> fetch, const std::wstring& name, T value, bool required) const
{
    (m_dataset.*fetch)(name, value, required, true);
    return value;
}

int RegistryDataWriter::GetInt(const std::wstring& name) const
{
    return Read<int>(&RegistryDataset::FetchInt, name, 0, true);
}

std::vector<int> RegistryDataWriter::GetIntList(const std::wstring& name) const
{
    return Read<std::vector<int>>(&RegistryDataset::FetchIntList, name, {}, true);
}

int RegistryDataWriter::GetIntOr(const std::wstring& name, int defaultValue) const
{
    return Read<int>(&RegistryDataset::FetchInt, name, defaultValue, false);
}

std::vector<int> RegistryDataWriter::GetIntListOr(const std::wstring& name,
                                                  const std::vector<int>& defaultValue) const
{
    return Read<std::vector<int>>(&RegistryDataset::FetchIntList, name, defaultValue, false);
}

double RegistryDataWriter::GetDouble(const std::wstring& name) const
{
    return Read<double>(&RegistryDataset::FetchDouble, name, 0.0, true);
}

std::vector<double> RegistryDataWriter::GetDoubleList(const std::wstring& name) const
{
    return Read<std::vector<double>>(&RegistryDataset::FetchDoubleList, name, {}, true);
}

double RegistryDataWriter::GetDoubleOr(const std::wstring& name, double defaultValue) const
{
    return Read<double>(&RegistryDataset::FetchDouble, name, defaultValue, false);
}

std::vector<double> RegistryDataWriter::GetDoubleListOr(const std::wstring& name,
                                                        const std::vector<double>& defaultValue) const
{
    return Read<std::vector<double>>(&RegistryDataset::FetchDoubleList, name, defaultValue, false);
}

bool RegistryDataWriter::GetBool(const std::wstring& name) const
{
    return Read<bool>(&RegistryDataset::FetchBool, name, false, true);
}

std::vector<bool> RegistryDataWriter::GetBoolList(const std::wstring& name) const
{
    return Read<std::vector<bool>>(&RegistryDataset::FetchBoolList, name, {}, true);
}

bool RegistryDataWriter::GetBoolOr(const std::wstring& name, bool defaultValue) const
{
    return Read<bool>(&RegistryDataset::FetchBool, name, defaultValue, false);
}

std::vector<bool> RegistryDataWriter::GetBoolListOr(const std::wstring& name,
                                                    const std::vector<bool>& defaultValue) const
{
    return Read<std::vector<bool>>(&RegistryDataset::FetchBoolList, name, defaultValue, false);
}

std::wstring RegistryDataWriter::GetString(const std::wstring& name) const
{
    return Read<std::wstring>(&RegistryDataset::FetchString, name, {}, true);
}

std::vector<std::wstring> RegistryDataWriter::GetStringList(const std::wstring& name) const
{
    return Read<std::vector<std::wstring>>(&RegistryDataset::FetchStringList, name, {}, true);
}

std::wstring RegistryDataWriter::GetStringOr(const std::wstring& name, const std::wstring& defaultValue) const
{
    return Read<std::wstring>(&RegistryDataset::FetchString, name, defaultValue, false);
}

std::vector<std::wstring> RegistryDataWriter::GetStringListOr(const std::wstring& name,
                                                              const std::vector<std::wstring>& defaultValue) const
{
    return Read<std::vector<std::wstring>>(&RegistryDataset::FetchStringList, name, defaultValue, false);
}

unsigned int RegistryDataWriter::GetUInt(const std::wstring& name) const
{
    return Read<unsigned int>(&RegistryDataset::FetchUInt, name, 0, true);
}

std::vector<unsigned int> RegistryDataWriter::GetUIntList(const std::wstring& name) const
{
    return Read<std::vector<unsigned int>>(&RegistryDataset::FetchUIntList, name, {}, true);
}

unsigned int RegistryDataWriter::GetUIntOr(const std::wstring& name, unsigned int defaultValue) const
{
    return Read<unsigned int>(&RegistryDataset::FetchUInt, name, defaultValue, false);
}

std::vector<unsigned int> RegistryDataWriter::GetUIntListOr(const std::wstring& name,
                                                            const std::vector<unsigned int>& defaultValue) const
{
    return Read<std::vector<unsigned int>>(&RegistryDataset::FetchUIntList, name, defaultValue, false);
}

void RegistryDataWriter::DeleteParameter(const std::wstring& name)
{
    m_dataset.EnsureWritable();
    // A missing parameter gives ERROR_FILE_NOT_FOUND, which is no failure here.
    m_dataset.CheckValueResult(RegDeleteValueW(m_dataset.m_key, name.c_str()), name, false, true);
}

std::shared_ptr<IPersistentDataWriter> RegistryDataWriter::GetSubDataset(const std::wstring& subName) const
{
    // Without a match the caller's spelling stands: the writer may create that key later.
    std::wstring effectiveName = subName;
    m_dataset.FindSubKey(subName, effectiveName);
    return std::make_shared<RegistryDataWriter>(m_dataset.SubDatasetLocation(effectiveName), m_regOverride);
}

std::vector<std::shared_ptr<IPersistentDataWriter>> RegistryDataWriter::GetSubDatasets() const
{
    std::vector<std::shared_ptr<IPersistentDataWriter>> writers;
    for (const std::wstring& name : m_dataset.EnumerateSubKeys())
        writers.push_back(std::make_shared<RegistryDataWriter>(m_dataset.SubDatasetLocation(name), m_regOverride));
    return writers;
}

void RegistryDataWriter::CreateSubDataset(const std::wstring& subName)
{
    m_dataset.EnsureWritable();
    const std::wstring subPath = m_dataset.m_subKey + L'\\' + subName;
    HKEY key = nullptr;
    const LONG status = RegCreateKeyExW(m_dataset.m_root, subPath.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                        m_regOverride | RegistryDataset::kWriteAccess, nullptr, &key, nullptr);
    if (status == ERROR_SUCCESS)
        RegCloseKey(key);
    m_dataset.CheckValueResult(status, subName, false, true);
}

void RegistryDataWriter::DeleteSubDataset(const std::wstring& subName)
{
    m_dataset.EnsureWritable();
    const std::wstring subPath = m_dataset.m_subKey + L'\\' + subName;
    m_dataset.CheckValueResult(m_dataset.DeleteKeyTree(m_dataset.m_root, subPath.c_str()), subName, false,
                               true);
}

std::wstring RegistryDataWriter::GetDatasetName() const
{
    std::wstring path = m_dataset.m_subKey;
    if (!path.empty() && path.back() == L'\\')
        path.pop_back();
    const std::wstring::size_type last = path.rfind(L'\\');
    if (last == std::wstring::npos)
        return path;
    std::wstring name = path.substr(last + 1);

    // A dataset at ...\userdata\<name>\system is known by <name>, the key that the user's data
    // lives under, rather than by the word "system" that every such key shares.
    if (Lowered(name) != L"system" || last == 0)
        return name;
    const std::wstring::size_type second = path.rfind(L'\\', last - 1);
    if (second == std::wstring::npos || second == 0)
        return name;
    const std::wstring::size_type third = path.rfind(L'\\', second - 1);
    if (third == std::wstring::npos)
        return name;
    if (Lowered(path.substr(third + 1, second - third - 1)) == L"userdata")
        return path.substr(second + 1, last - second - 1);
    return name;
}

std::wstring RegistryDataWriter::GetDatasetPath() const
{
    return m_dataset.m_path;
}

std::vector<std::wstring> RegistryDataWriter::GetParameterNames() const
{
    return m_dataset.EnumerateValues();
}

bool RegistryDataWriter::HasSubDataset(const std::wstring& subName) const
{
    std::wstring storedName;
    return m_dataset.FindSubKey(subName, storedName);
}

std::vector<std::wstring> RegistryDataWriter::GetSubDatasetNames() const
{
    return m_dataset.EnumerateSubKeys();
}

} // namespace Tessel::Detail

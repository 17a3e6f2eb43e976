// The writer interface's exported members, and the writer's construction, parameter deletion and
// sub datasets.

#include "writer/RegistryDataWriter.h"

#include <cwctype>

#include "Tessel/Exceptions.h"

namespace Tessel {

IPersistentDataWriter::IPersistentDataWriter() = default;

IPersistentDataWriter::IPersistentDataWriter(const IPersistentDataWriter&) = default;

IPersistentDataWriter& IPersistentDataWriter::operator=(const IPersistentDataWriter&) = default;

IPersistentDataWriter::~IPersistentDataWriter() = default;

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
    : DatasetReads(location, regOverride, false, WriterPolicy())
{
}

RegistryDataWriter::~RegistryDataWriter() = default;

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
    return OpenSubDatasets<RegistryDataWriter>();
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

} // namespace Tessel::Detail

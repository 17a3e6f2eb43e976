// The ten typed writes of the writer: each one reads the present value as its own type first,
// and only then replaces it with the stored form of the new value.

#include <cstdint>
#include <cstring>
#include <string_view>

#include "common/Utf16Data.h"
#include "writer/RegistryDataWriter.h"
#include "writer/StoredForms.h"
#include "writer/ParameterCopy.h"

namespace Tessel::Detail {

namespace {

// Numbers, bools and short texts fit here, so the common writes need no heap block for their data.
constexpr std::size_t kSmallTextBytes = 128;

} // namespace

template <class T>
void RegistryDataWriter::PrepareSet(Fetch<T> guard, const std::wstring& name)
{
    m_dataset.EnsureWritable();
    // The old value plays no part beyond this read: its failure is the refusal.
    T present{};
    (m_dataset.*guard)(name, present, false, true);
}

void RegistryDataWriter::StoreBytes(const std::wstring& name, DWORD type, const BYTE* data, DWORD size)
{
    const LONG status = RegSetValueExW(m_dataset.m_key, name.c_str(), 0, type, data, size);
    m_dataset.CheckValueResult(status, name, false, true);
}

void RegistryDataWriter::StoreText(const std::wstring& name, const std::wstring& text)
{
    // Only the text up to its first NUL is stored, with one terminator.
    const std::wstring_view stored(text.c_str(), static_cast<std::size_t>(lstrlenW(text.c_str())));
    const std::size_t bytes = Utf16Length(stored) * 2 + 2;
    if (bytes <= kSmallTextBytes) {
        alignas(8) BYTE data[kSmallTextBytes];
        WriteUtf16(stored, data, sizeof data);
        data[bytes - 2] = 0;
        data[bytes - 1] = 0;
        StoreBytes(name, REG_SZ, data, static_cast<DWORD>(bytes));
        return;
    }
    const std::vector<BYTE> data = Utf16FromWide(stored, true);
    StoreBytes(name, REG_SZ, data.data(), static_cast<DWORD>(data.size()));
}

void RegistryDataWriter::SetInt(const std::wstring& name, int value)
{
    PrepareSet<int>(&RegistryDataset::FetchInt, name);
    StoreText(name, std::to_wstring(value));
}

void RegistryDataWriter::SetIntList(const std::wstring& name, const std::vector<int>& value)
{
    PrepareSet<std::vector<int>>(&RegistryDataset::FetchIntList, name);
    StoreText(name, JoinList(value, kListSeparatorText));
}

void RegistryDataWriter::SetDouble(const std::wstring& name, double value)
{
    PrepareSet<double>(&RegistryDataset::FetchDouble, name);
    StoreText(name, FormatDouble(value));
}

void RegistryDataWriter::SetDoubleList(const std::wstring& name, const std::vector<double>& value)
{
    PrepareSet<std::vector<double>>(&RegistryDataset::FetchDoubleList, name);
    StoreText(name, JoinList(value, kListSeparatorText));
}

void RegistryDataWriter::SetBool(const std::wstring& name, bool value)
{
    PrepareSet<bool>(&RegistryDataset::FetchBool, name);
    StoreText(name, value ? kTrueText : kFalseText);
}

void RegistryDataWriter::SetBoolList(const std::wstring& name, const std::vector<bool>& value)
{
    PrepareSet<std::vector<bool>>(&RegistryDataset::FetchBoolList, name);
    StoreText(name, JoinList(value, kListSeparatorText));
}

void RegistryDataWriter::SetString(const std::wstring& name, const std::wstring& value)
{
    PrepareSet<std::wstring>(&RegistryDataset::FetchString, name);
    StoreText(name, value);
}

void RegistryDataWriter::SetStringList(const std::wstring& name, const std::vector<std::wstring>& value)
{
    PrepareSet<std::vector<std::wstring>>(&RegistryDataset::FetchStringList, name);
    const std::vector<wchar_t> block = BuildMultiString(value);
    const std::vector<BYTE> data =
        Utf16FromWide(std::wstring_view(block.data(), StoredMultiStringLength(block)), false);
    StoreBytes(name, REG_MULTI_SZ, data.data(), static_cast<DWORD>(data.size()));
}

void RegistryDataWriter::SetUInt(const std::wstring& name, unsigned int value)
{
    PrepareSet<unsigned int>(&RegistryDataset::FetchUInt, name);
    // REG_DWORD is little-endian, as are the systems that the library runs on.
    const std::uint32_t number = value;
    BYTE data[sizeof number];
    std::memcpy(data, &number, sizeof number);
    StoreBytes(name, REG_DWORD, data, sizeof data);
}

void RegistryDataWriter::SetUIntList(const std::wstring& name, const std::vector<unsigned int>& value)
{
    PrepareSet<std::vector<unsigned int>>(&RegistryDataset::FetchUIntList, name);
    StoreText(name, JoinList(value, kListSeparatorText));
}

} // namespace Tessel::Detail

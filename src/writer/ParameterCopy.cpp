// Copying every parameter of one dataset into another at the level of the store: type and bytes
// as they are, whatever the type, through one transfer buffer.

#include <vector>

#include "Tessel/Exceptions.h"
#include "common/SystemText.h"
#include "writer/ParameterCopy.h"
#include "writer/RegistryDataWriter.h"

namespace Tessel::Detail {

namespace {

// The most that one parameter can carry in a copy.
constexpr DWORD kTransferCapacity = 0x200000;

// The status text, line end and all, lives until the exception has taken its copy; a status
// without one gives the empty text.
[[noreturn]] void ThrowCopyFailure(const wchar_t* format, const std::wstring& name, LONG status)
{
    LocalText text;
    FetchSystemText(static_cast<DWORD>(status), kSystemTextAnyLanguage, text);
    throw Unexpected(format, name.c_str(), text.Get() != nullptr ? text.Get() : L"");
}

} // namespace

void CopyValues(RegistryDataset& target, const RegistryDataset& source, bool overwrite)
{
    target.EnsureWritable();
    const std::vector<std::wstring> names = source.EnumerateValues();
    std::vector<BYTE> buffer(kTransferCapacity);

    for (const std::wstring& name : names) {
        DWORD type = 0;
        DWORD size = kTransferCapacity;
        const LONG present = RegQueryValueExW(target.m_key, name.c_str(), nullptr, &type, buffer.data(), &size);
        // Any status but "not found" counts as present, a value too large for the buffer too.
        const bool missing = present == ERROR_FILE_NOT_FOUND;
        if (!missing && !overwrite)
            continue;
        const wchar_t* format = missing ? L"Failed to copy value '%s'. Message = '%s'"
                                        : L"Failed to overwrite value '%s'. Message = '%s'";

        type = 0;
        size = kTransferCapacity;
        LONG status = RegQueryValueExW(source.m_key, name.c_str(), nullptr, &type, buffer.data(), &size);
        // A value that has gone or outgrown the buffer since the listing has no bytes to write:
        // it fails as its write would, with the status of the read.
        if (status == ERROR_SUCCESS)
            status = RegSetValueExW(target.m_key, name.c_str(), 0, type, buffer.data(), size);
        if (status != ERROR_SUCCESS)
            ThrowCopyFailure(format, name, status);
    }
}

void RegistryDataWriter::CopyParameters(const IConfigReader& source, bool overwrite)
{
    // The source is opened afresh on the store, without this writer's view: the reader object
    // gives its location and nothing else.
    const RegistryDataset sourceDataset(source.GetDatasetPath(), 0, false, WriterPolicy());
    CopyValues(m_dataset, sourceDataset, overwrite);
}

} // namespace Tessel::Detail

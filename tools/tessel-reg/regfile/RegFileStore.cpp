// .reg files out of the registry, through the documented registry functions only, so that the
// same code runs over the store here and over the registry on Windows. Imports go in through
// RegFileImport*.cpp.

#include "RegFile.h"
#include "RegistryKey.h"

namespace Tessel::Reg {
namespace {

LSTATUS ExportKey(const RegistryKey& key, const std::wstring& fullName, REGSAM view, RegFileWriter& writer)
{
    writer.BeginKey(fullName);
    LSTATUS status = key.ForEachValue([&writer](std::wstring_view name, DWORD type, const BYTE* data, DWORD size) {
        writer.AddValue(name, type, data, size);
    });
    if (status != ERROR_SUCCESS)
        return status;
    std::vector<std::wstring> names;
    status = key.ReadSubKeyNames(names);
    if (status != ERROR_SUCCESS)
        return status;
    for (const std::wstring& name : names) {
        RegistryKey child;
        status = child.OpenChild(key, name, KEY_READ | view);
        if (status == ERROR_FILE_NOT_FOUND || status == ERROR_KEY_DELETED)
            continue;
        if (status != ERROR_SUCCESS)
            return status;
        status = ExportKey(child, fullName + L'\\' + name, view, writer);
        if (status != ERROR_SUCCESS)
            return status;
    }
    return ERROR_SUCCESS;
}

} // namespace

LSTATUS ExportRegistryTree(const KeyPath& path, RegFileWriter& writer)
{
    RegistryKey key;
    const LSTATUS status = key.Open(path, KEY_READ);
    if (status != ERROR_SUCCESS)
        return status;
    return ExportKey(key, path.FullName(), path.View, writer);
}

} // namespace Tessel::Reg

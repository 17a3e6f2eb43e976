// .reg files to and from the registry, through the documented registry functions only, so that
// the same code runs over the store here and over the registry on Windows.

#include <limits>

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

LSTATUS ImportValue(const RegistryKey& key, const RegFileValue& value)
{
    if (value.Delete) {
        const LSTATUS status = RegDeleteValueW(key.Handle(), value.Name.c_str());
        return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
    }
    if (value.Data.size() > std::numeric_limits<DWORD>::max())
        return ERROR_INVALID_PARAMETER;
    return RegSetValueExW(key.Handle(), value.Name.c_str(), 0, value.Type,
                          value.Data.empty() ? nullptr : value.Data.data(), static_cast<DWORD>(value.Data.size()));
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

RegFileImportFailure ImportRegFile(const std::vector<RegFileKey>& keys, REGSAM view)
{
    for (const RegFileKey& section : keys) {
        KeyPath path = section.Key;
        path.View = view;
        if (section.Delete) {
            const LSTATUS status = DeleteKeyTree(path);
            if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
                return {status, section.Line};
            continue;
        }
        RegistryKey key;
        const LSTATUS status = key.Create(path, KEY_QUERY_VALUE | KEY_SET_VALUE);
        if (status != ERROR_SUCCESS)
            return {status, section.Line};
        for (const RegFileValue& value : section.Values) {
            const LSTATUS valueStatus = ImportValue(key, value);
            if (valueStatus != ERROR_SUCCESS)
                return {valueStatus, value.Line};
        }
    }
    return {};
}

} // namespace Tessel::Reg

// A .reg file into the registry on Windows: one documented registry call per key and value,
// which the system's registry commits lazily.

#include <limits>

#include "RegFile.h"
#include "RegistryKey.h"

namespace Tessel::Reg {
namespace {

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

// A .reg file into the registry store: the whole file as one batch of steps, which the store
// applies in one transaction per hive instead of committing each value on its own.

#include <limits>

#include "RegFile.h"

namespace Tessel::Reg {

RegFileImportFailure ImportRegFile(const std::vector<RegFileKey>& keys, REGSAM view)
{
    std::vector<TESSEL_REG_BATCH_STEP> steps;
    std::vector<size_t> lines; // the file's line of each step
    for (const RegFileKey& section : keys) {
        TESSEL_REG_BATCH_STEP key{};
        key.Operation = section.Delete ? TESSEL_REG_BATCH_DELETE_TREE : TESSEL_REG_BATCH_CREATE_KEY;
        key.Root = section.Key.Root;
        key.SubKey = section.Key.SubKey.c_str();
        steps.push_back(key);
        lines.push_back(section.Line);
        if (section.Delete)
            continue;
        for (const RegFileValue& value : section.Values) {
            if (value.Data.size() > std::numeric_limits<DWORD>::max())
                return {ERROR_INVALID_PARAMETER, value.Line};
            TESSEL_REG_BATCH_STEP step{};
            step.Operation = value.Delete ? TESSEL_REG_BATCH_DELETE_VALUE : TESSEL_REG_BATCH_SET_VALUE;
            step.ValueName = value.Name.c_str();
            step.Type = value.Type;
            step.Data = value.Data.empty() ? nullptr : value.Data.data();
            step.Size = static_cast<DWORD>(value.Data.size());
            steps.push_back(step);
            lines.push_back(value.Line);
        }
    }
    DWORD failed = 0;
    const LSTATUS status = TesselRegApplyBatch(steps.data(), static_cast<DWORD>(steps.size()), view, &failed);
    if (status != ERROR_SUCCESS)
        return {status, failed < lines.size() ? lines[failed] : 0};
    return {};
}

} // namespace Tessel::Reg

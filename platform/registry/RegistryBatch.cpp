// TesselRegApplyBatch: many creates, sets and deletes in one transaction per hive, for an import
// that would otherwise pay a commit per value. Each step is checked as the registry function it
// stands for checks its arguments, all before the first write; then each run of steps on one hive
// goes through key access and the hive as those functions do. Implementation here must contain
// only generic UNIX code.

#include <vector>

#include "TesselPlatform/Registry.h"
#include "registry/Arguments.h"
#include "registry/KeyAccess.h"

using namespace TesselPlatform::Registry;

namespace {

// What an import opens each key with, to set and delete its values.
constexpr REGSAM kKeyRights = KEY_QUERY_VALUE | KEY_SET_VALUE;

struct Step {
    DWORD operation = 0;
    Target target; // key steps
    std::vector<Utf16> parts;
    Utf16 name; // value steps
    std::string fold;
    const TESSEL_REG_BATCH_STEP* given = nullptr;
};

bool IsKeyStep(DWORD operation)
{
    return operation == TESSEL_REG_BATCH_CREATE_KEY || operation == TESSEL_REG_BATCH_DELETE_TREE;
}

// The checks of one step; keyOpen tells whether a key step before it made a key to act on.
LONG Prepare(const TESSEL_REG_BATCH_STEP& given, bool keyOpen, Step& out)
{
    out.operation = given.Operation;
    out.given = &given;
    if (IsKeyStep(given.Operation)) {
        LONG status = TargetOf(given.Root, out.target);
        if (status != ERROR_SUCCESS)
            return status;
        if (IsPerformance(out.target))
            return ERROR_ACCESS_DENIED;
        return SplitPath(given.SubKey, out.parts);
    }
    if (given.Operation != TESSEL_REG_BATCH_SET_VALUE && given.Operation != TESSEL_REG_BATCH_DELETE_VALUE)
        return ERROR_INVALID_PARAMETER;
    if (!keyOpen || (given.Data == nullptr && given.Size != 0))
        return ERROR_INVALID_PARAMETER;
    const LONG status = ValueName(given.ValueName, out.name);
    if (status == ERROR_SUCCESS)
        out.fold = FoldKey(out.name);
    return status;
}

LONG PrepareAll(const TESSEL_REG_BATCH_STEP* steps, DWORD count, std::vector<Step>& out, DWORD& failed)
{
    out.resize(count);
    bool keyOpen = false;
    for (DWORD i = 0; i < count; ++i) {
        failed = i;
        const LONG status = Prepare(steps[i], keyOpen, out[i]);
        if (status != ERROR_SUCCESS)
            return status;
        if (IsKeyStep(steps[i].Operation))
            keyOpen = steps[i].Operation == TESSEL_REG_BATCH_CREATE_KEY;
    }
    return ERROR_SUCCESS;
}

// Makes the key a create step names, or finds it, and checks that values may be set there.
LONG CreateStep(Hive& hive, const Step& step, bool view32, KeyRecord& current)
{
    KeyRecord base;
    LONG status = Locate(hive, step.target, Unmade::IsMade, base);
    if (status != ERROR_SUCCESS)
        return status;
    WalkOptions options;
    options.create = true;
    options.view32 = view32;
    bool created = false;
    status = Walk(hive, step.target.handle.hive, base, step.parts, options, current, created);
    if (status != ERROR_SUCCESS)
        return status;
    const bool allowed = step.parts.empty() ? HandleAllows(step.target, current, kKeyRights)
                                            : (current.access & kKeyRights) == kKeyRights;
    return allowed ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

// Deletes the tree a step names; one that isn't there is no failure.
LONG DeleteTreeStep(Hive& hive, const Step& step, bool view32)
{
    if (step.parts.empty() && step.target.root != nullptr)
        return ERROR_ACCESS_DENIED;
    KeyRecord base;
    LONG status = Locate(hive, step.target, Unmade::Fails, base);
    KeyRecord key;
    WalkOptions options;
    options.view32 = view32;
    bool created = false;
    if (status == ERROR_SUCCESS)
        status = Walk(hive, step.target.handle.hive, base, step.parts, options, key, created);
    if (status == ERROR_FILE_NOT_FOUND)
        return ERROR_SUCCESS;
    return status != ERROR_SUCCESS ? status : DeleteFound(hive, key, true);
}

LONG ApplyStep(Hive& hive, const Step& step, bool view32, KeyRecord& current)
{
    switch (step.operation) {
    case TESSEL_REG_BATCH_CREATE_KEY:
        return CreateStep(hive, step, view32, current);
    case TESSEL_REG_BATCH_DELETE_TREE:
        return DeleteTreeStep(hive, step, view32);
    case TESSEL_REG_BATCH_SET_VALUE:
        return hive.SetValue(current, step.name, step.fold, step.given->Type, step.given->Data, step.given->Size);
    default: {
        const LONG status = hive.DeleteValue(current, step.fold);
        return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
    }
    }
}

// Where the run of steps on the hive of steps[begin] ends.
std::size_t RunEnd(const std::vector<Step>& steps, std::size_t begin)
{
    std::size_t end = begin + 1;
    while (end < steps.size() &&
           (!IsKeyStep(steps[end].operation) || steps[end].target.handle.hive == steps[begin].target.handle.hive))
        ++end;
    return end;
}

// Applies steps [begin, end) on one hive in one transaction. When a step fails, failed gets its
// index and stepFailed is set; when the commit fails, only the status says so.
LONG ApplyRun(const std::vector<Step>& steps, std::size_t begin, std::size_t end, bool view32, DWORD& failed,
              bool& stepFailed)
{
    Hive& hive = Hive::Get(steps[begin].target.handle.hive);
    stepFailed = false;
    failed = static_cast<DWORD>(end - 1);
    return hive.Write(true, ERROR_FILE_NOT_FOUND, [&]() -> LONG {
        KeyRecord current;
        for (std::size_t i = begin; i < end; ++i) {
            const LONG result = ApplyStep(hive, steps[i], view32, current);
            if (result != ERROR_SUCCESS) {
                failed = static_cast<DWORD>(i);
                stepFailed = true;
                return result;
            }
        }
        return ERROR_SUCCESS;
    });
}

} // namespace

LSTATUS WINAPI TesselRegApplyBatch(const TESSEL_REG_BATCH_STEP* steps, DWORD count, REGSAM view, LPDWORD failedStep)
{
    DWORD failed = 0;
    LONG status = ERROR_SUCCESS;
    std::vector<Step> prepared;
    if (steps == nullptr && count != 0)
        status = ERROR_INVALID_PARAMETER;
    else if (ConflictingViews(view) || (view & ~KEY_WOW64_RES) != 0)
        status = ERROR_INVALID_PARAMETER;
    else
        status = PrepareAll(steps, count, prepared, failed);
    const bool view32 = (view & KEY_WOW64_32KEY) != 0;
    for (std::size_t begin = 0; status == ERROR_SUCCESS && begin < prepared.size();) {
        const std::size_t end = RunEnd(prepared, begin);
        bool stepFailed = false;
        status = ApplyRun(prepared, begin, end, view32, failed, stepFailed);
        // The steps before a failed one stay applied, as they would call by call: the run is
        // done again up to it. A failure there comes from the store, and is the one to report.
        if (stepFailed && failed > begin) {
            DWORD again = 0;
            const LONG before = ApplyRun(prepared, begin, failed, view32, again, stepFailed);
            if (before != ERROR_SUCCESS) {
                status = before;
                failed = again;
            }
        }
        begin = end;
    }
    if (failedStep != nullptr)
        *failedStep = status == ERROR_SUCCESS ? 0 : failed;
    return status;
}

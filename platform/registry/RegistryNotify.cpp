// RegNotifyChangeKeyValue: its argument checks, the key it watches and the wait of a synchronous
// call. The registrations and their signalling live in ChangeWatcher. Implementation here must
// contain only generic UNIX code.

#include "TesselPlatform/System.h"
#include "registry/ChangeWatcher.h"
#include "registry/KeyAccess.h"
#include "system/Events.h"

namespace TesselPlatform::Registry {

namespace {

constexpr DWORD kChangeKinds =
    REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_ATTRIBUTES | REG_NOTIFY_CHANGE_LAST_SET | REG_NOTIFY_CHANGE_SECURITY;

LONG CheckArguments(HKEY hKey, DWORD filter, HANDLE event, BOOL asynchronous, Target& target)
{
    LONG status = StoreTargetOf(hKey, ERROR_INVALID_HANDLE, target);
    if (status != ERROR_SUCCESS)
        return status;
    if ((filter & ~static_cast<DWORD>(REG_LEGAL_CHANGE_FILTER)) != 0 || (filter & kChangeKinds) == 0)
        return ERROR_INVALID_PARAMETER;
    if (asynchronous && event == nullptr)
        return ERROR_INVALID_PARAMETER;
    if (asynchronous && !System::IsEvent(event))
        return ERROR_INVALID_HANDLE;
    return HandleOpenedWith(target, KEY_NOTIFY) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

LONG Register(const Target& target, HKEY hKey, BOOL subtree, DWORD filter, HANDLE event)
{
    Registration registration;
    registration.hive = target.handle.hive;
    registration.subtree = subtree != FALSE;
    registration.filter = filter;
    registration.event = event;
    registration.handle = hKey;
    if ((filter & REG_NOTIFY_THREAD_AGNOSTIC) == 0)
        registration.owner = CurrentThreadOwner();
    return ChangeWatcher::Instance().Add(registration, [&target](std::int64_t& key) {
        key = 0;
        return ReadKey(target, KEY_NOTIFY, ERROR_SUCCESS, [&key](Hive&, const KeyRecord& record) {
            key = record.id;
            return ERROR_SUCCESS;
        });
    });
}

} // namespace

} // namespace TesselPlatform::Registry

using namespace TesselPlatform::Registry;

extern "C" {

LSTATUS WINAPI RegNotifyChangeKeyValue(HKEY hKey, BOOL bWatchSubtree, DWORD dwNotifyFilter, HANDLE hEvent,
                                       BOOL fAsynchronous)
{
    Target target;
    LONG status = CheckArguments(hKey, dwNotifyFilter, hEvent, fAsynchronous, target);
    if (status != ERROR_SUCCESS)
        return status;
    if (fAsynchronous)
        return Register(target, hKey, bWatchSubtree, dwNotifyFilter, hEvent);
    // A synchronous call waits on an event of its own; this thread can't end while it does.
    HANDLE own = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (own == nullptr)
        return ERROR_NOT_ENOUGH_MEMORY;
    status = Register(target, hKey, bWatchSubtree, dwNotifyFilter | REG_NOTIFY_THREAD_AGNOSTIC, own);
    if (status == ERROR_SUCCESS)
        WaitForSingleObject(own, INFINITE);
    CloseHandle(own);
    return status;
}

} // extern "C"

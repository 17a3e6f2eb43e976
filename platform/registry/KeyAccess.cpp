// Predefined keys, rights, and the walk down a key path. Implementation here must contain only
// generic UNIX code.

#include "registry/KeyAccess.h"

namespace TesselPlatform::Registry {

namespace {

// The generic rights, which a key maps to its own.
constexpr REGSAM kGenericRead = 0x80000000u;
constexpr REGSAM kGenericWrite = 0x40000000u;
constexpr REGSAM kGenericExecute = 0x20000000u;
constexpr REGSAM kGenericAll = 0x10000000u;

const RootKey* Roots()
{
    static const std::vector<RootKey>* roots = new std::vector<RootKey>{
        {HKEY_CLASSES_ROOT, RootKind::Stored, HiveId::Machine, {u"Software", u"Classes"}},
        {HKEY_CURRENT_USER, RootKind::Stored, HiveId::User, {}},
        {HKEY_LOCAL_MACHINE, RootKind::Stored, HiveId::Machine, {}},
        {HKEY_USERS, RootKind::Stored, HiveId::Users, {}},
        {HKEY_PERFORMANCE_DATA, RootKind::Performance, HiveId::Machine, {}},
        {HKEY_CURRENT_CONFIG,
         RootKind::Stored,
         HiveId::Machine,
         {u"System", u"CurrentControlSet", u"Hardware Profiles", u"Current"}},
        {HKEY_DYN_DATA, RootKind::Invalid, HiveId::Machine, {}},
        {HKEY_PERFORMANCE_TEXT, RootKind::Performance, HiveId::Machine, {}},
        {HKEY_PERFORMANCE_NLSTEXT, RootKind::Performance, HiveId::Machine, {}},
    };
    return roots->data();
}
constexpr int kRootCount = 9;

// The keys below HKLM\Software that both views share. Kept short on purpose: the list that
// matters to our clients, not every key a system might share.
const char16_t* const kSharedBelowSoftware[] = {u"CLASSES", u"CLIENTS", u"POLICIES", u"REGISTEREDAPPLICATIONS",
                                                 u"WOW6432NODE"};

bool IsShared(const std::string& fold)
{
    for (const char16_t* shared : kSharedBelowSoftware) {
        if (FoldKey(shared) == fold)
            return true;
    }
    return false;
}

// Whether key is HKLM\Software, the one key whose children the 32-bit view redirects.
bool IsMachineSoftware(Hive& hive, HiveId id, const KeyRecord& key, const std::string& softwareFold)
{
    if (id != HiveId::Machine || key.depth != 1)
        return false;
    KeyRecord root;
    KeyRecord software;
    return hive.Key(RootKeyId, root) == ERROR_SUCCESS && hive.Child(root, softwareFold, software) == ERROR_SUCCESS &&
           software.id == key.id;
}

} // namespace

LONG TargetOf(HKEY key, Target& out)
{
    out = Target{};
    out.key = key;
    if (key == nullptr)
        return ERROR_INVALID_HANDLE;
    const RootKey* roots = Roots();
    // Predefined keys are 0x80000000 to 0x80000060 sign-extended; a cheap test spares the
    // table walk for every other handle.
    const std::uintptr_t value = reinterpret_cast<std::uintptr_t>(key);
    const bool maybePredefined = (value >> 32) == 0xFFFFFFFFu && static_cast<std::uint32_t>(value) - 0x80000000u <= 0x60u;
    for (int i = 0; i < kRootCount && maybePredefined; ++i) {
        if (roots[i].key == key) {
            if (roots[i].kind == RootKind::Invalid)
                return ERROR_INVALID_HANDLE;
            out.root = &roots[i];
            out.handle = KeyHandle{roots[i].hive, 0, KEY_ALL_ACCESS, i};
            return ERROR_SUCCESS;
        }
    }
    if (!HandleTable::Instance().Find(key, out.handle))
        return ERROR_INVALID_HANDLE;
    if (out.handle.root >= 0)
        out.root = &roots[out.handle.root];
    return ERROR_SUCCESS;
}

bool IsPerformance(const Target& target)
{
    return target.root != nullptr && target.root->kind == RootKind::Performance;
}

LONG StoreTargetOf(HKEY key, LONG performanceStatus, Target& out)
{
    const LONG status = TargetOf(key, out);
    if (status != ERROR_SUCCESS)
        return status;
    return IsPerformance(out) ? performanceStatus : ERROR_SUCCESS;
}

bool HandleOpenedWith(const Target& target, REGSAM rights)
{
    return (target.handle.access & rights) == rights;
}

REGSAM RequestedRights(REGSAM sam, REGSAM granted)
{
    REGSAM rights = sam & ~static_cast<REGSAM>(KEY_WOW64_RES);
    if (rights & kGenericRead)
        rights |= KEY_READ;
    if (rights & kGenericWrite)
        rights |= KEY_WRITE;
    if (rights & kGenericExecute)
        rights |= KEY_EXECUTE;
    if (rights & kGenericAll)
        rights |= KEY_ALL_ACCESS;
    if (rights & MAXIMUM_ALLOWED)
        rights |= granted;
    return rights & ~static_cast<REGSAM>(kGenericRead | kGenericWrite | kGenericExecute |
                                         kGenericAll | MAXIMUM_ALLOWED);
}

bool HandleAllows(const Target& target, const KeyRecord& key, REGSAM rights)
{
    const bool predefined = target.root != nullptr && target.root->key == target.key;
    return ((predefined ? key.access : target.handle.access) & rights) == rights;
}

LONG Locate(Hive& hive, const Target& target, Unmade unmade, KeyRecord& out)
{
    if (target.root == nullptr)
        return hive.Key(target.handle.key, out);
    KeyRecord root;
    LONG status = hive.Key(RootKeyId, root);
    if (status != ERROR_SUCCESS || target.root->prefix.empty()) {
        out = root;
        return status;
    }
    bool created = false;
    WalkOptions options;
    options.create = unmade == Unmade::IsMade;
    status = Walk(hive, target.root->hive, root, target.root->prefix, options, out, created);
    if (status == ERROR_FILE_NOT_FOUND && unmade == Unmade::ReadsEmpty) {
        out = KeyRecord{};
        out.access = KEY_ALL_ACCESS;
        return ERROR_SUCCESS;
    }
    return status;
}

LONG Walk(Hive& hive, HiveId id, const KeyRecord& start, const std::vector<Utf16>& parts, const WalkOptions& options,
          KeyRecord& out, bool& created)
{
    created = false;
    if (start.depth + static_cast<int>(parts.size()) > MaxKeyDepth)
        return ERROR_INVALID_PARAMETER;
    static const std::string softwareFold = FoldKey(u"SOFTWARE");
    static const Utf16 redirectName = u"WOW6432Node";
    static const std::string redirectFold = FoldKey(redirectName);

    KeyRecord current = start;
    thread_local std::string fold; // its buffer kept from name to name and call to call
    for (std::size_t i = 0; i < parts.size(); ++i) {
        FoldKey(parts[i], fold);
        const bool last = i + 1 == parts.size();

        // Steps into name below current, making it if allowed.
        auto step = [&](const Utf16& name, const std::string& nameFold, bool isLast) -> LONG {
            KeyRecord next;
            LONG status = hive.Child(current, nameFold, next);
            if (status == ERROR_FILE_NOT_FOUND && options.create) {
                if ((current.access & KEY_CREATE_SUB_KEY) == 0)
                    return ERROR_ACCESS_DENIED;
                if (current.depth + 1 > MaxKeyDepth)
                    return ERROR_INVALID_PARAMETER;
                status = hive.CreateChild(current, name, nameFold, isLast ? options.className : nullptr, next);
                created = status == ERROR_SUCCESS && isLast;
            }
            if (status == ERROR_SUCCESS)
                current = next;
            return status;
        };

        // The 32-bit view of HKLM\Software is its WOW6432Node, except for the keys both views share.
        if (options.view32 && !IsShared(fold) && IsMachineSoftware(hive, id, current, softwareFold)) {
            const LONG status = step(redirectName, redirectFold, false);
            if (status != ERROR_SUCCESS)
                return status;
        }
        // A path that ends at Software itself ends, in the 32-bit view, at the node below it.
        const bool redirectAfter =
            last && options.view32 && id == HiveId::Machine && current.depth == 0 && fold == softwareFold;
        LONG status = step(parts[i], fold, last && !redirectAfter);
        if (status == ERROR_SUCCESS && redirectAfter)
            status = step(redirectName, redirectFold, true);
        if (status != ERROR_SUCCESS)
            return status;
    }
    out = current;
    return ERROR_SUCCESS;
}

} // namespace TesselPlatform::Registry

// The per-process side of a hive: its connection, cache and transactions, the key-level reads
// and changes, and the fork handlers. Implementation here must contain only generic UNIX code.

#include "registry/Hive.h"

#include <pthread.h>

#include "registry/HiveFiles.h"

namespace TesselPlatform::Registry {

Hive* const* Hive::All()
{
    // Never destroyed: other threads and static destructors may still call in at exit.
    static Hive* const hives[HiveCount] = {new Hive(HiveId::Machine), new Hive(HiveId::User), new Hive(HiveId::Users)};
    return hives;
}

Hive& Hive::Get(HiveId id)
{
    return *All()[static_cast<int>(id)];
}

// Before a fork every connection is closed under the lock, so that neither side inherits
// SQLite's per-process lock bookkeeping for a file it has open. Registered when the library
// loads, so that no fork can come between a first call and this.
const int Hive::s_forkHandlers = pthread_atfork(Hive::LockAllForFork, Hive::UnlockAllAfterFork, Hive::UnlockAllAfterFork);

void Hive::LockAllForFork()
{
    for (int i = 0; i < HiveCount; ++i) {
        Hive* hive = All()[i];
        hive->m_lock.lock();
        hive->m_database.reset();
        hive->m_cache.Clear();
        hive->m_stampValid = false;
    }
}

void Hive::UnlockAllAfterFork()
{
    for (int i = HiveCount - 1; i >= 0; --i)
        All()[i]->m_lock.unlock();
}

LONG Hive::Open(Database::OpenFor purpose)
{
    if (m_database)
        return ERROR_SUCCESS;
    if (m_path.empty())
        m_path = HivePath(m_id);
    if (purpose == Database::OpenFor::Creating) {
        MakeHiveDirectory(m_id, m_path);
    } else {
        // No file: the hive reads as an empty root until its first write makes it.
        const LONG found = FindHiveFile(m_path);
        if (found != ERROR_SUCCESS)
            return found == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : found;
    }
    const LONG status = Database::Open(m_path, purpose, m_database);
    m_cache.Clear();
    m_stampValid = false;
    // A file that another process is still giving its schema is no hive yet either.
    if (status == ERROR_FILE_NOT_FOUND)
        return ERROR_SUCCESS;
    return status == ERROR_CANTOPEN ? WhyHiveWontOpen(m_path) : status;
}

LONG Hive::BeginRead()
{
    m_cacheUsable = false;
    const LONG status = Open(Database::OpenFor::Reading);
    if (status != ERROR_SUCCESS || !m_database)
        return status;
    // The stamp is taken before anything is read, so a commit that lands during this call can
    // only make the next call drop the cache, never keep data older than the stamp.
    ChangeStamp now;
    if (!m_database->ReadStamp(now)) {
        m_cache.Clear();
        m_stampValid = false;
        return ERROR_SUCCESS;
    }
    if (!m_stampValid || now != m_stamp || m_cache.Full()) {
        m_cache.Clear();
        m_stamp = now;
        m_stampValid = true;
    }
    m_cacheUsable = true;
    return ERROR_SUCCESS;
}

LONG Hive::BeginWrite(bool create)
{
    // Inside a transaction the cache is neither read (it may predate the write lock) nor filled
    // (a rollback would leave it holding what never was).
    m_cacheUsable = false;
    const LONG status = Open(create ? Database::OpenFor::Creating : Database::OpenFor::Writing);
    if (status != ERROR_SUCCESS || !m_database)
        return status;
    return m_database->Begin();
}

LONG Hive::EndWrite(LONG status)
{
    if (status == ERROR_SUCCESS)
        status = m_database->Commit();
    else
        m_database->Rollback();
    m_cache.Clear();
    m_stampValid = false;
    return status;
}

LONG Hive::Key(std::int64_t id, KeyRecord& out)
{
    if (!m_database) {
        if (id != RootKeyId)
            return ERROR_KEY_DELETED;
        out = KeyRecord{RootKeyId, 0, KEY_ALL_ACCESS, 0};
        return ERROR_SUCCESS;
    }
    if (m_cacheUsable) {
        const auto found = m_cache.keys.find(id);
        if (found != m_cache.keys.end()) {
            if (found->second.id == 0)
                return ERROR_KEY_DELETED;
            out = found->second;
            return ERROR_SUCCESS;
        }
    }
    KeyRecord key;
    const LONG status = m_database->FindKey(id, key);
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
        return status;
    if (m_cacheUsable)
        m_cache.keys[id] = key;
    if (status == ERROR_FILE_NOT_FOUND)
        return ERROR_KEY_DELETED;
    out = key;
    return ERROR_SUCCESS;
}

LONG Hive::Child(const KeyRecord& parent, const std::string& fold, KeyRecord& out)
{
    if (!m_database)
        return ERROR_FILE_NOT_FOUND;
    if (m_cacheUsable) {
        const auto found = m_cache.children.find(HiveCache::EntryKey(parent.id, fold, m_cacheKey));
        if (found != m_cache.children.end()) {
            if (found->second.id == 0)
                return ERROR_FILE_NOT_FOUND;
            out = found->second;
            return ERROR_SUCCESS;
        }
    }
    KeyRecord child;
    const LONG status = m_database->FindChild(parent, fold, child);
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
        return status;
    if (m_cacheUsable)
        m_cache.children.emplace(m_cacheKey, child);
    if (status == ERROR_SUCCESS)
        out = child;
    return status;
}

LONG Hive::Value(std::int64_t key, const std::string& fold, const ValueRecord*& out)
{
    if (!m_database)
        return ERROR_FILE_NOT_FOUND;
    if (m_cacheUsable) {
        const auto found = m_cache.values.find(HiveCache::EntryKey(key, fold, m_cacheKey));
        if (found != m_cache.values.end()) {
            out = &found->second;
            return ERROR_SUCCESS;
        }
        if (m_cache.missingValues.count(m_cacheKey) != 0)
            return ERROR_FILE_NOT_FOUND;
    }
    ValueRecord value;
    const LONG status = m_database->FindValue(key, fold, value);
    if (status == ERROR_FILE_NOT_FOUND && m_cacheUsable)
        m_cache.missingValues.emplace(m_cacheKey, true);
    if (status != ERROR_SUCCESS)
        return status;
    if (m_cacheUsable) {
        m_cache.dataBytes += value.data.size();
        out = &m_cache.values.emplace(m_cacheKey, std::move(value)).first->second;
    } else {
        m_scratchValue = std::move(value);
        out = &m_scratchValue;
    }
    return ERROR_SUCCESS;
}

LONG Hive::SubKeys(std::int64_t key, std::shared_ptr<const SubKeyList>& out)
{
    if (!m_database) {
        out = std::make_shared<const SubKeyList>();
        return ERROR_SUCCESS;
    }
    if (m_cacheUsable) {
        const auto found = m_cache.subKeys.find(key);
        if (found != m_cache.subKeys.end()) {
            out = found->second;
            return ERROR_SUCCESS;
        }
    }
    // One ordered scan per change of the database: enumerating by index then costs a lookup
    // per item instead of a scan per item.
    auto list = std::make_shared<SubKeyList>();
    const LONG status = m_database->ListSubKeys(key, *list);
    if (status != ERROR_SUCCESS)
        return status;
    out = list;
    if (m_cacheUsable)
        m_cache.subKeys[key] = out;
    return ERROR_SUCCESS;
}

LONG Hive::SubKeyAt(std::int64_t key, DWORD index, const SubKeyEntry*& out)
{
    const bool inOrder = key == m_lastEnumeratedKey && index == m_lastEnumeratedIndex + 1;
    m_lastEnumeratedKey = key;
    m_lastEnumeratedIndex = index;
    const bool listed = m_cacheUsable && m_cache.subKeys.count(key) != 0;
    if (listed || inOrder || !m_database) {
        const LONG status = SubKeys(key, m_enumerated);
        if (status != ERROR_SUCCESS)
            return status;
        if (index >= m_enumerated->size())
            return ERROR_NO_MORE_ITEMS;
        out = &(*m_enumerated)[index];
        return ERROR_SUCCESS;
    }
    const LONG status = m_database->SubKeyAt(key, index, m_scratchSubKey);
    if (status == ERROR_SUCCESS)
        out = &m_scratchSubKey;
    return status;
}

LONG Hive::Values(std::int64_t key, std::shared_ptr<const ValueList>& out)
{
    if (!m_database) {
        out = std::make_shared<const ValueList>();
        return ERROR_SUCCESS;
    }
    if (m_cacheUsable) {
        const auto found = m_cache.valueLists.find(key);
        if (found != m_cache.valueLists.end()) {
            out = found->second;
            return ERROR_SUCCESS;
        }
    }
    auto list = std::make_shared<ValueList>();
    const LONG status = m_database->ListValues(key, *list);
    if (status != ERROR_SUCCESS)
        return status;
    out = list;
    if (m_cacheUsable) {
        for (const ValueEntry& entry : *list)
            m_cache.dataBytes += entry.value.data.size();
        m_cache.valueLists[key] = out;
    }
    return ERROR_SUCCESS;
}

LONG Hive::KeyInfo(std::int64_t key, Utf16& className, std::int64_t& written)
{
    className.clear();
    written = 0;
    if (!m_database)
        return ERROR_SUCCESS;
    const LONG status = m_database->KeyInfo(key, className, written);
    return status == ERROR_FILE_NOT_FOUND ? ERROR_KEY_DELETED : status;
}

LONG Hive::CreateChild(const KeyRecord& parent, const Utf16& name, const std::string& fold, const Utf16* className,
                       KeyRecord& out)
{
    const LONG status = m_database->InsertKey(parent, name, fold, className, out);
    return status != ERROR_SUCCESS ? status : Touch(parent.id);
}

LONG Hive::SetValue(std::int64_t key, const Utf16& name, const std::string& fold, DWORD type, const void* data,
                    std::size_t size)
{
    return m_database->UpsertValue(key, name, fold, type, data, size);
}

LONG Hive::DeleteValue(std::int64_t key, const std::string& fold)
{
    const LONG status = m_database->DeleteValue(key, fold);
    return status != ERROR_SUCCESS ? status : Touch(key);
}

LONG Hive::Touch(std::int64_t key)
{
    return m_database->TouchKey(key);
}

LONG Hive::HasChildren(std::int64_t key, bool& hasChildren)
{
    hasChildren = false;
    return m_database ? m_database->HasSubKeys(key, hasChildren) : ERROR_SUCCESS;
}

LONG Hive::DeleteKey(std::int64_t key)
{
    return m_database->DeleteKey(key);
}

LONG Hive::Subtree(std::int64_t key, std::vector<KeyRecord>& out)
{
    return m_database->Subtree(key, out);
}

LONG Hive::SetAccess(std::int64_t key, REGSAM granted)
{
    const LONG status = m_database->SetAccess(key, granted);
    return status == ERROR_FILE_NOT_FOUND ? ERROR_KEY_DELETED : status;
}

} // namespace TesselPlatform::Registry

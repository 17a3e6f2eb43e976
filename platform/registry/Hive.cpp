// Hive files, the per-process connection and cache, and the key-level reads and changes.
// Implementation here must contain only generic UNIX code.

#include "registry/Hive.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <pwd.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

namespace TesselRegistry {

namespace {

// Past this many entries the cache starts again; a process that walks a large tree once should
// not keep all of it.
constexpr std::size_t kMaxCacheEntries = 200000;
constexpr std::size_t kMaxCacheDataBytes = 64u << 20;

// Builds the key into out, whose buffer is kept from call to call: a cache hit allocates nothing.
const std::string& CacheKey(std::int64_t id, const std::string& fold, std::string& out)
{
    out.assign(reinterpret_cast<const char*>(&id), sizeof(id));
    out.append(fold);
    return out;
}

std::string HiveDirectory(HiveId id)
{
    const char* configured = std::getenv("TESSEL_REGISTRY_DIR");
    if (configured != nullptr && *configured != '\0')
        return configured;
    if (id == HiveId::Machine)
        return "/var/lib/tessel";
    const char* dataHome = std::getenv("XDG_DATA_HOME");
    if (dataHome != nullptr && dataHome[0] == '/')
        return std::string(dataHome) + "/tessel";
    const char* home = std::getenv("HOME");
    if (home == nullptr || *home == '\0') {
        const passwd* entry = getpwuid(getuid());
        home = entry != nullptr ? entry->pw_dir : "/tmp";
    }
    return std::string(home) + "/.local/share/tessel";
}

const char* HiveFileName(HiveId id)
{
    switch (id) {
    case HiveId::Machine:
        return "HKLM.db";
    case HiveId::User:
        return "HKCU.db";
    case HiveId::Users:
        return "HKU.db";
    }
    return "HKLM.db";
}

// mkdir -p; the last failure, if any, shows when the database can't be opened.
void MakeDirectories(const std::string& directory, mode_t mode)
{
    for (std::size_t slash = directory.find('/', 1);; slash = directory.find('/', slash + 1)) {
        const std::string prefix = directory.substr(0, slash);
        if (mkdir(prefix.c_str(), mode) != 0 && errno != EEXIST)
            return;
        if (slash == std::string::npos)
            return;
    }
}

KeyRecord KeyFromRow(const Statement& row, std::int64_t id, int accessColumn)
{
    KeyRecord key;
    key.id = id;
    key.access = static_cast<REGSAM>(row.Int(accessColumn));
    key.depth = static_cast<int>(row.Int(accessColumn + 1));
    key.parent = row.Int(accessColumn + 2);
    return key;
}

} // namespace

std::size_t Hive::Cache::Size() const
{
    return keys.size() + children.size() + values.size() + missingValues.size() + subKeys.size() + valueLists.size();
}

void Hive::Cache::Clear()
{
    keys.clear();
    children.clear();
    values.clear();
    missingValues.clear();
    subKeys.clear();
    valueLists.clear();
    dataBytes = 0;
}

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

const std::string& Hive::Path()
{
    if (m_path.empty())
        m_path = HiveDirectory(m_id) + "/" + HiveFileName(m_id);
    return m_path;
}

LONG Hive::Open(bool create)
{
    if (m_database)
        return ERROR_SUCCESS;
    const std::string& path = Path();
    if (!create && access(path.c_str(), F_OK) != 0)
        return ERROR_SUCCESS;
    if (create)
        MakeDirectories(path.substr(0, path.rfind('/')), m_id == HiveId::Machine ? 0755 : 0700);
    std::unique_ptr<Database> database;
    const int result = Database::Open(path, create, database);
    if (result != SQLITE_OK) {
        // A file whose schema isn't committed yet is a hive still being made: empty for now.
        if (!create && result == SQLITE_CANTOPEN)
            return ERROR_SUCCESS;
        // A hive this user may not write, such as the machine hive of an ordinary user, is
        // refused as Windows refuses it.
        const std::string directory = path.substr(0, path.rfind('/'));
        if (result == SQLITE_CANTOPEN && access(directory.c_str(), W_OK) != 0 && errno == EACCES)
            return ERROR_ACCESS_DENIED;
        return Fail(result);
    }
    m_database = std::move(database);
    m_cache.Clear();
    m_stampValid = false;
    return ERROR_SUCCESS;
}

LONG Hive::BeginRead()
{
    m_writing = false;
    m_cacheUsable = false;
    const LONG status = Open(false);
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
    if (!m_stampValid || now != m_stamp || m_cache.Size() > kMaxCacheEntries ||
        m_cache.dataBytes > kMaxCacheDataBytes) {
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
    m_writing = true;
    m_cacheUsable = false;
    const LONG status = Open(create);
    if (status != ERROR_SUCCESS || !m_database)
        return status;
    const int result = m_database->Begin();
    return result == SQLITE_OK ? ERROR_SUCCESS : Fail(result);
}

LONG Hive::EndWrite(LONG status)
{
    if (status == ERROR_SUCCESS) {
        const int result = m_database->Commit();
        if (result != SQLITE_OK) {
            m_database->Rollback();
            status = Fail(result);
        }
    } else {
        m_database->Rollback();
    }
    m_cache.Clear();
    m_stampValid = false;
    m_writing = false;
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
    {
        Statement query = m_database->Prepare(Sql::KeyById);
        query.Bind(1, id);
        const int result = query.Step();
        if (result == SQLITE_ROW)
            key = KeyFromRow(query, id, 0);
        else if (result != SQLITE_DONE)
            return Fail(result);
    }
    if (m_cacheUsable)
        m_cache.keys[id] = key;
    if (key.id == 0)
        return ERROR_KEY_DELETED;
    out = key;
    return ERROR_SUCCESS;
}

LONG Hive::Child(const KeyRecord& parent, const std::string& fold, KeyRecord& out)
{
    if (!m_database)
        return ERROR_FILE_NOT_FOUND;
    if (m_cacheUsable) {
        const auto found = m_cache.children.find(CacheKey(parent.id, fold, m_cacheKey));
        if (found != m_cache.children.end()) {
            if (found->second.id == 0)
                return ERROR_FILE_NOT_FOUND;
            out = found->second;
            return ERROR_SUCCESS;
        }
    }
    KeyRecord child;
    {
        Statement query = m_database->Prepare(Sql::Child);
        query.Bind(1, parent.id);
        query.BindBlob(2, fold);
        const int result = query.Step();
        if (result == SQLITE_ROW)
            child = KeyFromRow(query, query.Int(0), 1);
        else if (result != SQLITE_DONE)
            return Fail(result);
    }
    if (m_cacheUsable)
        m_cache.children.emplace(m_cacheKey, child);
    if (child.id == 0)
        return ERROR_FILE_NOT_FOUND;
    out = child;
    return ERROR_SUCCESS;
}

LONG Hive::Value(std::int64_t key, const std::string& fold, const ValueRecord*& out)
{
    if (!m_database)
        return ERROR_FILE_NOT_FOUND;
    if (m_cacheUsable) {
        const auto found = m_cache.values.find(CacheKey(key, fold, m_cacheKey));
        if (found != m_cache.values.end()) {
            out = &found->second;
            return ERROR_SUCCESS;
        }
        if (m_cache.missingValues.count(m_cacheKey) != 0)
            return ERROR_FILE_NOT_FOUND;
    }
    Statement query = m_database->Prepare(Sql::ValueGet);
    query.Bind(1, key);
    query.BindBlob(2, fold);
    const int result = query.Step();
    if (result == SQLITE_DONE) {
        if (m_cacheUsable)
            m_cache.missingValues.emplace(m_cacheKey, true);
        return ERROR_FILE_NOT_FOUND;
    }
    if (result != SQLITE_ROW)
        return Fail(result);
    ValueRecord value;
    value.type = static_cast<DWORD>(query.Int(0));
    value.data = query.Blob(1);
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
    Statement query = m_database->Prepare(Sql::ChildrenOfKey);
    query.Bind(1, key);
    int result;
    while ((result = query.Step()) == SQLITE_ROW) {
        SubKeyEntry entry;
        entry.name = FromStoredBytes(query.BlobData(0), query.BlobSize(0));
        entry.id = query.Int(1);
        if (!query.IsNull(2))
            entry.className = FromStoredBytes(query.BlobData(2), query.BlobSize(2));
        list->push_back(std::move(entry));
    }
    if (result != SQLITE_DONE)
        return Fail(result);
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
    Statement query = m_database->Prepare(Sql::ChildAt);
    query.Bind(1, key);
    query.Bind(2, index);
    const int result = query.Step();
    if (result == SQLITE_DONE)
        return ERROR_NO_MORE_ITEMS;
    if (result != SQLITE_ROW)
        return Fail(result);
    m_scratchSubKey.name = FromStoredBytes(query.BlobData(0), query.BlobSize(0));
    m_scratchSubKey.id = query.Int(1);
    m_scratchSubKey.className = query.IsNull(2) ? Utf16() : FromStoredBytes(query.BlobData(2), query.BlobSize(2));
    out = &m_scratchSubKey;
    return ERROR_SUCCESS;
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
    Statement query = m_database->Prepare(Sql::ValuesOfKey);
    query.Bind(1, key);
    int result;
    while ((result = query.Step()) == SQLITE_ROW) {
        ValueEntry entry;
        entry.name = FromStoredBytes(query.BlobData(0), query.BlobSize(0));
        entry.value.type = static_cast<DWORD>(query.Int(1));
        entry.value.data = query.Blob(2);
        m_cache.dataBytes += m_cacheUsable ? entry.value.data.size() : 0;
        list->push_back(std::move(entry));
    }
    if (result != SQLITE_DONE)
        return Fail(result);
    out = list;
    if (m_cacheUsable)
        m_cache.valueLists[key] = out;
    return ERROR_SUCCESS;
}

LONG Hive::KeyInfo(std::int64_t key, Utf16& className, std::int64_t& written)
{
    className.clear();
    written = 0;
    if (!m_database)
        return ERROR_SUCCESS;
    Statement query = m_database->Prepare(Sql::KeyInfo);
    query.Bind(1, key);
    const int result = query.Step();
    if (result == SQLITE_DONE)
        return ERROR_KEY_DELETED;
    if (result != SQLITE_ROW)
        return Fail(result);
    if (!query.IsNull(0)) {
        const std::string bytes = query.Blob(0);
        className = FromStoredBytes(bytes.data(), bytes.size());
    }
    written = query.Int(1);
    return ERROR_SUCCESS;
}

LONG Hive::CreateChild(const KeyRecord& parent, const Utf16& name, const std::string& fold, const Utf16* className,
                       KeyRecord& out)
{
    {
        // Bound without copying: the bytes must outlive the step.
        const std::string storedName = ToStoredBytes(name);
        const std::string storedClass = className != nullptr ? ToStoredBytes(*className) : std::string();
        Statement insert = m_database->Prepare(Sql::InsertKey);
        insert.Bind(1, parent.id);
        insert.BindBlob(2, fold);
        insert.BindBlob(3, storedName);
        if (className != nullptr)
            insert.BindBlob(4, storedClass);
        else
            insert.BindNull(4);
        insert.Bind(5, KEY_ALL_ACCESS);
        insert.Bind(6, parent.depth + 1);
        insert.Bind(7, FileTimeNow());
        const int result = insert.Step();
        if (result != SQLITE_DONE)
            return Fail(result);
    }
    out = KeyRecord{m_database->LastInsertId(), parent.id, KEY_ALL_ACCESS, parent.depth + 1};
    return Touch(parent.id);
}

LONG Hive::SetValue(std::int64_t key, const Utf16& name, const std::string& fold, DWORD type, const void* data,
                    std::size_t size)
{
    {
        Statement upsert = m_database->Prepare(Sql::ValueUpsert);
        upsert.Bind(1, key);
        upsert.BindBlob(2, fold);
        const std::string storedName = ToStoredBytes(name);
        upsert.BindBlob(3, storedName);
        upsert.Bind(4, type);
        upsert.BindBlob(5, data, size);
        upsert.Bind(6, FileTimeNow());
        const int result = upsert.Step();
        return result == SQLITE_DONE ? ERROR_SUCCESS : Fail(result);
    }
}

LONG Hive::DeleteValue(std::int64_t key, const std::string& fold)
{
    {
        Statement remove = m_database->Prepare(Sql::ValueDelete);
        remove.Bind(1, key);
        remove.BindBlob(2, fold);
        const int result = remove.Step();
        if (result != SQLITE_DONE)
            return Fail(result);
    }
    if (m_database->Changes() == 0)
        return ERROR_FILE_NOT_FOUND;
    return Touch(key);
}

LONG Hive::Touch(std::int64_t key)
{
    Statement update = m_database->Prepare(Sql::TouchKey);
    update.Bind(1, key);
    update.Bind(2, FileTimeNow());
    const int result = update.Step();
    return result == SQLITE_DONE ? ERROR_SUCCESS : Fail(result);
}

LONG Hive::HasChildren(std::int64_t key, bool& hasChildren)
{
    hasChildren = false;
    if (!m_database)
        return ERROR_SUCCESS;
    Statement query = m_database->Prepare(Sql::HasChildren);
    query.Bind(1, key);
    const int result = query.Step();
    if (result != SQLITE_ROW)
        return Fail(result);
    hasChildren = query.Int(0) != 0;
    return ERROR_SUCCESS;
}

LONG Hive::DeleteKey(std::int64_t key)
{
    for (const Sql which : {Sql::DeleteKeyValues, Sql::DeleteKeyRow}) {
        Statement remove = m_database->Prepare(which);
        remove.Bind(1, key);
        const int result = remove.Step();
        if (result != SQLITE_DONE)
            return Fail(result);
    }
    return ERROR_SUCCESS;
}

LONG Hive::Subtree(std::int64_t key, std::vector<KeyRecord>& out)
{
    out.clear();
    Statement query = m_database->Prepare(Sql::Subtree);
    query.Bind(1, key);
    int result;
    while ((result = query.Step()) == SQLITE_ROW) {
        KeyRecord record;
        record.id = query.Int(0);
        record.access = static_cast<REGSAM>(query.Int(1));
        out.push_back(record);
    }
    return result == SQLITE_DONE ? ERROR_SUCCESS : Fail(result);
}

LONG Hive::SetAccess(std::int64_t key, REGSAM granted)
{
    {
        Statement update = m_database->Prepare(Sql::SetAccess);
        update.Bind(1, key);
        update.Bind(2, granted);
        const int result = update.Step();
        if (result != SQLITE_DONE)
            return Fail(result);
    }
    return m_database->Changes() == 0 ? ERROR_KEY_DELETED : ERROR_SUCCESS;
}

} // namespace TesselRegistry

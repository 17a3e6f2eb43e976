// The per-process side of a hive: its connection, cache and transactions, the key-level reads
// and changes, and the fork handlers. Implementation here must contain only generic UNIX code.

#include "registry/Hive.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>
#include <pthread.h>
#include <system_error>
#include <thread>

#include "registry/HiveFiles.h"

namespace TesselPlatform::Registry {

namespace {

// How many children of one key are looked up one by one before its whole list is read instead.
constexpr std::size_t kChildLookupsBeforeList = 4096;

// Set once the process has begun to exit: a write after that checkpoints at once.
std::atomic<bool> g_exiting{false};

// The WAL is copied into the database file (and synced) once this many pages wait: about as many
// commits apart as SQLite's default of 1,000 pages puts commits of one page, since a commit here
// writes two or three.
constexpr std::uint32_t kCheckpointFrames = 2500;

// A checkpoint that runs beside the writers stays behind the WAL's end while they go on, and a
// WAL that no checkpoint has copied to its end is never begun again: it would grow for as long as
// the writers never pause. Past this length the checkpoint holds the writers off until it has
// copied everything, so that the next commit starts the WAL from its beginning.
constexpr std::uint32_t kWalPagesBeforeWritersWait = 4 * kCheckpointFrames;

} // namespace

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
const int Hive::s_forkHandlers = pthread_atfork(Hive::LockAllForFork, Hive::UnlockAllAfterFork, Hive::ResetAllInChild);

void Hive::LockAllForFork()
{
    for (int i = 0; i < HiveCount; ++i) {
        Hive* hive = All()[i];
        hive->m_lock.lock();
        hive->m_checkpointLock.lock();
        hive->m_checkpointer.reset();
        hive->m_database.reset();
        hive->m_cache.Clear();
        hive->m_stampValid = false;
        hive->m_seq = 0;
    }
}

void Hive::UnlockAllAfterFork()
{
    for (int i = HiveCount - 1; i >= 0; --i) {
        All()[i]->m_checkpointLock.unlock();
        All()[i]->m_lock.unlock();
    }
}

// The child has one thread, and the queued writes belong to the parent's others: the child's
// own writes must not wait for them. Its writers' lock goes on in the mapping it inherited.
void Hive::ResetAllInChild()
{
    for (int i = 0; i < HiveCount; ++i) {
        All()[i]->m_queue.clear();
        All()[i]->m_committing = false;
        // The parent's checkpointing thread, if any, isn't in the child.
        All()[i]->m_checkpointRunning = false;
    }
    UnlockAllAfterFork();
}

// Registered when the library loads, so that it runs when the process exits or the library is
// unloaded, after everything that was set up later. A process killed with SIGKILL can't do this;
// the WAL keeps its commits, and the next process to open the hive recovers them.
const int Hive::s_exitHandler = std::atexit(Hive::CheckpointAllAtExit);

void Hive::CheckpointAllAtExit()
{
    g_exiting = true;
    for (int i = 0; i < HiveCount; ++i) {
        Hive* hive = All()[i];
        std::lock_guard<std::mutex> guard(hive->m_lock);
        std::lock_guard<std::mutex> checkpointing(hive->m_checkpointLock);
        // A hive whose file is gone (a test's store, cleared before this runs) needs nothing.
        if (hive->m_database && FindHiveFile(hive->m_path) == ERROR_SUCCESS)
            hive->m_database->Checkpoint(true);
    }
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
    LONG status = Database::Open(m_path, purpose, m_database);
    m_cache.Clear();
    m_stampValid = false;
    m_seq = 0;
    // A file that another process is still giving its schema is no hive yet either.
    if (status == ERROR_FILE_NOT_FOUND)
        return ERROR_SUCCESS;
    // A hive restored as its file alone into a directory that this user may not write.
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND && purpose == Database::OpenFor::Reading &&
        AtRestInClosedDirectory(m_path, m_atRestStamp))
        return OpenAtRest();
    if (status == ERROR_CANTOPEN)
        return WhyHiveWontOpen(m_path);
    // The cache starts empty, so it knows of every change up to the last.
    if (status == ERROR_SUCCESS && m_database->HasChangeRecord())
        status = m_database->LastChange(m_seq);
    if (status != ERROR_SUCCESS)
        m_database.reset();
    return status;
}

LONG Hive::OpenAtRest()
{
    const LONG status = Database::OpenAtRest(m_path, m_database);
    if (status == ERROR_FILE_NOT_FOUND)
        return ERROR_SUCCESS;
    if (status == ERROR_SUCCESS && m_database->HasChangeRecord())
        return m_database->LastChange(m_seq);
    return status;
}

bool Hive::ReadAtRestWasDisturbed() const
{
    return m_database && m_database->AtRest() && !StillAtRest(m_path, m_atRestStamp);
}

LONG Hive::Commit(PendingWrite& write)
{
    std::unique_lock<std::mutex> lock(m_lock);
    m_queue.push_back(&write);
    if (m_committing)
        write.wake.wait(lock, [&write] { return write.done || write.lead; });
    if (!write.done)
        CommitQueued(lock);
    return write.status;
}

void Hive::CommitQueued(std::unique_lock<std::mutex>& lock)
{
    m_committing = true;
    if (m_path.empty())
        m_path = HivePath(m_id);
    // Once per process, as soon as there is a hive file to put the lock beside.
    if (!m_writerLockTried && FindHiveFile(m_path) == ERROR_SUCCESS) {
        m_writerLockTried = true;
        m_writerLock.Open(m_path);
    }
    // The writers' lock is waited for without the hive's lock, so that this process's reads go
    // on meanwhile, and writes that come meanwhile join this batch.
    lock.unlock();
    const bool ordered = m_writerLock.Lock();
    lock.lock();
    std::vector<PendingWrite*> batch;
    batch.swap(m_queue);
    CommitBatch(batch);
    if (ordered)
        m_writerLock.Unlock();
    for (PendingWrite* write : batch) {
        write->done = true;
        write->wake.notify_one();
    }
    const bool checkpointDue = m_database && m_database->UncopiedFrames() >= kCheckpointFrames;
    // Writes that queued meanwhile: the first of them commits the next batch.
    if (m_queue.empty()) {
        m_committing = false;
    } else {
        m_queue.front()->lead = true;
        m_queue.front()->wake.notify_one();
    }
    // The checkpoint that the WAL needs now holds up no call: its fsyncs take tens of
    // milliseconds on a busy disk, which the call that happened to commit would wait out.
    if (checkpointDue && !m_checkpointRunning.exchange(true)) {
        try {
            std::thread([this] {
                CheckpointAside();
                m_checkpointRunning = false;
            }).detach();
        } catch (const std::system_error&) {
            lock.unlock();
            CheckpointAside();
            m_checkpointRunning = false;
            lock.lock();
        }
    }
}

void Hive::CheckpointAside()
{
    // The fork handlers take this lock too, so a fork waits for a checkpoint to end.
    std::unique_lock<std::mutex> lock(m_checkpointLock, std::try_to_lock);
    if (!lock.owns_lock())
        return;
    if (!m_checkpointer && Database::Open(m_path, Database::OpenFor::Writing, m_checkpointer) != ERROR_SUCCESS)
        return;
    if (m_checkpointer->Checkpoint(false) < kWalPagesBeforeWritersWait)
        return;
    const bool writersHeld = m_writerLock.Lock();
    m_checkpointer->Checkpoint(false);
    if (writersHeld)
        m_writerLock.Unlock();
}

void Hive::CommitBatch(const std::vector<PendingWrite*>& batch)
{
    bool create = false;
    for (const PendingWrite* write : batch)
        create = create || write->create;
    const LONG begun = BeginWrite(create);
    if (begun != ERROR_SUCCESS || !m_database) {
        for (PendingWrite* write : batch)
            write->status = begun != ERROR_SUCCESS ? begun : write->absentStatus;
        return;
    }
    if (batch.size() == 1) {
        batch.front()->status = EndWrite(RunBody(*batch.front()));
        return;
    }
    // Each call in a savepoint of its own, so that a call that fails is undone alone.
    bool anyDone = false;
    for (PendingWrite* write : batch) {
        const std::size_t recorded = m_pending.size();
        const std::int64_t lastRecorded = m_lastRecorded;
        LONG status = m_database->Savepoint();
        if (status == ERROR_SUCCESS)
            status = RunBody(*write);
        if (status == ERROR_SUCCESS)
            status = m_database->ReleaseSavepoint();
        if (status != ERROR_SUCCESS) {
            m_database->RollbackToSavepoint();
            for (std::size_t i = recorded; i < m_pending.size(); ++i)
                m_cache.Forget(m_pending[i]);
            m_pending.resize(recorded);
            m_lastRecorded = lastRecorded;
        }
        write->status = status;
        anyDone = anyDone || status == ERROR_SUCCESS;
    }
    // Every call returns only after the commit that holds it; if that commit fails, so do they.
    const LONG committed = EndWrite(anyDone ? ERROR_SUCCESS : ERROR_CANTWRITE);
    for (PendingWrite* write : batch) {
        if (write->status == ERROR_SUCCESS)
            write->status = committed;
    }
}

LONG Hive::RunBody(PendingWrite& write)
{
    try {
        return write.run(write.body);
    } catch (const std::bad_alloc&) {
        return ERROR_OUTOFMEMORY;
    }
}

LONG Hive::BeginRead()
{
    m_cacheUsable = false;
    // A writer has come to a hive read at rest: from now on it is read as every hive is.
    if (ReadAtRestWasDisturbed())
        m_database.reset();
    const LONG status = Open(Database::OpenFor::Reading);
    if (status != ERROR_SUCCESS || !m_database)
        return status;
    Sync();
    return ERROR_SUCCESS;
}

void Hive::Sync()
{
    m_cacheUsable = false;
    // The stamp is taken before the record is read: a commit that lands in between is in the
    // record already, or moves the stamp again for the next call. Nothing the cache is filled
    // with afterwards can be older than what the record said.
    // Unchanged since it was opened, as BeginRead has checked: what the cache holds is current.
    if (m_database->AtRest()) {
        m_cacheUsable = true;
        return;
    }
    ChangeStamp now;
    const bool stamped = m_database->ReadStamp(now);
    if (m_cache.Full()) {
        m_cache.Clear();
    } else if (stamped && m_stampValid && now == m_stamp) {
        m_cacheUsable = true;
        return;
    }
    if (!m_database->HasChangeRecord()) {
        // Without a record, any commit may have changed anything.
        m_cache.Clear();
        m_stamp = now;
        m_stampValid = stamped;
        m_cacheUsable = stamped;
        return;
    }
    bool continuous = false;
    std::int64_t last = m_seq;
    const LONG status = m_database->ChangesSince(
        m_seq,
        [this](const ChangeRecord& change) {
            if (change.seq != m_seq)
                m_cache.Forget(change);
        },
        continuous, last);
    // A record cut back past what this process knew, or one that looks odd: start again.
    if (status != ERROR_SUCCESS || !continuous)
        m_cache.Clear();
    if (status != ERROR_SUCCESS) {
        m_stampValid = false;
        return;
    }
    m_seq = last;
    m_stamp = now;
    m_stampValid = stamped;
    m_cacheUsable = true;
}

LONG Hive::BeginWrite(bool create)
{
    m_cacheUsable = false;
    // A connection that reads at rest can't write; one that may, if any, is opened instead.
    if (m_database && m_database->AtRest())
        m_database.reset();
    LONG status = Open(create ? Database::OpenFor::Creating : Database::OpenFor::Writing);
    if (status != ERROR_SUCCESS || !m_database)
        return status;
    status = m_database->Begin();
    if (status != ERROR_SUCCESS)
        return status;
    // Inside the transaction no other process can commit, so the cache brought up to date now
    // stays so; what this transaction changes is dropped from it as each change is recorded.
    m_pending.clear();
    Sync();
    return ERROR_SUCCESS;
}

LONG Hive::EndWrite(LONG status)
{
    ChangeStamp committed;
    bool exact = false;
    if (status == ERROR_SUCCESS)
        status = m_database->Commit(committed, exact);
    else
        m_database->Rollback();
    if (status == ERROR_SUCCESS && !m_pending.empty())
        m_seq = m_lastRecorded;
    // A write from a static destructor or another thread after the exit handler ran.
    if (status == ERROR_SUCCESS && g_exiting)
        m_database->Checkpoint(true);
    // A transaction that failed may have filled the cache with what it changed and never was.
    if (status != ERROR_SUCCESS) {
        for (const ChangeRecord& change : m_pending)
            m_cache.Forget(change);
    }
    if (!m_database->HasChangeRecord())
        m_cache.Clear();
    // The cache now knows of every change up to this commit's. If another process may already
    // have committed after it, the next call asks the record instead of the stamp.
    if (status == ERROR_SUCCESS) {
        m_stamp = committed;
        m_stampValid = exact && m_database->HasChangeRecord();
    }
    m_pending.clear();
    m_cacheUsable = false;
    return status;
}

LONG Hive::Record(ChangeKind kind, std::int64_t key, std::int64_t parent, const Utf16& name)
{
    if (!m_database->HasChangeRecord())
        return ERROR_SUCCESS;
    ChangeRecord change;
    change.kind = kind;
    change.key = key;
    change.parent = parent;
    change.name = name;
    LONG status = Ancestors(parent, change.ancestors);
    if (status == ERROR_SUCCESS)
        status = m_database->RecordChange(change, change.seq);
    if (status != ERROR_SUCCESS)
        return status;
    m_cache.Forget(change);
    m_lastRecorded = change.seq;
    m_pending.push_back(std::move(change));
    return ERROR_SUCCESS;
}

LONG Hive::Ancestors(std::int64_t parent, std::vector<std::int64_t>& out)
{
    out.clear();
    for (std::int64_t id = parent; id != 0;) {
        if (out.size() > static_cast<std::size_t>(MaxKeyDepth))
            return ERROR_REGISTRY_CORRUPT; // a loop of parents
        out.push_back(id);
        KeyRecord record;
        const LONG status = Key(id, record);
        if (status != ERROR_SUCCESS)
            return status;
        id = record.parent;
    }
    std::reverse(out.begin(), out.end());
    return ERROR_SUCCESS;
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
        if (const CachedKey* cached = m_cache.Find(id)) {
            if (cached->deleted)
                return ERROR_KEY_DELETED;
            if (cached->known) {
                out = cached->record;
                return ERROR_SUCCESS;
            }
        }
    }
    KeyRecord key;
    const LONG status = m_database->FindKey(id, key);
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
        return status;
    if (m_cacheUsable) {
        CachedKey& cached = m_cache.Entry(id);
        cached.deleted = status == ERROR_FILE_NOT_FOUND;
        cached.known = !cached.deleted;
        cached.record = key;
    }
    if (status == ERROR_FILE_NOT_FOUND)
        return ERROR_KEY_DELETED;
    out = key;
    return ERROR_SUCCESS;
}

bool Hive::ChildFromList(const CachedKey& parent, const KeyRecord& parentRecord, const std::string& fold,
                         KeyRecord& out) const
{
    const SubKeyList& list = *parent.subKeys;
    const auto found = std::lower_bound(list.begin(), list.end(), fold, [](const SubKeyEntry& entry, const std::string& wanted) {
        return CompareFolded(entry.name, wanted) < 0;
    });
    if (found == list.end() || CompareFolded(found->name, fold) != 0) {
        out = KeyRecord{};
        return false;
    }
    out = KeyRecord{found->id, parentRecord.id, found->access, parentRecord.depth + 1};
    return true;
}

LONG Hive::Child(const KeyRecord& parent, const std::string& fold, KeyRecord& out)
{
    if (!m_database || parent.id == 0)
        return ERROR_FILE_NOT_FOUND;
    CachedKey* cached = m_cacheUsable ? &m_cache.Entry(parent.id) : nullptr;
    if (cached != nullptr) {
        const auto found = cached->children.find(fold);
        if (found != cached->children.end()) {
            out = found->second;
            return found->second.id == 0 ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
        }
        if (cached->subKeys)
            return ChildFromList(*cached, parent, fold, out) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
    }
    KeyRecord child;
    const LONG status = m_database->FindChild(parent, fold, child);
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
        return status;
    if (cached != nullptr) {
        cached->children.emplace(fold, child);
        m_cache.Grew(HiveCache::Cost(fold.size()));
        // A key whose children are looked up one by one this often is read from its list from
        // now on: one scan instead of a statement per child.
        if (cached->children.size() > kChildLookupsBeforeList) {
            std::shared_ptr<const SubKeyList> list;
            if (SubKeys(parent.id, list) == ERROR_SUCCESS)
                cached->children.clear();
        }
        if (status == ERROR_SUCCESS) {
            CachedKey& own = m_cache.Entry(child.id);
            own.record = child;
            own.known = true;
        }
    }
    if (status == ERROR_SUCCESS)
        out = child;
    return status;
}

LONG Hive::Value(std::int64_t key, const std::string& fold, const ValueRecord*& out)
{
    if (!m_database)
        return ERROR_FILE_NOT_FOUND;
    CachedKey* cached = m_cacheUsable ? &m_cache.Entry(key) : nullptr;
    if (cached != nullptr) {
        const auto found = cached->values.find(fold);
        if (found != cached->values.end()) {
            out = &found->second.value;
            return found->second.present ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
        }
    }
    ValueRecord value;
    const LONG status = m_database->FindValue(key, fold, value);
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
        return status;
    if (cached != nullptr) {
        m_cache.Grew(HiveCache::Cost(fold.size() + value.data.size()));
        CachedValue& entry = cached->values[fold];
        entry.present = status == ERROR_SUCCESS;
        entry.value = std::move(value);
        out = &entry.value;
    } else {
        m_scratchValue = std::move(value);
        out = &m_scratchValue;
    }
    return status;
}

LONG Hive::SubKeys(std::int64_t key, std::shared_ptr<const SubKeyList>& out)
{
    if (!m_database || key == 0) {
        out = std::make_shared<const SubKeyList>();
        return ERROR_SUCCESS;
    }
    CachedKey* cached = m_cacheUsable ? &m_cache.Entry(key) : nullptr;
    if (cached != nullptr && cached->subKeys) {
        out = cached->subKeys;
        return ERROR_SUCCESS;
    }
    // One ordered scan until the list changes: enumerating by index then costs a lookup per
    // item instead of a scan per item.
    auto list = std::make_shared<SubKeyList>();
    const LONG status = m_database->ListSubKeys(key, *list);
    if (status != ERROR_SUCCESS)
        return status;
    out = list;
    if (cached != nullptr) {
        std::size_t bytes = 0;
        for (const SubKeyEntry& entry : *list)
            bytes += HiveCache::Cost(2 * (entry.name.size() + entry.className.size()));
        m_cache.Grew(bytes);
        cached->subKeys = out;
    }
    return ERROR_SUCCESS;
}

LONG Hive::SubKeyAt(std::int64_t key, DWORD index, const SubKeyEntry*& out)
{
    const bool inOrder = key == m_lastEnumeratedKey && index == m_lastEnumeratedIndex + 1;
    m_lastEnumeratedKey = key;
    m_lastEnumeratedIndex = index;
    const CachedKey* cached = m_cacheUsable ? m_cache.Find(key) : nullptr;
    const bool listed = cached != nullptr && cached->subKeys;
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
    CachedKey* cached = m_cacheUsable ? &m_cache.Entry(key) : nullptr;
    if (cached != nullptr && cached->valueList) {
        out = cached->valueList;
        return ERROR_SUCCESS;
    }
    auto list = std::make_shared<ValueList>();
    const LONG status = m_database->ListValues(key, *list);
    if (status != ERROR_SUCCESS)
        return status;
    out = list;
    if (cached != nullptr) {
        std::size_t bytes = 0;
        for (const ValueEntry& entry : *list)
            bytes += HiveCache::Cost(2 * entry.name.size() + entry.value.data.size());
        m_cache.Grew(bytes);
        cached->valueList = out;
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
    LONG status = m_database->InsertKey(parent, name, fold, className, out);
    if (status == ERROR_SUCCESS)
        status = Record(ChangeKind::KeyCreated, out.id, parent.id, name);
    return status != ERROR_SUCCESS ? status : Touch(parent.id);
}

LONG Hive::SetValue(const KeyRecord& key, const Utf16& name, const std::string& fold, DWORD type, const void* data,
                    std::size_t size)
{
    const LONG status = m_database->UpsertValue(key.id, name, fold, type, data, size);
    return status != ERROR_SUCCESS ? status : Record(ChangeKind::ValueSet, key.id, key.parent, name);
}

LONG Hive::DeleteValue(const KeyRecord& key, const std::string& fold)
{
    Utf16 name;
    LONG status = m_database->DeleteValue(key.id, fold, name);
    if (status == ERROR_SUCCESS)
        status = Record(ChangeKind::ValueDeleted, key.id, key.parent, name);
    return status != ERROR_SUCCESS ? status : Touch(key.id);
}

LONG Hive::Touch(std::int64_t key)
{
    return m_database->TouchKey(key);
}

LONG Hive::SetWritten(std::int64_t key, std::int64_t written)
{
    return m_database->SetWritten(key, written);
}

LONG Hive::HasChildren(std::int64_t key, bool& hasChildren)
{
    hasChildren = false;
    return m_database ? m_database->HasSubKeys(key, hasChildren) : ERROR_SUCCESS;
}

LONG Hive::DeleteKey(std::int64_t key)
{
    std::int64_t parent = 0;
    Utf16 name;
    const LONG status = m_database->DeleteKey(key, parent, name);
    return status != ERROR_SUCCESS ? status : Record(ChangeKind::KeyDeleted, key, parent, name);
}

LONG Hive::Subtree(std::int64_t key, std::vector<KeyRecord>& out)
{
    return m_database->Subtree(key, out);
}

LONG Hive::SetAccess(std::int64_t key, REGSAM granted)
{
    std::int64_t parent = 0;
    Utf16 name;
    const LONG status = m_database->SetAccess(key, granted, parent, name);
    if (status == ERROR_FILE_NOT_FOUND)
        return ERROR_KEY_DELETED;
    return status != ERROR_SUCCESS ? status : Record(ChangeKind::AccessChanged, key, parent, name);
}

} // namespace TesselPlatform::Registry

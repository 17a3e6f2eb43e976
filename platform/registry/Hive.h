// A hive: one database file, the connection this process keeps to it, the lock that serialises
// this process's use of it, its transactions, and a cache of what was read. At the start of
// every call the cache is checked against the database's change stamp; when the stamp has
// moved, the changes that other processes committed since are read from the change record and
// only what they name is dropped. Every change made here goes into the record in the same
// transaction. The key-level operations run only inside Read or Write, which hold the lock.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <type_traits>
#include <string>
#include <vector>

#include "registry/Database.h"
#include "registry/HiveCache.h"
#include "registry/HiveFiles.h"
#include "registry/Records.h"
#include "registry/WriterLock.h"

namespace TesselPlatform::Registry {

class Hive {
public:
    static Hive& Get(HiveId id);

    // Runs body() with the lock held and the cache made current. A hive whose file doesn't
    // exist reads as an empty root.
    template <typename Body>
    LONG Read(Body&& body)
    {
        std::lock_guard<std::mutex> guard(m_lock);
        for (int attempt = 1;; ++attempt) {
            LONG status = BeginRead();
            if (status != ERROR_SUCCESS)
                return status;
            status = body();
            // A hive read at rest, without locks, that a writer came to meanwhile: read again,
            // through the WAL that the writer made.
            if (attempt == kReadAttempts || !ReadAtRestWasDisturbed())
                return status;
        }
    }

    // Runs body() as one atomic change: committed if it returns ERROR_SUCCESS, undone otherwise,
    // and returns only once the commit that holds it is done. Writes that several threads make
    // at once share one transaction, each in a savepoint of its own, and body() may run in
    // another thread of the process. Without create, a hive whose file doesn't exist answers
    // absentStatus instead of being made.
    template <typename Body>
    LONG Write(bool create, LONG absentStatus, Body&& body)
    {
        PendingWrite write;
        write.create = create;
        write.absentStatus = absentStatus;
        write.body = &body;
        write.run = [](void* context) -> LONG { return (*static_cast<std::remove_reference_t<Body>*>(context))(); };
        return Commit(write);
    }

    // Lookups. KEY_DELETED when the key is gone; FILE_NOT_FOUND when a child or value is missing.
    LONG Key(std::int64_t id, KeyRecord& out);
    LONG Child(const KeyRecord& parent, const std::string& fold, KeyRecord& out);
    // The record stays valid until the next call on this hive.
    LONG Value(std::int64_t key, const std::string& fold, const ValueRecord*& out);
    LONG SubKeys(std::int64_t key, std::shared_ptr<const SubKeyList>& out);
    // One sub-key by its index, ERROR_NO_MORE_ITEMS past the end. Walking the indices in order
    // reads the list once; asking for index 0 again and again, as a loop that deletes what it
    // enumerates does, reads one row each time. The entry stays valid until the next call on
    // this hive.
    LONG SubKeyAt(std::int64_t key, DWORD index, const SubKeyEntry*& out);
    LONG Values(std::int64_t key, std::shared_ptr<const ValueList>& out);
    LONG KeyInfo(std::int64_t key, Utf16& className, std::int64_t& written);

    // Changes; only inside Write. Each goes into the change record.
    LONG CreateChild(const KeyRecord& parent, const Utf16& name, const std::string& fold, const Utf16* className,
                     KeyRecord& out);
    LONG SetValue(const KeyRecord& key, const Utf16& name, const std::string& fold, DWORD type, const void* data,
                  std::size_t size);
    LONG DeleteValue(const KeyRecord& key, const std::string& fold);
    LONG Touch(std::int64_t key);
    // Sets the key's last-write time; it is read from the database, never cached.
    LONG SetWritten(std::int64_t key, std::int64_t written);
    LONG HasChildren(std::int64_t key, bool& result);
    LONG DeleteKey(std::int64_t key);
    // The key and everything below it, deepest first, with each key's grant.
    LONG Subtree(std::int64_t key, std::vector<KeyRecord>& out);
    LONG SetAccess(std::int64_t key, REGSAM granted);

private:
    // A modifying call waiting for the transaction that will hold it.
    struct PendingWrite {
        bool create = false;
        LONG absentStatus = ERROR_FILE_NOT_FOUND;
        void* body = nullptr;
        LONG (*run)(void* body) = nullptr;
        LONG status = ERROR_SUCCESS;
        bool done = false; // committed or failed: status says which
        bool lead = false; // this call's thread is to commit the next batch
        std::condition_variable wake;
    };

    explicit Hive(HiveId id) : m_id(id) {}
    static Hive* const* All();
    static void LockAllForFork();
    static void UnlockAllAfterFork();
    static void ResetAllInChild();
    static const int s_forkHandlers;
    // The process's last use of its hives: their WAL goes into their database files.
    static void CheckpointAllAtExit();
    static const int s_exitHandler;

    LONG Commit(PendingWrite& write);
    // Commits what is queued, with the lock held on entry and on return.
    void CommitQueued(std::unique_lock<std::mutex>& lock);
    void CommitBatch(const std::vector<PendingWrite*>& batch);
    LONG RunBody(PendingWrite& write);
    // Copies the WAL into the database file on the checkpoint connection, unless another thread
    // of the process is doing so already. Called without the hive's lock, in a thread of its own.
    void CheckpointAside();
    static constexpr int kReadAttempts = 3;

    LONG BeginRead();
    // Opens the hive as it is, when it is at rest where this user can't make the WAL files.
    LONG OpenAtRest();
    // Whether this call read the hive at rest while a writer changed it.
    bool ReadAtRestWasDisturbed() const;
    LONG BeginWrite(bool create);
    LONG EndWrite(LONG status);
    LONG Open(Database::OpenFor purpose);
    // Brings the cache up to the database's last commit, or leaves it unusable for this call.
    void Sync();
    // Puts a change into the record and drops what the cache held of it.
    LONG Record(ChangeKind kind, std::int64_t key, std::int64_t parent, const Utf16& name);
    // The keys above parent's children: parent and its ancestors, from the root down.
    LONG Ancestors(std::int64_t parent, std::vector<std::int64_t>& out);
    // The child of parent named by fold, from its list when that is remembered.
    bool ChildFromList(const CachedKey& parent, const KeyRecord& parentRecord, const std::string& fold,
                       KeyRecord& out) const;

    const HiveId m_id;
    std::mutex m_lock;
    std::string m_path; // fixed at first use in the process
    std::unique_ptr<Database> m_database;
    FileStamp m_atRestStamp; // the file as it was when m_database opened it at rest
    HiveCache m_cache;
    std::int64_t m_seq = 0;       // the last change in the record that the cache knows of
    ChangeStamp m_stamp;          // the database when the cache was last brought up to m_seq
    bool m_stampValid = false;    // no commit since m_stamp means none since m_seq
    bool m_cacheUsable = false;   // this call may read and fill the cache
    std::vector<ChangeRecord> m_pending; // the open transaction's changes, dropped again if it fails
    std::int64_t m_lastRecorded = 0;     // the open transaction's last change
    std::vector<PendingWrite*> m_queue;  // writes waiting for the next batch
    bool m_committing = false;           // a thread is committing a batch; the queue waits for it
    WriterLock m_writerLock;             // taken across processes before each batch
    bool m_writerLockTried = false;
    // A connection of its own for checkpoints, so that the fsyncs they make don't hold up the
    // process's other calls; its lock is taken without the hive's.
    std::mutex m_checkpointLock;
    std::unique_ptr<Database> m_checkpointer;
    std::atomic<bool> m_checkpointRunning{false}; // a thread of its own is checkpointing
    ValueRecord m_scratchValue; // a value read past the cache
    SubKeyEntry m_scratchSubKey; // a sub-key read past the cache
    std::shared_ptr<const SubKeyList> m_enumerated; // keeps the list that SubKeyAt pointed into
    std::int64_t m_lastEnumeratedKey = 0; // where the last SubKeyAt was, to tell an in-order walk
    DWORD m_lastEnumeratedIndex = 0;
};

} // namespace TesselPlatform::Registry

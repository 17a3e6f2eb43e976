// One hive's SQLite connection, behind typed operations that return Win32 statuses: the keys
// and values of the hive, transactions, and the change stamp that tells a process whether
// anyone has committed since it last looked. Nothing above this layer sees SQL or a column.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "registry/Records.h"

struct sqlite3;
struct sqlite3_stmt;

namespace TesselPlatform::Registry {

class Statement;

// A copy of SQLite's WAL-index header. Every commit rewrites it (frame count, salts, checksum),
// and crash recovery rebuilds it, so an unchanged header means an unchanged database.
struct ChangeStamp {
    std::uint64_t words[6] = {};

    bool operator==(const ChangeStamp& other) const;
    bool operator!=(const ChangeStamp& other) const { return !(*this == other); }
    // The header's count of commits, which rises by exactly one with each (a WAL restart leaves
    // it as it is).
    std::uint32_t Commits() const;
};

class Database {
public:
    enum class OpenFor { Reading, Writing, Creating };

    // Opens the hive file at path. Creating, a missing file is made and given its schema;
    // otherwise ERROR_FILE_NOT_FOUND says there is no hive yet: no file, or a file whose schema
    // another process has not committed yet.
    static LONG Open(const std::string& path, OpenFor purpose, std::unique_ptr<Database>& out);
    // Opens a hive file that has no WAL beside it, and can't have one made, for reading as it
    // is: without locks or shared memory, so nothing tells this connection of a later commit.
    // Its user must check the file before each call that it is still at rest (HiveFiles.h).
    static LONG OpenAtRest(const std::string& path, std::unique_ptr<Database>& out);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    // BEGIN IMMEDIATE: the one transaction of a modifying call, waiting out other writers.
    LONG Begin();
    // Commits the open transaction. ours gets the change stamp as this commit left it, or is
    // left invalid when another process may already have committed after it.
    LONG Commit(ChangeStamp& ours, bool& valid);
    void Rollback();

    // Savepoints inside the open transaction, so that one of several calls that share it can be
    // undone alone.
    LONG Savepoint();
    LONG ReleaseSavepoint();
    // Undoes what was done since the savepoint, and ends it.
    void RollbackToSavepoint();

    // Whether the hive keeps a change record. A hive of schema version 1 has none until a process
    // that may write it migrates it; a reader of such a hive can't tell what changed.
    bool HasChangeRecord() const { return m_changeRecord; }
    // Opened by OpenAtRest.
    bool AtRest() const { return m_atRest; }

    // The newest change in the record.
    LONG LastChange(std::int64_t& seq);
    // Passes the changes from seq on to apply, in order. continuous tells whether the first was
    // seq itself: if not, the record was cut back past seq, and what changed can't be told. last
    // gets the newest change's number.
    LONG ChangesSince(std::int64_t seq, const std::function<void(const ChangeRecord&)>& apply, bool& continuous,
                      std::int64_t& last);
    // Adds change to the record inside the open write transaction, under the next number, which
    // goes to seq; every so many changes the record is cut back to its last few thousand.
    LONG RecordChange(const ChangeRecord& change, std::int64_t& seq);

    // Copies what the WAL holds into the database file as far as other processes' readers allow,
    // without waiting for anyone. Truncating, and with no other process in the hive, the WAL ends
    // empty and the database file alone holds every commit. Gives the pages the WAL holds
    // afterwards, copied or not (0 when it can't tell).
    std::uint32_t Checkpoint(bool truncate);

    // How many pages the WAL holds that no checkpoint has copied yet, read without any lock; 0
    // when that can't be had.
    std::uint32_t UncopiedFrames() const;

    // Reads the change stamp without any lock. False when it can't be had (no shared memory
    // mapped yet) or the header is mid-update: the caller must then treat the cache as stale.
    bool ReadStamp(ChangeStamp& stamp);

    // Keys. A lookup that finds no row answers ERROR_FILE_NOT_FOUND.
    LONG FindKey(std::int64_t id, KeyRecord& out);
    LONG FindChild(const KeyRecord& parent, const std::string& fold, KeyRecord& out);
    // The class and the last write, which is the key's own or its newest value's.
    LONG KeyInfo(std::int64_t id, Utf16& className, std::int64_t& written);
    // Sub-keys in the store's order: by their case-folded names.
    LONG ListSubKeys(std::int64_t key, SubKeyList& out);
    // One sub-key by its index; ERROR_NO_MORE_ITEMS past the end.
    LONG SubKeyAt(std::int64_t key, DWORD index, SubKeyEntry& out);
    LONG HasSubKeys(std::int64_t key, bool& out);
    // The key and all below it, deepest first, each with its id and grant.
    LONG Subtree(std::int64_t key, std::vector<KeyRecord>& out);
    LONG InsertKey(const KeyRecord& parent, const Utf16& name, const std::string& fold, const Utf16* className,
                   KeyRecord& out);
    LONG TouchKey(std::int64_t id);
    // Gives the key and its values the last-write time written, as a restore brings it back.
    LONG SetWritten(std::int64_t id, std::int64_t written);
    // The key's row and its values; parent and name say what it was.
    LONG DeleteKey(std::int64_t id, std::int64_t& parent, Utf16& name);
    // ERROR_FILE_NOT_FOUND when the key is gone; parent and name say what it is.
    LONG SetAccess(std::int64_t id, REGSAM granted, std::int64_t& parent, Utf16& name);

    // Values. A lookup that finds no row answers ERROR_FILE_NOT_FOUND.
    LONG FindValue(std::int64_t key, const std::string& fold, ValueRecord& out);
    // Values in the order they were first set.
    LONG ListValues(std::int64_t key, ValueList& out);
    // A new value goes behind the key's others; an existing one keeps its place and name.
    LONG UpsertValue(std::int64_t key, const Utf16& name, const std::string& fold, DWORD type, const void* data,
                     std::size_t size);
    // ERROR_FILE_NOT_FOUND when there is no such value; name gets the name it had.
    LONG DeleteValue(std::int64_t key, const std::string& fold, Utf16& name);

private:
    enum class Sql {
        KeyById,
        Child,
        KeyInfo,
        ChildrenOfKey,
        ChildAt,
        HasChildren,
        Subtree,
        InsertKey,
        TouchKey,
        SetKeyWritten,
        SetValuesWritten,
        DeleteKeyValues,
        DeleteKeyRow,
        SetAccess,
        ValueGet,
        ValuesOfKey,
        ValueUpdate,
        ValueInsert,
        ValueDelete,
        LastChange,
        ChangesSince,
        RecordChange,
        PruneChanges,
        Begin,
        Commit,
        Rollback,
        Savepoint,
        ReleaseSavepoint,
        RollbackToSavepoint,
        Count
    };

    explicit Database(sqlite3* connection) : m_connection(connection) {}
    // The statement for which, prepared from text at its first use.
    Statement Use(Sql which, const char* text);
    LONG Run(Sql which, const char* text);
    // Runs a statement that must happen whatever the failure seam was asked to fail: the undoing
    // of a failed change.
    void RunPastSeam(Sql which, const char* text);
    LONG Fail(int result) const;
    // Steps a statement that gives at most one row: ERROR_SUCCESS with the row to read, absent
    // when there is none, the store's status for any other outcome.
    LONG StepRow(Statement& query, LONG absent);
    // Steps a statement that gives no rows to its end.
    LONG StepDone(Statement& statement);
    // Steps a statement that changes one key's row and returns its parent and name.
    LONG StepKeyRow(Statement& row, std::int64_t& parent, Utf16& name);
    void MapHeader();

    sqlite3* m_connection;
    sqlite3_stmt* m_statements[static_cast<int>(Sql::Count)] = {};
    const volatile std::uint64_t* m_header = nullptr; // the WAL index, shared with other processes
    bool m_writing = false; // inside Begin and Commit or Rollback: failures are write failures
    bool m_changeRecord = false;
    bool m_atRest = false;
};

// Test seam: the nth database step or statement from now (1 = the next) fails with result.
void InjectFailure(int result, DWORD nth);

} // namespace TesselPlatform::Registry

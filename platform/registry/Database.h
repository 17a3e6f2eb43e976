// One hive's SQLite connection: schema, prepared statements, transactions, the change stamp that
// tells a process whether anyone has committed since it last looked, and a seam for tests to
// make a chosen database step fail.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "TesselPlatform/Types.h"

struct sqlite3;
struct sqlite3_stmt;

namespace TesselRegistry {

// A copy of SQLite's WAL-index header. Every commit rewrites it (frame count, salts, checksum),
// and crash recovery rebuilds it, so an unchanged header means an unchanged database.
struct ChangeStamp {
    std::uint64_t words[6] = {};

    bool operator==(const ChangeStamp& other) const;
    bool operator!=(const ChangeStamp& other) const { return !(*this == other); }
};

enum class Sql {
    KeyById,
    KeyInfo,
    Child,
    InsertKey,
    TouchKey,
    ValueGet,
    ValueUpsert,
    ValueDelete,
    ValuesOfKey,
    ChildrenOfKey,
    ChildAt,
    HasChildren,
    DeleteKeyRow,
    DeleteKeyValues,
    Subtree,
    SetAccess,
    Begin,
    Commit,
    Rollback,
    Count
};

// A prepared statement borrowed for one use: bound, stepped, and reset when it goes.
class Statement {
public:
    explicit Statement(sqlite3_stmt* statement) : m_statement(statement) {}
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    void Bind(int index, std::int64_t value);
    void BindBlob(int index, const std::string& bytes);
    void BindBlob(int index, const void* bytes, std::size_t size);
    void BindNull(int index);

    // SQLITE_ROW, SQLITE_DONE or an error code.
    int Step();

    std::int64_t Int(int column) const;
    std::string Blob(int column) const;
    const void* BlobData(int column) const;
    std::size_t BlobSize(int column) const;
    bool IsNull(int column) const;

private:
    sqlite3_stmt* m_statement;
};

class Database {
public:
    // Opens the hive file at path. With create, a missing file is made and given its schema;
    // without it, a missing file or one whose schema was never committed is SQLITE_CANTOPEN.
    static int Open(const std::string& path, bool create, std::unique_ptr<Database>& out);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    Statement Prepare(Sql which);

    // BEGIN IMMEDIATE: the one transaction of a modifying call, waiting out other writers.
    int Begin();
    int Commit();
    void Rollback();

    std::int64_t LastInsertId() const;
    int Changes() const;

    // Reads the change stamp without any lock. False when it can't be had (no shared memory
    // mapped yet) or the header is mid-update: the caller must then treat the cache as stale.
    bool ReadStamp(ChangeStamp& stamp);

private:
    explicit Database(sqlite3* connection) : m_connection(connection) {}
    int Exec(const char* sql);
    int CreateSchema();
    void MapHeader();

    sqlite3* m_connection;
    sqlite3_stmt* m_statements[static_cast<int>(Sql::Count)] = {};
    const volatile std::uint64_t* m_header = nullptr; // the WAL index, shared with other processes
};

// The current time as a FILETIME count (100 ns units since 1601).
std::int64_t FileTimeNow();

// The Win32 status for a failed SQLite call.
LONG StatusFromSqlite(int result, bool writing);

// Test seam: the nth database step or statement from now (1 = the next) fails with result.
void InjectFailure(int result, DWORD nth);

} // namespace TesselRegistry

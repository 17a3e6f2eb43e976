// The SQLite side of a hive. Implementation here must contain only generic UNIX code; it reaches
// SQLite's shared-memory WAL index through the public VFS interface, never through its internals.

#include "registry/Database.h"

#include <atomic>
#include <cstring>
#include <ctime>
#include <sqlite3.h>

#include "TesselPlatform/Errors.h"
#include "TesselPlatform/Registry.h"

namespace TesselRegistry {

namespace {

std::atomic<int> g_failureResult{0};
std::atomic<long> g_failureCountdown{0};

// Consumes one step of the test seam; returns the result to fail with, or 0.
int InjectedFailure()
{
    if (g_failureResult.load(std::memory_order_relaxed) == 0)
        return 0;
    if (g_failureCountdown.fetch_sub(1) != 1)
        return 0;
    return g_failureResult.exchange(0);
}

const char* const kStatements[] = {
    // KeyById
    "SELECT access, depth, parent FROM key WHERE id = ?1",
    // KeyInfo
    // A key's last write is its own or its newest value's: a value write then touches one row.
    "SELECT class, MAX(written, IFNULL((SELECT MAX(written) FROM value WHERE key = ?1), 0)) FROM key WHERE id = ?1",
    // Child
    "SELECT id, access, depth, parent FROM key WHERE parent = ?1 AND fold = ?2",
    // InsertKey
    "INSERT INTO key(parent, fold, name, class, access, depth, written) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7)",
    // TouchKey
    "UPDATE key SET written = ?2 WHERE id = ?1",
    // ValueGet
    "SELECT type, data FROM value WHERE key = ?1 AND fold = ?2",
    // ValueUpsert: a new value goes behind the key's others; an existing one keeps its place and name.
    "INSERT INTO value(key, fold, seq, name, type, data, written) "
    "VALUES(?1, ?2, (SELECT IFNULL(MAX(seq), 0) + 1 FROM value WHERE key = ?1), ?3, ?4, ?5, ?6) "
    "ON CONFLICT(key, fold) DO UPDATE SET type = excluded.type, data = excluded.data, written = excluded.written",
    // ValueDelete
    "DELETE FROM value WHERE key = ?1 AND fold = ?2",
    // ValuesOfKey
    "SELECT name, type, data FROM value WHERE key = ?1 ORDER BY seq",
    // ChildrenOfKey
    "SELECT name, id, class FROM key INDEXED BY key_list WHERE parent = ?1 ORDER BY fold",
    // ChildAt
    "SELECT name, id, class FROM key INDEXED BY key_list WHERE parent = ?1 ORDER BY fold LIMIT 1 OFFSET ?2",
    // HasChildren
    "SELECT EXISTS(SELECT 1 FROM key WHERE parent = ?1)",
    // DeleteKeyRow
    "DELETE FROM key WHERE id = ?1",
    // DeleteKeyValues
    "DELETE FROM value WHERE key = ?1",
    // Subtree: the key and all below it, deepest first so that a delete can go in this order.
    ("WITH RECURSIVE tree(id) AS (SELECT ?1 UNION ALL SELECT key.id FROM key JOIN tree ON key.parent = tree.id) "
     "SELECT key.id, key.access FROM tree JOIN key ON key.id = tree.id ORDER BY key.depth DESC"),
    // SetAccess
    "UPDATE key SET access = ?2 WHERE id = ?1",
    // Begin, Commit, Rollback: prepared once, since every modifying call runs all of them.
    "BEGIN IMMEDIATE",
    "COMMIT",
    "ROLLBACK",
};
static_assert(sizeof(kStatements) / sizeof(kStatements[0]) == static_cast<int>(Sql::Count),
              "one statement per Sql entry");

// Key ids come from AUTOINCREMENT so that no id is ever handed out twice: a handle to a deleted
// key must not come back to life when a key of the same name is made again.
const char kSchema[] =
    "CREATE TABLE key(id INTEGER PRIMARY KEY AUTOINCREMENT, parent INTEGER NOT NULL, fold BLOB NOT NULL,"
    " name BLOB NOT NULL, class BLOB, access INTEGER NOT NULL, depth INTEGER NOT NULL, written INTEGER NOT NULL);"
    "CREATE UNIQUE INDEX key_child ON key(parent, fold);"
    // Covers the sub-key listing, so that it reads one index in order and no table rows.
    "CREATE INDEX key_list ON key(parent, fold, name, class);"
    "CREATE TABLE value(key INTEGER NOT NULL, fold BLOB NOT NULL, seq INTEGER NOT NULL, name BLOB NOT NULL,"
    " type INTEGER NOT NULL, data BLOB NOT NULL, written INTEGER NOT NULL, PRIMARY KEY(key, fold)) WITHOUT ROWID;"
    "CREATE UNIQUE INDEX value_order ON value(key, seq);";

const int kSchemaVersion = 1;

} // namespace

bool ChangeStamp::operator==(const ChangeStamp& other) const
{
    return std::memcmp(words, other.words, sizeof(words)) == 0;
}

Statement::~Statement()
{
    sqlite3_reset(m_statement);
    sqlite3_clear_bindings(m_statement);
}

void Statement::Bind(int index, std::int64_t value)
{
    sqlite3_bind_int64(m_statement, index, value);
}

void Statement::BindBlob(int index, const std::string& bytes)
{
    BindBlob(index, bytes.data(), bytes.size());
}

void Statement::BindBlob(int index, const void* bytes, std::size_t size)
{
    // A zero-length blob must still be a blob, not NULL: the default value's name is empty.
    static const char kEmpty = 0;
    sqlite3_bind_blob64(m_statement, index, size != 0 ? bytes : &kEmpty, size, SQLITE_STATIC);
}

void Statement::BindNull(int index)
{
    sqlite3_bind_null(m_statement, index);
}

int Statement::Step()
{
    if (const int failure = InjectedFailure())
        return failure;
    return sqlite3_step(m_statement);
}

std::int64_t Statement::Int(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

std::string Statement::Blob(int column) const
{
    const void* data = sqlite3_column_blob(m_statement, column);
    const int size = sqlite3_column_bytes(m_statement, column);
    return data != nullptr ? std::string(static_cast<const char*>(data), static_cast<std::size_t>(size)) : std::string();
}

const void* Statement::BlobData(int column) const
{
    return sqlite3_column_blob(m_statement, column);
}

std::size_t Statement::BlobSize(int column) const
{
    return static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column));
}

bool Statement::IsNull(int column) const
{
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

int Database::Open(const std::string& path, bool create, std::unique_ptr<Database>& out)
{
    out.reset();
    sqlite3* connection = nullptr;
    // Our own lock serialises each connection, so SQLite's per-connection mutex would be pure cost.
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (create ? SQLITE_OPEN_CREATE : 0);
    int result = sqlite3_open_v2(path.c_str(), &connection, flags, nullptr);
    std::unique_ptr<Database> database(new Database(connection));
    if (result != SQLITE_OK)
        return result;
    sqlite3_extended_result_codes(connection, 0);
    sqlite3_busy_timeout(connection, 10000);
    // NORMAL in WAL mode: a killed process loses nothing committed; a power cut may lose the
    // last commits but never corrupts the file.
    result = database->Exec("PRAGMA synchronous=NORMAL");
    if (result != SQLITE_OK)
        return result;

    int version = 0;
    {
        sqlite3_stmt* statement = nullptr;
        result = sqlite3_prepare_v2(connection, "PRAGMA user_version", -1, &statement, nullptr);
        if (result == SQLITE_OK) {
            result = sqlite3_step(statement);
            if (result == SQLITE_ROW) {
                version = sqlite3_column_int(statement, 0);
                result = SQLITE_OK;
            }
        }
        sqlite3_finalize(statement);
        if (result != SQLITE_OK)
            return result;
    }
    if (version == 0) {
        if (!create)
            return SQLITE_CANTOPEN;
        result = database->CreateSchema();
        if (result != SQLITE_OK)
            return result;
    } else if (version != kSchemaVersion) {
        return SQLITE_NOTADB;
    }

    for (int i = 0; i < static_cast<int>(Sql::Count); ++i) {
        result = sqlite3_prepare_v3(connection, kStatements[i], -1, SQLITE_PREPARE_PERSISTENT,
                                    &database->m_statements[i], nullptr);
        if (result != SQLITE_OK)
            return result;
    }
    // The schema check above read through the WAL, so SQLite has mapped and checked its index:
    // what we map now is a live header, not what a past process left in the file.
    database->MapHeader();
    out = std::move(database);
    return SQLITE_OK;
}

int Database::CreateSchema()
{
    // The journal mode sticks to the file; set it before the schema so that even the first
    // transaction goes through the WAL.
    int result = Exec("PRAGMA journal_mode=WAL");
    if (result != SQLITE_OK)
        return result;
    result = Exec("BEGIN IMMEDIATE");
    if (result != SQLITE_OK)
        return result;
    // Another process may have made the schema while we waited for the lock.
    sqlite3_stmt* statement = nullptr;
    int version = 0;
    if (sqlite3_prepare_v2(m_connection, "PRAGMA user_version", -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW)
        version = sqlite3_column_int(statement, 0);
    sqlite3_finalize(statement);
    if (version == 0) {
        result = Exec(kSchema);
        if (result == SQLITE_OK) {
            const std::string root = "INSERT INTO key(id, parent, fold, name, class, access, depth, written) VALUES(1, 0, x'', x'', NULL, " +
                                     std::to_string(KEY_ALL_ACCESS) + ", 0, " + std::to_string(FileTimeNow()) + ")";
            result = Exec(root.c_str());
        }
        if (result == SQLITE_OK)
            result = Exec(("PRAGMA user_version=" + std::to_string(kSchemaVersion)).c_str());
    }
    if (result == SQLITE_OK)
        result = Exec("COMMIT");
    if (result != SQLITE_OK)
        Rollback();
    return result;
}

Database::~Database()
{
    for (sqlite3_stmt* statement : m_statements)
        sqlite3_finalize(statement);
    sqlite3_close(m_connection);
}

Statement Database::Prepare(Sql which)
{
    return Statement(m_statements[static_cast<int>(which)]);
}

int Database::Exec(const char* sql)
{
    if (const int failure = InjectedFailure())
        return failure;
    return sqlite3_exec(m_connection, sql, nullptr, nullptr, nullptr);
}

int Database::Begin()
{
    Statement begin = Prepare(Sql::Begin);
    const int result = begin.Step();
    return result == SQLITE_DONE ? SQLITE_OK : result;
}

int Database::Commit()
{
    Statement commit = Prepare(Sql::Commit);
    const int result = commit.Step();
    return result == SQLITE_DONE ? SQLITE_OK : result;
}

void Database::Rollback()
{
    if (!sqlite3_get_autocommit(m_connection)) {
        // Past the test seam: a rollback must happen whatever was made to fail.
        sqlite3_stmt* rollback = m_statements[static_cast<int>(Sql::Rollback)];
        if (rollback == nullptr) {
            sqlite3_exec(m_connection, "ROLLBACK", nullptr, nullptr, nullptr); // the schema isn't made yet
            return;
        }
        sqlite3_step(rollback);
        sqlite3_reset(rollback);
    }
}

std::int64_t Database::LastInsertId() const
{
    return sqlite3_last_insert_rowid(m_connection);
}

int Database::Changes() const
{
    return sqlite3_changes(m_connection);
}

void Database::MapHeader()
{
    sqlite3_file* file = nullptr;
    if (sqlite3_file_control(m_connection, "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK || file == nullptr ||
        file->pMethods == nullptr || file->pMethods->iVersion < 2 || file->pMethods->xShmMap == nullptr)
        return;
    void volatile* region = nullptr;
    // Without extending: the region exists once this connection has read through the WAL, and
    // stays mapped until the connection closes.
    if (file->pMethods->xShmMap(file, 0, 32768, 0, &region) == SQLITE_OK && region != nullptr)
        m_header = static_cast<const volatile std::uint64_t*>(region);
}

bool Database::ReadStamp(ChangeStamp& stamp)
{
    if (m_header == nullptr)
        return false;
    // SQLite writes the second copy, then the first; a reader that finds both equal has a
    // header that no commit was halfway through when it looked.
    std::uint64_t second[6];
    for (int i = 0; i < 6; ++i)
        stamp.words[i] = m_header[i];
    std::atomic_thread_fence(std::memory_order_acquire);
    for (int i = 0; i < 6; ++i)
        second[i] = m_header[6 + i];
    if (std::memcmp(stamp.words, second, sizeof(second)) != 0)
        return false;
    // isInit, byte 12: zero while the index is being rebuilt.
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(stamp.words);
    return bytes[12] != 0;
}

std::int64_t FileTimeNow()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const std::int64_t epochDifference = 116444736000000000LL; // 1601 to 1970 in 100 ns units
    return epochDifference + static_cast<std::int64_t>(now.tv_sec) * 10000000LL + now.tv_nsec / 100;
}

LONG StatusFromSqlite(int result, bool writing)
{
    switch (result & 0xFF) {
    case SQLITE_NOMEM:
        return ERROR_OUTOFMEMORY; // the store could not get memory for the call
    case SQLITE_PERM:
    case SQLITE_READONLY:
    case SQLITE_AUTH:
        return ERROR_ACCESS_DENIED; // the file system refuses us the hive
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return ERROR_REGISTRY_CORRUPT; // the hive file is not one we can read
    case SQLITE_IOERR:
        return ERROR_REGISTRY_IO_FAILED; // the disk failed under a read or write
    case SQLITE_CANTOPEN:
        return ERROR_CANTOPEN; // the hive file or its directory can't be opened
    default:
        // Busy beyond the timeout, disk full and the rest: the call did nothing.
        return writing ? ERROR_CANTWRITE : ERROR_CANTREAD;
    }
}

void InjectFailure(int result, DWORD nth)
{
    g_failureCountdown.store(static_cast<long>(nth));
    g_failureResult.store(nth == 0 ? 0 : result);
}

} // namespace TesselRegistry

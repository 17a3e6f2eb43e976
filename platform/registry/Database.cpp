// The SQLite connection of a hive: opening, transactions, the change stamp, the status of a
// failure and the failure seam. Implementation here must contain only generic UNIX code; it
// reaches SQLite's shared-memory WAL index through the public VFS interface, never through its
// internals.

#include "registry/Database.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <ctime>

#include "registry/Schema.h"
#include "registry/Statement.h"

namespace TesselPlatform::Registry {

namespace {

std::atomic<int> g_failureResult{0};
std::atomic<long> g_failureCountdown{0};

} // namespace

int InjectedFailure()
{
    if (g_failureResult.load(std::memory_order_relaxed) == 0)
        return 0;
    if (g_failureCountdown.fetch_sub(1) != 1)
        return 0;
    const int result = g_failureResult.exchange(0);
    if (result >= 0)
        return result;
    // The process stops here, in the middle of whatever it was doing, for a test to kill it.
    raise(SIGSTOP);
    return 0;
}

void InjectFailure(int result, DWORD nth)
{
    g_failureCountdown.store(static_cast<long>(nth));
    g_failureResult.store(nth == 0 ? 0 : result);
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

bool ChangeStamp::operator==(const ChangeStamp& other) const
{
    return std::memcmp(words, other.words, sizeof(words)) == 0;
}

std::uint32_t ChangeStamp::Commits() const
{
    // iChange, the third 32-bit field of SQLite's WalIndexHdr, in the machine's own order.
    std::uint32_t commits = 0;
    std::memcpy(&commits, reinterpret_cast<const unsigned char*>(words) + 8, sizeof(commits));
    return commits;
}

Statement::~Statement()
{
    if (m_statement != nullptr) {
        sqlite3_reset(m_statement);
        sqlite3_clear_bindings(m_statement);
    }
}

void Statement::Bind(int index, std::int64_t value)
{
    sqlite3_bind_int64(m_statement, index, value);
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
    if (m_statement == nullptr)
        return m_prepared;
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

Utf16 Statement::Name(int column) const
{
    const void* data = sqlite3_column_blob(m_statement, column);
    const int size = sqlite3_column_bytes(m_statement, column);
    return FromStoredBytes(data, static_cast<std::size_t>(size));
}

bool Statement::IsNull(int column) const
{
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

namespace {

// How long a call waits for other processes' locks before it gives up.
constexpr int kBusyMilliseconds = 10000;

} // namespace

LONG Database::Open(const std::string& path, OpenFor purpose, std::unique_ptr<Database>& out)
{
    out.reset();
    const bool create = purpose == OpenFor::Creating;
    sqlite3* connection = nullptr;
    // Our own lock serialises each connection, so SQLite's per-connection mutex would be pure cost.
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (create ? SQLITE_OPEN_CREATE : 0);
    int result = sqlite3_open_v2(path.c_str(), &connection, flags, nullptr);
    std::unique_ptr<Database> database(new Database(connection));
    if (result == SQLITE_OK) {
        sqlite3_extended_result_codes(connection, 0);
        sqlite3_busy_timeout(connection, kBusyMilliseconds);
        // The WAL files stay beside the hive when the last connection closes: a user who may
        // read the hive but not write its directory can't make them, and needs them to read.
        int persist = 1;
        sqlite3_file_control(connection, "main", SQLITE_FCNTL_PERSIST_WAL, &persist);
        // NORMAL in WAL mode: a killed process loses nothing committed; a power cut may lose the
        // last commits but never corrupts the file. A WAL that a checkpoint has emptied is cut
        // back to a few megabytes, and to nothing when the last connection closes. SQLite's own
        // checkpoint would run inside the commit, with every writer of every process waiting
        // for its fsync; the hive checkpoints after it has let go of the writers instead.
        // Reads of the database file go through a mapping rather than a read call per page: an
        // open among 100,000 sub-keys, whose pages are mostly outside SQLite's own cache, costs
        // 1.6 us instead of 2.7.
        result = sqlite3_exec(connection,
                              "PRAGMA synchronous=NORMAL; PRAGMA journal_size_limit=4194304; PRAGMA wal_autocheckpoint=0; "
                              "PRAGMA mmap_size=1073741824",
                              nullptr, nullptr, nullptr);
    }
    if (result == SQLITE_OK)
        result = AllowChanges(connection);
    int version = 0;
    if (result == SQLITE_OK)
        result = ReadSchemaVersion(connection, version);
    // A file without a schema is a hive that another process is still making: none yet.
    if (result == SQLITE_OK && version == 0 && !create)
        return ERROR_FILE_NOT_FOUND;
    if (result == SQLITE_OK && version == 0) {
        result = CreateSchema(connection);
        if (result == SQLITE_OK)
            result = ReadSchemaVersion(connection, version);
    }
    // A version 1 hive is migrated by the first process that may write it. One that may only
    // read it reads it as it is, without a change record.
    if (result == SQLITE_OK && version == 1) {
        result = MigrateSchema(connection);
        if (result == SQLITE_OK)
            result = ReadSchemaVersion(connection, version);
        else if (result == SQLITE_READONLY)
            result = SQLITE_OK;
    }
    if (result == SQLITE_OK && version != 1 && version != SchemaVersion)
        result = SQLITE_NOTADB;
    if (result != SQLITE_OK)
        return StatusFromSqlite(result, purpose != OpenFor::Reading);
    database->m_changeRecord = version == SchemaVersion;
    // The schema check above read through the WAL, so SQLite has mapped and checked its index:
    // what we map now is a live header, not what a past process left in the file.
    database->MapHeader();
    out = std::move(database);
    return ERROR_SUCCESS;
}

LONG Database::OpenAtRest(const std::string& path, std::unique_ptr<Database>& out)
{
    out.reset();
    // immutable: SQLite neither locks the file nor looks for a WAL, which a directory that
    // refuses us can't hold anyway. The URI needs its path's special characters escaped.
    std::string uri = "file:";
    for (const char c : path) {
        if (c == '?' || c == '#' || c == '%') {
            static const char kHex[] = "0123456789ABCDEF";
            uri += '%';
            uri += kHex[(static_cast<unsigned char>(c) >> 4) & 0xF];
            uri += kHex[static_cast<unsigned char>(c) & 0xF];
        } else {
            uri += c;
        }
    }
    uri += "?immutable=1";
    sqlite3* connection = nullptr;
    int result = sqlite3_open_v2(uri.c_str(), &connection, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_URI,
                                 nullptr);
    std::unique_ptr<Database> database(new Database(connection));
    if (result == SQLITE_OK)
        sqlite3_extended_result_codes(connection, 0);
    int version = 0;
    if (result == SQLITE_OK)
        result = ReadSchemaVersion(connection, version);
    if (result == SQLITE_OK && version == 0)
        return ERROR_FILE_NOT_FOUND;
    if (result == SQLITE_OK && version != 1 && version != SchemaVersion)
        result = SQLITE_NOTADB;
    if (result != SQLITE_OK)
        return StatusFromSqlite(result, false);
    database->m_changeRecord = version == SchemaVersion;
    database->m_atRest = true;
    out = std::move(database);
    return ERROR_SUCCESS;
}

Database::~Database()
{
    for (sqlite3_stmt* statement : m_statements)
        sqlite3_finalize(statement);
    sqlite3_close(m_connection);
}

Statement Database::Use(Sql which, const char* text)
{
    sqlite3_stmt*& statement = m_statements[static_cast<int>(which)];
    int prepared = SQLITE_OK;
    if (statement == nullptr)
        prepared = sqlite3_prepare_v3(m_connection, text, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    return Statement(statement, prepared);
}

LONG Database::Run(Sql which, const char* text)
{
    Statement statement = Use(which, text);
    const int result = statement.Step();
    return result == SQLITE_DONE || result == SQLITE_ROW ? ERROR_SUCCESS : Fail(result);
}

LONG Database::Fail(int result) const
{
    return StatusFromSqlite(result, m_writing);
}

LONG Database::StepRow(Statement& query, LONG absent)
{
    const int result = query.Step();
    if (result == SQLITE_ROW)
        return ERROR_SUCCESS;
    return result == SQLITE_DONE ? absent : Fail(result);
}

LONG Database::StepDone(Statement& statement)
{
    const int result = statement.Step();
    return result == SQLITE_DONE ? ERROR_SUCCESS : Fail(result);
}

LONG Database::Begin()
{
    m_writing = true;
    const LONG status = Run(Sql::Begin, "BEGIN IMMEDIATE");
    if (status != ERROR_SUCCESS)
        m_writing = false;
    return status;
}

LONG Database::Commit(ChangeStamp& ours, bool& valid)
{
    // While this transaction holds SQLite's write lock no one else can commit, so the header
    // read now is the last commit before ours. If the header afterwards counts exactly one
    // commit more, it is ours, and nothing has committed since.
    ChangeStamp before;
    const bool stamped = ReadStamp(before);
    const LONG status = Run(Sql::Commit, "COMMIT");
    if (status != ERROR_SUCCESS)
        Rollback();
    m_writing = false;
    valid = status == ERROR_SUCCESS && stamped && ReadStamp(ours) && ours.Commits() == before.Commits() + 1;
    return status;
}

void Database::Rollback()
{
    m_writing = false;
    if (!sqlite3_get_autocommit(m_connection))
        RunPastSeam(Sql::Rollback, "ROLLBACK");
}

void Database::RunPastSeam(Sql which, const char* text)
{
    sqlite3_stmt*& statement = m_statements[static_cast<int>(which)];
    if (statement == nullptr &&
        sqlite3_prepare_v3(m_connection, text, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) != SQLITE_OK) {
        sqlite3_exec(m_connection, text, nullptr, nullptr, nullptr);
        return;
    }
    sqlite3_step(statement);
    sqlite3_reset(statement);
}

LONG Database::Savepoint()
{
    return Run(Sql::Savepoint, "SAVEPOINT call");
}

LONG Database::ReleaseSavepoint()
{
    return Run(Sql::ReleaseSavepoint, "RELEASE call");
}

void Database::RollbackToSavepoint()
{
    RunPastSeam(Sql::RollbackToSavepoint, "ROLLBACK TO call");
    RunPastSeam(Sql::ReleaseSavepoint, "RELEASE call");
}

std::uint32_t Database::Checkpoint(bool truncate)
{
    // A truncating checkpoint needs every other reader and writer out of the way: without a busy
    // handler it does what it can now and leaves the rest to whoever is still there.
    sqlite3_busy_timeout(m_connection, 0);
    int walPages = 0;
    sqlite3_wal_checkpoint_v2(m_connection, "main", truncate ? SQLITE_CHECKPOINT_TRUNCATE : SQLITE_CHECKPOINT_PASSIVE,
                              &walPages, nullptr);
    sqlite3_busy_timeout(m_connection, kBusyMilliseconds);
    return walPages > 0 ? static_cast<std::uint32_t>(walPages) : 0;
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

std::uint32_t Database::UncopiedFrames() const
{
    if (m_header == nullptr)
        return 0;
    // mxFrame in the header's first copy; nBackfill opens the checkpoint record after both copies.
    const std::uint64_t frameWord = m_header[2];
    const std::uint64_t backfillWord = m_header[12];
    std::uint32_t frames = 0, copied = 0;
    std::memcpy(&frames, reinterpret_cast<const unsigned char*>(&frameWord), sizeof(frames));
    std::memcpy(&copied, reinterpret_cast<const unsigned char*>(&backfillWord), sizeof(copied));
    return frames > copied ? frames - copied : 0;
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

} // namespace TesselPlatform::Registry

// The hive schema and its migration. Implementation here must contain only generic UNIX code.

#include "registry/Schema.h"

#include <string>

#include "TesselPlatform/Registry.h"
#include "registry/Statement.h"

namespace TesselPlatform::Registry {

namespace {

// How long a hive's making waits for another process to let go, as the busy handler does.
constexpr int kBusyMilliseconds = 10000;
constexpr int kRetryMilliseconds = 2;

// The function that the guard triggers call, defined only on connections that record changes.
constexpr char kGuardFunction[] = "tessel_records_changes";

// Version 1: keys and values. Key ids come from AUTOINCREMENT so that no id is ever handed out
// twice: a handle to a deleted key must not come back to life when a key of the same name is
// made again. A name's fold is its sort and match key (RegistryText.h).
const char kKeysAndValues[] =
    "CREATE TABLE key(id INTEGER PRIMARY KEY AUTOINCREMENT, parent INTEGER NOT NULL, fold BLOB NOT NULL,"
    " name BLOB NOT NULL, class BLOB, access INTEGER NOT NULL, depth INTEGER NOT NULL, written INTEGER NOT NULL);"
    "CREATE UNIQUE INDEX key_child ON key(parent, fold);"
    "CREATE TABLE value(key INTEGER NOT NULL, fold BLOB NOT NULL, seq INTEGER NOT NULL, name BLOB NOT NULL,"
    " type INTEGER NOT NULL, data BLOB NOT NULL, written INTEGER NOT NULL, PRIMARY KEY(key, fold)) WITHOUT ROWID;"
    "CREATE UNIQUE INDEX value_order ON value(key, seq);";

// What version 2 adds. The sub-key listing covers the grant too, so that a listed key can be
// opened without reading its row. The change record numbers every change; the first row says
// that anything may have changed, so that a process that knew the hive before starts afresh.
// The guards make a process that doesn't keep the record (an older version that had the hive
// open before it was migrated) fail its writes instead of leaving others' caches stale.
const char kVersion2[] =
    "CREATE INDEX key_list ON key(parent, fold, name, class, access);"
    "CREATE TABLE change(seq INTEGER PRIMARY KEY, kind INTEGER NOT NULL, key INTEGER NOT NULL,"
    " parent INTEGER NOT NULL, name BLOB, ancestors BLOB NOT NULL);"
    "INSERT INTO change(seq, kind, key, parent, name, ancestors) VALUES(1, 0, 1, 0, NULL, x'');"
    "CREATE TRIGGER key_insert_guard BEFORE INSERT ON key BEGIN SELECT tessel_records_changes(); END;"
    "CREATE TRIGGER key_delete_guard BEFORE DELETE ON key BEGIN SELECT tessel_records_changes(); END;"
    "CREATE TRIGGER key_access_guard BEFORE UPDATE OF access ON key BEGIN SELECT tessel_records_changes(); END;"
    "CREATE TRIGGER value_insert_guard BEFORE INSERT ON value BEGIN SELECT tessel_records_changes(); END;"
    "CREATE TRIGGER value_delete_guard BEFORE DELETE ON value BEGIN SELECT tessel_records_changes(); END;";

int Exec(sqlite3* connection, const std::string& sql)
{
    if (const int failure = InjectedFailure())
        return failure;
    return sqlite3_exec(connection, sql.c_str(), nullptr, nullptr, nullptr);
}

void NoOp(sqlite3_context* context, int, sqlite3_value**)
{
    sqlite3_result_null(context);
}

// Runs make() in one write transaction if the file's version is still from; another process may
// have done it while we waited for the lock.
template <typename Make>
int Upgrade(sqlite3* connection, int from, Make&& make)
{
    int result = Exec(connection, "BEGIN IMMEDIATE");
    if (result != SQLITE_OK)
        return result;
    int version = 0;
    result = ReadSchemaVersion(connection, version);
    if (result == SQLITE_OK && version == from)
        result = make();
    if (result == SQLITE_OK && version == from)
        result = Exec(connection, "PRAGMA user_version=" + std::to_string(SchemaVersion));
    if (result == SQLITE_OK)
        result = Exec(connection, "COMMIT");
    if (result != SQLITE_OK && !sqlite3_get_autocommit(connection))
        sqlite3_exec(connection, "ROLLBACK", nullptr, nullptr, nullptr);
    return result;
}

} // namespace

int AllowChanges(sqlite3* connection)
{
    return sqlite3_create_function_v2(connection, kGuardFunction, 0, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                                      NoOp, nullptr, nullptr, nullptr);
}

int ReadSchemaVersion(sqlite3* connection, int& version)
{
    version = 0;
    sqlite3_stmt* statement = nullptr;
    int result = sqlite3_prepare_v2(connection, "PRAGMA user_version", -1, &statement, nullptr);
    if (result == SQLITE_OK) {
        result = sqlite3_step(statement);
        if (result == SQLITE_ROW) {
            version = sqlite3_column_int(statement, 0);
            result = SQLITE_OK;
        }
    }
    sqlite3_finalize(statement);
    return result;
}

int CreateSchema(sqlite3* connection)
{
    // Pages of 1 KiB: a hive's rows are small, and every commit writes each page it touched to
    // the WAL whole, the change record's page beside the value's. The journal mode sticks to the
    // file; set it before the schema so that even the first transaction goes through the WAL.
    // Processes racing to make one hive all get here, and the switch answers SQLITE_BUSY without
    // calling the busy handler: wait here instead, as long as the busy handler would.
    int result = SQLITE_BUSY;
    for (int waited = 0; waited < kBusyMilliseconds && (result == SQLITE_BUSY || result == SQLITE_LOCKED);
         waited += kRetryMilliseconds) {
        if (waited != 0)
            sqlite3_sleep(kRetryMilliseconds);
        result = Exec(connection, "PRAGMA page_size=1024; PRAGMA journal_mode=WAL");
    }
    if (result != SQLITE_OK)
        return result;
    return Upgrade(connection, 0, [connection] {
        int made = Exec(connection, std::string(kKeysAndValues) + kVersion2);
        if (made == SQLITE_OK)
            made = Exec(connection, "INSERT INTO key(id, parent, fold, name, class, access, depth, written) "
                                    "VALUES(1, 0, x'', x'', NULL, " +
                                        std::to_string(KEY_ALL_ACCESS) + ", 0, " + std::to_string(FileTimeNow()) + ")");
        return made;
    });
}

int MigrateSchema(sqlite3* connection)
{
    return Upgrade(connection, 1, [connection] { return Exec(connection, std::string("DROP INDEX key_list;") + kVersion2); });
}

} // namespace TesselPlatform::Registry

DWORD WINAPI TesselRegSchemaVersion(void)
{
    return static_cast<DWORD>(TesselPlatform::Registry::SchemaVersion);
}

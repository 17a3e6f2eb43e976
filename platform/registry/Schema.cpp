// The hive schema. Implementation here must contain only generic UNIX code.

#include "registry/Schema.h"

#include <string>

#include "registry/Statement.h"
#include "TesselPlatform/Registry.h"

namespace TesselPlatform::Registry {

namespace {

// Key ids come from AUTOINCREMENT so that no id is ever handed out twice: a handle to a deleted
// key must not come back to life when a key of the same name is made again. A name's fold is
// its sort and match key (RegistryText.h).
const char kSchema[] =
    "CREATE TABLE key(id INTEGER PRIMARY KEY AUTOINCREMENT, parent INTEGER NOT NULL, fold BLOB NOT NULL,"
    " name BLOB NOT NULL, class BLOB, access INTEGER NOT NULL, depth INTEGER NOT NULL, written INTEGER NOT NULL);"
    "CREATE UNIQUE INDEX key_child ON key(parent, fold);"
    // Covers the sub-key listing, so that it reads one index in order and no table rows.
    "CREATE INDEX key_list ON key(parent, fold, name, class);"
    "CREATE TABLE value(key INTEGER NOT NULL, fold BLOB NOT NULL, seq INTEGER NOT NULL, name BLOB NOT NULL,"
    " type INTEGER NOT NULL, data BLOB NOT NULL, written INTEGER NOT NULL, PRIMARY KEY(key, fold)) WITHOUT ROWID;"
    "CREATE UNIQUE INDEX value_order ON value(key, seq);";

// How long a hive's making waits for another process to let go, as the busy handler does.
constexpr int kBusyMilliseconds = 10000;
constexpr int kRetryMilliseconds = 2;

int Exec(sqlite3* connection, const std::string& sql)
{
    if (const int failure = InjectedFailure())
        return failure;
    return sqlite3_exec(connection, sql.c_str(), nullptr, nullptr, nullptr);
}

} // namespace

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
    // The journal mode sticks to the file; set it before the schema so that even the first
    // transaction goes through the WAL. Processes racing to make one hive all get here, and
    // the switch answers SQLITE_BUSY without calling the busy handler: wait here instead, as
    // long as the busy handler would.
    int result = SQLITE_BUSY;
    for (int waited = 0; waited < kBusyMilliseconds && (result == SQLITE_BUSY || result == SQLITE_LOCKED);
         waited += kRetryMilliseconds) {
        if (waited != 0)
            sqlite3_sleep(kRetryMilliseconds);
        result = Exec(connection, "PRAGMA journal_mode=WAL");
    }
    if (result != SQLITE_OK)
        return result;
    result = Exec(connection, "BEGIN IMMEDIATE");
    if (result != SQLITE_OK)
        return result;
    // Another process may have made the schema while we waited for the lock.
    int version = 0;
    result = ReadSchemaVersion(connection, version);
    if (result == SQLITE_OK && version == 0) {
        result = Exec(connection, kSchema);
        if (result == SQLITE_OK)
            result = Exec(connection, "INSERT INTO key(id, parent, fold, name, class, access, depth, written) "
                                      "VALUES(1, 0, x'', x'', NULL, " +
                                          std::to_string(KEY_ALL_ACCESS) + ", 0, " + std::to_string(FileTimeNow()) + ")");
        if (result == SQLITE_OK)
            result = Exec(connection, "PRAGMA user_version=" + std::to_string(SchemaVersion));
    }
    if (result == SQLITE_OK)
        result = Exec(connection, "COMMIT");
    if (result != SQLITE_OK && !sqlite3_get_autocommit(connection))
        sqlite3_exec(connection, "ROLLBACK", nullptr, nullptr, nullptr);
    return result;
}

} // namespace TesselPlatform::Registry

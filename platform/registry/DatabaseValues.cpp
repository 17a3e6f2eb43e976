// The value operations of a hive's database: each statement beside the decoding of its rows.
// Implementation here must contain only generic UNIX code.

#include "registry/Database.h"
#include "registry/Statement.h"

namespace TesselPlatform::Registry {

LONG Database::FindValue(std::int64_t key, const std::string& fold, ValueRecord& out)
{
    Statement query = Use(Sql::ValueGet, "SELECT type, data FROM value WHERE key = ?1 AND fold = ?2");
    query.Bind(1, key);
    query.BindBlob(2, fold);
    const LONG status = StepRow(query, ERROR_FILE_NOT_FOUND);
    if (status != ERROR_SUCCESS)
        return status;
    out.type = static_cast<DWORD>(query.Int(0));
    out.data = query.Blob(1);
    return ERROR_SUCCESS;
}

LONG Database::ListValues(std::int64_t key, ValueList& out)
{
    out.clear();
    Statement query = Use(Sql::ValuesOfKey, "SELECT name, type, data FROM value WHERE key = ?1 ORDER BY seq");
    query.Bind(1, key);
    int result;
    while ((result = query.Step()) == SQLITE_ROW) {
        ValueEntry entry;
        entry.name = query.Name(0);
        entry.value.type = static_cast<DWORD>(query.Int(1));
        entry.value.data = query.Blob(2);
        out.push_back(std::move(entry));
    }
    return result == SQLITE_DONE ? ERROR_SUCCESS : Fail(result);
}

LONG Database::UpsertValue(std::int64_t key, const Utf16& name, const std::string& fold, DWORD type, const void* data,
                           std::size_t size)
{
    const std::int64_t written = FileTimeNow();
    {
        // Most writes replace a value that is there: one statement, which keeps its place and name.
        Statement update = Use(Sql::ValueUpdate, "UPDATE value SET type = ?3, data = ?4, written = ?5 "
                                                 "WHERE key = ?1 AND fold = ?2");
        update.Bind(1, key);
        update.BindBlob(2, fold);
        update.Bind(3, type);
        update.BindBlob(4, data, size);
        update.Bind(5, written);
        const LONG status = StepDone(update);
        if (status != ERROR_SUCCESS)
            return status;
        if (sqlite3_changes(m_connection) != 0)
            return ERROR_SUCCESS;
    }
    // A new value goes behind the key's others.
    const std::string storedName = ToStoredBytes(name);
    Statement insert = Use(Sql::ValueInsert, "INSERT INTO value(key, fold, seq, name, type, data, written) "
                                             "VALUES(?1, ?2, (SELECT IFNULL(MAX(seq), 0) + 1 FROM value WHERE key = ?1), "
                                             "?3, ?4, ?5, ?6)");
    insert.Bind(1, key);
    insert.BindBlob(2, fold);
    insert.BindBlob(3, storedName);
    insert.Bind(4, type);
    insert.BindBlob(5, data, size);
    insert.Bind(6, written);
    return StepDone(insert);
}

LONG Database::DeleteValue(std::int64_t key, const std::string& fold, Utf16& name)
{
    Statement remove = Use(Sql::ValueDelete, "DELETE FROM value WHERE key = ?1 AND fold = ?2 RETURNING name");
    remove.Bind(1, key);
    remove.BindBlob(2, fold);
    const LONG status = StepRow(remove, ERROR_FILE_NOT_FOUND);
    if (status != ERROR_SUCCESS)
        return status;
    name = remove.Name(0);
    return ERROR_SUCCESS;
}

} // namespace TesselPlatform::Registry

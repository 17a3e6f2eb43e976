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
    const int result = query.Step();
    if (result == SQLITE_DONE)
        return ERROR_FILE_NOT_FOUND;
    if (result != SQLITE_ROW)
        return Fail(result);
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
    const std::string storedName = ToStoredBytes(name);
    Statement upsert = Use(Sql::ValueUpsert,
                           "INSERT INTO value(key, fold, seq, name, type, data, written) "
                           "VALUES(?1, ?2, (SELECT IFNULL(MAX(seq), 0) + 1 FROM value WHERE key = ?1), ?3, ?4, ?5, ?6) "
                           "ON CONFLICT(key, fold) DO UPDATE SET type = excluded.type, data = excluded.data, "
                           "written = excluded.written");
    upsert.Bind(1, key);
    upsert.BindBlob(2, fold);
    upsert.BindBlob(3, storedName);
    upsert.Bind(4, type);
    upsert.BindBlob(5, data, size);
    upsert.Bind(6, FileTimeNow());
    const int result = upsert.Step();
    return result == SQLITE_DONE ? ERROR_SUCCESS : Fail(result);
}

LONG Database::DeleteValue(std::int64_t key, const std::string& fold, Utf16& name)
{
    Statement remove = Use(Sql::ValueDelete, "DELETE FROM value WHERE key = ?1 AND fold = ?2 RETURNING name");
    remove.Bind(1, key);
    remove.BindBlob(2, fold);
    const int result = remove.Step();
    if (result == SQLITE_DONE)
        return ERROR_FILE_NOT_FOUND;
    if (result != SQLITE_ROW)
        return Fail(result);
    name = remove.Name(0);
    return ERROR_SUCCESS;
}

} // namespace TesselPlatform::Registry

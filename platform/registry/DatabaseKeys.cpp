// The key operations of a hive's database: each statement beside the decoding of its rows.
// Implementation here must contain only generic UNIX code.

#include "registry/Database.h"
#include "registry/Statement.h"

namespace TesselPlatform::Registry {

namespace {

// Reads access, depth and parent from three columns in that order, starting at first.
KeyRecord KeyFromRow(const Statement& row, std::int64_t id, int first)
{
    KeyRecord key;
    key.id = id;
    key.access = static_cast<REGSAM>(row.Int(first));
    key.depth = static_cast<int>(row.Int(first + 1));
    key.parent = row.Int(first + 2);
    return key;
}

// Reads name, id, class and access from the first four columns.
SubKeyEntry SubKeyFromRow(const Statement& row)
{
    SubKeyEntry entry;
    entry.name = row.Name(0);
    entry.id = row.Int(1);
    if (!row.IsNull(2))
        entry.className = row.Name(2);
    entry.access = static_cast<REGSAM>(row.Int(3));
    return entry;
}

} // namespace

LONG Database::FindKey(std::int64_t id, KeyRecord& out)
{
    Statement query = Use(Sql::KeyById, "SELECT access, depth, parent FROM key WHERE id = ?1");
    query.Bind(1, id);
    const LONG status = StepRow(query, ERROR_FILE_NOT_FOUND);
    if (status != ERROR_SUCCESS)
        return status;
    out = KeyFromRow(query, id, 0);
    return ERROR_SUCCESS;
}

LONG Database::FindChild(const KeyRecord& parent, const std::string& fold, KeyRecord& out)
{
    Statement query = Use(Sql::Child, "SELECT id, access, depth, parent FROM key WHERE parent = ?1 AND fold = ?2");
    query.Bind(1, parent.id);
    query.BindBlob(2, fold);
    const LONG status = StepRow(query, ERROR_FILE_NOT_FOUND);
    if (status != ERROR_SUCCESS)
        return status;
    out = KeyFromRow(query, query.Int(0), 1);
    return ERROR_SUCCESS;
}

LONG Database::KeyInfo(std::int64_t id, Utf16& className, std::int64_t& written)
{
    // A value write touches only its own row, so the key's last write is its own or its newest
    // value's, whichever is later.
    Statement query = Use(Sql::KeyInfo, "SELECT class, MAX(written, IFNULL((SELECT MAX(written) FROM value "
                                        "WHERE key = ?1), 0)) FROM key WHERE id = ?1");
    query.Bind(1, id);
    const LONG status = StepRow(query, ERROR_FILE_NOT_FOUND);
    if (status != ERROR_SUCCESS)
        return status;
    className = query.IsNull(0) ? Utf16() : query.Name(0);
    written = query.Int(1);
    return ERROR_SUCCESS;
}

LONG Database::ListSubKeys(std::int64_t key, SubKeyList& out)
{
    out.clear();
    Statement query =
        Use(Sql::ChildrenOfKey, "SELECT name, id, class, access FROM key INDEXED BY key_list WHERE parent = ?1 ORDER BY fold");
    query.Bind(1, key);
    int result;
    while ((result = query.Step()) == SQLITE_ROW)
        out.push_back(SubKeyFromRow(query));
    return result == SQLITE_DONE ? ERROR_SUCCESS : Fail(result);
}

LONG Database::SubKeyAt(std::int64_t key, DWORD index, SubKeyEntry& out)
{
    Statement query = Use(Sql::ChildAt, "SELECT name, id, class, access FROM key INDEXED BY key_list WHERE parent = ?1 "
                                        "ORDER BY fold LIMIT 1 OFFSET ?2");
    query.Bind(1, key);
    query.Bind(2, index);
    const LONG status = StepRow(query, ERROR_NO_MORE_ITEMS);
    if (status != ERROR_SUCCESS)
        return status;
    out = SubKeyFromRow(query);
    return ERROR_SUCCESS;
}

LONG Database::HasSubKeys(std::int64_t key, bool& out)
{
    Statement query = Use(Sql::HasChildren, "SELECT EXISTS(SELECT 1 FROM key WHERE parent = ?1)");
    query.Bind(1, key);
    const int result = query.Step();
    if (result != SQLITE_ROW)
        return Fail(result);
    out = query.Int(0) != 0;
    return ERROR_SUCCESS;
}

LONG Database::Subtree(std::int64_t key, std::vector<KeyRecord>& out)
{
    out.clear();
    // Deepest first, so that a delete can go in this order.
    Statement query = Use(Sql::Subtree, "WITH RECURSIVE tree(id) AS (SELECT ?1 UNION ALL SELECT key.id FROM key "
                                        "JOIN tree ON key.parent = tree.id) SELECT key.id, key.access FROM tree "
                                        "JOIN key ON key.id = tree.id ORDER BY key.depth DESC");
    query.Bind(1, key);
    int result;
    while ((result = query.Step()) == SQLITE_ROW) {
        KeyRecord record;
        record.id = query.Int(0);
        record.access = static_cast<REGSAM>(query.Int(1));
        out.push_back(record);
    }
    return result == SQLITE_DONE ? ERROR_SUCCESS : Fail(result);
}

LONG Database::InsertKey(const KeyRecord& parent, const Utf16& name, const std::string& fold, const Utf16* className,
                         KeyRecord& out)
{
    const std::string storedName = ToStoredBytes(name);
    const std::string storedClass = className != nullptr ? ToStoredBytes(*className) : std::string();
    Statement insert = Use(Sql::InsertKey, "INSERT INTO key(parent, fold, name, class, access, depth, written) "
                                           "VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7)");
    insert.Bind(1, parent.id);
    insert.BindBlob(2, fold);
    insert.BindBlob(3, storedName);
    if (className != nullptr)
        insert.BindBlob(4, storedClass);
    else
        insert.BindNull(4);
    insert.Bind(5, KEY_ALL_ACCESS);
    insert.Bind(6, parent.depth + 1);
    insert.Bind(7, FileTimeNow());
    const LONG status = StepDone(insert);
    if (status != ERROR_SUCCESS)
        return status;
    out = KeyRecord{sqlite3_last_insert_rowid(m_connection), parent.id, KEY_ALL_ACCESS, parent.depth + 1};
    return ERROR_SUCCESS;
}

LONG Database::TouchKey(std::int64_t id)
{
    Statement update = Use(Sql::TouchKey, "UPDATE key SET written = ?2 WHERE id = ?1");
    update.Bind(1, id);
    update.Bind(2, FileTimeNow());
    return StepDone(update);
}

LONG Database::SetWritten(std::int64_t id, std::int64_t written)
{
    {
        Statement update = Use(Sql::SetKeyWritten, "UPDATE key SET written = ?2 WHERE id = ?1");
        update.Bind(1, id);
        update.Bind(2, written);
        const LONG status = StepDone(update);
        if (status != ERROR_SUCCESS)
            return status;
    }
    // A key's last write is its own or its newest value's: the values must not be newer.
    Statement update = Use(Sql::SetValuesWritten, "UPDATE value SET written = ?2 WHERE key = ?1");
    update.Bind(1, id);
    update.Bind(2, written);
    return StepDone(update);
}

LONG Database::DeleteKey(std::int64_t id, std::int64_t& parent, Utf16& name)
{
    {
        Statement values = Use(Sql::DeleteKeyValues, "DELETE FROM value WHERE key = ?1");
        values.Bind(1, id);
        const LONG status = StepDone(values);
        if (status != ERROR_SUCCESS)
            return status;
    }
    Statement row = Use(Sql::DeleteKeyRow, "DELETE FROM key WHERE id = ?1 RETURNING parent, name");
    row.Bind(1, id);
    return StepKeyRow(row, parent, name);
}

LONG Database::SetAccess(std::int64_t id, REGSAM granted, std::int64_t& parent, Utf16& name)
{
    Statement update = Use(Sql::SetAccess, "UPDATE key SET access = ?2 WHERE id = ?1 RETURNING parent, name");
    update.Bind(1, id);
    update.Bind(2, granted);
    return StepKeyRow(update, parent, name);
}

LONG Database::StepKeyRow(Statement& row, std::int64_t& parent, Utf16& name)
{
    const LONG status = StepRow(row, ERROR_FILE_NOT_FOUND);
    if (status != ERROR_SUCCESS)
        return status;
    parent = row.Int(0);
    name = row.Name(1);
    return ERROR_SUCCESS;
}

} // namespace TesselPlatform::Registry

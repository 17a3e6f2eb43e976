// The saved-key file: a SQLite database with a key table and a value table, tagged with an
// application id and a format version (docs/saved-key-format.md). Implementation here must
// contain only generic UNIX code.

#include "registry/SavedKeyFile.h"

#include <cerrno>
#include <fcntl.h>
#include <set>
#include <sqlite3.h>
#include <unistd.h>

namespace TesselPlatform::Registry {

namespace {

// "TSKY": tells a saved key from any other SQLite file, a hive included.
constexpr int kApplicationId = 0x54534B59;

const char kSchema[] =
    "CREATE TABLE key(id INTEGER PRIMARY KEY, parent INTEGER NOT NULL, name BLOB NOT NULL, class BLOB,"
    " access INTEGER NOT NULL, written INTEGER NOT NULL);"
    "CREATE TABLE value(key INTEGER NOT NULL, seq INTEGER NOT NULL, name BLOB NOT NULL, type INTEGER NOT NULL,"
    " data BLOB NOT NULL, PRIMARY KEY(key, seq)) WITHOUT ROWID;";

class Connection {
public:
    ~Connection() { sqlite3_close_v2(m_db); }
    sqlite3* m_db = nullptr;
};

class Query {
public:
    Query(sqlite3* db, const char* sql) { m_result = sqlite3_prepare_v2(db, sql, -1, &m_statement, nullptr); }
    ~Query() { sqlite3_finalize(m_statement); }
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;

    int Step() { return m_result == SQLITE_OK ? sqlite3_step(m_statement) : m_result; }
    // Ready for the next row's bindings.
    void Reset() { sqlite3_reset(m_statement); }
    void Bind(int index, std::int64_t value) { sqlite3_bind_int64(m_statement, index, value); }
    void Bind(int index, const std::string& bytes)
    {
        sqlite3_bind_blob(m_statement, index, bytes.empty() ? "" : bytes.data(), static_cast<int>(bytes.size()),
                          SQLITE_STATIC);
    }
    void BindNull(int index) { sqlite3_bind_null(m_statement, index); }
    std::int64_t Int(int column) { return sqlite3_column_int64(m_statement, column); }
    bool IsBlobOrNull(int column)
    {
        const int type = sqlite3_column_type(m_statement, column);
        return type == SQLITE_BLOB || type == SQLITE_NULL;
    }
    std::string Blob(int column)
    {
        const void* bytes = sqlite3_column_blob(m_statement, column);
        const int size = sqlite3_column_bytes(m_statement, column);
        return bytes != nullptr ? std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(size))
                                : std::string();
    }

private:
    sqlite3_stmt* m_statement = nullptr;
    int m_result;
};

LONG StatusFromErrno(int error)
{
    switch (error) {
    case EEXIST: // the file is there: Windows refuses to save over it
        return ERROR_ALREADY_EXISTS;
    case ENOENT: // a directory of the path is missing
    case ENOTDIR:
        return ERROR_PATH_NOT_FOUND;
    case EACCES: // the file system refuses this user
    case EPERM:
    case EROFS:
        return ERROR_ACCESS_DENIED;
    default:
        return ERROR_CANTWRITE;
    }
}

std::string Stored(const Utf16& text)
{
    return ToStoredBytes(text);
}

int WriteRows(sqlite3* db, const SavedTree& tree)
{
    Query keys(db, "INSERT INTO key(id, parent, name, class, access, written) VALUES(?1, ?2, ?3, ?4, ?5, ?6)");
    Query values(db, "INSERT INTO value(key, seq, name, type, data) VALUES(?1, ?2, ?3, ?4, ?5)");
    for (std::size_t i = 0; i < tree.size(); ++i) {
        const SavedKey& key = tree[i];
        const std::string name = Stored(key.name);
        const std::string className = Stored(key.className);
        keys.Reset();
        keys.Bind(1, static_cast<std::int64_t>(i + 1));
        keys.Bind(2, i == 0 ? 0 : static_cast<std::int64_t>(key.parent + 1));
        keys.Bind(3, name);
        if (!key.className.empty())
            keys.Bind(4, className);
        else
            keys.BindNull(4);
        keys.Bind(5, static_cast<std::int64_t>(key.access));
        keys.Bind(6, key.written);
        int result = keys.Step();
        if (result != SQLITE_DONE)
            return result;
        std::int64_t seq = 0;
        for (const ValueEntry& value : key.values) {
            const std::string valueName = Stored(value.name);
            values.Reset();
            values.Bind(1, static_cast<std::int64_t>(i + 1));
            values.Bind(2, ++seq);
            values.Bind(3, valueName);
            values.Bind(4, static_cast<std::int64_t>(value.value.type));
            values.Bind(5, value.value.data);
            result = values.Step();
            if (result != SQLITE_DONE)
                return result;
        }
    }
    return SQLITE_OK;
}

// Writes the whole file at temporary, synced to disk before it is given its name.
LONG WriteTemporary(const std::string& temporary, const SavedTree& tree)
{
    Connection connection;
    int result = sqlite3_open_v2(temporary.c_str(), &connection.m_db, SQLITE_OPEN_READWRITE, nullptr);
    // No journal: a file that fails half-way is deleted, never published.
    const std::string setup = "PRAGMA journal_mode=OFF; PRAGMA synchronous=FULL; PRAGMA application_id=" +
                              std::to_string(kApplicationId) +
                              "; PRAGMA user_version=" + std::to_string(SavedKeyFormatVersion) + "; BEGIN;" + kSchema;
    if (result == SQLITE_OK)
        result = sqlite3_exec(connection.m_db, setup.c_str(), nullptr, nullptr, nullptr);
    if (result == SQLITE_OK)
        result = WriteRows(connection.m_db, tree);
    if (result == SQLITE_OK)
        result = sqlite3_exec(connection.m_db, "COMMIT", nullptr, nullptr, nullptr);
    if (result == SQLITE_FULL)
        return ERROR_CANTWRITE;
    return result == SQLITE_OK ? ERROR_SUCCESS : ERROR_CANTWRITE;
}

// Parents come before children, names are the registry's names, siblings and a key's values
// differ in their folds.
bool IsSoundTree(const SavedTree& tree)
{
    std::set<std::pair<std::size_t, std::string>> children;
    for (std::size_t i = 0; i < tree.size(); ++i) {
        const SavedKey& key = tree[i];
        if (i != 0 && (key.parent >= i || key.name.empty() || key.name.size() > 255 ||
                       key.name.find(u'\\') != Utf16::npos || !children.emplace(key.parent, FoldKey(key.name)).second))
            return false;
        std::set<std::string> names;
        for (const ValueEntry& value : key.values) {
            if (value.name.size() > 16383 || !names.insert(FoldKey(value.name)).second)
                return false;
        }
    }
    return !tree.empty();
}

int ReadKeys(sqlite3* db, SavedTree& out)
{
    Query keys(db, "SELECT id, parent, name, class, access, written FROM key ORDER BY id");
    int result;
    while ((result = keys.Step()) == SQLITE_ROW) {
        const std::int64_t id = keys.Int(0);
        const std::int64_t parent = keys.Int(1);
        // Ids run 1, 2, 3... with each parent before its children.
        if (id != static_cast<std::int64_t>(out.size()) + 1 || parent < 0 || parent >= id ||
            (id == 1) != (parent == 0) || !keys.IsBlobOrNull(2) || !keys.IsBlobOrNull(3))
            return SQLITE_CORRUPT;
        SavedKey key;
        key.parent = parent == 0 ? 0 : static_cast<std::size_t>(parent - 1);
        const std::string name = keys.Blob(2);
        const std::string className = keys.Blob(3);
        if (name.size() % 2 != 0 || className.size() % 2 != 0)
            return SQLITE_CORRUPT;
        key.name = FromStoredBytes(name.data(), name.size());
        key.className = FromStoredBytes(className.data(), className.size());
        key.access = static_cast<REGSAM>(keys.Int(4));
        key.written = keys.Int(5);
        out.push_back(std::move(key));
    }
    return result == SQLITE_DONE ? SQLITE_OK : result;
}

int ReadValues(sqlite3* db, SavedTree& out)
{
    Query values(db, "SELECT key, name, type, data FROM value ORDER BY key, seq");
    int result;
    while ((result = values.Step()) == SQLITE_ROW) {
        const std::int64_t key = values.Int(0);
        const std::int64_t type = values.Int(2);
        if (key < 1 || key > static_cast<std::int64_t>(out.size()) || type < 0 || type > 0xFFFFFFFFLL ||
            !values.IsBlobOrNull(1) || !values.IsBlobOrNull(3))
            return SQLITE_CORRUPT;
        const std::string name = values.Blob(1);
        if (name.size() % 2 != 0)
            return SQLITE_CORRUPT;
        ValueEntry entry;
        entry.name = FromStoredBytes(name.data(), name.size());
        entry.value.type = static_cast<DWORD>(type);
        entry.value.data = values.Blob(3);
        out[static_cast<std::size_t>(key - 1)].values.push_back(std::move(entry));
    }
    return result == SQLITE_DONE ? SQLITE_OK : result;
}

int ReadPragma(sqlite3* db, const char* sql, std::int64_t& out)
{
    Query pragma(db, sql);
    const int result = pragma.Step();
    if (result == SQLITE_ROW)
        out = pragma.Int(0);
    return result == SQLITE_ROW ? SQLITE_OK : result;
}

} // namespace

LONG WriteSavedKeyFile(const std::string& path, const SavedTree& tree)
{
    // Refused before any work, and again at the end if someone made the file meanwhile.
    if (access(path.c_str(), F_OK) == 0)
        return ERROR_ALREADY_EXISTS;
    std::string temporary = path + ".XXXXXX";
    const int fd = mkstemp(temporary.data());
    if (fd < 0)
        return StatusFromErrno(errno);
    close(fd);
    LONG status = WriteTemporary(temporary, tree);
    // A link never replaces what is there: the name appears with the whole file behind it.
    if (status == ERROR_SUCCESS && link(temporary.c_str(), path.c_str()) != 0)
        status = StatusFromErrno(errno);
    unlink(temporary.c_str());
    return status;
}

LONG ReadSavedKeyFile(const std::string& path, SavedTree& out)
{
    out.clear();
    const int fd = open(path.c_str(), O_RDONLY);
    if (fd < 0)
        return errno == ENOENT || errno == ENOTDIR ? ERROR_FILE_NOT_FOUND : ERROR_ACCESS_DENIED;
    close(fd);
    Connection connection;
    sqlite3_open_v2(path.c_str(), &connection.m_db, SQLITE_OPEN_READONLY, nullptr);
    std::int64_t application = 0;
    std::int64_t version = 0;
    int result = ReadPragma(connection.m_db, "PRAGMA application_id", application);
    if (result == SQLITE_OK)
        result = ReadPragma(connection.m_db, "PRAGMA user_version", version);
    if (result != SQLITE_OK || application != kApplicationId || version != SavedKeyFormatVersion)
        return ERROR_BADDB;
    result = sqlite3_exec(connection.m_db, "BEGIN", nullptr, nullptr, nullptr);
    if (result == SQLITE_OK)
        result = ReadKeys(connection.m_db, out);
    if (result == SQLITE_OK)
        result = ReadValues(connection.m_db, out);
    if (result == SQLITE_NOMEM)
        return ERROR_OUTOFMEMORY;
    if (result != SQLITE_OK || !IsSoundTree(out)) {
        out.clear();
        return ERROR_BADDB;
    }
    return ERROR_SUCCESS;
}

} // namespace TesselPlatform::Registry

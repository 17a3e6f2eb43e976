// The change record of a hive's database: each statement beside the decoding of its rows.
// Implementation here must contain only generic UNIX code.

#include "registry/Database.h"
#include "registry/Schema.h"
#include "registry/Statement.h"

namespace TesselPlatform::Registry {

namespace {

// Ancestors are stored as 64-bit little-endian ids, from the root down.
std::string EncodeAncestors(const std::vector<std::int64_t>& ancestors)
{
    std::string bytes(ancestors.size() * 8, '\0');
    for (std::size_t i = 0; i < ancestors.size(); ++i) {
        const std::uint64_t id = static_cast<std::uint64_t>(ancestors[i]);
        for (int b = 0; b < 8; ++b)
            bytes[i * 8 + b] = static_cast<char>((id >> (8 * b)) & 0xFF);
    }
    return bytes;
}

std::vector<std::int64_t> DecodeAncestors(const std::string& bytes)
{
    std::vector<std::int64_t> ancestors(bytes.size() / 8);
    for (std::size_t i = 0; i < ancestors.size(); ++i) {
        std::uint64_t id = 0;
        for (int b = 7; b >= 0; --b)
            id = (id << 8) | static_cast<unsigned char>(bytes[i * 8 + b]);
        ancestors[i] = static_cast<std::int64_t>(id);
    }
    return ancestors;
}

} // namespace

LONG Database::LastChange(std::int64_t& seq)
{
    Statement query = Use(Sql::LastChange, "SELECT MAX(seq) FROM change");
    const int result = query.Step();
    if (result != SQLITE_ROW)
        return Fail(result);
    seq = query.Int(0);
    return ERROR_SUCCESS;
}

LONG Database::ChangesSince(std::int64_t seq, const std::function<void(const ChangeRecord&)>& apply,
                            bool& continuous, std::int64_t& last)
{
    continuous = false;
    last = seq;
    Statement query = Use(Sql::ChangesSince, "SELECT seq, kind, key, parent, name, ancestors FROM change "
                                             "WHERE seq >= ?1 ORDER BY seq");
    query.Bind(1, seq);
    ChangeRecord change;
    bool first = true;
    int result;
    while ((result = query.Step()) == SQLITE_ROW) {
        change.seq = query.Int(0);
        change.kind = static_cast<ChangeKind>(query.Int(1));
        change.key = query.Int(2);
        change.parent = query.Int(3);
        change.name = query.IsNull(4) ? Utf16() : query.Name(4);
        change.ancestors = DecodeAncestors(query.Blob(5));
        if (first)
            continuous = change.seq == seq;
        first = false;
        last = change.seq;
        apply(change);
    }
    return result == SQLITE_DONE ? ERROR_SUCCESS : Fail(result);
}

LONG Database::RecordChange(const ChangeRecord& change, std::int64_t& seq)
{
    {
        const std::string name = ToStoredBytes(change.name);
        const std::string ancestors = EncodeAncestors(change.ancestors);
        Statement insert = Use(Sql::RecordChange, "INSERT INTO change(kind, key, parent, name, ancestors) "
                                                  "VALUES(?1, ?2, ?3, ?4, ?5)");
        insert.Bind(1, static_cast<std::int64_t>(change.kind));
        insert.Bind(2, change.key);
        insert.Bind(3, change.parent);
        insert.BindBlob(4, name);
        insert.BindBlob(5, ancestors);
        const LONG status = StepDone(insert);
        if (status != ERROR_SUCCESS)
            return status;
    }
    // The newest change is never cut, so numbers keep rising past any cut.
    seq = sqlite3_last_insert_rowid(m_connection);
    if (seq % ChangeRecordPruneEvery != 0)
        return ERROR_SUCCESS;
    Statement prune = Use(Sql::PruneChanges, "DELETE FROM change WHERE seq <= ?1");
    prune.Bind(1, seq - ChangeRecordLength);
    return StepDone(prune);
}

} // namespace TesselPlatform::Registry

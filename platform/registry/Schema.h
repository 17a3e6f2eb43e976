// The hive file's tables, their version and the making of them; see docs/hive-format.md. Only the
// database layer includes this header.
#pragma once

struct sqlite3;

namespace TesselPlatform::Registry {

// What a hive file's user_version holds once it has its schema.
constexpr int SchemaVersion = 1;

// The schema version of the file, 0 for one that has no schema yet. Returns an SQLite result.
int ReadSchemaVersion(sqlite3* connection, int& version);

// Puts a new file in WAL mode and gives it the tables and the root key, unless another process
// got there first. Returns an SQLite result.
int CreateSchema(sqlite3* connection);

} // namespace TesselPlatform::Registry

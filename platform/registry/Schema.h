// The hive file's tables, their version, the making of them and the migration of older files;
// docs/hive-format.md describes them. Only the database layer includes this header.
#pragma once

struct sqlite3;

namespace TesselPlatform::Registry {

// What a hive file's user_version holds once it has its schema. Version 1 had no change record.
constexpr int SchemaVersion = 2;

// How many changes the record keeps at least, and how often a write cuts it back to that.
constexpr int ChangeRecordLength = 4096;
constexpr int ChangeRecordPruneEvery = 256;

// Lets this connection write a hive of the current version: its tables refuse changes from a
// connection that doesn't keep the change record. Returns an SQLite result.
int AllowChanges(sqlite3* connection);

// The schema version of the file, 0 for one that has no schema yet. Returns an SQLite result.
int ReadSchemaVersion(sqlite3* connection, int& version);

// Puts a new file in WAL mode and gives it the tables and the root key, unless another process
// got there first. Returns an SQLite result.
int CreateSchema(sqlite3* connection);

// Brings a version 1 hive to the current version in one transaction, unless another process got
// there first. SQLITE_READONLY when this connection may not write the file. Returns an SQLite
// result.
int MigrateSchema(sqlite3* connection);

} // namespace TesselPlatform::Registry

// Hives that version 1 of the store made, without a change record: a process that may write one
// migrates it and loses nothing; a user who may only read one reads it as it is, coherently.

#include <gtest/gtest.h>

#ifndef _WIN32

#include <sqlite3.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "platform/registry/RegistryProcessSupport.h"
#include "platform/registry/RegistryTestSupport.h"

using namespace RegistryTest;

namespace {

// The schema that version 1 of the store wrote, word for word.
const char kVersion1Schema[] =
    "CREATE TABLE key(id INTEGER PRIMARY KEY AUTOINCREMENT, parent INTEGER NOT NULL, fold BLOB NOT NULL,"
    " name BLOB NOT NULL, class BLOB, access INTEGER NOT NULL, depth INTEGER NOT NULL, written INTEGER NOT NULL);"
    "CREATE UNIQUE INDEX key_child ON key(parent, fold);"
    "CREATE INDEX key_list ON key(parent, fold, name, class);"
    "CREATE TABLE value(key INTEGER NOT NULL, fold BLOB NOT NULL, seq INTEGER NOT NULL, name BLOB NOT NULL,"
    " type INTEGER NOT NULL, data BLOB NOT NULL, written INTEGER NOT NULL, PRIMARY KEY(key, fold)) WITHOUT ROWID;"
    "CREATE UNIQUE INDEX value_order ON value(key, seq);";

// An ASCII name as version 1 stored it: UTF-16LE, and its fold, upper-cased and big-endian.
std::string Hex(const std::string& bytes)
{
    static const char digits[] = "0123456789ABCDEF";
    std::string hex = "x'";
    for (unsigned char c : bytes) {
        hex += digits[c >> 4];
        hex += digits[c & 15];
    }
    return hex + "'";
}

std::string Name(const std::string& ascii)
{
    std::string bytes;
    for (char c : ascii)
        bytes += {c, '\0'};
    return Hex(bytes);
}

std::string Fold(const std::string& ascii)
{
    std::string bytes;
    for (char c : ascii)
        bytes += {'\0', static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c)};
    return Hex(bytes);
}

bool Exec(sqlite3* database, const std::string& sql)
{
    return sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
}

// Writes a version 1 hive at path: Software\Tessel with the values Greeting ("hi") and Count (7).
// Its WAL files stay, as the store keeps them.
bool MakeVersion1Hive(const std::string& path)
{
    sqlite3* database = nullptr;
    if (sqlite3_open(path.c_str(), &database) != SQLITE_OK)
        return false;
    int persist = 1;
    sqlite3_file_control(database, "main", SQLITE_FCNTL_PERSIST_WAL, &persist);
    const std::string key = "INSERT INTO key(id, parent, fold, name, class, access, depth, written) VALUES";
    const std::string value = "INSERT INTO value(key, fold, seq, name, type, data, written) VALUES";
    const bool made =
        Exec(database, "PRAGMA journal_mode=WAL") && Exec(database, kVersion1Schema) &&
        Exec(database, key + "(1, 0, x'', x'', NULL, 983103, 0, 1)") &&
        Exec(database, key + "(2, 1, " + Fold("Software") + ", " + Name("Software") + ", NULL, 983103, 1, 1)") &&
        Exec(database, key + "(3, 2, " + Fold("Tessel") + ", " + Name("Tessel") + ", NULL, 983103, 2, 1)") &&
        Exec(database, value + "(3, " + Fold("Greeting") + ", 1, " + Name("Greeting") + ", 1, x'680069000000', 1)") &&
        Exec(database, value + "(3, " + Fold("Count") + ", 2, " + Name("Count") + ", 4, x'07000000', 1)") &&
        Exec(database, "PRAGMA user_version=1");
    sqlite3_close(database);
    return made;
}

int SchemaVersion(const std::string& path)
{
    sqlite3* database = nullptr;
    int version = -1;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
        sqlite3_prepare_v2(database, "PRAGMA user_version", -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW)
        version = sqlite3_column_int(statement, 0);
    sqlite3_finalize(statement);
    sqlite3_close(database);
    return version;
}

// Reads Software\Tessel's Count below root; what went wrong as a status, 1000 for a wrong value.
LONG CountIs(HKEY root, DWORD expected)
{
    ScopedKey key;
    LONG status = RegOpenKeyExW(root, L"Software\\Tessel", 0, KEY_READ, key.Put());
    if (status != ERROR_SUCCESS)
        return status;
    const DWORD count = QueryDword(key.Get(), L"Count", status);
    return status != ERROR_SUCCESS ? status : count == expected ? ERROR_SUCCESS : 1000;
}

TEST(RegistryMigration, AVersion1HiveIsMigratedAndLosesNothing)
{
    ASSERT_TRUE(MakeVersion1Hive(HivePath("HKCU.db")));
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, L"software\\TESSEL", 0, KEY_ALL_ACCESS, key.Put()));
    LONG status;
    EXPECT_EQ(7u, QueryDword(key.Get(), L"count"));
    EXPECT_EQ(StringData(u"hi"), QueryBytes(key.Get(), L"Greeting", status));
    EXPECT_EQ(2, SchemaVersion(HivePath("HKCU.db"))) << "the first process that may write it migrates it";

    // New keys take ids past the old ones, and the old keys keep working beside them.
    ScopedKey made;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(key.Get(), L"Added", made));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(made.Get(), L"n", 1));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"Count", 8));
    EXPECT_EQ(8u, QueryDword(key.Get(), L"Count"));
    EXPECT_EQ(std::vector<std::wstring>{L"Added"}, SubKeyNames(key.Get(), status));
    ScopedKey software;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, software.Put()));
    EXPECT_EQ(std::vector<std::wstring>{L"Tessel"}, SubKeyNames(software.Get(), status));
}

// Checks that a user who may only read a version 1 hive reads it without migrating it, and sees
// what a writer commits later, the writer's migration included.
TEST(RegistryMigration, AUserWhoMayOnlyReadAVersion1HiveReadsItCoherently)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "acting as another user needs root";
    SharedRegistryDirectory();
    ASSERT_TRUE(MakeVersion1Hive(HivePath("HKLM.db")));
    int toReader[2], toWriter[2];
    ASSERT_EQ(0, pipe(toReader));
    ASSERT_EQ(0, pipe(toWriter));
    const Child reader([&] {
        return RunAsOtherUser([&] {
            const LONG before = CountIs(HKEY_LOCAL_MACHINE, 7);
            WriteInt(toWriter[1], static_cast<int>(before));
            int written = 0;
            if (before != ERROR_SUCCESS || !ReadInt(toReader[0], written))
                return 1;
            return CountIs(HKEY_LOCAL_MACHINE, 8) == ERROR_SUCCESS ? 0 : 2;
        });
    });
    int before = -1;
    ASSERT_TRUE(ReadInt(toWriter[0], before));
    EXPECT_EQ(ERROR_SUCCESS, before) << "the reader could not read the version 1 hive";
    EXPECT_EQ(1, SchemaVersion(HivePath("HKLM.db"))) << "a reader must not migrate what it may not write";
    {
        ScopedKey key;
        ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Tessel", 0, KEY_ALL_ACCESS, key.Put()));
        ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"Count", 8));
    }
    EXPECT_EQ(2, SchemaVersion(HivePath("HKLM.db")));
    WriteInt(toReader[1], 1);
    EXPECT_EQ(0, reader.Wait()) << "1: the reader failed before the write; 2: it missed the write";
}

} // namespace

#endif

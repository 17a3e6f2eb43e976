// A prepared statement borrowed for one use, and the Win32 status of a failed SQLite call. Only
// the database's own files include this header: it is the one place that brings sqlite3.h in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <sqlite3.h>
#include <string>

#include "TesselPlatform/Types.h"
#include "registry/RegistryText.h"

namespace TesselPlatform::Registry {

// Consumes one step of the failure seam: the result a test asked the store to fail with, or 0.
int InjectedFailure();

// The current time as a FILETIME count (100 ns units since 1601).
std::int64_t FileTimeNow();

// The Win32 status for a failed SQLite call, inside a write transaction or outside one.
LONG StatusFromSqlite(int result, bool writing);

// Bound, stepped, and reset when it goes. A statement that could not be prepared steps to the
// preparation's failure.
class Statement {
public:
    Statement(sqlite3_stmt* statement, int prepared) : m_statement(statement), m_prepared(prepared) {}
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    void Bind(int index, std::int64_t value);
    // Bound without a copy: the bytes must outlive the step.
    void BindBlob(int index, const void* bytes, std::size_t size);
    void BindBlob(int index, const std::string& bytes) { BindBlob(index, bytes.data(), bytes.size()); }
    void BindNull(int index);

    // SQLITE_ROW, SQLITE_DONE or an error code.
    int Step();

    std::int64_t Int(int column) const;
    std::string Blob(int column) const;
    Utf16 Name(int column) const; // a name stored as UTF-16LE bytes
    bool IsNull(int column) const;

private:
    sqlite3_stmt* m_statement;
    int m_prepared;
};

} // namespace TesselPlatform::Registry

// What every reliability driver shares: the tally that ends each run with "N passed, M failed",
// options from the command line, scratch store directories, child processes with a deadline,
// SQLite's integrity check, and the metrics line that scripts/reliability.sh turns into a table.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

#include "KavorTesselUtils.h"

namespace Reliability {

// Counts checks; each failure is printed at once with what was expected.
class Tally {
public:
    void Check(bool ok, const std::string& what);
    void Fail(const std::string& what) { Check(false, what); }
    int Failed() const { return m_failed; }
    // Prints the closing line and gives the process's exit code.
    int Finish() const;

private:
    int m_passed = 0;
    int m_failed = 0;
};

// "--name value" pairs after the program name; a missing name gives the fallback.
class Options {
public:
    Options(int argc, char** argv);
    long Number(const std::string& name, long fallback) const;
    std::string Text(const std::string& name, const std::string& fallback) const;

private:
    std::map<std::string, std::string> m_values;
};

// A directory of its own below $TMPDIR, removed with everything in it when the object goes
// (only by the process that made it, so that forked children leave it alone).
class ScratchDirectory {
public:
    explicit ScratchDirectory(const std::string& tag);
    ~ScratchDirectory();
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    const std::string& Path() const { return m_path; }
    // A new, empty directory inside this one.
    std::string NewSubdirectory(const std::string& name) const;

private:
    std::string m_path;
    pid_t m_owner;
};

void RemoveTree(const std::string& path);
// Points the store of this process (and of the children it forks from now on) at directory.
void UseStore(const std::string& directory);

// How a child process ended.
struct ChildEnd {
    bool exited = false;
    int code = 0;     // exit code when exited
    int signal = 0;   // terminating signal otherwise
    bool timedOut = false;
    std::string Describe() const;
    bool Clean() const { return exited && code == 0; }
};

// How a forked child leaves once its body has run: at once, as a kill would leave the store, or
// through exit, whose handlers let the store finish with its hives as any ending program does.
enum class ChildExit { Abrupt, Normal };

// Runs body in a forked child whose exit code is body's result; a child still running at the
// deadline is killed and reported as timed out.
ChildEnd RunChild(const std::function<int()>& body, int timeoutSeconds, ChildExit how = ChildExit::Abrupt);
// Waits for a child started elsewhere, killing it at the deadline.
ChildEnd WaitChild(pid_t child, int timeoutSeconds);

// Makes keyPath below HKCU, writes a REG_DWORD and reads it back: 0 when the store took it, else
// the step that failed (1 make, 2 write, 3 read back). For a fresh process to show the store works.
int WriteAndReadBack(const wchar_t* keyPath, DWORD value);

// Makes keyPath below HKCU, writes a REG_DWORD and reads it back: 0 when the store took it, else
// the step that failed (1 make, 2 write, 3 read back). For a fresh process to show the store works.
int WriteAndReadBack(const wchar_t* keyPath, DWORD value);

// SQLite's integrity check of a database file, opened read-only: "ok" when it holds.
std::string IntegrityCheck(const std::string& databaseFile);

// The hive files that exist in directory.
std::vector<std::string> HiveFiles(const std::string& directory);

// One line that scripts/reliability.sh collects: "metrics: driver=NAME key=value ...".
void PrintMetrics(const std::string& driver, const std::vector<std::pair<std::string, std::string>>& values);

// Seconds since an arbitrary start, for throughput and the slowest call.
double Now();

// A small, fast generator with a seed of the driver's choosing, so that a run can be repeated.
class Random {
public:
    explicit Random(std::uint64_t seed) : m_state(seed * 0x9E3779B97F4A7C15ull + 1) {}
    std::uint64_t Next();
    // Uniform in [0, bound).
    std::uint64_t Below(std::uint64_t bound) { return bound == 0 ? 0 : Next() % bound; }
    bool Percent(unsigned percent) { return Below(100) < percent; }

private:
    std::uint64_t m_state;
};

// A wide string from narrow ASCII text.
std::wstring Wide(const std::string& text);
std::string Narrow(const std::wstring& text);

} // namespace Reliability

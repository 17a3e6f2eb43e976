// The drivers' shared machinery; see DriverSupport.h.

#include "DriverSupport.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <ftw.h>
#include <iostream>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace Reliability {

void Tally::Check(bool ok, const std::string& what)
{
    if (ok) {
        ++m_passed;
        return;
    }
    ++m_failed;
    std::cout << "FAILED: " << what << std::endl;
}

int Tally::Finish() const
{
    std::cout << m_passed << " passed, " << m_failed << " failed" << std::endl;
    return m_failed == 0 ? 0 : 1;
}

Options::Options(int argc, char** argv)
{
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string name = argv[i];
        if (name.rfind("--", 0) == 0)
            m_values[name.substr(2)] = argv[i + 1];
    }
}

long Options::Number(const std::string& name, long fallback) const
{
    const auto found = m_values.find(name);
    return found == m_values.end() ? fallback : std::strtol(found->second.c_str(), nullptr, 10);
}

std::string Options::Text(const std::string& name, const std::string& fallback) const
{
    const auto found = m_values.find(name);
    return found == m_values.end() ? fallback : found->second;
}

ScratchDirectory::ScratchDirectory(const std::string& tag) : m_owner(getpid())
{
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/tessel-" + tag + "-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        std::perror("cannot make a scratch directory");
        std::exit(2);
    }
    // Children that drop their privileges must still reach the stores below it.
    chmod(pattern.c_str(), 0755);
    m_path = pattern;
}

ScratchDirectory::~ScratchDirectory()
{
    if (getpid() == m_owner && std::getenv("TESSEL_KEEP_RELIABILITY_STORE") == nullptr)
        RemoveTree(m_path);
}

std::string ScratchDirectory::NewSubdirectory(const std::string& name) const
{
    const std::string path = m_path + "/" + name;
    RemoveTree(path);
    mkdir(path.c_str(), 0755);
    return path;
}

namespace {

int RemoveEntry(const char* path, const struct stat*, int, struct FTW*)
{
    // A test may have taken every right away; the owner gets them back to remove the entry.
    chmod(path, 0700);
    return std::remove(path);
}

} // namespace

void RemoveTree(const std::string& path)
{
    // Directories first get their rights back, so that the walk can enter them.
    chmod(path.c_str(), 0700);
    nftw(path.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS);
}

void UseStore(const std::string& directory)
{
    setenv("TESSEL_REGISTRY_DIR", directory.c_str(), 1);
}

std::string ChildEnd::Describe() const
{
    if (timedOut)
        return "timed out";
    if (exited)
        return "exit code " + std::to_string(code);
    return std::string("killed by signal ") + strsignal(signal);
}

ChildEnd WaitChild(pid_t child, int timeoutSeconds)
{
    ChildEnd end;
    const double deadline = Now() + timeoutSeconds;
    int status = 0;
    for (;;) {
        const pid_t done = waitpid(child, &status, WNOHANG);
        if (done == child)
            break;
        if (done < 0 && errno != EINTR) {
            end.exited = true;
            end.code = 255;
            return end;
        }
        if (Now() > deadline) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            end.timedOut = true;
            return end;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    end.exited = WIFEXITED(status);
    end.code = end.exited ? WEXITSTATUS(status) : 0;
    end.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    return end;
}

ChildEnd RunChild(const std::function<int()>& body, int timeoutSeconds, ChildExit how)
{
    std::cout.flush();
    const pid_t child = fork();
    if (child < 0) {
        ChildEnd end;
        end.exited = true;
        end.code = 254;
        return end;
    }
    if (child == 0) {
        const int code = body();
        std::cout.flush();
        // The parent owns every scratch directory, and the drivers keep them in objects of
        // main's, which exit leaves alone as it runs the handlers of the store.
        if (how == ChildExit::Normal)
            std::exit(code);
        _exit(code);
    }
    return WaitChild(child, timeoutSeconds);
}

int WriteAndReadBack(const wchar_t* keyPath, DWORD value)
{
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, keyPath, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) !=
        ERROR_SUCCESS)
        return 1;
    DWORD read = ~value, size = sizeof read;
    int failed = 0;
    if (RegSetValueExW(key, L"written", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof value) !=
        ERROR_SUCCESS)
        failed = 2;
    else if (RegQueryValueExW(key, L"written", nullptr, nullptr, reinterpret_cast<BYTE*>(&read), &size) !=
                 ERROR_SUCCESS ||
             read != value)
        failed = 3;
    RegCloseKey(key);
    return failed;
}

std::string IntegrityCheck(const std::string& databaseFile)
{
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(databaseFile.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
        const std::string message = db ? sqlite3_errmsg(db) : "cannot open";
        sqlite3_close(db);
        return message;
    }
    std::string result;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &statement, nullptr) != SQLITE_OK) {
        result = sqlite3_errmsg(db);
    } else {
        while (sqlite3_step(statement) == SQLITE_ROW) {
            const unsigned char* line = sqlite3_column_text(statement, 0);
            result += result.empty() ? "" : "; ";
            result += line ? reinterpret_cast<const char*>(line) : "";
        }
        if (result.empty())
            result = sqlite3_errmsg(db);
    }
    sqlite3_finalize(statement);
    sqlite3_close(db);
    return result;
}

std::vector<std::string> HiveFiles(const std::string& directory)
{
    std::vector<std::string> files;
    for (const char* name : {"HKLM.db", "HKCU.db", "HKU.db"}) {
        struct stat info {};
        const std::string path = directory + "/" + name;
        if (stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode))
            files.push_back(path);
    }
    return files;
}

void PrintMetrics(const std::string& driver, const std::vector<std::pair<std::string, std::string>>& values)
{
    std::cout << "metrics: driver=" << driver;
    for (const auto& [name, value] : values)
        std::cout << ' ' << name << '=' << value;
    std::cout << std::endl;
}

double Now()
{
    using Clock = std::chrono::steady_clock;
    return std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
}

std::uint64_t Random::Next()
{
    // splitmix64: good enough to spread sizes and choices, and repeatable from the seed.
    std::uint64_t z = (m_state += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

std::wstring Wide(const std::string& text)
{
    return std::wstring(text.begin(), text.end());
}

std::string Narrow(const std::wstring& text)
{
    std::string narrow;
    for (const wchar_t c : text)
        narrow += c < 128 ? static_cast<char>(c) : '?';
    return narrow;
}

} // namespace Reliability

// File-system faults under the store: a full disk, a read-only directory, a hive file this user
// may not read, a hive path that is a directory, truncated and garbage hive files, a deleted
// -wal file and a missing directory. For each: the statuses a fresh process gets, that an
// existing hive never looks empty, and that nothing committed before the fault is lost.
//   tessel-faults [--only NAME,NAME...]

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <iostream>
#include <sched.h>
#include <sqlite3.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "DriverSupport.h"

using namespace Reliability;

namespace {

const wchar_t* const kKey = L"Software\\Faults";
constexpr int kSeeded = 8;
constexpr uid_t kNobody = 65534;

std::vector<BYTE> SeedBytes(int i, std::size_t size)
{
    std::vector<BYTE> data(size);
    for (std::size_t j = 0; j < size; ++j)
        data[j] = static_cast<BYTE>((i * 29 + j * 3) & 0xFF);
    return data;
}

std::wstring SeedName(int i)
{
    return L"seed" + std::to_wstring(i);
}

int Seed()
{
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, kKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) != ERROR_SUCCESS)
        return 1;
    for (int i = 0; i < kSeeded; ++i) {
        const std::vector<BYTE> data = SeedBytes(i, 100 + i * 1000);
        if (RegSetValueExW(key, SeedName(i).c_str(), 0, REG_BINARY, data.data(), static_cast<DWORD>(data.size())) !=
            ERROR_SUCCESS)
            return 2;
    }
    RegCloseKey(key);
    return 0;
}

// 0 when every value named name<i> for i < count holds its bytes; else the status of the first
// read that failed (or 1000 for wrong bytes).
int VerifyValues(const std::wstring& prefix, int count, std::size_t (*sizeOf)(int))
{
    HKEY key = nullptr;
    const LONG opened = RegOpenKeyExW(HKEY_CURRENT_USER, kKey, 0, KEY_READ, &key);
    if (opened != ERROR_SUCCESS)
        return static_cast<int>(opened);
    std::vector<BYTE> buffer(1 << 20);
    for (int i = 0; i < count; ++i) {
        DWORD size = static_cast<DWORD>(buffer.size());
        const LONG status =
            RegQueryValueExW(key, (prefix + std::to_wstring(i)).c_str(), nullptr, nullptr, buffer.data(), &size);
        if (status != ERROR_SUCCESS)
            return static_cast<int>(status);
        if (std::vector<BYTE>(buffer.begin(), buffer.begin() + size) != SeedBytes(i, sizeOf(i)))
            return 1000;
    }
    RegCloseKey(key);
    return 0;
}

std::size_t SeedSize(int i)
{
    return 100 + static_cast<std::size_t>(i) * 1000;
}

int VerifySeed()
{
    return VerifyValues(L"seed", kSeeded, SeedSize);
}

// What a process gets from one read of a seeded value and one write.
struct Probe {
    LONG read = -1;
    LONG write = -1;
    std::string Describe() const
    {
        return "read " + std::to_string(read) + ", write " + std::to_string(write);
    }
};

// Runs the probe in a fresh process; as the user nobody when asOtherUser is set and this process
// is root, since root reads and writes whatever the modes say.
Probe ProbeStore(bool asOtherUser)
{
    int out[2];
    Probe probe;
    if (pipe(out) != 0)
        return probe;
    const ChildEnd end = RunChild(
        [&] {
            close(out[0]);
            if (asOtherUser && geteuid() == 0) {
                setgroups(0, nullptr);
                if (setgid(kNobody) != 0 || setuid(kNobody) != 0)
                    return 3;
            }
            Probe result;
            HKEY key = nullptr;
            result.read = RegOpenKeyExW(HKEY_CURRENT_USER, kKey, 0, KEY_READ, &key);
            if (result.read == ERROR_SUCCESS) {
                DWORD size = 0;
                result.read = RegQueryValueExW(key, L"seed0", nullptr, nullptr, nullptr, &size);
                RegCloseKey(key);
            }
            HKEY made = nullptr;
            result.write = RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\FaultsWrite", 0, nullptr, 0,
                                           KEY_ALL_ACCESS, nullptr, &made, nullptr);
            if (result.write == ERROR_SUCCESS) {
                DWORD one = 1;
                result.write = RegSetValueExW(made, L"v", 0, REG_DWORD, reinterpret_cast<BYTE*>(&one), sizeof one);
                RegCloseKey(made);
            }
            return write(out[1], &result, sizeof result) == static_cast<ssize_t>(sizeof result) ? 0 : 4;
        },
        60);
    close(out[1]);
    if (read(out[0], &probe, sizeof probe) != static_cast<ssize_t>(sizeof probe) || !end.Clean())
        probe.read = probe.write = -static_cast<LONG>(end.signal + 100);
    close(out[0]);
    return probe;
}

class Faults {
public:
    explicit Faults(const std::string& only) : m_only(only), m_scratch("faults") {}

    int Run()
    {
        Scenario("full-disk-tmpfs", [&](const std::string& dir) { FullDiskTmpfs(dir); });
        Scenario("full-disk-fsize", [&](const std::string& dir) { FullDiskFileSizeLimit(dir); });
        Scenario("read-only-directory", [&](const std::string& dir) { ReadOnlyDirectory(dir, false); });
        Scenario("read-only-directory-at-rest", [&](const std::string& dir) { ReadOnlyDirectory(dir, true); });
        Scenario("unreadable-hive", [&](const std::string& dir) { UnreadableHive(dir); });
        Scenario("hive-is-a-directory", [&](const std::string& dir) { HiveIsADirectory(dir); });
        Scenario("truncated-hive", [&](const std::string& dir) { DamagedHive(dir, false); });
        Scenario("garbage-hive", [&](const std::string& dir) { DamagedHive(dir, true); });
        Scenario("deleted-wal", [&](const std::string& dir) { DeletedWal(dir); });
        Scenario("missing-directory", [&](const std::string& dir) { MissingDirectory(dir); });
        return m_tally.Finish();
    }

private:
    void Scenario(const std::string& name, const std::function<void(const std::string&)>& body)
    {
        if (!m_only.empty() && ("," + m_only + ",").find("," + name + ",") == std::string::npos)
            return;
        m_name = name;
        const std::string dir = m_scratch.NewSubdirectory(name);
        UseStore(dir);
        body(dir);
    }

    void Check(bool ok, const std::string& what) { m_tally.Check(ok, m_name + ": " + what); }
    void Report(const std::string& what) { std::cout << m_name << ": " << what << std::endl; }

    bool SeedStore()
    {
        const ChildEnd seeded = RunChild(Seed, 60, ChildExit::Normal);
        Check(seeded.Clean(), "seeding the store: " + seeded.Describe());
        return seeded.Clean();
    }

    void ExpectSeedKept(const std::string& when)
    {
        const ChildEnd end = RunChild(VerifySeed, 60);
        Check(end.Clean(), "values committed before the fault, " + when + ": " + end.Describe());
    }

    // Writes growing values in a fresh process until the store refuses one; every write it
    // reported committed must then be found whole by another fresh process.
    void FillUntilRefused(const std::function<void()>& limit, const std::vector<LONG>& refusals)
    {
        int out[2];
        if (pipe(out) != 0)
            return;
        const ChildEnd filler = RunChild(
            [&] {
                close(out[0]);
                limit();
                HKEY key = nullptr;
                if (RegOpenKeyExW(HKEY_CURRENT_USER, kKey, 0, KEY_ALL_ACCESS, &key) != ERROR_SUCCESS)
                    return 1;
                LONG status = ERROR_SUCCESS;
                int committed = 0;
                for (; committed < 400 && status == ERROR_SUCCESS; ++committed) {
                    const std::vector<BYTE> data = SeedBytes(committed, 16384);
                    status = RegSetValueExW(key, (L"fill" + std::to_wstring(committed)).c_str(), 0, REG_BINARY,
                                            data.data(), static_cast<DWORD>(data.size()));
                }
                const int result[2] = {committed - 1, static_cast<int>(status)};
                return write(out[1], result, sizeof result) == static_cast<ssize_t>(sizeof result) ? 0 : 2;
            },
            120);
        close(out[1]);
        int result[2] = {0, -1};
        const bool got = read(out[0], result, sizeof result) == static_cast<ssize_t>(sizeof result);
        close(out[0]);
        Check(got && filler.Clean(), "the filling process " + filler.Describe());
        Report("refused after " + std::to_string(result[0]) + " writes with status " + std::to_string(result[1]));
        Check(std::find(refusals.begin(), refusals.end(), result[1]) != refusals.end(),
              "the refusal's status is " + std::to_string(result[1]));
        const int filled = result[0];
        const ChildEnd verify = RunChild(
            [filled] { return VerifyValues(L"fill", filled, [](int) -> std::size_t { return 16384; }); }, 60);
        Check(verify.Clean(), "writes reported committed before the refusal: " + verify.Describe());
        ExpectSeedKept("after the refusal");
    }

    void FullDiskTmpfs(const std::string& dir)
    {
        // A mount namespace of this process's own, so that the mount goes when the driver ends,
        // however it ends.
        if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("tessel-faults", dir.c_str(), "tmpfs", 0, "size=1m,mode=0755") != 0) {
            Report(std::string("skipped: no tmpfs mount here (") + std::strerror(errno) + ")");
            return;
        }
        if (SeedStore())
            FillUntilRefused([] {}, {ERROR_CANTWRITE});
        for (const std::string& file : HiveFiles(dir))
            Check(IntegrityCheck(file) == "ok", "integrity of " + file);
        umount2(dir.c_str(), MNT_DETACH);
    }

    void FullDiskFileSizeLimit(const std::string& dir)
    {
        if (!SeedStore())
            return;
        FillUntilRefused([] {
            signal(SIGXFSZ, SIG_IGN);
            const rlimit limit{1 << 20, 1 << 20};
            setrlimit(RLIMIT_FSIZE, &limit);
        },
                         // The limit reaches SQLite as EFBIG, an I/O error rather than a full disk.
                         {ERROR_CANTWRITE, ERROR_REGISTRY_IO_FAILED});
        for (const std::string& file : HiveFiles(dir))
            Check(IntegrityCheck(file) == "ok", "integrity of " + file);
    }

    // Another user may read the hive but not write its directory: the machine hive's usual case.
    // At rest, no -wal or -shm file is left for the reader to use.
    void ReadOnlyDirectory(const std::string& dir, bool atRest)
    {
        if (!SeedStore())
            return;
        if (atRest)
            Checkpoint(dir + "/HKCU.db");
        chmod(dir.c_str(), 0555);
        if (geteuid() != 0)
            Report("not root: the probe runs as this user");
        const Probe probe = ProbeStore(true);
        Report(probe.Describe());
        Check(probe.read == ERROR_SUCCESS, "a reader finds the seeded values (read " + std::to_string(probe.read) + ")");
        Check(probe.write == ERROR_ACCESS_DENIED, "writes are refused as ERROR_ACCESS_DENIED (write " +
                                                      std::to_string(probe.write) + ")");
        chmod(dir.c_str(), 0755);
        ExpectSeedKept("after the directory is writable again");
    }

    void UnreadableHive(const std::string& dir)
    {
        if (!SeedStore())
            return;
        for (const char* suffix : {"", "-wal", "-shm"})
            chmod((dir + "/HKCU.db" + suffix).c_str(), geteuid() == 0 ? 0600 : 0);
        const Probe probe = ProbeStore(true);
        Report(probe.Describe());
        Check(probe.read == ERROR_ACCESS_DENIED, "reads give ERROR_ACCESS_DENIED, never an empty hive (read " +
                                                     std::to_string(probe.read) + ")");
        Check(probe.write == ERROR_ACCESS_DENIED, "writes give ERROR_ACCESS_DENIED (write " +
                                                      std::to_string(probe.write) + ")");
        for (const char* suffix : {"", "-wal", "-shm"})
            chmod((dir + "/HKCU.db" + suffix).c_str(), 0644);
        ExpectSeedKept("after the file is readable again");
    }

    void HiveIsADirectory(const std::string& dir)
    {
        mkdir((dir + "/HKCU.db").c_str(), 0755);
        const Probe probe = ProbeStore(false);
        Report(probe.Describe());
        Check(probe.read != ERROR_SUCCESS && probe.read != ERROR_FILE_NOT_FOUND,
              "reads never find an empty hive (read " + std::to_string(probe.read) + ")");
        Check(probe.write != ERROR_SUCCESS, "writes fail (write " + std::to_string(probe.write) + ")");
    }

    // A damaged hive must not look empty, and must not be replaced by a new one: what is left of
    // it is all the data there is.
    void DamagedHive(const std::string& dir, bool garbage)
    {
        if (!SeedStore())
            return;
        const std::string file = dir + "/HKCU.db";
        Checkpoint(file);
        struct stat before {};
        stat(file.c_str(), &before);
        if (garbage) {
            const int fd = open(file.c_str(), O_WRONLY);
            std::vector<char> noise(static_cast<std::size_t>(before.st_size));
            Random random(7);
            for (char& c : noise)
                c = static_cast<char>(random.Next());
            Check(pwrite(fd, noise.data(), noise.size(), 0) == before.st_size, "writing garbage");
            close(fd);
        } else {
            Check(truncate(file.c_str(), before.st_size / 2) == 0, "truncating");
        }
        const Probe probe = ProbeStore(false);
        Report(probe.Describe());
        Check(probe.read != ERROR_SUCCESS && probe.read != ERROR_FILE_NOT_FOUND,
              "reads report the damage (read " + std::to_string(probe.read) + ")");
        Check(probe.write != ERROR_SUCCESS, "writes fail (write " + std::to_string(probe.write) + ")");
        struct stat after {};
        stat(file.c_str(), &after);
        Check(after.st_size == (garbage ? before.st_size : before.st_size / 2), "the damaged file is left as it was");
    }

    // Once every process has ended, the .db file alone holds the hive.
    void DeletedWal(const std::string& dir)
    {
        if (!SeedStore())
            return;
        std::remove((dir + "/HKCU.db-wal").c_str());
        std::remove((dir + "/HKCU.db-shm").c_str());
        ExpectSeedKept("with the -wal file deleted after every process ended");
    }

    void MissingDirectory(const std::string& dir)
    {
        const std::string deeper = dir + "/not/made/yet";
        UseStore(deeper);
        const Probe empty = ProbeStore(false);
        Report(empty.Describe());
        Check(empty.read == ERROR_FILE_NOT_FOUND, "a hive never made reads as empty");
        Check(empty.write == ERROR_SUCCESS, "the first write makes the directories");
        if (SeedStore())
            ExpectSeedKept("in the directory the store made");
        // A directory that can't be made: its parent is a file.
        const std::string blocked = dir + "/file";
        std::fclose(std::fopen(blocked.c_str(), "w"));
        UseStore(blocked + "/store");
        const Probe refused = ProbeStore(false);
        Report("under a file: " + refused.Describe());
        Check(refused.write != ERROR_SUCCESS, "a store that can't be made refuses writes");
    }

    // Moves everything into the .db file, as a clean shutdown does, so that damage to it hits data.
    void Checkpoint(const std::string& file)
    {
        sqlite3* db = nullptr;
        if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK)
            sqlite3_exec(db, "PRAGMA wal_checkpoint(TRUNCATE)", nullptr, nullptr, nullptr);
        sqlite3_close(db);
        std::remove((file + "-wal").c_str());
        std::remove((file + "-shm").c_str());
    }

    std::string m_only;
    std::string m_name;
    ScratchDirectory m_scratch;
    Tally m_tally;
};

} // namespace

int main(int argc, char** argv)
{
    const Options options(argc, argv);
    return Faults(options.Text("only", "")).Run();
}

// Kills a writer process with SIGKILL at random moments and, after each kill, holds what a fresh
// process finds in the store against what the writer's log says was committed: nothing lost,
// nothing torn, nothing applied that failed, and every hive passing SQLite's integrity check.
//   tessel-crash-loop [--kills N] [--variant plain|reader|first-write] [--seed S]
// With "reader" a second process reads throughout and checks every value it gets; with
// "first-write" each kill lands in the first write into an empty directory.
// In its metrics, "lost" counts committed writes missing from the store, and "torn" values that
// no allowed outcome gives: bytes that are not one whole write, or a write that failed or never
// committed.

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <iostream>
#include <sstream>
#include <thread>
#include <unistd.h>

#include "CrashModel.h"
#include "DriverSupport.h"

using namespace Reliability;

namespace {

const std::wstring kRoot = L"Software\\CrashLoop";
constexpr int kKeys = 4, kSubKeys = 3, kValues = 4;
constexpr std::uint64_t kTornWrite = ~0ull;

std::wstring FullPath(const std::string& path)
{
    return path.empty() ? kRoot : kRoot + L"\\" + Wide(path);
}

std::uint32_t ValueSize(Random& random)
{
    const auto pick = random.Below(100);
    if (pick < 60)
        return static_cast<std::uint32_t>(kMinValueSize + random.Below(256));
    if (pick < 85)
        return static_cast<std::uint32_t>(256 + random.Below(64 * 1024));
    return static_cast<std::uint32_t>(64 * 1024 + random.Below(1024 * 1024 - 64 * 1024 + 1));
}

LogRecord NextOperation(Random& random, std::uint64_t seq)
{
    LogRecord op;
    op.seq = seq;
    op.key = static_cast<std::uint32_t>(random.Below(kKeys));
    op.sub = random.Percent(50) ? static_cast<std::int32_t>(random.Below(kSubKeys)) : -1;
    op.value = static_cast<std::uint32_t>(random.Below(kValues));
    const auto pick = random.Below(100);
    op.op = pick < 15   ? CrashOp::CreateKey
            : pick < 50 ? CrashOp::SetValue
            : pick < 65 ? CrashOp::SetValueLibrary
            : pick < 78 ? CrashOp::DeleteValue
            : pick < 86 ? CrashOp::DeleteTree
            : pick < 93 ? CrashOp::DeleteTreeLibrary
                        : CrashOp::DeleteLeaf;
    if (op.op == CrashOp::SetValue || op.op == CrashOp::SetValueLibrary)
        op.size = ValueSize(random);
    return op;
}

void Log(int fd, const LogRecord& record)
{
    // The log only has to outlive SIGKILL, not a power cut: the kernel keeps what write() took.
    if (write(fd, &record, sizeof record) != static_cast<ssize_t>(sizeof record))
        _exit(90);
}

// Runs one operation; a key that can't be opened means the call is not made (and not logged).
bool Perform(int log, LogRecord op)
{
    const std::wstring path = FullPath(op.Path());
    const std::wstring name = L"v" + std::to_wstring(op.value);
    HKEY key = nullptr;
    const bool needsKey = op.op == CrashOp::SetValue || op.op == CrashOp::DeleteValue;
    if (needsKey && RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_ALL_ACCESS, &key) != ERROR_SUCCESS)
        return false;
    std::unique_ptr<Tessel::PersistRegistry> wrapper;
    try {
        if (op.op == CrashOp::SetValueLibrary)
            wrapper = std::make_unique<Tessel::PersistRegistry>((L"HKCU\\" + path).c_str(), Tessel::ReadWrite);
        else if (op.op == CrashOp::DeleteTreeLibrary)
            wrapper = std::make_unique<Tessel::PersistRegistry>((L"HKCU\\" + kRoot).c_str(), Tessel::ReadWrite);
    } catch (const Tessel::ExceptionBase&) {
        return false;
    }
    const std::vector<std::uint8_t> data = op.size ? ValueBytes(op.seq, op.size) : std::vector<std::uint8_t>();
    op.size = static_cast<std::uint32_t>(data.size());
    Log(log, op);
    LONG status = ERROR_SUCCESS;
    switch (op.op) {
    case CrashOp::CreateKey: {
        HKEY made = nullptr;
        status = RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &made, nullptr);
        if (status == ERROR_SUCCESS)
            RegCloseKey(made);
        break;
    }
    case CrashOp::SetValue:
        status = RegSetValueExW(key, name.c_str(), 0, REG_BINARY, data.data(), static_cast<DWORD>(data.size()));
        break;
    case CrashOp::DeleteValue:
        status = RegDeleteValueW(key, name.c_str());
        break;
    case CrashOp::DeleteTree:
        status = SHDeleteKeyW(HKEY_CURRENT_USER, path.c_str());
        break;
    case CrashOp::DeleteLeaf:
        status = RegDeleteKeyW(HKEY_CURRENT_USER, path.c_str());
        break;
    case CrashOp::SetValueLibrary:
    case CrashOp::DeleteTreeLibrary:
        try {
            if (op.op == CrashOp::SetValueLibrary)
                wrapper->Write(name.c_str(), const_cast<unsigned char*>(data.data()), data.size());
            else
                wrapper->Remove(Wide(op.Path()).c_str(), true);
        } catch (const Tessel::ExceptionBase&) {
            status = ERROR_CANTWRITE;
        }
        break;
    }
    if (key != nullptr)
        RegCloseKey(key);
    op.outcome = 1;
    op.status = status;
    Log(log, op);
    return true;
}

int Writer(const std::string& logFile, std::uint64_t firstSeq, std::uint64_t seed, bool firstWrite)
{
    const int log = open(logFile.c_str(), O_WRONLY | O_APPEND | O_CREAT, 0644);
    if (log < 0)
        return 91;
    Random random(seed);
    std::uint64_t seq = firstSeq;
    if (firstWrite) {
        LogRecord create;
        create.seq = seq++;
        create.op = CrashOp::CreateKey;
        Perform(log, create);
        LogRecord set = create;
        set.seq = seq++;
        set.op = CrashOp::SetValue;
        set.size = ValueSize(random);
        Perform(log, set);
    }
    for (;;) {
        if (Perform(log, NextOperation(random, seq)))
            ++seq;
    }
}

// Reads values throughout the writer's life: each must be one whole write, and never older than
// one this reader already saw under the same name.
int Reader(int stop, int results)
{
    Random random(static_cast<std::uint64_t>(getpid()));
    std::map<std::string, std::uint64_t> seen;
    std::vector<std::uint8_t> buffer(1024 * 1024 + 64);
    long reads = 0, torn = 0, stale = 0;
    fcntl(stop, F_SETFL, O_NONBLOCK);
    char ignored;
    while (read(stop, &ignored, 1) < 0) {
        LogRecord where = NextOperation(random, 0);
        HKEY key = nullptr;
        if (RegOpenKeyExW(HKEY_CURRENT_USER, FullPath(where.Path()).c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
            continue;
        const std::wstring name = L"v" + std::to_wstring(where.value);
        DWORD size = static_cast<DWORD>(buffer.size());
        const LONG status = RegQueryValueExW(key, name.c_str(), nullptr, nullptr, buffer.data(), &size);
        RegCloseKey(key);
        ++reads;
        if (status != ERROR_SUCCESS)
            continue;
        const auto write = WriteOfBytes(buffer.data(), size);
        std::uint64_t& last = seen[where.Path() + "/" + Narrow(name)];
        if (!write)
            ++torn;
        else if (*write < last)
            ++stale;
        else
            last = *write;
    }
    const long counts[] = {reads, torn, stale};
    return write(results, counts, sizeof counts) == static_cast<ssize_t>(sizeof counts) ? 0 : 1;
}

// What a fresh process finds below the root, one line per key and value, then the integrity
// check of each hive file.
int Snapshot(int out, const std::string& directory)
{
    std::ostringstream text;
    std::vector<uint8_t> buffer(1024 * 1024 + 64);
    std::vector<std::string> pending{""};
    while (!pending.empty()) {
        const std::string path = pending.back();
        pending.pop_back();
        HKEY key = nullptr;
        const LONG opened = RegOpenKeyExW(HKEY_CURRENT_USER, FullPath(path).c_str(), 0, KEY_READ, &key);
        if (opened == ERROR_FILE_NOT_FOUND)
            continue;
        if (opened != ERROR_SUCCESS) {
            text << "E open " << path << " " << opened << "\n";
            continue;
        }
        if (!path.empty())
            text << "K " << path << "\n";
        for (DWORD index = 0;; ++index) {
            wchar_t name[300];
            DWORD length = 300, size = static_cast<DWORD>(buffer.size());
            const LONG status = RegEnumValueW(key, index, name, &length, nullptr, nullptr, buffer.data(), &size);
            if (status == ERROR_NO_MORE_ITEMS)
                break;
            if (status != ERROR_SUCCESS) {
                text << "E value " << path << " " << status << "\n";
                break;
            }
            const auto write = WriteOfBytes(buffer.data(), size);
            text << "V " << path << " " << Narrow(std::wstring(name, length)) << " " << (write ? *write : kTornWrite)
                 << "\n";
        }
        for (DWORD index = 0;; ++index) {
            wchar_t name[300];
            DWORD length = 300;
            const LONG status = RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
            if (status == ERROR_NO_MORE_ITEMS)
                break;
            if (status != ERROR_SUCCESS) {
                text << "E key " << path << " " << status << "\n";
                break;
            }
            pending.push_back((path.empty() ? "" : path + "\\") + Narrow(std::wstring(name, length)));
        }
        RegCloseKey(key);
    }
    for (const std::string& file : HiveFiles(directory))
        text << "I " << file << " " << IntegrityCheck(file) << "\n";
    const std::string all = text.str();
    return write(out, all.data(), all.size()) == static_cast<ssize_t>(all.size()) ? 0 : 1;
}

struct Observed {
    TreeState tree;
    int torn = 0;
    std::vector<std::string> problems;
};

Observed ParseSnapshot(const std::string& text)
{
    Observed observed;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream fields(line.substr(2));
        if (line[0] == 'K') {
            observed.tree.keys[line.substr(2)];
        } else if (line[0] == 'V') {
            std::string path, name;
            std::uint64_t write = 0;
            fields >> path >> name >> write;
            if (write == kTornWrite)
                ++observed.torn;
            observed.tree.keys[path][name] = write;
        } else if (line[0] == 'I') {
            if (line.size() < 3 || line.substr(line.size() - 3) != " ok")
                observed.problems.push_back("integrity check: " + line.substr(2));
        } else {
            observed.problems.push_back("store status: " + line);
        }
    }
    return observed;
}

std::string ReadAll(int fd)
{
    std::string all;
    char chunk[65536];
    for (ssize_t n; (n = read(fd, chunk, sizeof chunk)) > 0;)
        all.append(chunk, static_cast<std::size_t>(n));
    return all;
}

// The log from offset on: completed operations, and the one whose outcome the kill cut off.
std::vector<LogRecord> ReadLog(const std::string& file, off_t& offset, std::optional<LogRecord>& inFlight)
{
    std::vector<LogRecord> done;
    const int fd = open(file.c_str(), O_RDONLY);
    if (fd < 0)
        return done;
    lseek(fd, offset, SEEK_SET);
    LogRecord record;
    while (read(fd, &record, sizeof record) == static_cast<ssize_t>(sizeof record)) {
        offset += sizeof record;
        if (record.outcome == 0) {
            inFlight = record;
        } else {
            inFlight.reset();
            done.push_back(record);
        }
    }
    close(fd);
    return done;
}

struct Totals {
    long kills = 0, calls = 0, lost = 0, torn = 0, stale = 0, crashes = 0;
    double writerSeconds = 0;
};

class CrashLoop {
public:
    CrashLoop(const Options& options, Tally& tally)
        : m_variant(options.Text("variant", "plain"))
        , m_kills(options.Number("kills", 50))
        , m_random(static_cast<std::uint64_t>(options.Number("seed", 1)))
        , m_scratch("crash-loop")
        , m_tally(tally)
    {
    }

    Totals Run()
    {
        const std::string logFile = m_scratch.Path() + "/writer.log";
        std::string store = m_scratch.NewSubdirectory("store");
        UseStore(store);
        for (long kill = 0; kill < m_kills; ++kill) {
            if (m_variant == "first-write") {
                store = m_scratch.NewSubdirectory("store");
                UseStore(store);
                m_model = TreeState();
            }
            KillOnce(logFile, store, kill);
        }
        return m_totals;
    }

private:
    void KillOnce(const std::string& logFile, const std::string& store, long kill)
    {
        const bool firstWrite = m_variant == "first-write";
        int stop[2] = {-1, -1}, results[2] = {-1, -1};
        pid_t reader = -1;
        if (m_variant == "reader" && pipe(stop) == 0 && pipe(results) == 0) {
            reader = fork();
            if (reader == 0) {
                close(stop[1]);
                _exit(Reader(stop[0], results[1]));
            }
            close(stop[0]);
            close(results[1]);
        }
        const std::uint64_t seed = m_random.Next();
        const pid_t writer = fork();
        if (writer == 0)
            _exit(Writer(logFile, m_nextSeq, seed, firstWrite));
        const double started = Now();
        const auto delay = firstWrite ? m_random.Below(40000) : 1000 + m_random.Below(m_random.Percent(20) ? 3000 : 60000);
        std::this_thread::sleep_for(std::chrono::microseconds(delay));
        ::kill(writer, SIGKILL);
        const ChildEnd writerEnd = WaitChild(writer, 30);
        m_totals.writerSeconds += Now() - started;
        ++m_totals.kills;
        if (writerEnd.exited || writerEnd.signal != SIGKILL) {
            ++m_totals.crashes;
            m_tally.Fail("kill " + std::to_string(kill) + ": the writer ended by itself: " + writerEnd.Describe());
        }
        if (reader > 0)
            CollectReader(reader, stop[1], results[0], kill);

        std::optional<LogRecord> inFlight;
        const std::vector<LogRecord> done = ReadLog(logFile, m_logOffset, inFlight);
        for (const LogRecord& op : done) {
            ++m_totals.calls;
            m_nextSeq = std::max(m_nextSeq, op.seq + 1);
            if (op.status == ERROR_SUCCESS)
                Apply(m_model, op);
        }
        if (inFlight)
            m_nextSeq = std::max(m_nextSeq, inFlight->seq + 1);
        CheckStore(store, inFlight, kill);
        if (firstWrite)
            CheckHiveTakesWrites(kill);
    }

    void CollectReader(pid_t reader, int stop, int results, long kill)
    {
        close(stop);
        long counts[3] = {0, 0, 0};
        const bool got = read(results, counts, sizeof counts) == static_cast<ssize_t>(sizeof counts);
        close(results);
        const ChildEnd end = WaitChild(reader, 30);
        m_tally.Check(got && end.Clean(), "kill " + std::to_string(kill) + ": the reader " + end.Describe());
        m_totals.calls += counts[0];
        m_totals.torn += counts[1];
        m_totals.stale += counts[2];
        m_tally.Check(counts[1] == 0 && counts[2] == 0, "kill " + std::to_string(kill) + ": the reader saw " +
                                                            std::to_string(counts[1]) + " torn and " +
                                                            std::to_string(counts[2]) + " stale values");
    }

    void CheckStore(const std::string& store, const std::optional<LogRecord>& inFlight, long kill)
    {
        int out[2];
        if (pipe(out) != 0)
            return m_tally.Fail("pipe");
        const pid_t checker = fork();
        if (checker == 0) {
            close(out[0]);
            alarm(120);
            _exit(Snapshot(out[1], store));
        }
        close(out[1]);
        const Observed observed = ParseSnapshot(ReadAll(out[0]));
        close(out[0]);
        const ChildEnd end = WaitChild(checker, 150);
        const std::string label = "kill " + std::to_string(kill) + ": ";
        if (!end.Clean()) {
            ++m_totals.crashes;
            m_tally.Fail(label + "the checking process " + end.Describe());
        }
        for (const std::string& problem : observed.problems)
            m_tally.Fail(label + problem);
        m_totals.torn += observed.torn;

        // The operation the kill cut off may or may not have happened, but wholly if at all.
        TreeState after = m_model;
        if (inFlight)
            Apply(after, *inFlight);
        const Difference before = Compare(m_model, observed.tree);
        const Difference applied = Compare(after, observed.tree);
        const Difference& closest = applied.Total() < before.Total() ? applied : before;
        m_totals.lost += closest.lost;
        m_totals.torn += closest.extra;
        m_tally.Check(closest.Total() == 0 && observed.torn == 0,
                      label + closest.first + (inFlight ? " (cut off: " + inFlight->Describe() + ")" : ""));
        // Later kills are judged against what the store holds, so that one fault is counted once.
        m_model = observed.tree;
    }

    // A kill during a hive's making must leave a hive that the next process can write.
    void CheckHiveTakesWrites(long kill)
    {
        const ChildEnd end = RunChild([] { return WriteAndReadBack(L"Software\\AfterTheKill", 7); }, 60);
        m_tally.Check(end.Clean(),
                      "kill " + std::to_string(kill) + ": the next process can't use the hive: " + end.Describe());
    }

    std::string m_variant;
    long m_kills;
    Random m_random;
    ScratchDirectory m_scratch;
    Tally& m_tally;
    TreeState m_model;
    std::uint64_t m_nextSeq = 1;
    off_t m_logOffset = 0;
    Totals m_totals;
};

} // namespace

int main(int argc, char** argv)
{
    const Options options(argc, argv);
    Tally tally;
    const double started = Now();
    CrashLoop loop(options, tally);
    const Totals totals = loop.Run();
    const double seconds = Now() - started;
    char throughput[32];
    std::snprintf(throughput, sizeof throughput, "%.0f", totals.writerSeconds > 0 ? totals.calls / totals.writerSeconds : 0);
    PrintMetrics("crash-loop/" + options.Text("variant", "plain"),
                 {{"kills", std::to_string(totals.kills)},
                  {"calls", std::to_string(totals.calls)},
                  {"lost", std::to_string(totals.lost)},
                  {"torn", std::to_string(totals.torn)},
                  {"stale", std::to_string(totals.stale)},
                  {"crashes", std::to_string(totals.crashes)},
                  {"throughput", throughput},
                  {"seconds", std::to_string(static_cast<long>(seconds))}});
    return tally.Finish();
}

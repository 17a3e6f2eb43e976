// Several processes with several threads each hammer overlapping keys for a bounded time. Every
// writer bumps counters of its own, and publishes each committed value in shared memory before
// its next call, so that every read can be judged: never older than what was committed before
// the read began, never older than what this thread saw before, and a writer reads its own last
// write. At the end a fresh process finds every writer's last value. 65% of calls modify.
// With --first-write-race, it starts processes together into an empty store instead, round
// after round, and every one of them must make its first write.
//   tessel-soak [--seconds S] [--configs 1x1,1x4,4x1,4x4] [--keys K]
//   tessel-soak --first-write-race ROUNDS [--processes P]

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

#include "DriverSupport.h"

using namespace Reliability;

namespace {

constexpr int kMaxWriters = 64;
constexpr int kMaxKeys = 16;

// Lives in memory shared by every process of one configuration.
struct Published {
    std::atomic<std::uint64_t> counter[kMaxKeys][kMaxWriters];
};

struct ThreadResult {
    long calls = 0, errors = 0, stale = 0;
    double slowest = 0;
    std::string firstError;

    void Merge(const ThreadResult& other)
    {
        calls += other.calls;
        errors += other.errors;
        stale += other.stale;
        slowest = std::max(slowest, other.slowest);
        if (firstError.empty())
            firstError = other.firstError;
    }
};

std::wstring KeyPath(int key)
{
    return L"Software\\Soak\\k" + std::to_wstring(key);
}

std::wstring WriterName(int writer)
{
    return L"w" + std::to_wstring(writer);
}

class SoakThread {
public:
    SoakThread(Published& published, int writer, int writers, int keys, double deadline)
        : m_published(published)
        , m_writer(writer)
        , m_writers(writers)
        , m_keys(keys)
        , m_deadline(deadline)
        , m_random(writer * 7919 + 1)
    {
    }

    ThreadResult Run()
    {
        std::vector<HKEY> handles(m_keys, nullptr);
        for (int k = 0; k < m_keys; ++k) {
            const LONG status = RegOpenKeyExW(HKEY_CURRENT_USER, KeyPath(k).c_str(), 0, KEY_ALL_ACCESS, &handles[k]);
            Expect(status == ERROR_SUCCESS, "open", status);
        }
        m_mine.assign(m_keys, 0);
        m_seen.assign(static_cast<std::size_t>(m_keys) * kMaxWriters, 0);
        while (Now() < m_deadline)
            Step(handles);
        for (HKEY handle : handles)
            RegCloseKey(handle);
        return m_result;
    }

private:
    void Step(const std::vector<HKEY>& handles)
    {
        const int k = static_cast<int>(m_random.Below(m_keys));
        const HKEY key = handles[k];
        const auto pick = m_random.Below(100);
        const double started = Now();
        if (pick < 45)
            WriteCounter(key, k);
        else if (pick < 55)
            MakeSubKey(key);
        else if (pick < 65)
            DeleteSubKey(key);
        else if (pick < 95)
            ReadCounter(key, k);
        else
            Enumerate(key);
        m_result.slowest = std::max(m_result.slowest, Now() - started);
        ++m_result.calls;
    }

    void WriteCounter(HKEY key, int k)
    {
        const std::uint64_t next = m_mine[k] + 1;
        const LONG status = RegSetValueExW(key, WriterName(m_writer).c_str(), 0, REG_QWORD,
                                           reinterpret_cast<const BYTE*>(&next), sizeof next);
        if (Expect(status == ERROR_SUCCESS, "RegSetValueExW", status)) {
            m_mine[k] = next;
            m_published.counter[k][m_writer].store(next);
        }
    }

    void MakeSubKey(HKEY key)
    {
        HKEY sub = nullptr;
        const LONG status = RegCreateKeyExW(key, WriterName(m_writer).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                            &sub, nullptr);
        if (Expect(status == ERROR_SUCCESS, "RegCreateKeyExW", status))
            RegCloseKey(sub);
    }

    void DeleteSubKey(HKEY key)
    {
        const LONG status = RegDeleteKeyW(key, WriterName(m_writer).c_str());
        Expect(status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND, "RegDeleteKeyW", status);
    }

    void ReadCounter(HKEY key, int k)
    {
        const int other = static_cast<int>(m_random.Below(m_writers));
        // Taken before the call: whatever was committed by then must show.
        const std::uint64_t committed = m_published.counter[k][other].load();
        std::uint64_t value = 0;
        DWORD size = sizeof value;
        const LONG status =
            RegQueryValueExW(key, WriterName(other).c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size);
        if (status == ERROR_FILE_NOT_FOUND)
            value = 0;
        else if (!Expect(status == ERROR_SUCCESS, "RegQueryValueExW", status))
            return;
        std::uint64_t& seen = m_seen[static_cast<std::size_t>(k) * kMaxWriters + other];
        const bool own = other == m_writer;
        if (value < committed || value < seen || (own && value != m_mine[k])) {
            if (m_result.stale++ == 0)
                Note("k" + std::to_string(k) + " w" + std::to_string(other) + " read " + std::to_string(value) +
                     " after " + std::to_string(std::max(committed, seen)) + (own ? " (own writes)" : ""));
        }
        seen = std::max(seen, value);
    }

    void Enumerate(HKEY key)
    {
        for (DWORD index = 0;; ++index) {
            wchar_t name[32];
            DWORD length = 32;
            const LONG status = RegEnumValueW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
            if (status == ERROR_NO_MORE_ITEMS || !Expect(status == ERROR_SUCCESS, "RegEnumValueW", status))
                break;
        }
    }

    bool Expect(bool ok, const char* call, LONG status)
    {
        if (!ok && m_result.errors++ == 0)
            Note(std::string(call) + " gave " + std::to_string(status));
        return ok;
    }

    void Note(const std::string& what)
    {
        if (m_result.firstError.empty())
            m_result.firstError = "writer " + std::to_string(m_writer) + ": " + what;
    }

    Published& m_published;
    int m_writer;
    int m_writers;
    int m_keys;
    double m_deadline;
    Random m_random;
    std::vector<std::uint64_t> m_mine;
    std::vector<std::uint64_t> m_seen;
    ThreadResult m_result;
};

// One process of a configuration: threads [first, first + threads) of `writers`.
int SoakProcess(Published& published, int first, int threads, int writers, int keys, double deadline, int out)
{
    std::vector<ThreadResult> results(threads);
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([&, t] {
            SoakThread thread(published, first + t, writers, keys, deadline);
            results[t] = thread.Run();
        });
    }
    ThreadResult all;
    for (int t = 0; t < threads; ++t) {
        workers[t].join();
        all.Merge(results[t]);
    }
    std::ostringstream line;
    line << all.calls << ' ' << all.errors << ' ' << all.stale << ' ' << all.slowest << ' ' << all.firstError << '\n';
    const std::string text = line.str();
    return write(out, text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1;
}

int MakeKeys(int keys)
{
    for (int k = 0; k < keys; ++k) {
        HKEY key = nullptr;
        if (RegCreateKeyExW(HKEY_CURRENT_USER, KeyPath(k).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                            nullptr) != ERROR_SUCCESS)
            return 1;
        RegCloseKey(key);
    }
    return 0;
}

// A fresh process reads every writer's counter: each must hold the last value it published.
int CountLost(const Published& published, int writers, int keys)
{
    int lost = 0;
    for (int k = 0; k < keys; ++k) {
        HKEY key = nullptr;
        if (RegOpenKeyExW(HKEY_CURRENT_USER, KeyPath(k).c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
            return 100;
        for (int w = 0; w < writers; ++w) {
            std::uint64_t value = 0;
            DWORD size = sizeof value;
            RegQueryValueExW(key, WriterName(w).c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size);
            lost += value != published.counter[k][w].load() ? 1 : 0;
        }
        RegCloseKey(key);
    }
    return std::min(lost, 99);
}

void RunConfiguration(const ScratchDirectory& scratch, int processes, int threads, int keys, double seconds,
                      Tally& tally)
{
    const std::string name = std::to_string(processes) + "x" + std::to_string(threads);
    UseStore(scratch.NewSubdirectory(name));
    void* memory = mmap(nullptr, sizeof(Published), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto* published = new (memory) Published();
    // Racing processes into an empty store is the first-write driver's business: here the hive
    // and keys exist before the load starts.
    tally.Check(RunChild([&] { return MakeKeys(keys); }, 60).Clean(), name + ": making the keys");

    int out[2];
    if (pipe(out) != 0)
        return tally.Fail("pipe");
    const int writers = processes * threads;
    const double deadline = Now() + seconds;
    const double started = Now();
    std::vector<pid_t> children;
    for (int p = 0; p < processes; ++p) {
        const pid_t child = fork();
        if (child == 0) {
            close(out[0]);
            _exit(SoakProcess(*published, p * threads, threads, writers, keys, deadline, out[1]));
        }
        children.push_back(child);
    }
    close(out[1]);
    std::string text;
    char chunk[4096];
    for (ssize_t n; (n = read(out[0], chunk, sizeof chunk)) > 0;)
        text.append(chunk, static_cast<std::size_t>(n));
    close(out[0]);
    long crashes = 0;
    for (const pid_t child : children) {
        const ChildEnd end = WaitChild(child, static_cast<int>(seconds) + 120);
        if (!end.Clean()) {
            ++crashes;
            tally.Fail(name + ": a soak process " + end.Describe());
        }
    }
    const double elapsed = Now() - started;

    ThreadResult total;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        ThreadResult one;
        fields >> one.calls >> one.errors >> one.stale >> one.slowest;
        std::getline(fields, one.firstError);
        total.Merge(one);
    }
    const ChildEnd counted = RunChild([&] { return CountLost(*published, writers, keys); }, 60);
    const long lost = counted.exited ? counted.code : 100;
    tally.Check(total.errors == 0, name + ": " + std::to_string(total.errors) + " undocumented statuses;" +
                                       total.firstError);
    tally.Check(total.stale == 0, name + ": " + std::to_string(total.stale) + " stale reads;" + total.firstError);
    tally.Check(lost == 0, name + ": " + std::to_string(lost) + " writers' last values lost");
    char throughput[32], slowest[32];
    std::snprintf(throughput, sizeof throughput, "%.0f", total.calls / elapsed);
    std::snprintf(slowest, sizeof slowest, "%.1f", total.slowest * 1000);
    PrintMetrics("soak/" + name, {{"calls", std::to_string(total.calls)},
                                  {"lost", std::to_string(lost)},
                                  {"stale", std::to_string(total.stale)},
                                  {"crashes", std::to_string(crashes)},
                                  {"errors", std::to_string(total.errors)},
                                  {"throughput", throughput},
                                  {"slowest_ms", slowest}});
    munmap(memory, sizeof(Published));
}

// One process of the race: waits for the start, then makes a key and a value of its own.
int FirstWrite(int start, int index)
{
    char ignored;
    if (read(start, &ignored, 1) != 0)
        return 1;
    HKEY key = nullptr;
    const std::wstring name = L"Software\\Race\\p" + std::to_wstring(index);
    LONG status = RegCreateKeyExW(HKEY_CURRENT_USER, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    if (status == ERROR_SUCCESS) {
        const DWORD value = static_cast<DWORD>(index);
        status = RegSetValueExW(key, L"v", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof value);
        RegCloseKey(key);
    }
    if (status != ERROR_SUCCESS)
        std::cout << "process " << index << ": status " << status << std::endl;
    return status == ERROR_SUCCESS ? 0 : 2;
}

int FirstWriteRace(const Options& options)
{
    const long rounds = options.Number("first-write-race", 50);
    const int processes = static_cast<int>(options.Number("processes", 8));
    Tally tally;
    ScratchDirectory scratch("first-write-race");
    long failed = 0;
    for (long round = 0; round < rounds; ++round) {
        UseStore(scratch.NewSubdirectory("store"));
        int start[2];
        if (pipe(start) != 0)
            break;
        std::vector<pid_t> children;
        for (int p = 0; p < processes; ++p) {
            const pid_t child = fork();
            if (child == 0) {
                close(start[1]);
                _exit(FirstWrite(start[0], p));
            }
            children.push_back(child);
        }
        close(start[0]);
        close(start[1]);
        int ok = 0;
        for (const pid_t child : children)
            ok += WaitChild(child, 60).Clean() ? 1 : 0;
        failed += processes - ok;
        tally.Check(ok == processes, "round " + std::to_string(round) + ": " + std::to_string(processes - ok) + " of " +
                                         std::to_string(processes) + " first writes failed");
    }
    PrintMetrics("first-write-race", {{"calls", std::to_string(rounds * processes * 2)},
                                      {"errors", std::to_string(failed)}});
    return tally.Finish();
}

} // namespace

int main(int argc, char** argv)
{
    const Options options(argc, argv);
    if (options.Number("first-write-race", 0) > 0)
        return FirstWriteRace(options);
    const double seconds = static_cast<double>(options.Number("seconds", 20));
    const int keys = static_cast<int>(std::clamp(options.Number("keys", 8), 1L, static_cast<long>(kMaxKeys)));
    std::vector<std::pair<int, int>> configurations;
    std::istringstream list(options.Text("configs", "1x1,1x4,4x1,4x4"));
    for (std::string item; std::getline(list, item, ',');) {
        int processes = 0, threads = 0;
        if (std::sscanf(item.c_str(), "%dx%d", &processes, &threads) == 2 && processes > 0 && threads > 0 &&
            processes * threads <= kMaxWriters)
            configurations.emplace_back(processes, threads);
    }
    Tally tally;
    ScratchDirectory scratch("soak");
    for (const auto& [processes, threads] : configurations)
        RunConfiguration(scratch, processes, threads, keys, seconds / configurations.size(), tally);
    return tally.Finish();
}

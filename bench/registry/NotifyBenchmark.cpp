// Change notification's costs: how soon a commit in one process signals a registration in
// another, what a thousand registrations that wait cost the reads and writes of the process
// beside none, and what they cost while nothing changes.
//
//   bench_registry_notify               all of it, then the figures with their aims
//   bench_registry_notify --benchmark_filter=Latency   the latency alone

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <csignal>
#include <ctime>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "registry/BenchSupport.h"
#include "registry/RatioTable.h"
#include "support/ScratchStore.h"

namespace {

using namespace TesselBench;

constexpr int kRegistrations = 1000;
const std::wstring kBase = L"Software\\NotifyBench";

double Now()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double ProcessCpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

bool ReadAll(int fd, void* data, std::size_t size)
{
    char* bytes = static_cast<char*>(data);
    while (size > 0) {
        const ssize_t n = read(fd, bytes, size);
        if (n <= 0)
            return false;
        bytes += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

// A thousand keys, each watched for its values with an event of its own; nobody changes them.
class IdleRegistrations {
public:
    IdleRegistrations()
    {
        for (int i = 0; i < kRegistrations; ++i) {
            m_keys.push_back(CreateKey(HKEY_CURRENT_USER, kBase + L"\\Watched\\k" + std::to_wstring(i)));
            m_events.push_back(CreateEventW(nullptr, TRUE, FALSE, nullptr));
            Check(RegNotifyChangeKeyValue(m_keys.back(), FALSE, REG_NOTIFY_CHANGE_LAST_SET, m_events.back(), TRUE),
                  "register");
        }
    }
    ~IdleRegistrations()
    {
        for (HKEY key : m_keys)
            RegCloseKey(key);
        for (HANDLE event : m_events)
            CloseHandle(event);
    }
    IdleRegistrations(const IdleRegistrations&) = delete;
    IdleRegistrations& operator=(const IdleRegistrations&) = delete;

private:
    std::vector<HKEY> m_keys;
    std::vector<HANDLE> m_events;
};

// A child process commits one value each time it is asked, and answers with the monotonic time
// just before its commit began. The parent times from then to its event's signal.
void BM_Notify_CrossProcessLatency(benchmark::State& state)
{
    HKEY key = CreateKey(HKEY_CURRENT_USER, kBase + L"\\Latency");
    int ask[2], answer[2];
    if (pipe(ask) != 0 || pipe(answer) != 0)
        state.SkipWithError("pipe");
    const pid_t child = fork();
    if (child == 0) {
        close(ask[1]);
        close(answer[0]);
        char byte;
        DWORD value = 0;
        while (read(ask[0], &byte, 1) == 1) {
            const double started = Now();
            if (RegSetValueExW(key, L"v", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&++value), sizeof(value)) !=
                    ERROR_SUCCESS ||
                write(answer[1], &started, sizeof(started)) != static_cast<ssize_t>(sizeof(started)))
                _exit(1);
        }
        _exit(0);
    }
    HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    std::vector<double> latencies;
    for (auto _ : state) {
        Check(RegNotifyChangeKeyValue(key, FALSE, REG_NOTIFY_CHANGE_LAST_SET, event, TRUE), "register");
        const char byte = 1;
        if (write(ask[1], &byte, 1) != 1 || WaitForSingleObject(event, 10000) != WAIT_OBJECT_0) {
            state.SkipWithError("no signal within 10 s");
            break;
        }
        const double signalled = Now();
        double started = 0;
        if (!ReadAll(answer[0], &started, sizeof(started))) {
            state.SkipWithError("the writer ended");
            break;
        }
        const double latency = std::max(0.0, signalled - started);
        latencies.push_back(latency);
        state.SetIterationTime(latency);
    }
    close(ask[1]);
    waitpid(child, nullptr, 0);
    close(ask[0]);
    close(answer[0]);
    close(answer[1]);
    CloseHandle(event);
    RegCloseKey(key);
    if (latencies.empty())
        return;
    std::sort(latencies.begin(), latencies.end());
    state.counters["median_ms"] = latencies[latencies.size() / 2] * 1e3;
    state.counters["worst_ms"] = latencies.back() * 1e3;
}
BENCHMARK(BM_Notify_CrossProcessLatency)->Iterations(300)->UseManualTime()->Unit(benchmark::kMicrosecond);

// Writes to a key nobody watches, with the process's CPU time: the watcher thread's share of
// each write is in it.
void BM_Notify_Write(benchmark::State& state)
{
    HKEY key = CreateKey(HKEY_CURRENT_USER, kBase + L"\\Written");
    std::unique_ptr<IdleRegistrations> registrations;
    if (state.range(0) != 0)
        registrations = std::make_unique<IdleRegistrations>();
    DWORD value = 0;
    for (auto _ : state)
        Check(RegSetValueExW(key, L"v", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&++value), sizeof(value)), "write");
    RegCloseKey(key);
}
BENCHMARK(BM_Notify_Write)->Arg(0)->Arg(kRegistrations)->MeasureProcessCPUTime();

void BM_Notify_Read(benchmark::State& state)
{
    HKEY key = CreateKey(HKEY_CURRENT_USER, kBase + L"\\Read");
    DWORD value = 7;
    Check(RegSetValueExW(key, L"v", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value)), "write");
    std::unique_ptr<IdleRegistrations> registrations;
    if (state.range(0) != 0)
        registrations = std::make_unique<IdleRegistrations>();
    for (auto _ : state) {
        DWORD size = sizeof(value);
        Check(RegQueryValueExW(key, L"v", nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size), "read");
        benchmark::DoNotOptimize(value);
    }
    RegCloseKey(key);
}
BENCHMARK(BM_Notify_Read)->Arg(0)->Arg(kRegistrations)->MeasureProcessCPUTime();

// The process's CPU time over two idle seconds with a thousand registrations waiting: the
// benchmark's own thread sleeps, so what is spent is the watcher's.
void BM_Notify_IdleRegistrations(benchmark::State& state)
{
    const IdleRegistrations registrations;
    // The keys were just made: the watcher's last reads of those commits are done within a second.
    sleep(1);
    for (auto _ : state) {
        const double before = ProcessCpuSeconds();
        sleep(2);
        state.counters["cpu_ms_in_2s"] = (ProcessCpuSeconds() - before) * 1e3;
    }
}
BENCHMARK(BM_Notify_IdleRegistrations)->Iterations(1)->Unit(benchmark::kMillisecond);

void PrintTable(const RatioTable& run)
{
    RatioTable::Heading("Change notification, from this run (aim in brackets):");
    const std::string latency = "BM_Notify_CrossProcessLatency/iterations:300/manual_time";
    RatioTable::Value("commit in another process -> event, median", run.Counter(latency, "median_ms"), "ms", "<= 5");
    RatioTable::Value("commit in another process -> event, worst", run.Counter(latency, "worst_ms"), "ms", "<= 50");
    RatioTable::Row("write with 1,000 registrations / without, process CPU", run.Time("BM_Notify_Write/1000/process_time"),
                    run.Time("BM_Notify_Write/0/process_time"), "~1");
    RatioTable::Row("read with 1,000 registrations / without, process CPU", run.Time("BM_Notify_Read/1000/process_time"),
                    run.Time("BM_Notify_Read/0/process_time"), "~1");
    RatioTable::Value("CPU of 1,000 idle registrations over 2 s",
                      run.Counter("BM_Notify_IdleRegistrations/iterations:1", "cpu_ms_in_2s"), "ms", "0");
}

} // namespace

int main(int argc, char** argv)
{
    const ScratchStore store;
    // One run of each: the latency's worst is the worst of all its commits, not a median of worsts.
    benchmark::Initialize(&argc, argv);
    RatioTable table;
    benchmark::RunSpecifiedBenchmarks(&table);
    PrintTable(table);
    benchmark::Shutdown();
    return 0;
}

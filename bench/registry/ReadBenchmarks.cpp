// Reads of the anchors' workload: the floor of an in-process hash map, the hot read through open
// handles, and the same read while another process, or this one, writes elsewhere in the hive.

#include <benchmark/benchmark.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <ctime>
#include <sys/wait.h>
#include <unistd.h>

#include "registry/BenchSupport.h"
#include "registry/Workload.h"

namespace {

using TesselBench::TheWorkload;
using TesselBench::Workload;

// Steps through the workload's values: every sub-key, every value, in turn.
struct Cursor {
    int key = 0;
    int value = 0;

    void Next()
    {
        if (++value == TesselBench::kValuesPerKey) {
            value = 0;
            key = (key + 1) % TesselBench::kSubKeys;
        }
    }
};

void ReadOne(const Workload& workload, Cursor& at, benchmark::State& state)
{
    BYTE buffer[256];
    DWORD size = sizeof(buffer);
    DWORD type = 0;
    if (RegQueryValueExW(workload.keys[at.key], workload.names[at.value].c_str(), nullptr, &type, buffer, &size) !=
        ERROR_SUCCESS)
        state.SkipWithError("read failed");
    benchmark::DoNotOptimize(buffer);
    at.Next();
}

// The floor: find the value by path and name in a hash map and copy it out.
void BM_Floor_HashMapRead(benchmark::State& state)
{
    const Workload& workload = TheWorkload();
    std::vector<std::wstring> paths;
    for (int i = 0; i < TesselBench::kSubKeys; ++i)
        paths.push_back(std::wstring(TesselBench::kWorkloadBase) + L"\\" + TesselBench::SubKeyName(i));
    BYTE buffer[256];
    Cursor at;
    for (auto _ : state) {
        const auto found = workload.floor.find(paths[at.key] + L"\\" + workload.names[at.value]);
        std::memcpy(buffer, found->second.data(), found->second.size());
        benchmark::DoNotOptimize(buffer);
        at.Next();
    }
}

// Reads through open handles, as a client's configuration reads go.
void BM_Registry_HotRead(benchmark::State& state)
{
    const Workload& workload = TheWorkload();
    Cursor at;
    for (auto _ : state)
        ReadOne(workload, at, state);
}

// Another process that writes one value of a key of its own 1,000 times a second, on a clock,
// until it is stopped; it says how many writes it made.
class PacedWriter {
public:
    explicit PacedWriter(HKEY key)
    {
        if (pipe(m_report) != 0)
            return;
        m_child = fork();
        if (m_child != 0)
            return;
        close(m_report[0]);
        timespec next{};
        clock_gettime(CLOCK_MONOTONIC, &next);
        for (DWORD written = 1;; ++written) {
            next.tv_nsec += 1000000;
            if (next.tv_nsec >= 1000000000) {
                next.tv_nsec -= 1000000000;
                ++next.tv_sec;
            }
            clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &next, nullptr);
            if (RegSetValueExW(key, L"paced", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&written), sizeof(written)) !=
                    ERROR_SUCCESS ||
                write(m_report[1], &written, sizeof(written)) != static_cast<ssize_t>(sizeof(written)))
                _exit(1);
        }
    }
    ~PacedWriter() { Stop(); }
    PacedWriter(const PacedWriter&) = delete;
    PacedWriter& operator=(const PacedWriter&) = delete;

    // Stops the writer and gives how many writes it made.
    DWORD Stop()
    {
        if (m_child <= 0)
            return 0;
        kill(m_child, SIGKILL);
        waitpid(m_child, nullptr, 0);
        m_child = 0;
        close(m_report[1]);
        DWORD last = 0, written = 0;
        while (read(m_report[0], &written, sizeof(written)) == static_cast<ssize_t>(sizeof(written)))
            last = written;
        close(m_report[0]);
        return last;
    }

private:
    pid_t m_child = 0;
    int m_report[2] = {-1, -1};
};

void BM_Registry_HotReadWhileAnotherProcessWrites(benchmark::State& state)
{
    const Workload& workload = TheWorkload();
    Cursor at;
    PacedWriter writer(workload.elsewhere);
    const auto start = std::chrono::steady_clock::now();
    for (auto _ : state)
        ReadOne(workload, at, state);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    state.counters["other_writes_per_s"] = writer.Stop() / seconds;
}

// Times blocks of reads one by one, leaving out what between() does before each block.
template <typename Between>
void TimedBlocks(benchmark::State& state, int reads, Between&& between)
{
    const Workload& workload = TheWorkload();
    Cursor at;
    for (auto _ : state) {
        between();
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < reads; ++i)
            ReadOne(workload, at, state);
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    state.SetItemsProcessed(state.iterations() * reads);
}

void WriteElsewhere(DWORD& number)
{
    ++number;
    TesselBench::Check(RegSetValueExW(TheWorkload().elsewhere, L"own", 0, REG_DWORD,
                                      reinterpret_cast<const BYTE*>(&number), sizeof(number)),
                       "write");
}

// The hot read timed in blocks of 20, the reference for reads between own writes.
void BM_Registry_HotReadBlocks(benchmark::State& state)
{
    TimedBlocks(state, 20, [] {});
}

// 20 reads after each own write to an unrelated value; the writes are left out.
void BM_Registry_ReadsBetweenOwnWrites(benchmark::State& state)
{
    DWORD number = 0;
    TimedBlocks(state, 20, [&number] { WriteElsewhere(number); });
}

// One hot read timed alone, the reference for a read right after a write.
void BM_Registry_HotReadAlone(benchmark::State& state)
{
    TimedBlocks(state, 1, [] {});
}

// One read right after a write to another key; the write is left out.
void BM_Registry_ReadRightAfterWrite(benchmark::State& state)
{
    DWORD number = 0;
    TimedBlocks(state, 1, [&number] { WriteElsewhere(number); });
}

} // namespace

BENCHMARK(BM_Floor_HashMapRead);
BENCHMARK(BM_Registry_HotRead);
BENCHMARK(BM_Registry_HotReadWhileAnotherProcessWrites)->MinTime(2.0);
BENCHMARK(BM_Registry_HotReadBlocks)->UseManualTime();
BENCHMARK(BM_Registry_ReadsBetweenOwnWrites)->UseManualTime()->Iterations(20000);
BENCHMARK(BM_Registry_HotReadAlone)->UseManualTime();
BENCHMARK(BM_Registry_ReadRightAfterWrite)->UseManualTime()->Iterations(20000);

// The registry store at scale: one key with N = 1,000 / 10,000 / 100,000 / 1,000,000 sub-keys of
// five values each. For each N: the open of a random sub-key by name from the parent's handle, a
// warm read, a read right after a write to another key, enumeration per sub-key, a write, and the
// hive file's size (its .db and -wal after the store's checkpoint) against the bytes of names and
// data it holds; beside the set-up's time, the size its -wal had reached. Times are CPU times,
// except the read after a write, which is timed alone by the wall clock. The random open walks
// every sub-key's name in a shuffled order, so at the larger N most opens find the name in the
// database rather than in the process's cache, as a program that opens keys at random among a
// million would.
//
// Each N runs in a child process of its own, on a hive of its own: the child makes the set
// through the registry's calls, runs the benchmarks, sends its figures back and exits, and its
// exit is the store's checkpoint, after which this process measures the files.
//
//   bench_registry_scale                          every N, 3 interleaved repetitions each; 14
//                                                 minutes on a busy 2-core machine, 11 of them
//                                                 making the 1,000,000 sub-keys
//   bench_registry_scale --largest=100000         stop at 100,000 (2 minutes)
//   bench_registry_scale --writers=1              make the sets with one thread (default 8: on a
//                                                 busy 2-core machine 10,000 sub-keys took 4.9 s
//                                                 with 1 thread, 4.8 s with 4, 4.3 s with 8)
//   bench_registry_scale --benchmark_filter=Open  any Google Benchmark flag, passed to each child
//
// Not run by CI: it takes minutes, and disk in /tmp, where each N's store is made
// (TESSEL_REGISTRY_DIR is not used: every N needs a hive of its own): the hive file, some 650 MB
// at 1,000,000, and a -wal that stays near 10 MB while the set is made.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "registry/BenchSupport.h"
#include "registry/RatioTable.h"
#include "registry/ScaleSet.h"
#include "support/ScratchStore.h"

namespace {

using TesselBench::Check;

// What one child measured for its N, in the order the table prints it.
struct ScaleFigures {
    double setUpSeconds = -1;
    double walBytesAfterSetUp = -1; // the -wal file once the set is made, before any checkpoint ends it
    double openNs = -1;
    double readNs = -1;
    double readAfterWriteNs = -1;
    double enumerateNs = -1;
    double writeNs = -1;
};

// The child's set, made before its benchmarks run.
struct ScaleSet {
    int count = 0;
    HKEY parent = nullptr;
    std::vector<std::wstring> shuffled; // every sub-key's name, in random order
    std::vector<HKEY> open;             // a hundred random sub-keys, open
    HKEY elsewhere = nullptr;           // a key outside the set, for the writes before reads
};

ScaleSet g_set;

void BM_Scale_RandomOpen(benchmark::State& state)
{
    std::size_t at = 0;
    for (auto _ : state) {
        HKEY key = nullptr;
        if (RegOpenKeyExW(g_set.parent, g_set.shuffled[at].c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
            state.SkipWithError("open failed");
        RegCloseKey(key);
        at = at + 1 == g_set.shuffled.size() ? 0 : at + 1;
    }
}

void ReadOne(std::size_t at, benchmark::State& state)
{
    BYTE buffer[256];
    DWORD size = sizeof(buffer);
    const int value = static_cast<int>(at % TesselBench::kScaleValues);
    if (RegQueryValueExW(g_set.open[at % g_set.open.size()], TesselBench::ScaleValueName(value).c_str(), nullptr,
                         nullptr, buffer, &size) != ERROR_SUCCESS)
        state.SkipWithError("read failed");
    benchmark::DoNotOptimize(buffer);
}

void BM_Scale_WarmRead(benchmark::State& state)
{
    std::size_t at = 0;
    for (auto _ : state)
        ReadOne(at++, state);
}

// One read right after a write to a key outside the set; the write is left out.
void BM_Scale_ReadAfterWrite(benchmark::State& state)
{
    std::size_t at = 0;
    DWORD number = 0;
    for (auto _ : state) {
        ++number;
        Check(RegSetValueExW(g_set.elsewhere, L"own", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number),
                             sizeof(number)),
              "write");
        const auto start = std::chrono::steady_clock::now();
        ReadOne(at++, state);
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
}

// One iteration walks every sub-key by index, as a client's loop does.
void BM_Scale_Enumerate(benchmark::State& state)
{
    wchar_t name[256];
    for (auto _ : state) {
        for (int i = 0; i < g_set.count; ++i) {
            DWORD length = 256;
            if (RegEnumKeyExW(g_set.parent, static_cast<DWORD>(i), name, &length, nullptr, nullptr, nullptr,
                              nullptr) != ERROR_SUCCESS) {
                state.SkipWithError("enumeration failed");
                break;
            }
        }
    }
    state.SetItemsProcessed(state.iterations() * g_set.count);
}

// A value of a random sub-key of the set replaced.
void BM_Scale_Write(benchmark::State& state)
{
    std::size_t at = 0;
    DWORD number = 0;
    for (auto _ : state) {
        ++number;
        if (RegSetValueExW(g_set.open[at++ % g_set.open.size()], L"Count", 0, REG_DWORD,
                           reinterpret_cast<const BYTE*>(&number), sizeof(number)) != ERROR_SUCCESS)
            state.SkipWithError("write failed");
    }
}

constexpr const char* kReadAfterWrite = "BM_Scale_ReadAfterWrite/iterations:20000/manual_time";

std::uint64_t FileSize(const std::string& path)
{
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

std::string HiveFile()
{
    return std::string(std::getenv("TESSEL_REGISTRY_DIR")) + "/HKCU.db";
}

void MakeSet(int count, int writers, ScaleFigures& figures)
{
    const auto start = std::chrono::steady_clock::now();
    g_set.count = count;
    g_set.parent = TesselBench::MakeScaleSet(count, writers);
    figures.setUpSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    // The log only starts again once a checkpoint has caught up with every commit, which
    // writers that never pause don't allow: how far it grew says how far the checkpoints fell behind.
    figures.walBytesAfterSetUp = static_cast<double>(FileSize(HiveFile() + "-wal"));

    std::mt19937 random(20261124);
    for (int i = 0; i < count; ++i)
        g_set.shuffled.push_back(TesselBench::ScaleSubKeyName(i));
    std::shuffle(g_set.shuffled.begin(), g_set.shuffled.end(), random);
    for (std::size_t i = 0; i < 100 && i < g_set.shuffled.size(); ++i)
        g_set.open.push_back(TesselBench::CreateKey(g_set.parent, g_set.shuffled[i]));
    g_set.elsewhere = TesselBench::CreateKey(HKEY_CURRENT_USER, L"Software\\TesselBench\\Elsewhere");
}

// The child for one N: makes the set in the store TESSEL_REGISTRY_DIR names, runs the benchmarks
// and writes its figures to the pipe.
int RunChild(int count, int writers, std::vector<char*> arguments, int report)
{
    ScaleFigures figures;
    MakeSet(count, writers, figures);
    std::printf("\nN = %d: set made in %.1f s\n", count, figures.setUpSeconds);
    std::fflush(stdout);

    benchmark::RegisterBenchmark("BM_Scale_RandomOpen", BM_Scale_RandomOpen);
    benchmark::RegisterBenchmark("BM_Scale_WarmRead", BM_Scale_WarmRead);
    benchmark::RegisterBenchmark("BM_Scale_ReadAfterWrite", BM_Scale_ReadAfterWrite)
        ->UseManualTime()
        ->Iterations(20000);
    benchmark::RegisterBenchmark("BM_Scale_Enumerate", BM_Scale_Enumerate);
    benchmark::RegisterBenchmark("BM_Scale_Write", BM_Scale_Write);
    int argc = static_cast<int>(arguments.size()) - 1;
    benchmark::Initialize(&argc, arguments.data());
    TesselBench::RatioTable table;
    benchmark::RunSpecifiedBenchmarks(&table);
    benchmark::Shutdown();

    figures.openNs = table.Time("BM_Scale_RandomOpen");
    figures.readNs = table.Time("BM_Scale_WarmRead");
    figures.readAfterWriteNs = table.Time(kReadAfterWrite);
    figures.enumerateNs = table.Time("BM_Scale_Enumerate", count);
    figures.writeNs = table.Time("BM_Scale_Write");
    const bool sent = write(report, &figures, sizeof(figures)) == static_cast<ssize_t>(sizeof(figures));
    return sent ? 0 : 1;
}

// One N in a child process on a store of its own; the hive's size is taken once the child has
// ended, that is after its exit moved the WAL into the database file.
bool MeasureOne(int count, int writers, const std::vector<char*>& arguments, ScaleFigures& figures,
                std::uint64_t& hiveBytes)
{
    unsetenv("TESSEL_REGISTRY_DIR");
    const TesselBench::ScratchStore store; // a fresh directory, gone when this N is done
    int report[2];
    if (pipe(report) != 0)
        return false;
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        close(report[0]);
        std::exit(RunChild(count, writers, arguments, report[1]));
    }
    close(report[1]);
    const bool received = child > 0 && read(report[0], &figures, sizeof(figures)) == sizeof(figures);
    close(report[0]);
    int status = 0;
    const bool ended = child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) &&
                       WEXITSTATUS(status) == 0;
    const std::string hive = HiveFile();
    hiveBytes = FileSize(hive) + FileSize(hive + "-wal");
    return received && ended;
}

void PrintTable(const std::vector<int>& counts, const std::vector<ScaleFigures>& figures,
                const std::vector<std::uint64_t>& hiveBytes)
{
    TesselBench::RatioTable::Heading("The store at scale: N sub-keys of 5 values under one key (CPU time, the read\n"
                                     "after a write by the wall clock; aim: random open among 1,000,000 within 3 us)");
    std::printf("  %9s %9s %9s %9s %9s %11s %10s %9s %9s %9s %7s\n", "N", "set-up s", "wal MB", "open ns",
                "read ns", "rd-aft-wr ns", "enum ns/it", "write ns", "hive MB", "data MB", "ratio");
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const ScaleFigures& f = figures[i];
        const double data = static_cast<double>(TesselBench::ScaleDataBytes(counts[i]));
        const double hive = static_cast<double>(hiveBytes[i]);
        std::printf("  %9d %9.1f %9.0f %9.0f %9.0f %11.0f %10.0f %9.0f %9.1f %9.1f %6.2fx\n", counts[i],
                    f.setUpSeconds, f.walBytesAfterSetUp / 1e6, f.openNs, f.readNs, f.readAfterWriteNs, f.enumerateNs,
                    f.writeNs, hive / 1e6, data / 1e6, hive / data);
    }
}

// Takes --name=number out of the arguments.
int TakeNumber(std::vector<char*>& arguments, const char* name, int fallback)
{
    const std::size_t length = std::strlen(name);
    for (auto it = arguments.begin(); it != arguments.end() && *it != nullptr; ++it) {
        if (std::strncmp(*it, name, length) == 0 && (*it)[length] == '=') {
            const int number = std::atoi(*it + length + 1);
            arguments.erase(it);
            return number;
        }
    }
    return fallback;
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<char*> arguments(argv, argv + argc);
    arguments.push_back(nullptr);
    const int largest = TakeNumber(arguments, "--largest", 1000000);
    const int writers = TakeNumber(arguments, "--writers", 8);
    bool repetitionsTold = false;
    for (char* argument : arguments)
        repetitionsTold = repetitionsTold || (argument && std::strncmp(argument, "--benchmark_repetitions", 23) == 0);
    static char repetitions[] = "--benchmark_repetitions=3";
    static char interleaving[] = "--benchmark_enable_random_interleaving=true";
    static char aggregates[] = "--benchmark_report_aggregates_only=true";
    if (!repetitionsTold)
        arguments.insert(arguments.begin() + 1, {repetitions, interleaving, aggregates});

    std::vector<int> counts;
    std::vector<ScaleFigures> figures;
    std::vector<std::uint64_t> hiveBytes;
    for (int count = 1000; count <= largest && count <= 1000000; count *= 10) {
        ScaleFigures measured;
        std::uint64_t bytes = 0;
        if (!MeasureOne(count, std::max(writers, 1), arguments, measured, bytes)) {
            std::fprintf(stderr, "bench_registry_scale: N = %d failed\n", count);
            return 1;
        }
        counts.push_back(count);
        figures.push_back(measured);
        hiveBytes.push_back(bytes);
    }
    PrintTable(counts, figures, hiveBytes);
    return 0;
}

// Benchmarks of the registry store, each beside an in-process hash-map lookup measured in the
// same run, and a bare SQLite UPSERT with the store's durability beside its write. At the end the
// run prints each figure as a ratio to its baseline.
//
//   bench_registry                      all benchmarks, then the ratio table
//   bench_registry --cold-start-child   (internal) one cold open and first read, in a fresh process

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <spawn.h>
#include <sqlite3.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <unordered_map>
#include <vector>

#include "TesselWin32.h"
#include "registry/BenchSupport.h"
#include "support/ScratchStore.h"

extern char** environ;

using TesselBench::Check;
using TesselBench::CreateKey;

namespace {

// The workload of the anchors: one key with 100 sub-keys of 20 values each, short texts and
// 32-bit numbers.
constexpr int kSubKeys = 100;
constexpr int kValuesPerKey = 20;
const wchar_t* const kBase = L"Software\\TesselBench\\Workload";

std::wstring SubKeyName(int i)
{
    return L"Item" + std::to_wstring(1000 + i);
}

std::wstring ValueName(int j)
{
    return L"value" + std::to_wstring(10 + j);
}

std::vector<BYTE> ValueData(int i, int j)
{
    if (j % 2 == 0) {
        const DWORD number = static_cast<DWORD>(i * 1000 + j);
        const BYTE* bytes = reinterpret_cast<const BYTE*>(&number);
        return std::vector<BYTE>(bytes, bytes + sizeof(number));
    }
    const std::string text = "text " + std::to_string(i) + "/" + std::to_string(j);
    std::vector<BYTE> data;
    for (char c : text) {
        data.push_back(static_cast<BYTE>(c));
        data.push_back(0);
    }
    data.push_back(0);
    data.push_back(0);
    return data;
}

struct Workload {
    std::vector<HKEY> keys;
    std::unordered_map<std::wstring, std::vector<BYTE>> floor; // path + "\" + name -> data

    Workload()
    {
        for (int i = 0; i < kSubKeys; ++i) {
            const std::wstring path = std::wstring(kBase) + L"\\" + SubKeyName(i);
            HKEY key = CreateKey(HKEY_CURRENT_USER, path);
            for (int j = 0; j < kValuesPerKey; ++j) {
                const std::vector<BYTE> data = ValueData(i, j);
                Check(RegSetValueExW(key, ValueName(j).c_str(), 0, j % 2 == 0 ? REG_DWORD : REG_SZ, data.data(),
                                     static_cast<DWORD>(data.size())),
                      "set");
                floor.emplace(path + L"\\" + ValueName(j), data);
            }
            keys.push_back(key);
        }
    }
};

Workload& TheWorkload()
{
    static Workload* workload = new Workload();
    return *workload;
}

// The floor: find the value by path and name in a hash map and copy it out.
void BM_Floor_HashMapRead(benchmark::State& state)
{
    Workload& workload = TheWorkload();
    std::vector<std::wstring> paths, names;
    for (int i = 0; i < kSubKeys; ++i)
        paths.push_back(std::wstring(kBase) + L"\\" + SubKeyName(i));
    for (int j = 0; j < kValuesPerKey; ++j)
        names.push_back(ValueName(j));
    BYTE buffer[256];
    int i = 0, j = 0;
    for (auto _ : state) {
        const auto found = workload.floor.find(paths[i] + L"\\" + names[j]);
        std::memcpy(buffer, found->second.data(), found->second.size());
        benchmark::DoNotOptimize(buffer);
        if (++j == kValuesPerKey) {
            j = 0;
            i = (i + 1) % kSubKeys;
        }
    }
}

// A repeated read of values through open handles, as a client's configuration reads go.
void BM_Registry_RepeatedRead(benchmark::State& state)
{
    Workload& workload = TheWorkload();
    std::vector<std::wstring> names;
    for (int j = 0; j < kValuesPerKey; ++j)
        names.push_back(ValueName(j));
    BYTE buffer[256];
    int i = 0, j = 0;
    for (auto _ : state) {
        DWORD size = sizeof(buffer);
        DWORD type = 0;
        if (RegQueryValueExW(workload.keys[i], names[j].c_str(), nullptr, &type, buffer, &size) != ERROR_SUCCESS)
            state.SkipWithError("read failed");
        benchmark::DoNotOptimize(buffer);
        if (++j == kValuesPerKey) {
            j = 0;
            i = (i + 1) % kSubKeys;
        }
    }
}

void BM_Registry_OpenFourLevels(benchmark::State& state)
{
    TheWorkload();
    // Software\TesselBench\Workload\Item1042: four levels below the hive root.
    const std::wstring path = std::wstring(kBase) + L"\\" + SubKeyName(42);
    for (auto _ : state) {
        HKEY key = nullptr;
        if (RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
            state.SkipWithError("open failed");
        RegCloseKey(key);
    }
}

void BM_Registry_Write(benchmark::State& state)
{
    Workload& workload = TheWorkload();
    DWORD number = 0;
    for (auto _ : state) {
        ++number;
        if (RegSetValueExW(workload.keys[0], L"written", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number),
                           sizeof(number)) != ERROR_SUCCESS)
            state.SkipWithError("write failed");
    }
}

// What one write costs SQLite itself with the store's durability: WAL, synchronous=NORMAL, one
// prepared UPSERT per transaction.
void BM_Sqlite_Upsert(benchmark::State& state)
{
    const std::string path = std::string(std::getenv("TESSEL_REGISTRY_DIR")) + "/bare.db";
    sqlite3* db = nullptr;
    sqlite3_open(path.c_str(), &db);
    sqlite3_exec(db, "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;"
                     "CREATE TABLE IF NOT EXISTS v(k INTEGER NOT NULL, name BLOB NOT NULL, data BLOB,"
                     " PRIMARY KEY(k, name)) WITHOUT ROWID",
                 nullptr, nullptr, nullptr);
    sqlite3_stmt* upsert = nullptr;
    sqlite3_prepare_v2(db, "INSERT INTO v(k, name, data) VALUES(1, x'7700', ?1) ON CONFLICT(k, name) DO UPDATE SET data = excluded.data",
                       -1, &upsert, nullptr);
    DWORD number = 0;
    for (auto _ : state) {
        ++number;
        sqlite3_bind_blob(upsert, 1, &number, sizeof(number), SQLITE_STATIC);
        if (sqlite3_step(upsert) != SQLITE_DONE)
            state.SkipWithError("upsert failed");
        sqlite3_reset(upsert);
    }
    sqlite3_finalize(upsert);
    sqlite3_close(db);
}

HKEY WideKey(int count)
{
    static std::map<int, HKEY> keys;
    auto found = keys.find(count);
    if (found != keys.end())
        return found->second;
    HKEY key = CreateKey(HKEY_CURRENT_USER, L"Software\\TesselBench\\Wide" + std::to_wstring(count));
    for (int i = 0; i < count; ++i)
        RegCloseKey(CreateKey(key, L"sub" + std::to_wstring(i * 7919 % count)));
    keys.emplace(count, key);
    return key;
}

LONG EnumerateAll(HKEY key, int count)
{
    wchar_t name[256];
    for (int i = 0; i < count; ++i) {
        DWORD length = 256;
        const LONG status = RegEnumKeyExW(key, static_cast<DWORD>(i), name, &length, nullptr, nullptr, nullptr, nullptr);
        if (status != ERROR_SUCCESS)
            return status;
    }
    return ERROR_SUCCESS;
}

// One iteration enumerates every sub-key by index, as a client's loop does.
void BM_Registry_EnumerateSubKeys(benchmark::State& state)
{
    const int count = static_cast<int>(state.range(0));
    HKEY key = WideKey(count);
    for (auto _ : state) {
        if (EnumerateAll(key, count) != ERROR_SUCCESS)
            state.SkipWithError("enumeration failed");
    }
    state.SetItemsProcessed(state.iterations() * count);
}

// The same right after a write to the hive, so each pass reads the list from the database.
void BM_Registry_EnumerateSubKeysAfterWrite(benchmark::State& state)
{
    const int count = static_cast<int>(state.range(0));
    HKEY key = WideKey(count);
    DWORD number = 0;
    for (auto _ : state) {
        state.PauseTiming();
        ++number;
        RegSetValueExW(key, L"moved", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof(number));
        state.ResumeTiming();
        if (EnumerateAll(key, count) != ERROR_SUCCESS)
            state.SkipWithError("enumeration failed");
    }
    state.SetItemsProcessed(state.iterations() * count);
}

// The first open and read of a hive in a fresh process, timed inside that process.
int ColdStartChild()
{
    const auto start = std::chrono::steady_clock::now();
    HKEY key = nullptr;
    BYTE buffer[64];
    DWORD size = sizeof(buffer);
    const std::wstring path = std::wstring(kBase) + L"\\" + SubKeyName(7);
    if (RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS ||
        RegQueryValueExW(key, L"value10", nullptr, nullptr, buffer, &size) != ERROR_SUCCESS)
        return 1;
    const auto elapsed = std::chrono::steady_clock::now() - start;
    std::printf("%lld\n", static_cast<long long>(std::chrono::duration_cast<std::chrono::nanoseconds>(elapsed).count()));
    return 0;
}

std::string g_self;

void BM_Registry_ColdStart(benchmark::State& state)
{
    TheWorkload();
    for (auto _ : state) {
        int out[2];
        if (pipe(out) != 0)
            state.SkipWithError("pipe");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, out[1], 1);
        posix_spawn_file_actions_addclose(&actions, out[0]);
        char* argv[] = {const_cast<char*>(g_self.c_str()), const_cast<char*>("--cold-start-child"), nullptr};
        pid_t child = 0;
        const int spawned = posix_spawn(&child, g_self.c_str(), &actions, nullptr, argv, environ);
        posix_spawn_file_actions_destroy(&actions);
        close(out[1]);
        char text[64] = {};
        const ssize_t got = spawned == 0 ? read(out[0], text, sizeof(text) - 1) : -1;
        close(out[0]);
        int status = 0;
        if (spawned == 0)
            waitpid(child, &status, 0);
        if (got <= 0 || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            state.SkipWithError("cold-start child failed");
            break;
        }
        state.SetIterationTime(std::strtoll(text, nullptr, 10) / 1e9);
    }
}

BENCHMARK(BM_Floor_HashMapRead);
BENCHMARK(BM_Registry_RepeatedRead);
BENCHMARK(BM_Registry_OpenFourLevels);
BENCHMARK(BM_Sqlite_Upsert);
BENCHMARK(BM_Registry_Write);
BENCHMARK(BM_Registry_EnumerateSubKeys)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Registry_EnumerateSubKeysAfterWrite)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Registry_ColdStart)->UseManualTime()->Iterations(30)->Unit(benchmark::kMicrosecond);

// Shows the runs as usual and keeps each one's time per iteration, in nanoseconds, for the table.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                m_nanoseconds[run.benchmark_name()] =
                    run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e9;
        }
    }

    void PrintRatios() const
    {
        std::printf("\nRatios from this run (aim in brackets):\n");
        Ratio("repeated read / hash-map floor", "BM_Registry_RepeatedRead", "BM_Floor_HashMapRead", "<= 3");
        Ratio("open of a four-level path / floor", "BM_Registry_OpenFourLevels", "BM_Floor_HashMapRead", "<= 10");
        Ratio("write / bare SQLite UPSERT", "BM_Registry_Write", "BM_Sqlite_Upsert", "<= 1.5");
        Ratio("enumerate 10,000 / enumerate 1,000", "BM_Registry_EnumerateSubKeys/10000",
              "BM_Registry_EnumerateSubKeys/1000", "<= 12");
        Ratio("same, list re-read after a write", "BM_Registry_EnumerateSubKeysAfterWrite/10000",
              "BM_Registry_EnumerateSubKeysAfterWrite/1000", "<= 12");
        Ratio("enumeration per sub-key (1,000) / floor", "BM_Registry_EnumerateSubKeys/1000", "BM_Floor_HashMapRead",
              "", 1000);
        const auto cold = m_nanoseconds.find("BM_Registry_ColdStart/iterations:30/manual_time");
        if (cold != m_nanoseconds.end())
            std::printf("  %-44s %10.3f ms  [< 1 ms]\n", "cold start of a hive (fresh process)", cold->second / 1e6);
    }

private:
    void Ratio(const char* what, const std::string& measured, const std::string& baseline, const char* aim,
               double perItems = 1) const
    {
        const auto top = m_nanoseconds.find(measured);
        const auto bottom = m_nanoseconds.find(baseline);
        if (top == m_nanoseconds.end() || bottom == m_nanoseconds.end())
            return;
        std::printf("  %-44s %10.2f x  [%s]\n", what, top->second / perItems / bottom->second, aim);
    }

    std::map<std::string, double> m_nanoseconds;
};

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--cold-start-child") == 0)
        return ColdStartChild();

    const TesselBench::ScratchStore store;
    char self[4096];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof(self) - 1);
    g_self = length > 0 ? std::string(self, static_cast<std::size_t>(length)) : argv[0];

    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatios();
    benchmark::Shutdown();
    return 0;
}

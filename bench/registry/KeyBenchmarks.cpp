// Keys and writes: the open of a four-level path beside an in-process hash map's open, a write
// beside a bare SQLite UPSERT with the store's durability, enumeration of 100 and 10,000 sub-keys,
// and the cold start of a hive in a fresh process.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <map>
#include <spawn.h>
#include <sqlite3.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <unordered_map>
#include <vector>

#include "registry/BenchSupport.h"
#include "registry/Workload.h"

extern char** environ;

namespace TesselBench {

// The path the cold start opens; the main function runs ColdStartChild in the child.
std::string g_self;

int ColdStartChild()
{
    const auto start = std::chrono::steady_clock::now();
    HKEY key = nullptr;
    BYTE buffer[64];
    DWORD size = sizeof(buffer);
    const std::wstring path = std::wstring(kWorkloadBase) + L"\\" + SubKeyName(7);
    if (RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS ||
        RegQueryValueExW(key, L"value10", nullptr, nullptr, buffer, &size) != ERROR_SUCCESS)
        return 1;
    const auto elapsed = std::chrono::steady_clock::now() - start;
    std::printf("%lld\n", static_cast<long long>(std::chrono::duration_cast<std::chrono::nanoseconds>(elapsed).count()));
    return 0;
}

} // namespace TesselBench

namespace {

using TesselBench::TheWorkload;

// Software\TesselBench\Workload\Item1042: four levels below the hive root.
std::wstring FourLevels()
{
    return std::wstring(TesselBench::kWorkloadBase) + L"\\" + TesselBench::SubKeyName(42);
}

// The floor of an open: the path folded and found in a hash map of every key's path, and a slot
// taken from a free list for the handle and given back at close.
void BM_Floor_HashMapOpen(benchmark::State& state)
{
    std::unordered_map<std::wstring, int> keys;
    for (int i = 0; i < TesselBench::kSubKeys; ++i) {
        std::wstring path = std::wstring(TesselBench::kWorkloadBase) + L"\\" + TesselBench::SubKeyName(i);
        for (wchar_t& c : path)
            c = c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - 32) : c;
        keys.emplace(path, i);
    }
    std::vector<const int*> slots(64);
    std::vector<int> free;
    for (int i = 63; i >= 0; --i)
        free.push_back(i);
    const std::wstring path = FourLevels();
    std::wstring folded;
    for (auto _ : state) {
        folded.assign(path);
        for (wchar_t& c : folded)
            c = c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - 32) : c;
        const auto found = keys.find(folded);
        const int slot = free.back();
        free.pop_back();
        slots[static_cast<std::size_t>(slot)] = &found->second;
        benchmark::DoNotOptimize(slots[static_cast<std::size_t>(slot)]);
        free.push_back(slot);
    }
}

void BM_Registry_OpenFourLevels(benchmark::State& state)
{
    TheWorkload();
    const std::wstring path = FourLevels();
    for (auto _ : state) {
        HKEY key = nullptr;
        if (RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
            state.SkipWithError("open failed");
        RegCloseKey(key);
    }
}

void BM_Registry_Write(benchmark::State& state)
{
    HKEY key = TheWorkload().keys[0];
    DWORD number = 0;
    for (auto _ : state) {
        ++number;
        if (RegSetValueExW(key, L"written", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof(number)) !=
            ERROR_SUCCESS)
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

// A key of its own with count sub-keys, made in a scattered order.
HKEY WideKey(int count)
{
    static std::map<int, HKEY> keys;
    auto found = keys.find(count);
    if (found != keys.end())
        return found->second;
    HKEY key = TesselBench::CreateKey(HKEY_CURRENT_USER, L"Software\\TesselBench\\Wide" + std::to_wstring(count));
    for (int i = 0; i < count; ++i)
        RegCloseKey(TesselBench::CreateKey(key, L"sub" + std::to_wstring(i * 7919 % count)));
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

// The same after the list changed (a sub-key made and deleted, left out), so each pass reads it
// from the database again.
void BM_Registry_EnumerateSubKeysAfterChange(benchmark::State& state)
{
    const int count = static_cast<int>(state.range(0));
    HKEY key = WideKey(count);
    for (auto _ : state) {
        state.PauseTiming();
        RegCloseKey(TesselBench::CreateKey(key, L"passing"));
        TesselBench::Check(RegDeleteKeyW(key, L"passing"), "delete");
        state.ResumeTiming();
        if (EnumerateAll(key, count) != ERROR_SUCCESS)
            state.SkipWithError("enumeration failed");
    }
    state.SetItemsProcessed(state.iterations() * count);
}

// The first open and read of a hive in a fresh process, timed inside that process.
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
        char* argv[] = {const_cast<char*>(TesselBench::g_self.c_str()), const_cast<char*>("--cold-start-child"), nullptr};
        pid_t child = 0;
        const int spawned = posix_spawn(&child, TesselBench::g_self.c_str(), &actions, nullptr, argv, environ);
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

} // namespace

BENCHMARK(BM_Floor_HashMapOpen);
BENCHMARK(BM_Registry_OpenFourLevels);
BENCHMARK(BM_Sqlite_Upsert);
BENCHMARK(BM_Registry_Write);
BENCHMARK(BM_Registry_EnumerateSubKeys)->Arg(100)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Registry_EnumerateSubKeysAfterChange)->Arg(100)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Registry_ColdStart)->UseManualTime()->Iterations(30)->Unit(benchmark::kMicrosecond);

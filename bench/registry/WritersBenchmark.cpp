// Many writers: several processes, each with several threads, making a mix of calls of which 65%
// modify, on keys they all share. One iteration is one timed run; it reports calls per second
// over all processes and the slowest single call, so that 4 processes × 4 threads can be read
// beside 1 × 1 from the same run.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <random>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "TesselWin32.h"
#include "registry/BenchSupport.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kSharedKeys = 8;
constexpr int kValuesPerKey = 16;
constexpr int kChildrenPerKey = 8;
const wchar_t* const kWritersBase = L"Software\\TesselBench\\Writers";

std::wstring SharedKey(int k)
{
    return std::wstring(kWritersBase) + L"\\K" + std::to_wstring(k);
}

// What one thread did.
struct Tally {
    std::uint64_t calls = 0;
    std::uint64_t unexpected = 0; // statuses that the mix should never see
    std::int64_t slowestNanoseconds = 0;
};

// Makes calls until the deadline: 35% reads, 40% value writes, 10% value deletes, 10% creates
// (mostly of keys that are there), 5% key deletes.
Tally RunMix(unsigned seed, Clock::time_point deadline)
{
    Tally tally;
    std::vector<HKEY> keys(kSharedKeys);
    for (int k = 0; k < kSharedKeys; ++k) {
        if (RegCreateKeyExW(HKEY_CURRENT_USER, SharedKey(k).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &keys[k],
                            nullptr) != ERROR_SUCCESS)
            return Tally{0, 1, 0};
    }
    std::mt19937 random(seed);
    wchar_t name[16];
    DWORD number = 0;
    while (Clock::now() < deadline) {
        const int choice = static_cast<int>(random() % 100);
        HKEY key = keys[random() % kSharedKeys];
        std::swprintf(name, 16, L"v%u", static_cast<unsigned>(random() % kValuesPerKey));
        const Clock::time_point start = Clock::now();
        LONG status;
        bool expected;
        if (choice < 35) {
            DWORD size = sizeof(number);
            status = RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &size);
            expected = status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND;
        } else if (choice < 75) {
            ++number;
            status = RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof(number));
            expected = status == ERROR_SUCCESS;
        } else if (choice < 85) {
            status = RegDeleteValueW(key, name);
            expected = status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND;
        } else if (choice < 95) {
            std::swprintf(name, 16, L"c%u", static_cast<unsigned>(random() % kChildrenPerKey));
            HKEY child = nullptr;
            status = RegCreateKeyExW(key, name, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &child, nullptr);
            expected = status == ERROR_SUCCESS;
            RegCloseKey(child);
        } else {
            std::swprintf(name, 16, L"c%u", static_cast<unsigned>(random() % kChildrenPerKey));
            status = RegDeleteKeyW(key, name);
            expected = status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND;
        }
        const std::int64_t took = std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - start).count();
        tally.slowestNanoseconds = std::max(tally.slowestNanoseconds, took);
        ++tally.calls;
        tally.unexpected += expected ? 0 : 1;
    }
    for (HKEY key : keys)
        RegCloseKey(key);
    return tally;
}

// One process's threads, from a common start to a common deadline; the sum goes to fd.
void RunProcess(int threads, int process, Clock::time_point deadline, int fd)
{
    std::vector<Tally> tallies(static_cast<std::size_t>(threads));
    std::vector<std::thread> running;
    for (int t = 0; t < threads; ++t) {
        running.emplace_back([&, t] {
            tallies[static_cast<std::size_t>(t)] = RunMix(static_cast<unsigned>(process * 100 + t + 1), deadline);
        });
    }
    Tally sum;
    for (int t = 0; t < threads; ++t) {
        running[static_cast<std::size_t>(t)].join();
        sum.calls += tallies[static_cast<std::size_t>(t)].calls;
        sum.unexpected += tallies[static_cast<std::size_t>(t)].unexpected;
        sum.slowestNanoseconds = std::max(sum.slowestNanoseconds, tallies[static_cast<std::size_t>(t)].slowestNanoseconds);
    }
    if (write(fd, &sum, sizeof(sum)) != static_cast<ssize_t>(sizeof(sum)))
        _exit(2);
}

void BM_Registry_ManyWriters(benchmark::State& state)
{
    const int processes = static_cast<int>(state.range(0));
    const int threads = static_cast<int>(state.range(1));
    const auto seconds = std::chrono::milliseconds(static_cast<int>(state.range(2)));
    for (int k = 0; k < kSharedKeys; ++k)
        RegCloseKey(TesselBench::CreateKey(HKEY_CURRENT_USER, SharedKey(k)));
    Tally total;
    for (auto _ : state) {
        int results[2];
        if (pipe(results) != 0) {
            state.SkipWithError("pipe");
            break;
        }
        // Every process starts its clock from the same point a little ahead, so that forking
        // the last one doesn't eat into the first one's time.
        const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(100) + seconds;
        std::vector<pid_t> children;
        for (int p = 0; p < processes; ++p) {
            const pid_t child = fork();
            if (child == 0) {
                close(results[0]);
                std::this_thread::sleep_until(deadline - seconds);
                RunProcess(threads, p, deadline, results[1]);
                _exit(0);
            }
            children.push_back(child);
        }
        close(results[1]);
        for (int p = 0; p < processes; ++p) {
            Tally one;
            if (read(results[0], &one, sizeof(one)) != static_cast<ssize_t>(sizeof(one))) {
                state.SkipWithError("a writer process failed");
                break;
            }
            total.calls += one.calls;
            total.unexpected += one.unexpected;
            total.slowestNanoseconds = std::max(total.slowestNanoseconds, one.slowestNanoseconds);
        }
        close(results[0]);
        for (const pid_t child : children)
            waitpid(child, nullptr, 0);
        state.SetIterationTime(std::chrono::duration<double>(seconds).count());
    }
    if (total.unexpected != 0)
        state.SkipWithError("a call gave a status the mix should never see");
    const double elapsed = std::chrono::duration<double>(seconds).count() * static_cast<double>(state.iterations());
    state.counters["calls_per_s"] = static_cast<double>(total.calls) / elapsed;
    state.counters["slowest_ms"] = static_cast<double>(total.slowestNanoseconds) / 1e6;
}

} // namespace

// processes, threads per process, milliseconds of each run
BENCHMARK(BM_Registry_ManyWriters)
    ->Args({1, 1, 3000})
    ->Args({4, 4, 3000})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

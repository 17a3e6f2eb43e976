// The registry store's benchmarks, each beside its reference in the same run: reads beside an
// in-process hash map, opens beside a hash map's open, writes beside a bare SQLite UPSERT, many
// writers beside one. At the end the run prints each figure as a ratio to its reference, with the
// aim in brackets. Times are CPU times, or the manual times of benchmarks that time blocks of
// reads themselves, since the machines these run on are shared.
//
//   bench_registry                      all benchmarks, 5 interleaved repetitions each, then the
//                                       ratio table from their medians
//   bench_registry --benchmark_repetitions=1 --benchmark_min_time=0.1   a quick look
//   bench_registry --cold-start-child   (internal) one cold open and first read, in a fresh process
//
// The scale table (1,000 to 1,000,000 sub-keys) is bench_registry_scale.

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

#include "registry/RatioTable.h"
#include "support/ScratchStore.h"

namespace TesselBench {

extern std::string g_self;
int ColdStartChild();

} // namespace TesselBench

namespace {

void PrintTable(const TesselBench::RatioTable& run)
{
    using Table = TesselBench::RatioTable;
    Table::Heading("Ratios from this run (aim in brackets):");
    const double hot = run.Time("BM_Registry_HotRead");
    Table::Row("hot read / hash-map read", hot, run.Time("BM_Floor_HashMapRead"), "<= 2");
    Table::Row("read while another process writes 1,000x/s / hot read",
               run.Time("BM_Registry_HotReadWhileAnotherProcessWrites/min_time:2.000"), hot, "<= 1.5");
    Table::Row("read with an own write per 20 reads, write out / hot read",
               run.Time("BM_Registry_ReadsBetweenOwnWrites/iterations:20000/manual_time"),
               run.Time("BM_Registry_HotReadBlocks/manual_time"), "<= 2");
    Table::Row("read right after a write to another key / hot read",
               run.Time("BM_Registry_ReadRightAfterWrite/iterations:20000/manual_time"),
               run.Time("BM_Registry_HotReadAlone/manual_time"), "<= 3");
    Table::Row("open of a four-level path / hash-map open", run.Time("BM_Registry_OpenFourLevels"),
               run.Time("BM_Floor_HashMapOpen"), "<= 6");
    Table::Row("write / bare SQLite UPSERT, same durability", run.Time("BM_Registry_Write"),
               run.Time("BM_Sqlite_Upsert"), "<= 1.3");
    Table::Row("enumeration per sub-key of 10,000 / of 100", run.Time("BM_Registry_EnumerateSubKeys/10000", 10000),
               run.Time("BM_Registry_EnumerateSubKeys/100", 100), "~1: linear");
    Table::Row("same, with the list read again / hash-map read",
               run.Time("BM_Registry_EnumerateSubKeysAfterChange/10000", 10000), run.Time("BM_Floor_HashMapRead"), "");
    Table::Value("enumeration per sub-key of 100", run.Time("BM_Registry_EnumerateSubKeys/100", 100), "ns", "");
    Table::Value("cold start of a hive (fresh process)",
                 run.Time("BM_Registry_ColdStart/iterations:30/manual_time") / 1e6, "ms", "");
    const std::string one = "BM_Registry_ManyWriters/1/1/3000/iterations:1/manual_time";
    const std::string many = "BM_Registry_ManyWriters/4/4/3000/iterations:1/manual_time";
    Table::Row("4 processes x 4 threads, 65% modifying: calls/s / one thread's",
               run.Counter(many, "calls_per_s"), run.Counter(one, "calls_per_s"), ">= 1");
    Table::Value("the same, slowest call", run.Counter(many, "slowest_ms"), "ms", "< 50");
    Table::Value("one thread alone, slowest call", run.Counter(one, "slowest_ms"), "ms", "");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--cold-start-child") == 0)
        return TesselBench::ColdStartChild();

    const TesselBench::ScratchStore store;
    char self[4096];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof(self) - 1);
    TesselBench::g_self = length > 0 ? std::string(self, static_cast<std::size_t>(length)) : argv[0];

    std::vector<char*> arguments = TesselBench::RatioTable::WithDefaults(argc, argv);
    int count = static_cast<int>(arguments.size()) - 1;
    benchmark::Initialize(&count, arguments.data());
    TesselBench::RatioTable table;
    benchmark::RunSpecifiedBenchmarks(&table);
    PrintTable(table);
    benchmark::Shutdown();
    return 0;
}

// .reg export and import of 100,000 values across 10,000 keys, and a save and restore of that
// tree, each beside the raw registry calls that the same work needs, measured in the same run. At the end the run prints the
// figures against their aims and as ratios to their references.
//
//   bench_regfile    all benchmarks, then the summary

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "RegFile.h"
#include "RegistryKey.h"
#include "support/ScratchStore.h"

namespace {

using Tessel::Reg::KeyPath;

// 100 groups of 100 keys, each of those with 10 values: texts, numbers and a little binary.
constexpr int kGroups = 100;
constexpr int kKeysPerGroup = 100;
constexpr int kValuesPerKey = 10;
const wchar_t* const kSource = L"HKCU\\Software\\TesselBench\\Export";
const wchar_t* const kTarget = L"HKCU\\Software\\TesselBench\\Import";

KeyPath Path(const std::wstring& text)
{
    return Tessel::Reg::ParseKeyPath(text).value();
}

std::wstring KeyName(int group, int key)
{
    return L"Group" + std::to_wstring(100 + group) + L"\\Key" + std::to_wstring(1000 + key);
}

std::vector<BYTE> ValueData(int key, int value, DWORD& type)
{
    std::vector<BYTE> data;
    if (value % 3 == 0) {
        type = REG_DWORD;
        const DWORD number = static_cast<DWORD>(key * 31 + value);
        for (int shift = 0; shift < 32; shift += 8)
            data.push_back(static_cast<BYTE>(number >> shift));
    } else if (value % 3 == 1) {
        type = REG_SZ;
        for (const char c : "C:\\Program Files\\Tessel\\item " + std::to_string(key)) {
            data.push_back(static_cast<BYTE>(c));
            data.push_back(0);
        }
        data.insert(data.end(), {0, 0});
    } else {
        type = REG_BINARY;
        for (int i = 0; i < 24; ++i)
            data.push_back(static_cast<BYTE>(key + i));
    }
    return data;
}

HKEY CreateRaw(const KeyPath& path)
{
    HKEY opened = nullptr;
    RegCreateKeyExW(path.Root, path.SubKey.c_str(), 0, nullptr, 0, KEY_QUERY_VALUE | KEY_SET_VALUE, nullptr, &opened,
                    nullptr);
    return opened;
}

// Writes the workload below root with the raw calls that an import of it makes: each key
// created from its root in the order of the file, parents first, then its values set.
void WriteTreeRaw(const std::wstring& root)
{
    const KeyPath base = Path(root);
    RegCloseKey(CreateRaw(base));
    for (int group = 0; group < kGroups; ++group) {
        RegCloseKey(CreateRaw(base.Child(L"Group" + std::to_wstring(100 + group))));
        for (int key = 0; key < kKeysPerGroup; ++key) {
            HKEY opened = CreateRaw(base.Child(KeyName(group, key)));
            for (int value = 0; value < kValuesPerKey; ++value) {
                DWORD type = REG_NONE;
                const std::vector<BYTE> data = ValueData(group * kKeysPerGroup + key, value, type);
                const std::wstring name = L"Value" + std::to_wstring(value);
                RegSetValueExW(opened, name.c_str(), 0, type, data.data(), static_cast<DWORD>(data.size()));
            }
            RegCloseKey(opened);
        }
    }
}

// Reads every value and sub-key name below key with the raw calls, as an export must.
size_t ReadTreeRaw(HKEY key)
{
    DWORD maxName = 0;
    DWORD maxData = 0;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &maxName, &maxData, nullptr,
                     nullptr);
    std::vector<wchar_t> name(maxName + 1);
    std::vector<BYTE> data(maxData + 1);
    size_t bytes = 0;
    for (DWORD index = 0;; ++index) {
        DWORD nameChars = static_cast<DWORD>(name.size());
        DWORD size = static_cast<DWORD>(data.size());
        DWORD type = 0;
        if (RegEnumValueW(key, index, name.data(), &nameChars, nullptr, &type, data.data(), &size) != ERROR_SUCCESS)
            break;
        bytes += size;
    }
    wchar_t child[256];
    for (DWORD index = 0;; ++index) {
        DWORD childChars = 256;
        if (RegEnumKeyExW(key, index, child, &childChars, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            break;
        HKEY opened = nullptr;
        if (RegOpenKeyExW(key, child, 0, KEY_READ, &opened) == ERROR_SUCCESS) {
            bytes += ReadTreeRaw(opened);
            RegCloseKey(opened);
        }
    }
    return bytes;
}

std::string ExportWorkload()
{
    Tessel::Reg::RegFileWriter writer;
    Tessel::Reg::ExportRegistryTree(Path(kSource), writer);
    return writer.Finish();
}

// The export as a file to import: the source's keys moved to the target's path.
const std::string& FileToImport()
{
    static const std::string file = [] {
        std::string text = ExportWorkload();
        const std::string from("\\\0E\0x\0p\0o\0r\0t\0", 14); // "\Export" in UTF-16LE
        const std::string to("\\\0I\0m\0p\0o\0r\0t\0", 14);
        for (size_t at = text.find(from.data(), 0, from.size()); at != std::string::npos;
             at = text.find(from.data(), at + to.size(), from.size()))
            text.replace(at, from.size(), to);
        return text;
    }();
    return file;
}

void PrepareSource()
{
    static const bool ready = [] {
        WriteTreeRaw(kSource);
        return true;
    }();
    (void)ready;
}

void BM_Export_RawReads(benchmark::State& state)
{
    PrepareSource();
    for (auto _ : state) {
        HKEY key = nullptr;
        const KeyPath path = Path(kSource);
        RegOpenKeyExW(path.Root, path.SubKey.c_str(), 0, KEY_READ, &key);
        benchmark::DoNotOptimize(ReadTreeRaw(key));
        RegCloseKey(key);
    }
}

void BM_Export_ToFile(benchmark::State& state)
{
    PrepareSource();
    const std::string file = std::string(std::getenv("TESSEL_REGISTRY_DIR")) + "/export.reg";
    size_t size = 0;
    for (auto _ : state) {
        const std::string bytes = ExportWorkload();
        std::ofstream(file, std::ios::binary | std::ios::trunc).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        size = bytes.size();
    }
    state.counters["file_MB"] = static_cast<double>(size) / 1e6;
}

void DeleteTarget(benchmark::State& state)
{
    state.PauseTiming();
    Tessel::Reg::DeleteKeyTree(Path(kTarget));
    state.ResumeTiming();
}

void BM_Import_RawWrites(benchmark::State& state)
{
    for (auto _ : state) {
        DeleteTarget(state);
        WriteTreeRaw(kTarget);
    }
}

void BM_Import_FromFile(benchmark::State& state)
{
    PrepareSource();
    const std::string& file = FileToImport();
    for (auto _ : state) {
        DeleteTarget(state);
        const std::vector<Tessel::Reg::RegFileKey> keys =
            Tessel::Reg::ReadRegFile(reinterpret_cast<const BYTE*>(file.data()), file.size());
        const Tessel::Reg::RegFileImportFailure failure = Tessel::Reg::ImportRegFile(keys, 0);
        if (failure.Status != ERROR_SUCCESS || keys.size() != 1 + kGroups * (kKeysPerGroup + 1) ||
            keys.back().Key.FullName().find(L"\\Import\\") == std::wstring::npos)
            state.SkipWithError("import failed");
    }
}

void BM_Import_ReadFileOnly(benchmark::State& state)
{
    PrepareSource();
    const std::string& file = FileToImport();
    for (auto _ : state)
        benchmark::DoNotOptimize(Tessel::Reg::ReadRegFile(reinterpret_cast<const BYTE*>(file.data()), file.size()));
}

std::wstring SavedFile()
{
    const std::string path = std::string(std::getenv("TESSEL_REGISTRY_DIR")) + "/export.sav";
    return std::wstring(path.begin(), path.end());
}

// The source tree saved to a file, which the function makes new each time.
void BM_Save_ToFile(benchmark::State& state)
{
    PrepareSource();
    const std::wstring file = SavedFile();
    HKEY key = nullptr;
    const KeyPath path = Path(kSource);
    RegOpenKeyExW(path.Root, path.SubKey.c_str(), 0, KEY_READ, &key);
    for (auto _ : state) {
        state.PauseTiming();
        std::remove(std::string(file.begin(), file.end()).c_str());
        state.ResumeTiming();
        if (RegSaveKeyExW(key, file.c_str(), nullptr, REG_LATEST_FORMAT) != ERROR_SUCCESS)
            state.SkipWithError("save failed");
    }
    RegCloseKey(key);
}

// That file restored over the target, which holds the previous restore: all of it goes and
// comes again in one transaction.
void BM_Restore_FromFile(benchmark::State& state)
{
    const std::wstring file = SavedFile();
    const KeyPath target = Path(kTarget);
    HKEY key = nullptr;
    RegCreateKeyExW(target.Root, target.SubKey.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    for (auto _ : state) {
        if (RegRestoreKeyW(key, file.c_str(), 0) != ERROR_SUCCESS)
            state.SkipWithError("restore failed");
    }
    RegCloseKey(key);
}

BENCHMARK(BM_Export_RawReads)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_Export_ToFile)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_Import_RawWrites)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_Import_FromFile)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_Import_ReadFileOnly)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_Save_ToFile)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Restore_FromFile)->Unit(benchmark::kMillisecond)->Iterations(2);

// Shows the runs as usual and keeps each one's real and CPU time per iteration, in seconds.
class SummaryReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred)
                continue;
            const double unit = benchmark::GetTimeUnitMultiplier(run.time_unit);
            const std::string name = run.benchmark_name().substr(0, run.benchmark_name().find('/'));
            m_seconds[name] = {run.GetAdjustedRealTime() / unit, run.GetAdjustedCPUTime() / unit};
        }
    }

    void PrintSummary() const
    {
        std::printf("\n100,000 values in 10,000 keys (real s / CPU s):\n");
        Line("export to a .reg file", "BM_Export_ToFile", "BM_Export_RawReads", "aim < 1 s");
        Line("import of that file", "BM_Import_FromFile", "BM_Import_RawWrites", "aim < 5 s");
        Line("save of that tree", "BM_Save_ToFile", "BM_Export_RawReads", "no aim");
        Line("restore of that save", "BM_Restore_FromFile", "BM_Import_RawWrites", "no aim");
    }

private:
    void Line(const char* what, const std::string& measured, const std::string& reference, const char* aim) const
    {
        const auto top = m_seconds.find(measured);
        const auto bottom = m_seconds.find(reference);
        if (top == m_seconds.end() || bottom == m_seconds.end())
            return;
        std::printf("  %-24s %7.3f / %7.3f   [%s]   %5.2f x the raw calls (CPU %5.2f x)\n", what, top->second.first,
                    top->second.second, aim, top->second.first / bottom->second.first,
                    top->second.second / bottom->second.second);
    }

    std::map<std::string, std::pair<double, double>> m_seconds;
};

} // namespace

int main(int argc, char** argv)
{
    const TesselBench::ScratchStore store;
    benchmark::Initialize(&argc, argv);
    SummaryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintSummary();
    benchmark::Shutdown();
    return 0;
}

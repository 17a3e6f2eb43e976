// The reader's hot paths beside the raw registry calls that they make, measured in one run: a
// factory open plus one read, reads on an open reader (a number parsed from text, a string and
// a REG_DWORD, each beside the bare RegQueryValueExW of the same value), a read of a missing
// parameter, and the names of 1,000 sub-keys. "allocs" counts operator new per iteration.

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>
#include <unistd.h>
#include <vector>

#include "Tessel/ConfigReaderFactory.h"
#include "Tessel/Exceptions.h"
#include "TesselWin32.h"
#include "support/ScratchStore.h"
#include "common/Long32.h"
#include "common/Utf16Data.h"

namespace {

// Counted without a locked instruction: the benchmarks run on one thread, and the count must not
// add its own cost to what it stands beside.
std::atomic<long> g_allocations{0};

} // namespace

// None of these is inlined, so that the compiler does not pair malloc and free with new and delete.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    g_allocations.store(g_allocations.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    if (void* block = std::malloc(size == 0 ? 1 : size))
        return block;
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* block) noexcept
{
    std::free(block);
}

[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

namespace {

const wchar_t* const kSubKey = L"Software\\Kavor\\Tessel\\Bench";
const std::wstring kLocation = L"HKLM\\Software\\Kavor\\Tessel\\Bench";
const std::wstring kManyLocation = kLocation + L"\\Many";
const std::wstring kManySubKey = std::wstring(kSubKey) + L"\\Many";
constexpr int kManyCount = 1000;
// Names built once: what a client pays to make its arguments is not the library's cost.
const std::wstring kInt = L"Int";
const std::wstring kText = L"Text";
const std::wstring kNumber = L"Number";
const std::wstring kMissing = L"Missing";

// Reports allocations per iteration beside the time.
class AllocationCounter {
public:
    explicit AllocationCounter(benchmark::State& state) : m_state(state), m_start(g_allocations.load()) {}
    ~AllocationCounter()
    {
        const double iterations = static_cast<double>(m_state.iterations());
        if (iterations > 0)
            m_state.counters["allocs"] = static_cast<double>(g_allocations.load() - m_start) / iterations;
    }

private:
    benchmark::State& m_state;
    long m_start;
};

constexpr REGSAM kReadAccess = KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS;
constexpr DWORD kTextCapacity = 32600; // the reader's buffer for one value

// A key of the benchmark's tree, opened as a reader opens it, for the length of one benchmark.
class OpenKey {
public:
    explicit OpenKey(const std::wstring& subKey = kSubKey)
    {
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, subKey.c_str(), 0, kReadAccess, &m_key);
    }
    ~OpenKey() { RegCloseKey(m_key); }
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;

    HKEY Get() const { return m_key; }

private:
    HKEY m_key = nullptr;
};

// The bare query of a value into a buffer the size of the reader's, as the reader makes it.
LONG QueryText(HKEY key, const std::wstring& name, BYTE (&buffer)[kTextCapacity], DWORD& type, DWORD& size)
{
    type = 0;
    size = kTextCapacity;
    return RegQueryValueExW(key, name.c_str(), nullptr, &type, buffer, &size);
}

// The query of one value on an open key, as often as the benchmark asks, with what use does with
// its status and data.
template <class Use>
void RunQuery(benchmark::State& state, const std::wstring& name, Use use)
{
    const OpenKey key;
    AllocationCounter counter(state);
    for (auto _ : state) {
        alignas(8) BYTE buffer[kTextCapacity];
        DWORD type = 0;
        DWORD size = 0;
        const LONG status = QueryText(key.Get(), name, buffer, type, size);
        use(status, buffer, size);
    }
}

// The query alone: its status and bytes are kept from the optimiser, and nothing more is done.
void RunBareQuery(benchmark::State& state, const std::wstring& name)
{
    RunQuery(state, name, [](LONG status, BYTE* buffer, DWORD) {
        benchmark::DoNotOptimize(status);
        benchmark::DoNotOptimize(buffer);
    });
}

// One read on a reader opened once, as often as the benchmark asks.
template <class Read>
void RunOnOpenReader(benchmark::State& state, Read read)
{
    const auto reader = Tessel::ConfigReaderFactory::GetInstance().GetConfigReader(kLocation);
    AllocationCounter counter(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(read(*reader));
}

void SetText(HKEY key, const wchar_t* name, const std::wstring& text)
{
    const std::vector<BYTE> data = Tessel::Detail::Utf16FromWide(text, true);
    RegSetValueExW(key, name, 0, REG_SZ, data.data(), static_cast<DWORD>(data.size()));
}

void Populate()
{
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, kSubKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) !=
        ERROR_SUCCESS) {
        std::abort();
    }
    SetText(key, L"Int", L"123456");
    SetText(key, L"Text", L"C:\\Program Files\\Kavor\\Tessel\\data");
    const DWORD number = 4000000000u;
    RegSetValueExW(key, L"Number", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
    for (int i = 0; i < kManyCount; ++i) {
        const std::wstring name = std::wstring(kSubKey) + L"\\Many\\Entry" + std::to_wstring(i);
        HKEY child = nullptr;
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &child, nullptr);
        RegCloseKey(child);
    }
    RegCloseKey(key);
}

// What GetInt does underneath: one query into the fixed buffer, then the 32-bit parse.
int RawQueryInt(HKEY key, const std::wstring& name)
{
    alignas(8) BYTE buffer[kTextCapacity];
    DWORD type = 0;
    DWORD size = 0;
    if (QueryText(key, name, buffer, type, size) != ERROR_SUCCESS || type != REG_SZ)
        return -1;
    const std::wstring text = Tessel::Detail::WideFromUtf16(buffer, size >= 2 ? size - 2 : 0);
    wchar_t* end = nullptr;
    return Tessel::Detail::WcsToLong32(text.c_str(), &end, 10);
}

void Raw_OpenAndReadInt(benchmark::State& state)
{
    AllocationCounter counter(state);
    for (auto _ : state) {
        const OpenKey key;
        benchmark::DoNotOptimize(RawQueryInt(key.Get(), kInt));
    }
}

void Library_GetConfigReaderGetInt(benchmark::State& state)
{
    const Tessel::ConfigReaderFactory& factory = Tessel::ConfigReaderFactory::GetInstance();
    AllocationCounter counter(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(factory.GetConfigReader(kLocation)->GetInt(kInt));
}

void Raw_ReadInt(benchmark::State& state)
{
    const OpenKey key;
    AllocationCounter counter(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(RawQueryInt(key.Get(), kInt));
}

void Library_GetInt(benchmark::State& state)
{
    RunOnOpenReader(state, [](const Tessel::IConfigReader& reader) { return reader.GetInt(kInt); });
}

// The raw query of the value alone, into a buffer the size of the library's: the floor that a
// read on an open reader stands beside.
void Raw_QueryString(benchmark::State& state)
{
    RunBareQuery(state, kText);
}

// The same query with the std::wstring that a client of the raw call builds from it, as the
// reader must: what is left beside this is the library's own path.
void Raw_QueryStringAsText(benchmark::State& state)
{
    RunQuery(state, kText, [](LONG status, const BYTE* buffer, DWORD size) {
        if (status == ERROR_SUCCESS)
            benchmark::DoNotOptimize(Tessel::Detail::WideTextFromUtf16(buffer, size));
    });
}

void Library_GetString(benchmark::State& state)
{
    RunOnOpenReader(state, [](const Tessel::IConfigReader& reader) { return reader.GetString(kText); });
}

void Raw_QueryUInt(benchmark::State& state)
{
    const OpenKey key;
    AllocationCounter counter(state);
    for (auto _ : state) {
        DWORD number = 0;
        DWORD type = 0;
        DWORD size = sizeof number;
        benchmark::DoNotOptimize(RegQueryValueExW(key.Get(), kNumber.c_str(), nullptr, &type,
                                                  reinterpret_cast<BYTE*>(&number), &size));
        benchmark::DoNotOptimize(number);
    }
}

void Library_GetUInt(benchmark::State& state)
{
    RunOnOpenReader(state, [](const Tessel::IConfigReader& reader) { return reader.GetUInt(kNumber); });
}

void Raw_QueryMissing(benchmark::State& state)
{
    RunBareQuery(state, kMissing);
}

void Library_GetIntOrMissing(benchmark::State& state)
{
    RunOnOpenReader(state, [](const Tessel::IConfigReader& reader) { return reader.GetIntOr(kMissing, 7); });
}

// The throw and its narrow text are the price here, not the store.
void Library_GetIntMissingThrows(benchmark::State& state)
{
    const auto reader = Tessel::ConfigReaderFactory::GetInstance().GetConfigReader(kLocation);
    AllocationCounter counter(state);
    for (auto _ : state) {
        try {
            benchmark::DoNotOptimize(reader->GetInt(kMissing));
        } catch (const Tessel::ParameterNotFoundException& failure) {
            benchmark::DoNotOptimize(failure.GetDescription());
        }
    }
}

void Raw_EnumerateSubKeys(benchmark::State& state)
{
    const OpenKey key(kManySubKey);
    AllocationCounter counter(state);
    for (auto _ : state) {
        // The same calls as the library: the count again at every index, so that a key that
        // changes during the walk is followed.
        std::vector<std::wstring> names;
        DWORD count = 0;
        DWORD longest = 0;
        RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, &count, &longest, nullptr, nullptr, nullptr, nullptr,
                         nullptr, nullptr);
        names.reserve(count);
        std::vector<wchar_t> buffer;
        for (DWORD index = 0; index < count; ++index) {
            DWORD current = 0;
            RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, &current, &longest, nullptr, nullptr, nullptr,
                             nullptr, nullptr, nullptr);
            buffer.resize(longest + 2);
            DWORD capacity = longest + 1;
            FILETIME lastWrite;
            if (RegEnumKeyExW(key.Get(), index, buffer.data(), &capacity, nullptr, nullptr, nullptr, &lastWrite) ==
                ERROR_SUCCESS)
                names.emplace_back(buffer.data(), capacity);
        }
        benchmark::DoNotOptimize(names.data());
    }
}

void Library_GetSubDatasetNames(benchmark::State& state)
{
    const auto reader = Tessel::ConfigReaderFactory::GetInstance().GetConfigReader(kManyLocation);
    AllocationCounter counter(state);
    for (auto _ : state) {
        const std::vector<std::wstring> names = reader->GetSubDatasetNames();
        if (names.size() != kManyCount)
            state.SkipWithError("wrong number of sub-keys");
        benchmark::DoNotOptimize(names.data());
    }
}

BENCHMARK(Raw_OpenAndReadInt);
BENCHMARK(Library_GetConfigReaderGetInt);
BENCHMARK(Raw_ReadInt);
BENCHMARK(Library_GetInt);
BENCHMARK(Raw_QueryString);
BENCHMARK(Raw_QueryStringAsText);
BENCHMARK(Library_GetString);
BENCHMARK(Raw_QueryUInt);
BENCHMARK(Library_GetUInt);
BENCHMARK(Raw_QueryMissing);
BENCHMARK(Library_GetIntOrMissing);
BENCHMARK(Library_GetIntMissingThrows);
BENCHMARK(Raw_EnumerateSubKeys);
BENCHMARK(Library_GetSubDatasetNames);

} // namespace

int main(int argc, char** argv)
{
    return TesselBench::RunOnScratchStore(argc, argv, Populate);
}

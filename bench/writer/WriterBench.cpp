// The writer's costs beside the raw registry calls that do the same work, in one run: SetInt
// against its query and write, and CopyRegistryTree of 1,000 datasets with 10 parameters each
// against a plain recursive copy written directly on the registry functions.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

#include "Tessel/ConfigReaderFactory.h"
#include "Tessel/CopyRegistryTree.h"
#include "Tessel/PersistentDataWriterFactory.h"
#include "TesselWin32.h"
#include "support/ScratchStore.h"
#include "common/Long32.h"
#include "common/Utf16Data.h"

namespace {

const std::wstring kSetSubKey = L"Software\\Kavor\\Tessel\\WriterBench\\Set";
const std::wstring kSetLocation = L"HKLM\\" + kSetSubKey;
// Two trees of 1,000 datasets. Balanced: 1 root, 9 children, 10 below each child and 10 below
// each of those. Wide: 1 root, 9 children with 110 each, where every GetSubDataset of the copy
// walks 110 siblings, which the plain copy never does.
const std::wstring kTreeSubKeys[] = {L"Software\\Kavor\\Tessel\\WriterBench\\Balanced",
                                     L"Software\\Kavor\\Tessel\\WriterBench\\Wide"};
const std::wstring kCopySubKey = L"Software\\Kavor\\Tessel\\WriterBench\\Copy";
const std::wstring kCopyLocation = L"HKLM\\" + kCopySubKey;
const std::wstring kInt = L"Int";

constexpr int kChildren = 9;
constexpr int kFanOut = 10;
constexpr int kWideFanOut = 110;
constexpr int kParameters = 10;

constexpr REGSAM kWriteAccess = KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_ENUMERATE_SUB_KEYS;

HKEY CreateKey(const std::wstring& subKey)
{
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, subKey.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) !=
        ERROR_SUCCESS)
        std::abort();
    return key;
}

void FillDataset(const std::wstring& subKey)
{
    const HKEY key = CreateKey(subKey);
    for (int i = 0; i < kParameters; ++i) {
        const std::vector<BYTE> data = Tessel::Detail::Utf16FromWide(L"value " + std::to_wstring(i), true);
        RegSetValueExW(key, (L"Param" + std::to_wstring(i)).c_str(), 0, REG_SZ, data.data(),
                       static_cast<DWORD>(data.size()));
    }
    RegCloseKey(key);
}

void Populate()
{
    RegCloseKey(CreateKey(kSetSubKey));
    const std::wstring& balanced = kTreeSubKeys[0];
    const std::wstring& wide = kTreeSubKeys[1];
    FillDataset(balanced);
    FillDataset(wide);
    for (int child = 0; child < kChildren; ++child) {
        const std::wstring childKey = balanced + L"\\Child" + std::to_wstring(child);
        FillDataset(childKey);
        for (int middle = 0; middle < kFanOut; ++middle) {
            const std::wstring middleKey = childKey + L"\\Middle" + std::to_wstring(middle);
            FillDataset(middleKey);
            for (int leaf = 0; leaf < kFanOut; ++leaf)
                FillDataset(middleKey + L"\\Leaf" + std::to_wstring(leaf));
        }
        const std::wstring wideChild = wide + L"\\Child" + std::to_wstring(child);
        FillDataset(wideChild);
        for (int leaf = 0; leaf < kWideFanOut; ++leaf)
            FillDataset(wideChild + L"\\Leaf" + std::to_wstring(leaf));
    }
}

// What SetInt does underneath: the guard's query into the fixed buffer and its parse, then the
// text of the number written as REG_SZ.
void Raw_SetInt(benchmark::State& state)
{
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_LOCAL_MACHINE, kSetSubKey.c_str(), 0, nullptr, 0, kWriteAccess, nullptr, &key, nullptr);
    int value = 0;
    for (auto _ : state) {
        alignas(8) BYTE buffer[32600];
        DWORD type = 0;
        DWORD size = sizeof buffer;
        if (RegQueryValueExW(key, kInt.c_str(), nullptr, &type, buffer, &size) == ERROR_SUCCESS) {
            const std::wstring text = Tessel::Detail::WideFromUtf16(buffer, size >= 2 ? size - 2 : 0);
            wchar_t* end = nullptr;
            benchmark::DoNotOptimize(Tessel::Detail::WcsToLong32(text.c_str(), &end, 10));
        }
        const std::vector<BYTE> data = Tessel::Detail::Utf16FromWide(std::to_wstring(++value), true);
        RegSetValueExW(key, kInt.c_str(), 0, REG_SZ, data.data(), static_cast<DWORD>(data.size()));
    }
    RegCloseKey(key);
}

void Library_SetInt(benchmark::State& state)
{
    const auto writer = Tessel::PersistentDataWriterFactory::GetInstance().GetPersistentDataWriter(kSetLocation);
    int value = 0;
    for (auto _ : state)
        writer->SetInt(kInt, ++value);
}

// Every value with its type and bytes, then every subkey, depth first.
void RawCopy(HKEY source, const std::wstring& targetSubKey, std::vector<BYTE>& buffer)
{
    HKEY target = nullptr;
    RegCreateKeyExW(HKEY_LOCAL_MACHINE, targetSubKey.c_str(), 0, nullptr, 0, kWriteAccess, nullptr, &target, nullptr);
    wchar_t name[16384];
    for (DWORD index = 0;; ++index) {
        DWORD nameLength = 16384;
        DWORD type = 0;
        DWORD size = static_cast<DWORD>(buffer.size());
        if (RegEnumValueW(source, index, name, &nameLength, nullptr, &type, buffer.data(), &size) != ERROR_SUCCESS)
            break;
        RegSetValueExW(target, name, 0, type, buffer.data(), size);
    }
    RegCloseKey(target);
    for (DWORD index = 0;; ++index) {
        DWORD nameLength = 256;
        if (RegEnumKeyExW(source, index, name, &nameLength, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            break;
        HKEY child = nullptr;
        if (RegOpenKeyExW(source, name, 0, KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS, &child) != ERROR_SUCCESS)
            continue;
        RawCopy(child, targetSubKey + L"\\" + name, buffer);
        RegCloseKey(child);
    }
}

void DeleteCopy(benchmark::State& state)
{
    state.PauseTiming();
    SHDeleteKeyW(HKEY_LOCAL_MACHINE, kCopySubKey.c_str());
    state.ResumeTiming();
}

void Raw_CopyTree(benchmark::State& state)
{
    std::vector<BYTE> buffer(0x200000);
    for (auto _ : state) {
        DeleteCopy(state);
        HKEY source = nullptr;
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, kTreeSubKeys[state.range(0)].c_str(), 0,
                      KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS, &source);
        RawCopy(source, kCopySubKey, buffer);
        RegCloseKey(source);
    }
}

void Library_CopyRegistryTree(benchmark::State& state)
{
    const auto reader =
        Tessel::ConfigReaderFactory::GetInstance().GetConfigReader(L"HKLM\\" + kTreeSubKeys[state.range(0)]);
    const auto writer = Tessel::PersistentDataWriterFactory::GetInstance().GetPersistentDataWriter(kCopyLocation);
    for (auto _ : state) {
        DeleteCopy(state);
        Tessel::CopyRegistryTree(*reader, *writer, true, false);
    }
}

BENCHMARK(Raw_SetInt);
BENCHMARK(Library_SetInt);
// Argument 0 is the balanced tree, 1 the wide one.
BENCHMARK(Raw_CopyTree)->Unit(benchmark::kMillisecond)->Iterations(3)->Arg(0)->Arg(1);
BENCHMARK(Library_CopyRegistryTree)->Unit(benchmark::kMillisecond)->Iterations(3)->Arg(0)->Arg(1);

} // namespace

int main(int argc, char** argv)
{
    return TesselBench::RunOnScratchStore(argc, argv, Populate);
}

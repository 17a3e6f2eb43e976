// The scale table's data. Sub-keys are made in a scattered order, as a program's keys are, so
// that the hive's index isn't filled by appending alone.

#include "registry/ScaleSet.h"

#include <atomic>
#include <thread>

#include "registry/BenchSupport.h"

namespace TesselBench {

const wchar_t* const kScaleBase = L"Software\\TesselBench\\Scale";

std::wstring ScaleSubKeyName(int i)
{
    return L"Item" + std::to_wstring(10000000 + i);
}

const std::wstring& ScaleValueName(int j)
{
    static const std::wstring names[kScaleValues] = {L"Count", L"Label", L"Flags", L"Path", L"Stamp"};
    return names[j];
}

namespace {

// Two numbers, two texts and eight bytes of binary: the mix a program's settings have.
struct ScaleValue {
    DWORD type;
    std::vector<BYTE> data;
};

std::vector<BYTE> Bytes(const void* from, std::size_t size)
{
    const BYTE* bytes = static_cast<const BYTE*>(from);
    return std::vector<BYTE>(bytes, bytes + size);
}

ScaleValue ValueOf(int i, int j)
{
    const DWORD number = static_cast<DWORD>(i);
    const DWORD flags = 0x11;
    const std::uint64_t stamp = 0x01DA000000000000ull + static_cast<std::uint64_t>(i);
    switch (j) {
    case 0:
        return {REG_DWORD, Bytes(&number, sizeof(number))};
    case 1:
        return {REG_SZ, Utf16Data("item " + std::to_string(i))};
    case 2:
        return {REG_DWORD, Bytes(&flags, sizeof(flags))};
    case 3:
        return {REG_SZ, Utf16Data("/var/lib/items/" + std::to_string(i))};
    default:
        return {REG_BINARY, Bytes(&stamp, sizeof(stamp))};
    }
}

// Sub-key number k of a scattered walk through all count of them: a stride prime to count.
int Scattered(int k, int count)
{
    const std::int64_t stride = 1000003;
    return static_cast<int>(static_cast<std::int64_t>(k) * stride % count);
}

void MakeSubKey(HKEY parent, int i)
{
    HKEY key = CreateKey(parent, ScaleSubKeyName(i));
    for (int j = 0; j < kScaleValues; ++j) {
        const ScaleValue value = ValueOf(i, j);
        Check(RegSetValueExW(key, ScaleValueName(j).c_str(), 0, value.type, value.data.data(),
                             static_cast<DWORD>(value.data.size())),
              "set");
    }
    RegCloseKey(key);
}

} // namespace

std::uint64_t ScaleDataBytes(int count)
{
    std::uint64_t bytes = 0;
    for (int i = 0; i < count; ++i) {
        bytes += 2 * ScaleSubKeyName(i).size();
        for (int j = 0; j < kScaleValues; ++j)
            bytes += 2 * ScaleValueName(j).size() + ValueOf(i, j).data.size();
    }
    return bytes;
}

HKEY MakeScaleSet(int count, int writers)
{
    HKEY parent = CreateKey(HKEY_CURRENT_USER, kScaleBase);
    std::atomic<int> next{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < writers; ++t)
        threads.emplace_back([&] {
            for (int k = next++; k < count; k = next++)
                MakeSubKey(parent, Scattered(k, count));
        });
    for (std::thread& thread : threads)
        thread.join();
    return parent;
}

} // namespace TesselBench

// The anchors' workload, made once per run.

#include "registry/Workload.h"

#include "registry/BenchSupport.h"

namespace TesselBench {

const wchar_t* const kWorkloadBase = L"Software\\TesselBench\\Workload";

std::wstring SubKeyName(int i)
{
    return L"Item" + std::to_wstring(1000 + i);
}

std::wstring ValueName(int j)
{
    return L"value" + std::to_wstring(10 + j);
}

namespace {

std::vector<BYTE> ValueData(int i, int j)
{
    if (j % 2 == 0) {
        const DWORD number = static_cast<DWORD>(i * 1000 + j);
        const BYTE* bytes = reinterpret_cast<const BYTE*>(&number);
        return std::vector<BYTE>(bytes, bytes + sizeof(number));
    }
    return Utf16Data("text " + std::to_string(i) + "/" + std::to_string(j));
}

} // namespace

Workload& TheWorkload()
{
    static Workload* workload = [] {
        auto* made = new Workload();
        for (int j = 0; j < kValuesPerKey; ++j)
            made->names.push_back(ValueName(j));
        for (int i = 0; i < kSubKeys; ++i) {
            const std::wstring path = std::wstring(kWorkloadBase) + L"\\" + SubKeyName(i);
            HKEY key = CreateKey(HKEY_CURRENT_USER, path);
            for (int j = 0; j < kValuesPerKey; ++j) {
                const std::vector<BYTE> data = ValueData(i, j);
                Check(RegSetValueExW(key, made->names[j].c_str(), 0, j % 2 == 0 ? REG_DWORD : REG_SZ, data.data(),
                                     static_cast<DWORD>(data.size())),
                      "set");
                made->floor.emplace(path + L"\\" + made->names[j], data);
            }
            made->keys.push_back(key);
        }
        made->elsewhere = CreateKey(HKEY_CURRENT_USER, L"Software\\TesselBench\\Elsewhere");
        return made;
    }();
    return *workload;
}

} // namespace TesselBench

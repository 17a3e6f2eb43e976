// Several threads on one reader, and on the factory's first use.

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "ConfigTestSupport.h"

using namespace Tessel;
using namespace TesselTest;

TEST(Concurrency, ThreadsShareOneReader)
{
    auto key = TestKey();
    key.SetText(L"Int", L"17");
    key.SetDword(L"UInt", 5);
    key.SetText(L"List", L"1,2;3");
    TestKey(L"Sub").SetText(L"Name", L"sub");
    const auto reader = OpenReader(kBaseLocation);

    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 100; ++i) {
                bool ok = reader->GetInt(L"Int") == 17 && reader->GetUInt(L"UInt") == 5u &&
                          reader->GetIntList(L"List").size() == 3 && reader->GetIntOr(L"Missing", -1) == -1 &&
                          reader->GetSubDataset(L"sub")->GetString(L"Name") == L"sub";
                try {
                    reader->GetInt(L"Missing");
                    ok = false;
                } catch (const ParameterNotFoundException&) {
                }
                if (!ok)
                    ++mismatches;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches.load(), 0);
}

TEST(Concurrency, FirstUseCreatesOneFactory)
{
    ThreadSafeSingleton<ConfigReaderFactory>::DestroyInstance();
    std::vector<const ConfigReaderFactory*> seen(8, nullptr);
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (size_t t = 0; t < seen.size(); ++t) {
        threads.emplace_back([&, t] {
            while (!go.load())
                std::this_thread::yield();
            seen[t] = &ConfigReaderFactory::GetInstance();
        });
    }
    go = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(std::set<const ConfigReaderFactory*>(seen.begin(), seen.end()).size(), 1u);
}

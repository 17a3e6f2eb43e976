// Several threads on one reader, and on the factory's first use.

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>
#include <vector>

#include "ConfigTestSupport.h"

using namespace Tessel;
using namespace TesselTest;

TEST(Concurrency, ThreadsShareOneReaderAndOneFactory)
{
    ScopedKey key(kBase);
    key.SetText(L"Int", L"17");
    key.SetText(L"List", L"1,2;3");
    ScopedKey(kBase + L"\\Sub").SetText(L"Name", L"sub");
    ThreadSafeSingleton<ConfigReaderFactory>::DestroyInstance();

    std::atomic<bool> go{false};
    std::atomic<int> mismatches{0};
    std::vector<const ConfigReaderFactory*> factories(4, nullptr);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < factories.size(); ++t) {
        threads.emplace_back([&, t] {
            while (!go.load())
                std::this_thread::yield();
            factories[t] = &ConfigReaderFactory::GetInstance();
            const auto reader = factories[t]->GetConfigReader(kBaseLocation);
            for (int i = 0; i < 100; ++i) {
                const bool ok = reader->GetInt(L"Int") == 17 && reader->GetIntList(L"List").size() == 3 &&
                                reader->GetIntOr(L"Missing", -1) == -1 &&
                                reader->GetSubDataset(L"sub")->GetString(L"Name") == L"sub";
                mismatches += ok ? 0 : 1;
            }
        });
    }
    go = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches.load(), 0);
    EXPECT_EQ(std::set<const ConfigReaderFactory*>(factories.begin(), factories.end()).size(), 1u);
}

// The never-stale rule across processes: no read returns data older than the last commit that
// finished before the call began, whatever other processes commit, however they end, and
// however far behind a reader falls; and a reader's work stays in proportion to what changed.

#include <gtest/gtest.h>

#ifndef _WIN32

#include <chrono>
#include <memory>
#include <poll.h>
#include <thread>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "platform/registry/RegistryProcessSupport.h"
#include "platform/registry/RegistryTestSupport.h"

using namespace RegistryTest;

namespace {

constexpr int kSqliteIoError = 10;
constexpr int kStopHere = -1; // the failure seam's code for "stop the process at this step"

const wchar_t* const kCounters = L"Software\\TesselCounters";

std::wstring CounterKey(int key)
{
    return std::wstring(kCounters) + L"\\K" + std::to_wstring(key);
}

std::wstring CounterName(int writer)
{
    return L"w" + std::to_wstring(writer);
}

// Whether the write end of the pipe behind fd has been closed.
bool Ended(int fd)
{
    pollfd ready{fd, POLLIN, 0};
    return poll(&ready, 1, 0) > 0;
}

// Reads every counter once; false as soon as one is lower than it was before or can't be read.
bool CountersOnlyRose(int keys, int writers, std::vector<DWORD>& seen)
{
    for (int k = 0; k < keys; ++k) {
        ScopedKey key;
        if (RegOpenKeyExW(HKEY_CURRENT_USER, CounterKey(k).c_str(), 0, KEY_READ, key.Put()) != ERROR_SUCCESS)
            return false;
        for (int w = 0; w < writers; ++w) {
            LONG status;
            const DWORD value = QueryDword(key.Get(), CounterName(w).c_str(), status);
            DWORD& last = seen[static_cast<std::size_t>(k * writers + w)];
            if (status != ERROR_SUCCESS || value < last)
                return false;
            last = value;
        }
    }
    return true;
}

// Checks that counters bumped by several writer processes only ever rise for readers in other
// processes, while each writer reads its own writes back at once.
TEST(RegistryCoherence, CountersBumpedElsewhereOnlyRise)
{
    constexpr int kKeys = 4, kWriters = 2, kBumps = 250;
    for (int k = 0; k < kKeys; ++k) {
        ScopedKey key;
        ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, CounterKey(k).c_str(), key));
        for (int w = 0; w < kWriters; ++w)
            ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), CounterName(w).c_str(), 0));
    }
    std::vector<DWORD> seen(kKeys * kWriters, 0);
    ASSERT_TRUE(CountersOnlyRose(kKeys, kWriters, seen)); // this process's cache now holds them all

    int stop[2];
    ASSERT_EQ(0, pipe(stop));
    const Child reader([&] {
        close(stop[1]);
        std::vector<DWORD> own(kKeys * kWriters, 0);
        int passes = 0;
        for (; !Ended(stop[0]); ++passes) {
            if (!CountersOnlyRose(kKeys, kWriters, own))
                return 1;
        }
        return passes > 0 && CountersOnlyRose(kKeys, kWriters, own) ? 0 : 2;
    });
    close(stop[0]);
    std::vector<std::unique_ptr<Child>> writers;
    for (int w = 0; w < kWriters; ++w) {
        writers.push_back(std::make_unique<Child>([&] {
            std::vector<ScopedKey> keys(kKeys);
            for (int k = 0; k < kKeys; ++k) {
                if (RegOpenKeyExW(HKEY_CURRENT_USER, CounterKey(k).c_str(), 0, KEY_ALL_ACCESS, keys[k].Put()) !=
                    ERROR_SUCCESS)
                    return 1;
            }
            for (DWORD bump = 1; bump <= kBumps; ++bump) {
                for (int k = 0; k < kKeys; ++k) {
                    if (SetDword(keys[k].Get(), CounterName(w).c_str(), bump) != ERROR_SUCCESS ||
                        QueryDword(keys[k].Get(), CounterName(w).c_str()) != bump)
                        return 2;
                }
            }
            return 0;
        }));
    }
    int goingBack = 0;
    std::vector<int> writerCodes;
    for (const std::unique_ptr<Child>& writer : writers) {
        while (writer->Running()) {
            if (!CountersOnlyRose(kKeys, kWriters, seen))
                ++goingBack;
        }
        writerCodes.push_back(writer->Wait());
    }
    close(stop[1]);
    EXPECT_EQ(0, reader.Wait()) << "the reader in another process saw a counter go back";
    EXPECT_EQ(std::vector<int>(kWriters, 0), writerCodes);
    EXPECT_EQ(0, goingBack);
    ASSERT_TRUE(CountersOnlyRose(kKeys, kWriters, seen));
    EXPECT_EQ(std::vector<DWORD>(kKeys * kWriters, kBumps), seen);
}

// Checks that a writer killed at any step of its transaction leaves nothing of it behind and
// nothing stale: readers keep the last committed value, and the next commit, which takes the
// number in the change record that the killed one would have had, reaches them.
TEST(RegistryCoherence, AWriterKilledMidTransactionLeavesNothingStale)
{
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kTestRoot, key));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"v", 1));
    ASSERT_EQ(1u, QueryDword(key.Get(), L"v"));
    DWORD committed = 1;
    int killed = 0;
    for (DWORD step = 1; step < 60; ++step) {
        SCOPED_TRACE(step);
        const Child writer([&] {
            TesselRegInjectFailure(kStopHere, step);
            return SetDword(key.Get(), L"v", 1000 + step) == ERROR_SUCCESS ? 0 : 1;
        });
        int code = -1;
        if (!writer.Stopped(&code)) {
            // The seam lay past the writer's last step: its write went through.
            ASSERT_EQ(0, code);
            EXPECT_EQ(1000 + step, QueryDword(key.Get(), L"v"));
            break;
        }
        writer.Kill();
        ++killed;
        EXPECT_EQ(committed, QueryDword(key.Get(), L"v")) << "the killed write shows";
        committed = 2000 + step;
        ASSERT_EQ(0, Child([&] { return SetDword(key.Get(), L"v", committed) == ERROR_SUCCESS ? 0 : 1; }).Wait());
        EXPECT_EQ(committed, QueryDword(key.Get(), L"v")) << "the next commit is missed";
    }
    EXPECT_GE(killed, 3);
}

// Checks that a process that falls behind by more changes than the record keeps starts its
// cache again instead of keeping what the cut changes made stale.
TEST(RegistryCoherence, AReaderThatFallsBehindThePrunedRecordStartsAgain)
{
    ScopedKey watched, busy;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, L"Software\\Watched", watched));
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, L"Software\\Busy", busy));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(watched.Get(), L"v", 1));
    ASSERT_EQ(1u, QueryDword(watched.Get(), L"v"));
    LONG status;
    ASSERT_EQ(std::vector<std::wstring>{}, SubKeyNames(watched.Get(), status));

    const Child writer([&] {
        // The watched value first, then more changes than the record keeps.
        ScopedKey made;
        if (SetDword(watched.Get(), L"v", 2) != ERROR_SUCCESS || CreateKey(watched.Get(), L"sub", made) != ERROR_SUCCESS)
            return 1;
        for (DWORD i = 0; i < 4600; ++i) {
            if (SetDword(busy.Get(), (L"n" + std::to_wstring(i % 50)).c_str(), i) != ERROR_SUCCESS)
                return 2;
        }
        return 0;
    });
    ASSERT_EQ(0, writer.Wait());
    EXPECT_EQ(2u, QueryDword(watched.Get(), L"v"));
    EXPECT_EQ(std::vector<std::wstring>{L"sub"}, SubKeyNames(watched.Get(), status));
}

// Checks that enumerating a key stays in proportion to its length while another process keeps
// committing elsewhere in the hive: the list is read once, and each commit elsewhere costs a
// look at the change record, not a new read of the list. The failure seam serves as a budget of
// database steps: going past it fails the enumeration.
TEST(RegistryCoherence, EnumerationStaysLinearWhileAnotherProcessWritesElsewhere)
{
    constexpr int kItems = 200;
    ScopedKey listed, elsewhere;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, L"Software\\Listed", listed));
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, L"Software\\Elsewhere", elsewhere));
    for (int i = 0; i < kItems; ++i) {
        const std::wstring name = L"item" + std::to_wstring(1000 + i);
        ScopedKey sub;
        ASSERT_EQ(ERROR_SUCCESS, SetDword(listed.Get(), name.c_str(), static_cast<DWORD>(i)));
        ASSERT_EQ(ERROR_SUCCESS, CreateKey(listed.Get(), name.c_str(), sub));
    }
    struct Walk {
        const char* what;
        LONG (*at)(HKEY key, DWORD index);
    } walks[] = {
        {"values", [](HKEY key, DWORD index) {
             wchar_t name[32];
             DWORD length = 32, size = 0;
             return RegEnumValueW(key, index, name, &length, nullptr, nullptr, nullptr, &size);
         }},
        {"sub-keys", [](HKEY key, DWORD index) {
             wchar_t name[32];
             DWORD length = 32;
             return RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
         }},
    };
    for (const Walk& walk : walks) {
        SCOPED_TRACE(walk.what);
        int toWriter[2], toReader[2];
        ASSERT_EQ(0, pipe(toWriter));
        ASSERT_EQ(0, pipe(toReader));
        const Child writer([&] {
            close(toWriter[1]);
            close(toReader[0]);
            int index = 0;
            while (ReadInt(toWriter[0], index)) {
                if (SetDword(elsewhere.Get(), L"tick", static_cast<DWORD>(index)) != ERROR_SUCCESS)
                    return 1;
                WriteInt(toReader[1], index);
            }
            return 0;
        });
        close(toWriter[0]);
        close(toReader[1]);
        // Reading the list once and looking at the record once per commit take about
        // kItems + 3 * kItems steps; reading the list again at each index would take kItems².
        TesselRegInjectFailure(kSqliteIoError, 8 * kItems);
        int failures = 0;
        for (int i = 0; i <= kItems; ++i) {
            int echoed = 0;
            WriteInt(toWriter[1], i);
            ASSERT_TRUE(ReadInt(toReader[0], echoed));
            const LONG status = walk.at(listed.Get(), static_cast<DWORD>(i));
            if (status != (i < kItems ? ERROR_SUCCESS : ERROR_NO_MORE_ITEMS)) {
                ++failures;
                ADD_FAILURE() << "index " << i << " gave " << status;
                break;
            }
        }
        TesselRegInjectFailure(0, 0);
        close(toWriter[1]);
        close(toReader[0]);
        EXPECT_EQ(0, writer.Wait());
        EXPECT_EQ(0, failures);
    }
}

// Checks that calls which share one transaction are each one atomic change. A child process
// stops while it holds the writers' lock, so that calls from four threads here queue up and go
// into one transaction when it lets go; the failure seam then fails one database step of that
// transaction, step after step. Every call either reports success and has made all three levels
// of its path, or reports failure and has made none of them, whatever the others did.
TEST(RegistryCoherence, CallsThatShareATransactionSucceedOrFailEachAlone)
{
    constexpr int kThreads = 4;
    ScopedKey base;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, L"Software\\Shared", base));
    int failed = 0;
    for (DWORD step = 1; step <= 40; ++step) {
        SCOPED_TRACE(step);
        const Child holder([&] {
            TesselRegInjectFailure(kStopHere, 1);
            return SetDword(base.Get(), L"holder", step) == ERROR_SUCCESS ? 0 : 1;
        });
        ASSERT_TRUE(holder.Stopped());
        std::vector<LONG> outcomes(kThreads, ERROR_SUCCESS);
        std::vector<std::wstring> tops;
        for (int t = 0; t < kThreads; ++t)
            tops.push_back(L"s" + std::to_wstring(step) + L"t" + std::to_wstring(t));
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&, t] {
                ScopedKey made;
                outcomes[t] = CreateKey(base.Get(), (tops[t] + L"\\b\\c").c_str(), made);
            });
        }
        // Time for the threads to queue behind the stopped holder; fewer only make the batch smaller.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        TesselRegInjectFailure(kSqliteIoError, step);
        kill(holder.Pid(), SIGCONT);
        for (std::thread& thread : threads)
            thread.join();
        TesselRegInjectFailure(0, 0);
        EXPECT_EQ(0, holder.Wait());
        for (int t = 0; t < kThreads; ++t) {
            SCOPED_TRACE(t);
            ScopedKey deepest, first;
            if (outcomes[t] == ERROR_SUCCESS) {
                EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(base.Get(), (tops[t] + L"\\b\\c").c_str(), 0, KEY_READ, deepest.Put()));
            } else {
                ++failed;
                EXPECT_EQ(ERROR_REGISTRY_IO_FAILED, outcomes[t]);
                EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(base.Get(), tops[t].c_str(), 0, KEY_READ, first.Put()));
            }
        }
    }
    EXPECT_GT(failed, 0) << "the seam made nothing fail";
}

} // namespace

#endif

// The store across processes and threads: another process's commits reach this one at its next
// call, a killed writer loses nothing it committed, forked children keep working handles, many
// threads share one handle, and a failing database leaves nothing half-written.

#include <gtest/gtest.h>

#ifndef _WIN32

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "platform/registry/RegistryProcessSupport.h"
#include "platform/registry/RegistryTestSupport.h"

using namespace RegistryTest;

namespace {

constexpr int kSqliteBusy = 5;
constexpr int kSqliteFull = 13;

// The bytes a killed writer stores as value number i: long enough to span database pages.
std::vector<BYTE> Pattern(int i)
{
    std::vector<BYTE> data(6000 + i * 7);
    for (std::size_t j = 0; j < data.size(); ++j)
        data[j] = static_cast<BYTE>((i * 31 + j) & 0xFF);
    return data;
}

TEST(RegistryProcesses, TwoProcessesSeeEachOthersCommitsAtTheirNextCall)
{
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kTestRoot, key));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"turn", 0));
    ASSERT_EQ(0u, QueryDword(key.Get(), L"turn")); // the parent's cache now holds the value

    int toChild[2], toParent[2];
    ASSERT_EQ(0, pipe(toChild));
    ASSERT_EQ(0, pipe(toParent));
    const int rounds = 40;
    const Child child([&] {
        close(toChild[1]);
        close(toParent[0]);
        // The inherited handle and a fresh one must both see the parent's writes.
        ScopedKey own;
        if (CreateKey(HKEY_CURRENT_USER, kTestRoot, own) != ERROR_SUCCESS)
            return 1;
        for (int round = 0; round < rounds; ++round) {
            int seen = 0;
            if (!ReadInt(toChild[0], seen))
                return 2;
            if (QueryDword(key.Get(), L"turn") != static_cast<DWORD>(2 * round + 1) ||
                QueryDword(own.Get(), L"TURN") != static_cast<DWORD>(2 * round + 1))
                return 3;
            // Read back after writing, so that what the parent writes next has a cached value
            // to replace.
            if (SetDword(own.Get(), L"turn", 2 * round + 2) != ERROR_SUCCESS ||
                QueryDword(own.Get(), L"turn") != static_cast<DWORD>(2 * round + 2))
                return 4;
            WriteInt(toParent[1], round);
        }
        return 0;
    });
    close(toChild[0]);
    close(toParent[1]);
    for (int round = 0; round < rounds; ++round) {
        ASSERT_EQ(static_cast<DWORD>(2 * round), QueryDword(key.Get(), L"turn")) << "round " << round;
        ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"turn", 2 * round + 1));
        ASSERT_EQ(static_cast<DWORD>(2 * round + 1), QueryDword(key.Get(), L"turn"));
        WriteInt(toChild[1], round);
        int echoed = 0;
        ASSERT_TRUE(ReadInt(toParent[0], echoed)) << "the child stopped in round " << round;
    }
    EXPECT_EQ(static_cast<DWORD>(2 * rounds), QueryDword(key.Get(), L"turn"));
    EXPECT_EQ(0, child.Wait());
}

// Checks that a commit landing while this process reads can never leave it with an old value
// once it has seen a newer one, and that the writer's last commit is what it reads at the end.
TEST(RegistryProcesses, ReadsRacingAnotherProcesssCommitsNeverGoBack)
{
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kTestRoot, key));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"counter", 0));
    const int commits = 300;
    const Child child([&] {
        for (int i = 1; i <= commits; ++i) {
            if (SetDword(key.Get(), L"counter", static_cast<DWORD>(i)) != ERROR_SUCCESS)
                return 1;
        }
        return 0;
    });
    DWORD highest = 0;
    int goingBack = 0;
    while (child.Running()) {
        LONG read;
        const DWORD seen = QueryDword(key.Get(), L"counter", read);
        ASSERT_EQ(ERROR_SUCCESS, read);
        if (seen < highest)
            ++goingBack;
        highest = std::max(highest, seen);
    }
    ASSERT_EQ(0, child.Wait());
    EXPECT_EQ(0, goingBack);
    EXPECT_EQ(static_cast<DWORD>(commits), QueryDword(key.Get(), L"counter"));
}

TEST(RegistryProcesses, AKeyDeletedElsewhereIsDeletedHere)
{
    int go[2];
    ASSERT_EQ(0, pipe(go));
    const Child child([&] {
        int ignored = 0;
        if (!ReadInt(go[0], ignored))
            return 2;
        return SHDeleteKeyW(HKEY_CURRENT_USER, L"Software\\Doomed") == ERROR_SUCCESS ? 0 : 1;
    });
    // Made and read after the fork, so the key and its value sit in this process's cache.
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, L"Software\\Doomed", key));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"v", 1));
    ASSERT_EQ(1u, QueryDword(key.Get(), L"v"));
    ASSERT_EQ(1u, QueryDword(key.Get(), L"v"));
    WriteInt(go[1], 1);
    ASSERT_EQ(0, child.Wait());
    LONG status;
    QueryDword(key.Get(), L"v", status);
    EXPECT_EQ(ERROR_KEY_DELETED, status);
    ScopedKey reopened;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Doomed", 0, KEY_READ, reopened.Put()));
}

TEST(RegistryProcesses, AKilledWriterLosesNothingItReportedCommitted)
{
    int reports[2];
    ASSERT_EQ(0, pipe(reports));
    const Child child([&] {
        close(reports[0]);
        ScopedKey key;
        if (CreateKey(HKEY_CURRENT_USER, L"Software\\Killed", key) != ERROR_SUCCESS)
            return 1;
        for (int i = 0;; ++i) {
            const std::vector<BYTE> data = Pattern(i);
            const std::wstring name = L"v" + std::to_wstring(i);
            if (RegSetValueExW(key.Get(), name.c_str(), 0, REG_BINARY, data.data(), static_cast<DWORD>(data.size())) !=
                ERROR_SUCCESS)
                return 2;
            WriteInt(reports[1], i);
        }
    });
    close(reports[1]);
    int last = -1;
    for (int i = 0; i < 60 && ReadInt(reports[0], last);)
        i = last + 1;
    kill(child.Pid(), SIGKILL);
    EXPECT_EQ(100 + SIGKILL, child.Wait());
    close(reports[0]);
    ASSERT_GE(last, 50);

    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Killed", 0, KEY_ALL_ACCESS, key.Put()));
    DWORD values = 0;
    ASSERT_EQ(ERROR_SUCCESS, RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values,
                                              nullptr, nullptr, nullptr, nullptr));
    EXPECT_GE(values, static_cast<DWORD>(last + 1));
    for (int i = 0; i < static_cast<int>(values); ++i) {
        LONG status;
        const std::wstring name = L"v" + std::to_wstring(i);
        ASSERT_EQ(Pattern(i), QueryBytes(key.Get(), name.c_str(), status)) << "value " << i << " of " << last;
    }
    EXPECT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"after", 1)) << "the hive takes writes again";
}

// Checks that a fork while other threads use the store leaves a working store on both sides: the
// handle table and the hives are taken and released around the fork, never copied halfway
// through a change, and the child never uses its parent's database connection.
TEST(RegistryProcesses, AForkWhileOtherThreadsUseTheStoreLeavesBothSidesWorking)
{
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kTestRoot, key));
    std::atomic<bool> stop{false};
    std::atomic<int> failures{0};
    std::vector<std::thread> busy;
    for (int t = 0; t < 2; ++t) {
        busy.emplace_back([&, t] {
            const std::wstring name = L"busy" + std::to_wstring(t);
            for (DWORD i = 0; !stop; ++i) {
                ScopedKey sub;
                LONG status;
                if (CreateKey(key.Get(), name.c_str(), sub) != ERROR_SUCCESS || SetDword(sub.Get(), L"i", i) != ERROR_SUCCESS ||
                    QueryDword(sub.Get(), L"i", status) != i)
                    ++failures;
            }
        });
    }
    const int forks = 10;
    for (int f = 0; f < forks; ++f) {
        const Child child([&] {
            // One thread here, as after any fork: the inherited handle and a new one both work.
            ScopedKey own;
            const std::wstring name = L"child" + std::to_wstring(f);
            return CreateKey(key.Get(), name.c_str(), own) == ERROR_SUCCESS &&
                           SetDword(own.Get(), L"f", static_cast<DWORD>(f)) == ERROR_SUCCESS &&
                           QueryDword(own.Get(), L"f") == static_cast<DWORD>(f)
                       ? 0
                       : 1;
        });
        EXPECT_EQ(0, child.Wait()) << "fork " << f;
    }
    stop = true;
    for (std::thread& thread : busy)
        thread.join();
    EXPECT_EQ(0, failures.load());
    for (int f = 0; f < forks; ++f) {
        SCOPED_TRACE(f);
        ScopedKey written;
        const std::wstring name = L"child" + std::to_wstring(f);
        ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(key.Get(), name.c_str(), 0, KEY_READ, written.Put()));
        EXPECT_EQ(static_cast<DWORD>(f), QueryDword(written.Get(), L"f"));
    }
}

TEST(RegistryThreads, ManyThreadsShareOneHandle)
{
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kTestRoot, key));
    const int threads = 4, perThread = 150;
    std::atomic<int> failures{0};
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([&, t] {
            for (int i = 0; i < perThread; ++i) {
                const std::wstring name = L"t" + std::to_wstring(t) + L"-" + std::to_wstring(i);
                LONG status;
                ScopedKey sub;
                if (SetDword(key.Get(), name.c_str(), static_cast<DWORD>(i)) != ERROR_SUCCESS ||
                    QueryDword(key.Get(), name.c_str(), status) != static_cast<DWORD>(i) ||
                    CreateKey(key.Get(), name.c_str(), sub) != ERROR_SUCCESS ||
                    RegDeleteKeyW(key.Get(), name.c_str()) != ERROR_SUCCESS)
                    ++failures;
                wchar_t buffer[32];
                DWORD length = 32;
                const LONG enumerated = RegEnumValueW(key.Get(), static_cast<DWORD>(i), buffer, &length, nullptr,
                                                      nullptr, nullptr, nullptr);
                if (enumerated != ERROR_SUCCESS && enumerated != ERROR_NO_MORE_ITEMS)
                    ++failures;
            }
        });
    }
    for (std::thread& worker : workers)
        worker.join();
    EXPECT_EQ(0, failures.load());
    DWORD values = 0, subKeys = 0;
    ASSERT_EQ(ERROR_SUCCESS, RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, &subKeys, nullptr, nullptr, &values,
                                              nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(static_cast<DWORD>(threads * perThread), values);
    EXPECT_EQ(0u, subKeys);
}

TEST(RegistryHives, AHiveFileIsMadeByItsFirstWriteOnly)
{
    struct stat info{};
    HKEY key = nullptr;
    DWORD size = 0;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(HKEY_USERS, L"Nobody", 0, KEY_READ, &key));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExW(HKEY_USERS, L"v", nullptr, nullptr, nullptr, &size));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteValueW(HKEY_USERS, L"v"));
    EXPECT_NE(0, stat(HivePath("HKU.db").c_str(), &info)) << "reads and failed deletes make no file";

    ScopedKey made;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_USERS, L".Default", made));
    EXPECT_EQ(0, stat(HivePath("HKU.db").c_str(), &info));
    EXPECT_NE(0, stat(HivePath("HKLM.db").c_str(), &info)) << "each hive has a file of its own";
}

TEST(RegistryFailures, AFailingDatabaseLeavesNothingHalfWritten)
{
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kTestRoot, key));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"v", 1));

    // Fail each database step of a three-level create in turn, until the create gets through:
    // whatever failed, no level of the path may remain.
    bool succeeded = false;
    for (DWORD nth = 1; nth < 40 && !succeeded; ++nth) {
        SCOPED_TRACE(nth);
        TesselRegInjectFailure(kSqliteFull, nth);
        ScopedKey made;
        const LONG status = CreateKey(key.Get(), L"x\\y\\z", made);
        TesselRegInjectFailure(0, 0);
        if (status == ERROR_SUCCESS) {
            succeeded = true;
            break;
        }
        // The create looks before it writes, so a failure may come from either side.
        EXPECT_TRUE(status == ERROR_CANTWRITE || status == ERROR_CANTREAD) << status;
        ScopedKey partial;
        EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(key.Get(), L"x", 0, KEY_READ, partial.Put()));
    }
    EXPECT_TRUE(succeeded);

    for (DWORD nth = 1; nth <= 5; ++nth) {
        SCOPED_TRACE(nth);
        TesselRegInjectFailure(nth == 1 ? kSqliteBusy : kSqliteFull, nth);
        const LONG status = SetDword(key.Get(), L"v", 2);
        TesselRegInjectFailure(0, 0);
        if (status == ERROR_SUCCESS)
            break;
        EXPECT_EQ(ERROR_CANTWRITE, status);
        EXPECT_EQ(1u, QueryDword(key.Get(), L"v"));
    }
    ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"v", 3));
    EXPECT_EQ(3u, QueryDword(key.Get(), L"v"));
}

} // namespace

#endif

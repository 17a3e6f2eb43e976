// Hive files as the file system holds them: many processes making one hive at once, a hive file
// this user may not use, and a user who may read a hive but not write its directory.

#include <gtest/gtest.h>

#ifndef _WIN32

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "platform/registry/RegistryProcessSupport.h"
#include "platform/registry/RegistryTestSupport.h"

using namespace RegistryTest;

namespace {

// A registry call and the status it must give.
struct Call {
    const char* what;
    std::function<LONG()> call;
    LONG expected;
};

// The number (from 1) of the first call that gives another status than it must, or 0.
int FirstMismatch(const std::vector<Call>& calls)
{
    for (std::size_t i = 0; i < calls.size(); ++i) {
        if (calls[i].call() != calls[i].expected)
            return static_cast<int>(i + 1);
    }
    return 0;
}

std::string Describe(const std::vector<Call>& calls, int code)
{
    if (code > 0 && code <= static_cast<int>(calls.size()))
        return calls[static_cast<std::size_t>(code - 1)].what;
    return "the child ended with " + std::to_string(code);
}

LONG OpenStatus(HKEY root, const wchar_t* path)
{
    ScopedKey key;
    return RegOpenKeyExW(root, path, 0, KEY_READ, key.Put());
}

LONG CreateStatus(HKEY root, const wchar_t* path)
{
    ScopedKey key;
    return CreateKey(root, path, key);
}

// Every way in to a hive that can't be opened, each giving status.
std::vector<Call> RefusedEverywhere(HKEY root, LONG status)
{
    return {
        {"open of a key", [root] { return OpenStatus(root, kTestRoot); }, status},
        {"query of a value on the root", [root] {
             DWORD size = 0;
             return RegQueryValueExW(root, L"v", nullptr, nullptr, nullptr, &size);
         }, status},
        {"enumeration of the root", [root] {
             wchar_t name[64];
             DWORD length = 64;
             return RegEnumKeyExW(root, 0, name, &length, nullptr, nullptr, nullptr, nullptr);
         }, status},
        {"create of a key", [root] { return CreateStatus(root, L"Software\\Made"); }, status},
        {"write of a value on the root", [root] { return SetDword(root, L"w", 1); }, status},
        {"delete of a value", [root] { return RegDeleteValueW(root, L"v"); }, status},
    };
}

// Checks that processes racing to make one hive all succeed: eight start together into an empty
// directory, round after round, and each makes a key and writes a value.
TEST(RegistryHiveFiles, ProcessesRacingToMakeAHiveAllSucceed)
{
    constexpr int kRacers = 8;
    constexpr int kRounds = 60;
    // HKEY_USERS, which this process never touches: each child finds its hive where the
    // variable points when it forks.
    const std::string base = std::getenv("TESSEL_REGISTRY_DIR");
    int failures = 0;
    for (int round = 0; round < kRounds; ++round) {
        const std::string directory = base + "/race" + std::to_string(round);
        setenv("TESSEL_REGISTRY_DIR", directory.c_str(), 1);
        int start[2];
        ASSERT_EQ(0, pipe(start));
        std::vector<std::unique_ptr<Child>> racers;
        for (int i = 0; i < kRacers; ++i) {
            racers.push_back(std::make_unique<Child>([&] {
                close(start[1]);
                char go;
                if (read(start[0], &go, 1) != 0) // the end of the pipe is the start
                    return 2;
                const std::wstring name = L"Racer" + std::to_wstring(i);
                ScopedKey key;
                LONG status = CreateKey(HKEY_USERS, name.c_str(), key);
                if (status == ERROR_SUCCESS)
                    status = SetDword(key.Get(), L"v", static_cast<DWORD>(i));
                return static_cast<int>(status & 0xFF);
            }));
        }
        close(start[0]);
        close(start[1]);
        for (const std::unique_ptr<Child>& racer : racers) {
            const int code = racer->Wait();
            if (code != 0) {
                ++failures;
                ADD_FAILURE() << "round " << round << ": a racer ended with " << code;
            }
        }
    }
    setenv("TESSEL_REGISTRY_DIR", base.c_str(), 1);
    EXPECT_EQ(0, failures);
}

TEST(RegistryHiveFiles, AHiveFileThisUserMayNotReadIsRefusedNotEmpty)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "acting as another user needs root";
    SharedRegistryDirectory();
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, kTestRoot, key));
    ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"v", 1));
    for (const char* file : {"HKCU.db", "HKCU.db-wal", "HKCU.db-shm"})
        ASSERT_EQ(0, chmod(HivePath(file).c_str(), 0600)) << file;

    const std::vector<Call> calls = RefusedEverywhere(HKEY_CURRENT_USER, ERROR_ACCESS_DENIED);
    const int code = RunAsOtherUser([&] { return FirstMismatch(calls); });
    EXPECT_EQ(0, code) << Describe(calls, code);
}

TEST(RegistryHiveFiles, ADirectoryWhereTheHiveFileShouldBeIsRefusedNotEmpty)
{
    ASSERT_EQ(0, mkdir(HivePath("HKU.db").c_str(), 0755));
    const std::vector<Call> calls = RefusedEverywhere(HKEY_USERS, ERROR_CANTOPEN);
    const int code = FirstMismatch(calls);
    EXPECT_EQ(0, code) << Describe(calls, code);
}

// Checks the machine hive as services that run as their own users find it: written by root and
// left by a process that has ended, in a directory that only root may write. Such a user reads
// the hive, sees later writes at its next call, and is refused writes.
TEST(RegistryHiveFiles, AUserWhoMayOnlyReadTheHiveReadsItCoherently)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "acting as another user needs root";
    SharedRegistryDirectory();
    const wchar_t* const path = L"Software\\Tessel\\Installed";
    // The installer: a process of its own, whose connection closes before it ends (here by a
    // fork), so that nothing of this process keeps the hive's files open.
    ASSERT_EQ(0, Child([&] {
                     ScopedKey key;
                     if (CreateKey(HKEY_LOCAL_MACHINE, path, key) != ERROR_SUCCESS ||
                         SetDword(key.Get(), L"v", 1) != ERROR_SUCCESS)
                         return 1;
                     return Child([] { return 0; }).Wait() == 0 ? 0 : 2;
                 }).Wait());

    int toReader[2], toWriter[2];
    ASSERT_EQ(0, pipe(toReader));
    ASSERT_EQ(0, pipe(toWriter));
    // The status of reading v, or 1000 when it holds another value than expected.
    const auto readsValue = [path](DWORD expected) {
        LONG status;
        ScopedKey key;
        const LONG opened = RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, key.Put());
        return opened != ERROR_SUCCESS ? opened : QueryDword(key.Get(), L"v", status) == expected ? status : 1000;
    };
    const std::vector<Call> firstLook = {
        {"read of an installed value", [&] { return readsValue(1); }, ERROR_SUCCESS},
        {"write of a value", [&] {
             ScopedKey key;
             const LONG opened = RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_SET_VALUE, key.Put());
             return opened != ERROR_SUCCESS ? opened : SetDword(key.Get(), L"v", 5);
         }, ERROR_ACCESS_DENIED},
        {"create of a key", [] { return CreateStatus(HKEY_LOCAL_MACHINE, L"Software\\Tessel\\Mine"); },
         ERROR_ACCESS_DENIED},
        {"delete of a key", [&] { return RegDeleteKeyW(HKEY_LOCAL_MACHINE, path); }, ERROR_ACCESS_DENIED},
    };
    const std::vector<Call> secondLook = {{"read of a value written since", [&] { return readsValue(2); }, ERROR_SUCCESS}};
    std::vector<Call> all = firstLook;
    all.insert(all.end(), secondLook.begin(), secondLook.end());
    // The reader runs as the other user while this process, as root, writes between its looks.
    const Child reader([&] {
        return RunAsOtherUser([&] {
            const int first = FirstMismatch(firstLook);
            WriteInt(toWriter[1], first);
            int written = 0;
            if (first != 0 || !ReadInt(toReader[0], written))
                return first;
            const int second = FirstMismatch(secondLook);
            return second == 0 ? 0 : static_cast<int>(firstLook.size()) + second;
        });
    });
    int first = -1;
    ASSERT_TRUE(ReadInt(toWriter[0], first)) << "the reader ended before its first look";
    if (first == 0) {
        ScopedKey key;
        ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_ALL_ACCESS, key.Put()));
        ASSERT_EQ(ERROR_SUCCESS, SetDword(key.Get(), L"v", 2));
    }
    WriteInt(toReader[1], 1);
    const int code = reader.Wait();
    EXPECT_EQ(0, code) << Describe(all, code);
}

// Checks that once every process that used a hive has ended, its .db file alone holds all that
// they committed: a copy of that one file, read where nothing else of the hive is, has it all.
TEST(RegistryHiveFiles, OnceEveryProcessHasEndedTheHiveFileAloneHoldsAll)
{
    constexpr int kValues = 300;
    // Writers in processes of their own that end as processes usually do, through exit().
    for (int writer = 0; writer < 2; ++writer) {
        const Child child([&]() -> int {
            ScopedKey key;
            const std::wstring path = L"Writer" + std::to_wstring(writer);
            if (CreateKey(HKEY_USERS, path.c_str(), key) != ERROR_SUCCESS)
                std::exit(1);
            for (int i = 0; i < kValues; ++i) {
                if (SetString(key.Get(), (L"v" + std::to_wstring(i)).c_str(), u"value " + std::u16string(i % 40, u'x')) !=
                    ERROR_SUCCESS)
                    std::exit(2);
            }
            ScopedKey gone;
            if (CreateKey(key.Get(), L"Gone\\Deeper", gone) != ERROR_SUCCESS || SetDword(gone.Get(), L"n", 1) != ERROR_SUCCESS)
                std::exit(3);
            std::exit(SHDeleteKeyW(key.Get(), L"Gone") == ERROR_SUCCESS ? 0 : 4);
        });
        ASSERT_EQ(0, child.Wait()) << "writer " << writer;
    }
    struct stat wal{};
    ASSERT_EQ(0, stat(HivePath("HKU.db-wal").c_str(), &wal)) << "the WAL files stay for readers";
    EXPECT_EQ(0, wal.st_size) << "the last process to end emptied the WAL into the hive file";

    const std::string copy = HivePath("copy");
    ASSERT_EQ(0, mkdir(copy.c_str(), 0700));
    ASSERT_EQ(0, std::system(("cp " + HivePath("HKU.db") + " " + copy + "/HKU.db").c_str()));
    const Child reader([&] {
        setenv("TESSEL_REGISTRY_DIR", copy.c_str(), 1);
        for (int writer = 0; writer < 2; ++writer) {
            ScopedKey key;
            const std::wstring path = L"Writer" + std::to_wstring(writer);
            if (RegOpenKeyExW(HKEY_USERS, path.c_str(), 0, KEY_READ, key.Put()) != ERROR_SUCCESS)
                return 10 + writer;
            for (int i = 0; i < kValues; ++i) {
                LONG status;
                if (QueryBytes(key.Get(), (L"v" + std::to_wstring(i)).c_str(), status) !=
                    StringData(u"value " + std::u16string(i % 40, u'x')))
                    return 20 + writer;
            }
            ScopedKey gone;
            if (RegOpenKeyExW(key.Get(), L"Gone", 0, KEY_READ, gone.Put()) != ERROR_FILE_NOT_FOUND)
                return 30 + writer;
        }
        return 0;
    });
    EXPECT_EQ(0, reader.Wait()) << "1x: a key is missing from the copy; 2x: a value; 3x: a deleted key is back";
}

// Checks that a hive whose WAL files are gone, in a directory that this user may not write, is
// read as it lies (it must not look empty, nor be refused), and that writes are refused.
TEST(RegistryHiveFiles, AHiveAtRestInADirectoryReadersMayNotWriteIsReadable)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "acting as another user needs root";
    SharedRegistryDirectory();
    ASSERT_EQ(0, Child([] {
                     ScopedKey key;
                     if (CreateKey(HKEY_USERS, L"Installed", key) != ERROR_SUCCESS)
                         return 1;
                     // A fork closes the connection, which copies the commit into the file; then
                     // the WAL files can go, as a restore from a copy of the file alone leaves it.
                     return Child([] { return 0; }).Wait() == 0 ? 0 : 2;
                 }).Wait());
    for (const char* file : {"HKU.db-wal", "HKU.db-shm"})
        std::remove(HivePath(file).c_str());

    const std::vector<Call> calls = {
        {"open of an installed key", [] { return OpenStatus(HKEY_USERS, L"Installed"); }, ERROR_SUCCESS},
        {"open of a missing key", [] { return OpenStatus(HKEY_USERS, L"Missing"); }, ERROR_FILE_NOT_FOUND},
        {"create of a key", [] { return CreateStatus(HKEY_USERS, L"Mine"); }, ERROR_ACCESS_DENIED},
    };
    const int code = RunAsOtherUser([&] { return FirstMismatch(calls); });
    EXPECT_EQ(0, code) << Describe(calls, code);
}

} // namespace

#endif

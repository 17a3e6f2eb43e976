// A parent with open keys and busy threads forks, again and again; on both sides of each fork
// the store keeps working: the child writes and reads through the handles it inherited and
// through new ones, from a thread of its own as well, and each side sees the other's writes.
//   tessel-fork [--forks N]

#include <atomic>
#include <csignal>
#include <iostream>
#include <thread>
#include <unistd.h>

#include "DriverSupport.h"

using namespace Reliability;

namespace {

LONG SetDword(HKEY key, const std::wstring& name, DWORD value)
{
    return RegSetValueExW(key, name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof value);
}

// The value, or ~0 when it can't be read.
DWORD GetDword(HKEY key, const std::wstring& name)
{
    DWORD value = 0, size = sizeof value;
    return RegQueryValueExW(key, name.c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size) ==
                   ERROR_SUCCESS
               ? value
               : ~0u;
}

// Threads that write and read their own values until told to stop; each counts its failures.
class BusyThreads {
public:
    BusyThreads(HKEY key, int count)
    {
        for (int t = 0; t < count; ++t) {
            m_threads.emplace_back([this, key, t] {
                // Each process's threads write values of their own: the point is the fork, not a race.
                const std::wstring name = L"busy" + std::to_wstring(getpid()) + L"-" + std::to_wstring(t);
                for (DWORD i = 0; !m_stop.load(); ++i) {
                    HKEY sub = nullptr;
                    if (SetDword(key, name, i) != ERROR_SUCCESS || GetDword(key, name) != i ||
                        RegCreateKeyExW(key, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &sub, nullptr) !=
                            ERROR_SUCCESS)
                        ++m_failures;
                    else
                        RegCloseKey(sub);
                }
            });
        }
    }
    ~BusyThreads() { Stop(); }
    BusyThreads(const BusyThreads&) = delete;
    BusyThreads& operator=(const BusyThreads&) = delete;

    int Stop()
    {
        m_stop = true;
        for (std::thread& thread : m_threads) {
            if (thread.joinable())
                thread.join();
        }
        return m_failures.load();
    }

private:
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_failures{0};
    std::vector<std::thread> m_threads;
};

// The child's side of round r: exit code 0 when everything held, else the first step that failed.
int ChildSide(HKEY inherited, int round, int go, int done)
{
    alarm(60);
    if (GetDword(inherited, L"before") != static_cast<DWORD>(round))
        return 10;
    HKEY own = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Fork", 0, KEY_ALL_ACCESS, &own) != ERROR_SUCCESS)
        return 11;
    BusyThreads busy(own, 1);
    if (SetDword(inherited, L"child", static_cast<DWORD>(round)) != ERROR_SUCCESS)
        return 12;
    if (GetDword(own, L"child") != static_cast<DWORD>(round))
        return 13;
    char byte = 1;
    if (write(done, &byte, 1) != 1 || read(go, &byte, 1) != 1)
        return 14;
    if (GetDword(inherited, L"parent") != static_cast<DWORD>(round) ||
        GetDword(own, L"parent") != static_cast<DWORD>(round))
        return 15;
    if (busy.Stop() != 0)
        return 16;
    RegCloseKey(own);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const Options options(argc, argv);
    const long forks = options.Number("forks", 20);
    Tally tally;
    ScratchDirectory scratch("fork");
    UseStore(scratch.NewSubdirectory("store"));

    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\Fork", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) !=
        ERROR_SUCCESS) {
        tally.Fail("making the key");
        return tally.Finish();
    }
    const double started = Now();
    long hangs = 0, crashes = 0;
    {
        BusyThreads busy(key, 3);
        for (long round = 0; round < forks; ++round) {
            const std::string label = "fork " + std::to_string(round) + ": ";
            const auto r = static_cast<DWORD>(round);
            tally.Check(SetDword(key, L"before", r) == ERROR_SUCCESS, label + "write before the fork");
            int toChild[2], toParent[2];
            if (pipe(toChild) != 0 || pipe(toParent) != 0)
                return tally.Finish();
            std::cout.flush();
            const pid_t child = fork();
            if (child == 0)
                _exit(ChildSide(key, static_cast<int>(round), toChild[0], toParent[1]));
            close(toChild[0]);
            close(toParent[1]);
            char byte = 0;
            const bool childWrote = read(toParent[0], &byte, 1) == 1;
            tally.Check(childWrote && GetDword(key, L"child") == r, label + "the parent sees the child's write");
            tally.Check(SetDword(key, L"parent", r) == ERROR_SUCCESS, label + "write after the fork");
            byte = 1;
            if (write(toChild[1], &byte, 1) != 1)
                tally.Fail(label + "signal the child");
            close(toChild[1]);
            close(toParent[0]);
            const ChildEnd end = WaitChild(child, 90);
            hangs += end.timedOut || (!end.exited && end.signal == SIGALRM) ? 1 : 0;
            crashes += !end.exited && !end.timedOut && end.signal != SIGALRM ? 1 : 0;
            tally.Check(end.Clean(), label + "the child " + end.Describe());
        }
        tally.Check(busy.Stop() == 0, "the parent's busy threads failed calls");
    }
    RegCloseKey(key);
    PrintMetrics("fork", {{"forks", std::to_string(forks)},
                          {"hangs", std::to_string(hangs)},
                          {"crashes", std::to_string(crashes)},
                          {"seconds", std::to_string(static_cast<long>(Now() - started))}});
    return tally.Finish();
}

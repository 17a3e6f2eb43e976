// Helpers for registry tests that use more than one process: pipes that carry ints, children
// that are reaped (or killed) whatever an assertion does, and a child that runs as another user.
#pragma once

#ifndef _WIN32

#include <csignal>
#include <cstdlib>
#include <functional>
#include <grp.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace RegistryTest {

// Reads exactly one int from fd; false at end of file.
inline bool ReadInt(int fd, int& value)
{
    std::size_t got = 0;
    char* bytes = reinterpret_cast<char*>(&value);
    while (got < sizeof(value)) {
        const ssize_t n = read(fd, bytes + got, sizeof(value) - got);
        if (n <= 0)
            return false;
        got += static_cast<std::size_t>(n);
    }
    return true;
}

inline void WriteInt(int fd, int value)
{
    if (write(fd, &value, sizeof(value)) != static_cast<ssize_t>(sizeof(value)))
        _exit(90);
}

// The child's exit code, or 100 plus the signal that ended it.
inline int WaitForChild(pid_t child)
{
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 100 + WTERMSIG(status);
}

// A forked child that runs body and ends with its result. It is killed if a failed assertion
// leaves it running, so that no test hangs on it.
class Child {
public:
    explicit Child(const std::function<int()>& body) : m_pid(fork())
    {
        if (m_pid == 0)
            _exit(body());
    }
    ~Child()
    {
        if (m_pid > 0 && waitpid(m_pid, nullptr, WNOHANG) == 0)
            Kill();
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t Pid() const { return m_pid; }
    // Whether the child is still running; an ended child is left for Wait() to reap.
    bool Running() const
    {
        siginfo_t info{};
        return m_pid > 0 && waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               info.si_pid == 0;
    }
    // The exit code as WaitForChild gives it; 98 when the fork failed.
    int Wait() const { return m_pid > 0 ? WaitForChild(m_pid) : 98; }
    // Waits until the child stops at the failure seam (true) or ends (false, with its exit code).
    bool Stopped(int* code = nullptr) const
    {
        int how = 0;
        if (m_pid <= 0 || waitpid(m_pid, &how, WUNTRACED) != m_pid) {
            if (code != nullptr)
                *code = 98;
            return false;
        }
        if (code != nullptr && !WIFSTOPPED(how))
            *code = WIFEXITED(how) ? WEXITSTATUS(how) : 100 + WTERMSIG(how);
        return WIFSTOPPED(how);
    }
    void Kill() const
    {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }

private:
    pid_t m_pid;
};

// The path of a file in this test process's registry directory.
inline std::string HivePath(const char* file)
{
    return std::string(std::getenv("TESSEL_REGISTRY_DIR")) + "/" + file;
}

// The unprivileged user that "another user" tests become.
constexpr uid_t kOtherUser = 65534;

// Runs check() in a child that has become kOtherUser, and gives its exit code: 0 when check()
// returned 0, 99 when the child could not become that user. Only root can run it.
inline int RunAsOtherUser(const std::function<int()>& check)
{
    return Child([&] {
               if (setgroups(0, nullptr) != 0 || setgid(kOtherUser) != 0 || setuid(kOtherUser) != 0)
                   return 99;
               return check();
           }).Wait();
}

// The registry directory of this test process, opened to other users so that they can reach
// the hive files in it; the files themselves keep their own modes.
inline std::string SharedRegistryDirectory()
{
    const char* directory = std::getenv("TESSEL_REGISTRY_DIR");
    chmod(directory, 0755);
    return directory;
}

} // namespace RegistryTest

#endif

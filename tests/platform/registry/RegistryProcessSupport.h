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

// Kills a child that a failed assertion left running, so that no test hangs on it.
class ChildGuard {
public:
    explicit ChildGuard(pid_t child) : m_child(child) {}
    ~ChildGuard()
    {
        if (m_child > 0 && waitpid(m_child, nullptr, WNOHANG) == 0) {
            kill(m_child, SIGKILL);
            waitpid(m_child, nullptr, 0);
        }
    }
    ChildGuard(const ChildGuard&) = delete;
    ChildGuard& operator=(const ChildGuard&) = delete;

private:
    pid_t m_child;
};

// The child's exit code, or 100 plus the signal that ended it.
inline int WaitForChild(pid_t child)
{
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 100 + WTERMSIG(status);
}

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
    const pid_t child = fork();
    if (child < 0)
        return 98;
    if (child == 0) {
        if (setgroups(0, nullptr) != 0 || setgid(kOtherUser) != 0 || setuid(kOtherUser) != 0)
            _exit(99);
        _exit(check());
    }
    return WaitForChild(child);
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

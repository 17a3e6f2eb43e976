// The writers' lock of a hive. Implementation here must contain only generic UNIX code: POSIX
// robust process-shared mutexes in a shared file mapping, and flock to make the file once.

#include "registry/WriterLock.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace TesselPlatform::Registry {

namespace {

// Written last when a file's mutex is made, so that a file whose maker died halfway is made again.
constexpr std::uint32_t kMade = 0x4B434C54; // "TLCK"
constexpr std::size_t kFileSize = 4096;

} // namespace

struct WriterLock::Shared {
    std::atomic<std::uint32_t> made;
    pthread_mutex_t mutex;
};

namespace {

bool MakeMutex(pthread_mutex_t* mutex)
{
    pthread_mutexattr_t attributes;
    if (pthread_mutexattr_init(&attributes) != 0)
        return false;
    const bool made = pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED) == 0 &&
                      pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST) == 0 &&
                      pthread_mutex_init(mutex, &attributes) == 0;
    pthread_mutexattr_destroy(&attributes);
    return made;
}

} // namespace

WriterLock::~WriterLock()
{
    if (m_shared != nullptr)
        munmap(m_shared, kFileSize);
}

bool WriterLock::Open(const std::string& hivePath)
{
    if (m_shared != nullptr)
        return true;
    // The lock file takes the hive file's mode, as SQLite's own files beside it do.
    struct stat hive{};
    if (stat(hivePath.c_str(), &hive) != 0)
        return false;
    const std::string path = hivePath + "-lock";
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, hive.st_mode & 0777);
    if (fd < 0)
        return false;
    // Whoever comes first makes the mutex; flock keeps a second process from doing it again
    // under the first one's feet.
    void* mapped = MAP_FAILED;
    struct stat file{};
    if (flock(fd, LOCK_EX) == 0) {
        if (fstat(fd, &file) == 0 && (file.st_size >= static_cast<off_t>(kFileSize) || ftruncate(fd, kFileSize) == 0))
            mapped = mmap(nullptr, kFileSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        if (mapped != MAP_FAILED) {
            Shared* shared = static_cast<Shared*>(mapped);
            if (shared->made.load(std::memory_order_acquire) != kMade) {
                if (MakeMutex(&shared->mutex))
                    shared->made.store(kMade, std::memory_order_release);
            }
            if (shared->made.load(std::memory_order_acquire) == kMade)
                m_shared = shared;
            else
                munmap(mapped, kFileSize);
        }
        flock(fd, LOCK_UN);
    }
    // The mapping stays when the file closes.
    close(fd);
    return m_shared != nullptr;
}

bool WriterLock::Lock()
{
    if (m_shared == nullptr)
        return false;
    int result = pthread_mutex_lock(&m_shared->mutex);
    // Its holder died, most likely killed in the middle of a write: SQLite's recovery deals
    // with what the write left, and the lock goes on.
    if (result == EOWNERDEAD)
        result = pthread_mutex_consistent(&m_shared->mutex);
    return result == 0;
}

void WriterLock::Unlock()
{
    pthread_mutex_unlock(&m_shared->mutex);
}

} // namespace TesselPlatform::Registry

// Hive file locations. Implementation here must contain only generic UNIX code.

#include "registry/HiveFiles.h"

#include <cerrno>
#include <cstdlib>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace TesselPlatform::Registry {

namespace {

std::string HiveDirectory(HiveId id)
{
    const char* configured = std::getenv("TESSEL_REGISTRY_DIR");
    if (configured != nullptr && *configured != '\0')
        return configured;
    if (id == HiveId::Machine)
        return "/var/lib/tessel";
    const char* dataHome = std::getenv("XDG_DATA_HOME");
    if (dataHome != nullptr && dataHome[0] == '/')
        return std::string(dataHome) + "/tessel";
    const char* home = std::getenv("HOME");
    if (home == nullptr || *home == '\0') {
        const passwd* entry = getpwuid(getuid());
        home = entry != nullptr ? entry->pw_dir : "/tmp";
    }
    return std::string(home) + "/.local/share/tessel";
}

const char* HiveFileName(HiveId id)
{
    switch (id) {
    case HiveId::Machine:
        return "HKLM.db";
    case HiveId::User:
        return "HKCU.db";
    case HiveId::Users:
        return "HKU.db";
    }
    return "HKLM.db";
}

std::string DirectoryOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string(".") : path.substr(0, slash == 0 ? 1 : slash);
}

} // namespace

std::string HivePath(HiveId id)
{
    return HiveDirectory(id) + "/" + HiveFileName(id);
}

void MakeHiveDirectory(HiveId id, const std::string& path)
{
    const std::string directory = DirectoryOf(path);
    const mode_t mode = id == HiveId::Machine ? 0755 : 0700;
    for (std::size_t slash = directory.find('/', 1);; slash = directory.find('/', slash + 1)) {
        const std::string prefix = directory.substr(0, slash);
        if (mkdir(prefix.c_str(), mode) != 0 && errno != EEXIST)
            return;
        if (slash == std::string::npos)
            return;
    }
}

LONG FindHiveFile(const std::string& path)
{
    struct stat info{};
    if (stat(path.c_str(), &info) == 0)
        return ERROR_SUCCESS;
    return errno == EACCES ? ERROR_ACCESS_DENIED : ERROR_FILE_NOT_FOUND;
}

LONG WhyHiveWontOpen(const std::string& path)
{
    const auto refused = [](const std::string& file, int mode) { return access(file.c_str(), mode) != 0 && errno == EACCES; };
    struct stat info{};
    if (stat(path.c_str(), &info) != 0) {
        // Not there: it was to be made, in a directory that refuses us, or its directory is missing.
        return errno == EACCES || refused(DirectoryOf(path), W_OK) ? ERROR_ACCESS_DENIED : ERROR_CANTOPEN;
    }
    if (S_ISDIR(info.st_mode))
        return ERROR_CANTOPEN;
    if (refused(path, R_OK))
        return ERROR_ACCESS_DENIED;
    // A reader needs the WAL files: readable where they are, or made beside the hive.
    for (const char* suffix : {"-wal", "-shm"}) {
        const std::string companion = path + suffix;
        if (stat(companion.c_str(), &info) == 0 ? refused(companion, R_OK) : refused(DirectoryOf(path), W_OK))
            return ERROR_ACCESS_DENIED;
    }
    return ERROR_CANTOPEN;
}

bool FileStamp::operator==(const FileStamp& other) const
{
    for (int i = 0; i < 7; ++i) {
        if (words[i] != other.words[i])
            return false;
    }
    return true;
}

namespace {

bool StampOf(const std::string& path, FileStamp& stamp)
{
    struct stat info{};
    if (stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode))
        return false;
    stamp.words[0] = static_cast<std::uint64_t>(info.st_dev);
    stamp.words[1] = static_cast<std::uint64_t>(info.st_ino);
    stamp.words[2] = static_cast<std::uint64_t>(info.st_size);
    stamp.words[3] = static_cast<std::uint64_t>(info.st_mtim.tv_sec);
    stamp.words[4] = static_cast<std::uint64_t>(info.st_mtim.tv_nsec);
    stamp.words[5] = static_cast<std::uint64_t>(info.st_ctim.tv_sec);
    stamp.words[6] = static_cast<std::uint64_t>(info.st_ctim.tv_nsec);
    return true;
}

bool HasNoWal(const std::string& path)
{
    struct stat info{};
    return stat((path + "-wal").c_str(), &info) != 0 && errno == ENOENT;
}

} // namespace

bool AtRestInClosedDirectory(const std::string& path, FileStamp& stamp)
{
    return HasNoWal(path) && access(DirectoryOf(path).c_str(), W_OK) != 0 && access(path.c_str(), R_OK) == 0 &&
           StampOf(path, stamp);
}

bool StillAtRest(const std::string& path, const FileStamp& stamp)
{
    FileStamp now;
    return HasNoWal(path) && StampOf(path, now) && now == stamp;
}

} // namespace TesselPlatform::Registry

// Gives every test process a registry store of its own: TESSEL_REGISTRY_DIR points at a new
// directory before any test runs, and the directory goes when the process ends. CTest runs
// each test case in its own process, so cases never see each other's keys.

#include <cstdio>
#include <cstdlib>
#include <ftw.h>
#include <string>
#include <unistd.h>

namespace {

int RemoveEntry(const char* path, const struct stat*, int, struct FTW*)
{
    return std::remove(path);
}

class FreshRegistryDirectory {
public:
    FreshRegistryDirectory()
    {
        const char* tmp = std::getenv("TMPDIR");
        std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/tessel-test-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) {
            std::perror("tessel tests: cannot make a registry directory");
            std::abort();
        }
        m_directory = pattern;
        setenv("TESSEL_REGISTRY_DIR", m_directory.c_str(), 1);
        m_owner = getpid();
    }
    ~FreshRegistryDirectory()
    {
        // A forked child that exits must not take the parent's store with it.
        if (getpid() == m_owner && std::getenv("TESSEL_KEEP_TEST_REGISTRY") == nullptr)
            nftw(m_directory.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS);
    }
    FreshRegistryDirectory(const FreshRegistryDirectory&) = delete;
    FreshRegistryDirectory& operator=(const FreshRegistryDirectory&) = delete;

private:
    std::string m_directory;
    pid_t m_owner = 0;
};

const FreshRegistryDirectory g_freshRegistry;

} // namespace

// A registry store of a benchmark's own: points TESSEL_REGISTRY_DIR at a new directory unless
// the caller named one, and removes that directory when the benchmark is done.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <ftw.h>
#include <string>

namespace TesselBench {

class ScratchStore {
public:
    ScratchStore()
    {
        if (std::getenv("TESSEL_REGISTRY_DIR") != nullptr)
            return;
        std::string pattern = "/tmp/tessel-bench-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) {
            std::perror("cannot make a scratch store");
            std::exit(1);
        }
        m_directory = pattern;
        setenv("TESSEL_REGISTRY_DIR", m_directory.c_str(), 1);
    }
    ~ScratchStore()
    {
        if (!m_directory.empty())
            nftw(m_directory.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS);
    }
    ScratchStore(const ScratchStore&) = delete;
    ScratchStore& operator=(const ScratchStore&) = delete;

private:
    static int RemoveEntry(const char* path, const struct stat*, int, struct FTW*) { return std::remove(path); }

    std::string m_directory; // made here, so removed here; empty when the caller named one
};

// The whole main of a benchmark program that needs nothing but its own data: a scratch store
// unless TESSEL_REGISTRY_DIR names one, the data that populate writes, then the benchmarks.
inline int RunOnScratchStore(int argc, char** argv, void (*populate)())
{
    const ScratchStore store;
    populate();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

} // namespace TesselBench

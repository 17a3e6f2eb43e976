// Checks that the library's unload work (the detach, which destroys the factory singletons under
// their locks) runs while those locks still exist, for the library as linked and for the same
// parts linked in the reverse order. The program sees every critical section call of the process:
// it defines the platform's functions itself, records them and hands them on.

#include <dlfcn.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "TesselWin32.h"

namespace {

// Plain data only: the records must outlive every static object of the library, whose ends they
// watch at process exit.
struct SectionRecord {
    const void* section;
    bool deleted;
    bool enteredAtExit;
};

SectionRecord g_records[256];
int g_recordCount = 0;
bool g_exiting = false;
int g_usedAfterDelete = 0;
int g_enteredAtExitThenDeleted = 0;

SectionRecord* Record(const void* section)
{
    for (int i = 0; i < g_recordCount; ++i) {
        if (g_records[i].section == section)
            return &g_records[i];
    }
    if (g_recordCount == 256)
        return nullptr;
    g_records[g_recordCount] = {section, false, false};
    return &g_records[g_recordCount++];
}

template <class Function>
Function Next(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

void NoteUse(LPCRITICAL_SECTION section)
{
    SectionRecord* record = Record(section);
    if (record == nullptr)
        return;
    if (record->deleted)
        ++g_usedAfterDelete;
    else if (g_exiting)
        record->enteredAtExit = true;
}

// Runs last of the exit work, after the library's static objects have ended.
void Verdict()
{
    if (g_usedAfterDelete != 0) {
        std::fprintf(stderr, "%d critical section calls after the section was deleted\n", g_usedAfterDelete);
        std::_Exit(2);
    }
    // Both singletons' locks were taken by the detach and deleted afterwards.
    if (g_enteredAtExitThenDeleted < 2) {
        std::fprintf(stderr, "the unload work took %d locks that ended later\n", g_enteredAtExitThenDeleted);
        std::_Exit(3);
    }
}

void ExitBegins()
{
    g_exiting = true;
}

// Loads the module, makes the factories and ends the process as a program ends, so that the
// library's static objects end with the load hook among them.
[[noreturn]] void RunAndExit(const char* probePath)
{
    std::atexit(Verdict);
    void* probe = dlopen(probePath, RTLD_NOW | RTLD_LOCAL);
    if (probe == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        std::_Exit(4);
    }
    using MakeFactories = void (*)();
    reinterpret_cast<MakeFactories>(dlsym(probe, "TesselProbeMakeFactories"))();
    std::atexit(ExitBegins);
    std::exit(0);
}

TEST(UnloadOrder, DetachFindsTheSingletonLocksAliveAsLinkedAndWithThePartsReversed)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const char* probe : {TESSEL_UNLOAD_PROBE, TESSEL_UNLOAD_PROBE_REVERSED}) {
        SCOPED_TRACE(probe);
        EXPECT_EXIT(RunAndExit(probe), ::testing::ExitedWithCode(0), "");
    }
}

} // namespace

// The platform's critical section functions, seen first by every module of the process.
extern "C" {

void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION section)
{
    if (SectionRecord* record = Record(section))
        *record = {section, false, false};
    Next<void(WINAPI*)(LPCRITICAL_SECTION)>("InitializeCriticalSection")(section);
}

void WINAPI EnterCriticalSection(LPCRITICAL_SECTION section)
{
    NoteUse(section);
    Next<void(WINAPI*)(LPCRITICAL_SECTION)>("EnterCriticalSection")(section);
}

void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION section)
{
    NoteUse(section);
    Next<void(WINAPI*)(LPCRITICAL_SECTION)>("LeaveCriticalSection")(section);
}

void WINAPI DeleteCriticalSection(LPCRITICAL_SECTION section)
{
    if (SectionRecord* record = Record(section)) {
        if (record->enteredAtExit && !record->deleted)
            ++g_enteredAtExitThenDeleted;
        record->deleted = true;
    }
    Next<void(WINAPI*)(LPCRITICAL_SECTION)>("DeleteCriticalSection")(section);
}

} // extern "C"

// Checks that a critical section is re-entrant for its owner and shuts out other threads
// until the owner has left as often as it entered.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "TesselWin32.h"

namespace {

TEST(CriticalSection, OwnerReentersAndOthersWaitForTheLastLeave)
{
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    EnterCriticalSection(&section);
    EnterCriticalSection(&section);
    EXPECT_EQ(2, section.RecursionCount);

    std::atomic<bool> tried{false};
    std::atomic<bool> entered{false};
    std::thread other([&] {
        EXPECT_FALSE(TryEnterCriticalSection(&section));
        tried = true;
        EnterCriticalSection(&section);
        entered = true;
        LeaveCriticalSection(&section);
    });

    while (!tried.load())
        std::this_thread::yield();
    LeaveCriticalSection(&section);
    // Still held once: the other thread must not get in. A short wait can only miss a fault,
    // never report one that isn't there.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(entered.load());
    LeaveCriticalSection(&section);

    other.join();
    EXPECT_TRUE(entered.load());
    EXPECT_EQ(0, section.RecursionCount);
    EXPECT_TRUE(TryEnterCriticalSection(&section));
    LeaveCriticalSection(&section);
    DeleteCriticalSection(&section);
}

} // namespace

// What a read of a missing parameter allocates, counted by a replaced operator new: nothing
// beyond the store's own calls, except the narrow text of the exception that reports it.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

#include "ConfigTestSupport.h"

namespace {

std::atomic<long> g_allocations{0};

} // namespace

void* operator new(std::size_t size)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* block = std::malloc(size == 0 ? 1 : size))
        return block;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete[](void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    std::free(block);
}

using namespace Tessel;
using namespace TesselTest;

namespace {

// Allocations made by one call, in the steady state after a few warm-up rounds.
template <class Call>
long Allocations(Call call)
{
    long count = 0;
    for (int round = 0; round < 4; ++round) {
        const long before = g_allocations.load();
        call();
        count = g_allocations.load() - before;
    }
    return count;
}

} // namespace

TEST(Allocation, MissingParameterAllocatesOnlyTheExceptionText)
{
    auto key = TestKey();
    key.SetText(L"Present", L"1");
    const auto reader = OpenReader(kBaseLocation);
    const std::wstring name = L"Missing";

    const long raw = Allocations([&] {
        BYTE buffer[64];
        DWORD type = 0;
        DWORD size = sizeof buffer;
        RegQueryValueExW(key.Get(), name.c_str(), nullptr, &type, buffer, &size);
    });
    const std::wstring path = kBaseLocation;
    const long exceptionText = Allocations([&] {
        ParameterNotFoundException failure(L"Parameter '%s' not found in registry key '%s'.", name.c_str(),
                                           path.c_str());
    });

    EXPECT_EQ(Allocations([&] { reader->GetIntOr(name, 1); }), raw);
    EXPECT_EQ(Allocations([&] { reader->GetUIntOr(name, 1); }), raw);
    EXPECT_EQ(Allocations([&] { reader->GetStringOr(name, std::wstring()); }), raw);
    const long required = Allocations([&] {
        try {
            reader->GetInt(name);
        } catch (const ParameterNotFoundException&) {
        }
    });
    EXPECT_EQ(required, raw + exceptionText);
    RecordProperty("StoreQueryAllocations", static_cast<int>(raw));
    RecordProperty("ExceptionTextAllocations", static_cast<int>(exceptionText));
}

// ExpandEnvironmentStringsW over arbitrary text and buffer sizes: the size it asks for is the
// size it fills, a buffer that is too small is never overrun, and the result is terminated. A
// crash, a sanitizer report or a broken rule is a finding.

#include <cstdint>
#include <vector>

#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool ready = [] {
        setenv("FUZZ_SHORT", "x", 1);
        setenv("FUZZ_LONG", std::string(300, 'y').c_str(), 1);
        setenv("FUZZ_EMPTY", "", 1);
        setenv("FUZZ_PERCENT", "%FUZZ_SHORT%", 1);
        return true;
    }();
    (void)ready;
    Fuzz::Input input(data, size);
    const DWORD small = input.Byte();
    const std::wstring source = input.Rest();

    const DWORD needed = ExpandEnvironmentStringsW(source.c_str(), nullptr, 0);
    if (needed == 0)
        std::abort();
    // The exact size, and a smaller one; the buffer is exactly that long, so an overrun shows.
    for (const DWORD room : {needed, small < needed ? small : needed - 1}) {
        std::vector<wchar_t> buffer(room);
        const DWORD result = ExpandEnvironmentStringsW(source.c_str(), room ? buffer.data() : nullptr, room);
        if (result != needed)
            std::abort();
        if (room == needed && buffer[needed - 1] != L'\0')
            std::abort();
    }
    return 0;
}

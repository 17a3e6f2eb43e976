// The local heap of the system, which owns the texts that FormatMessageW allocates.
// Implementation here must contain only generic UNIX code.

#include <cstdlib>

#include "TesselPlatform/System.h"

extern "C" {

HLOCAL WINAPI LocalAlloc(UINT uFlags, SIZE_T uBytes)
{
    // A zero-byte block is still a distinct block, as on Windows.
    const SIZE_T bytes = uBytes == 0 ? 1 : uBytes;
    void* block = (uFlags & LMEM_ZEROINIT) != 0 ? std::calloc(1, bytes) : std::malloc(bytes);
    if (block == nullptr)
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return block;
}

HLOCAL WINAPI LocalFree(HLOCAL hMem)
{
    std::free(hMem);
    return nullptr;
}

} // extern "C"

// The system's English message texts: the Win32 codes and HRESULTs that the registry, the COM
// error objects and the library meet. Today's wording, as current systems print it.

#include "MessageTable.h"

#include <algorithm>
#include <iterator>

namespace TesselPlatform::System {

namespace {

struct SystemMessage {
    DWORD id;
    const wchar_t* text;
};

// Sorted by number: the lookup is a binary search.
const SystemMessage g_win32Messages[] = {
    {0, L"The operation completed successfully."},
    {1, L"Incorrect function."},
    {2, L"The system cannot find the file specified."},
    {3, L"The system cannot find the path specified."},
    {5, L"Access is denied."},
    {6, L"The handle is invalid."},
    {8, L"Not enough memory resources are available to process this command."},
    {13, L"The data is invalid."},
    {14, L"Not enough memory resources are available to complete this operation."},
    {50, L"The request is not supported."},
    {87, L"The parameter is incorrect."},
    {122, L"The data area passed to a system call is too small."},
    {123, L"The filename, directory name, or volume label syntax is incorrect."},
    {126, L"The specified module could not be found."},
    {161, L"The specified path is invalid."},
    {183, L"Cannot create a file when that file already exists."},
    {234, L"More data is available."},
    {259, L"No more data is available."},
    {740, L"The requested operation requires elevation."},
    {1009, L"The configuration registry database is corrupt."},
    {1010, L"The configuration registry key is invalid."},
    {1011, L"The configuration registry key could not be opened."},
    {1012, L"The configuration registry key could not be read."},
    {1013, L"The configuration registry key could not be written."},
    {1014, L"One of the files in the registry database had to be recovered by use of a log or alternate copy. "
           L"The recovery was successful."},
    {1015, L"The registry is corrupted. The structure of one of the files containing registry data is corrupted, "
           L"or the system's memory image of the file is corrupted, or the file could not be recovered because the "
           L"alternate copy or log was absent or corrupted."},
    {1016, L"An I/O operation initiated by the registry failed unrecoverably. The registry could not read in, or "
           L"write out, or flush, one of the files that contain the system's image of the registry."},
    {1018, L"Illegal operation attempted on a registry key that has been marked for deletion."},
    {1113, L"No mapping for the Unicode character exists in the target multi-byte code page."},
    {1804, L"The specified datatype is invalid."},
    {1812, L"The specified image file did not contain a resource section."},
    {1813, L"The specified resource type cannot be found in the image file."},
    {1814, L"The specified resource name cannot be found in the image file."},
    {1815, L"The specified resource language ID cannot be found in the image file."},
};

// The E_ texts have no final period; the dispatch ones do, as the system has them.
const SystemMessage g_hresultMessages[] = {
    {0x80004001, L"Not implemented"},
    {0x80004002, L"No such interface supported"},
    {0x80004003, L"Invalid pointer"},
    {0x80004004, L"Operation aborted"},
    {0x80004005, L"Unspecified error"},
    {0x8000FFFF, L"Catastrophic failure"},
    {0x80020005, L"Type mismatch."},
    {0x80020008, L"Bad variable type."},
    {0x80020009, L"Exception occurred."},
    {0x8002000A, L"Out of present range."},
    {0x80040110, L"Class does not support aggregation (or class object is remote)"},
    {0x80040111, L"ClassFactory cannot supply requested class"},
    {0x80040154, L"Class not registered"},
};

template <std::size_t N>
const wchar_t* Find(const SystemMessage (&table)[N], DWORD id)
{
    const auto found = std::lower_bound(std::begin(table), std::end(table), id,
                                        [](const SystemMessage& entry, DWORD wanted) { return entry.id < wanted; });
    return found != std::end(table) && found->id == id ? found->text : nullptr;
}

} // namespace

const wchar_t* FindSystemMessage(DWORD messageId)
{
    if (const wchar_t* text = Find(g_hresultMessages, messageId))
        return text;
    if ((messageId & 0xFFFF0000u) == 0x80070000u)
        return Find(g_win32Messages, messageId & 0xFFFFu);
    if (messageId <= 0xFFFFu)
        return Find(g_win32Messages, messageId);
    return nullptr;
}

} // namespace TesselPlatform::System

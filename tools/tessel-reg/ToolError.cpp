// Status texts for the registry failures that tessel-reg reports.

#include "ToolError.h"

namespace Tessel::Reg {

ToolError ToolError::FromStatus(LSTATUS status)
{
    return ToolError(StatusText(status), false);
}

std::wstring StatusText(LSTATUS status)
{
    switch (status) {
    // Both mean "no such key or value" to a user who typed a path.
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
        return L"The system was unable to find the specified registry key or value.";
    case ERROR_ACCESS_DENIED:
        return L"Access is denied.";
    case ERROR_INVALID_HANDLE:
        return L"The handle is invalid.";
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
        return L"Not enough memory resources are available to process this command.";
    case ERROR_INVALID_PARAMETER:
        return L"The parameter is incorrect.";
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
        return L"The filename, directory name, or volume label syntax is incorrect.";
    case ERROR_BADDB:
        return L"The configuration registry database is corrupt.";
    case ERROR_BADKEY:
        return L"The configuration registry key is invalid.";
    case ERROR_CANTOPEN:
        return L"The configuration registry key could not be opened.";
    case ERROR_CANTREAD:
        return L"The configuration registry key could not be read.";
    case ERROR_CANTWRITE:
        return L"The configuration registry key could not be written.";
    case ERROR_REGISTRY_CORRUPT:
        return L"The structure of one of the files containing registry data is corrupt.";
    case ERROR_REGISTRY_IO_FAILED:
        return L"An I/O operation initiated by the registry failed unrecoverably.";
    case ERROR_KEY_DELETED:
        return L"Illegal operation attempted on a registry key that has been marked for deletion.";
    case ERROR_INVALID_DATA:
        return L"The data is invalid.";
    default:
        return L"The registry call failed with status " + std::to_wstring(status) + L".";
    }
}

} // namespace Tessel::Reg

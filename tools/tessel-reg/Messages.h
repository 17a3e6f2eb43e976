// Every text that tessel-reg and its .reg unit write, apart from the system's texts for registry
// statuses (StatusText). Kept together so that wording is written once and read in one place.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Tessel::Reg::Messages {

// Outcomes and questions of the commands.

inline const wchar_t kCompleted[] = L"The operation completed successfully.";
inline const wchar_t kCanceled[] = L"The operation was canceled by the user.";
inline const wchar_t kSyntax[] = L"Invalid syntax.";
inline const wchar_t kBadKeyName[] = L"Invalid key name.";
inline const wchar_t kNothingDeleted[] =
    L"Nothing was deleted without confirmation; use /f to delete without asking.";
inline const wchar_t kFileOpenFailed[] = L"Error opening the file. There may be a disk or file system error.";
inline const wchar_t kFileWriteFailed[] = L"Error writing the file. There may be a disk or file system error.";
inline const wchar_t kIdentical[] = L"Result Compared: Identical";
inline const wchar_t kDifferent[] = L"Result Compared: Different";

inline std::wstring UsageHint(std::wstring_view verb)
{
    return L" Type \"tessel-reg " + std::wstring(verb) + (verb.empty() ? L"/?" : L" /?") + L"\" for usage.";
}

inline std::wstring InvalidType(std::wstring_view name)
{
    return L"Invalid value type \"" + std::wstring(name) + L"\".";
}

inline std::wstring InvalidData(std::wstring_view text, std::wstring_view typeName)
{
    return L"Invalid data \"" + std::wstring(text) + L"\" for " + std::wstring(typeName) + L".";
}

inline std::wstring OverwriteValueQuestion(std::wstring_view name)
{
    return L"Value " + std::wstring(name) + L" exists, overwrite(Yes/No)?";
}

inline std::wstring OverwriteValueRefusal(std::wstring_view name)
{
    return L"Value " + std::wstring(name) + L" exists; use /f to overwrite it.";
}

inline std::wstring OverwriteFileQuestion(std::wstring_view file)
{
    return L"File " + std::wstring(file) + L" exists, overwrite(Yes/No)?";
}

inline std::wstring OverwriteFileRefusal(std::wstring_view file)
{
    return L"File " + std::wstring(file) + L" exists; use /y to overwrite it.";
}

inline std::wstring DeleteKeyQuestion(std::wstring_view key)
{
    return L"Delete the registry key " + std::wstring(key) + L" (Yes/No)?";
}

inline std::wstring DeleteValueQuestion(std::wstring_view name)
{
    return L"Delete the registry value " + std::wstring(name) + L" (Yes/No)?";
}

inline std::wstring DeleteAllValuesQuestion(std::wstring_view key)
{
    return L"Delete all values under the registry key " + std::wstring(key) + L" (Yes/No)?";
}

inline std::wstring SearchEnd(size_t matches)
{
    return L"End of search: " + std::to_wstring(matches) + L" match(es) found.";
}

inline std::wstring NotSupported(std::wstring_view verb)
{
    return L"The " + std::wstring(verb) + L" operation is not supported on this system.";
}

inline std::wstring ArgumentNotUtf8(size_t position, std::wstring_view shown)
{
    return L"Argument " + std::to_wstring(position) + L" is not valid UTF-8: " + std::wstring(shown);
}

// A failure on one line of a .reg file, as the command reports it.
inline std::wstring AtFileLine(std::wstring_view file, size_t line, std::wstring_view what)
{
    return std::wstring(file) + L", line " + std::to_wstring(line) + L": " + std::wstring(what);
}

// What is wrong with a .reg file.

inline std::wstring RegFileHalfUnit()
{
    return L"The file ends in half a UTF-16 character.";
}

inline std::wstring RegFileBigEndian()
{
    return L"UTF-16 big-endian files are not supported; save the file as UTF-16LE or UTF-8.";
}

inline std::wstring RegFileBadUtf8()
{
    return L"The file begins with a UTF-8 byte-order mark but is not valid UTF-8.";
}

inline std::wstring RegFileNoHeader()
{
    return L"The file is not a registry script: it must begin with \"Windows Registry Editor Version 5.00\" or "
           L"\"REGEDIT4\".";
}

inline std::wstring RegFileWindows3()
{
    return L"Registry scripts of Windows 3.x (\"REGEDIT\") are not supported.";
}

inline std::wstring RegFileUnknownLine()
{
    return L"A line must be a [key], a value, a ; comment or blank.";
}

inline std::wstring RegFileMissingBracket()
{
    return L"A key line must end with \"]\".";
}

inline std::wstring RegFileUnknownRoot(std::wstring_view key)
{
    return L"The key \"" + std::wstring(key) +
           L"\" does not start with HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER, HKEY_CLASSES_ROOT, HKEY_USERS or "
           L"HKEY_CURRENT_CONFIG.";
}

inline std::wstring RegFileBadKeyName(std::wstring_view key)
{
    return L"The key name \"" + std::wstring(key) + L"\" has an empty part or a part over 255 characters.";
}

inline std::wstring RegFileDeleteRoot()
{
    return L"A root key cannot be deleted.";
}

inline std::wstring RegFileValueBeforeKey()
{
    return L"A value line must follow a key line.";
}

inline std::wstring RegFileValueAfterDelete()
{
    return L"A value line cannot follow a line that deletes its key.";
}

inline std::wstring RegFileUnterminated()
{
    return L"A quoted text has no closing quote.";
}

inline std::wstring RegFileBadEscape()
{
    return L"A backslash in quoted text must be followed by \\ or \".";
}

inline std::wstring RegFileBadName()
{
    return L"A value name must not hold a NUL character nor be over 16,383 characters.";
}

inline std::wstring RegFileMissingEquals()
{
    return L"A value name must be followed by \"=\".";
}

inline std::wstring RegFileUnknownData(std::wstring_view data)
{
    return L"Unknown value data \"" + std::wstring(data) + L"\".";
}

inline std::wstring RegFileTrailingText(std::wstring_view text)
{
    return L"Unexpected text after the value: \"" + std::wstring(text) + L"\".";
}

inline std::wstring RegFileBadDword()
{
    return L"dword: must be followed by 1 to 8 hexadecimal digits.";
}

inline std::wstring RegFileBadHexType(std::wstring_view text)
{
    return L"Bad value type in \"" + std::wstring(text) + L"\".";
}

inline std::wstring RegFileBadHexByte(std::wstring_view text)
{
    return L"Bad hexadecimal byte \"" + std::wstring(text) + L"\".";
}

inline std::wstring RegFileHexEndsInComma()
{
    return L"The hexadecimal data ends in a comma without a \"\\\" to continue it.";
}

inline std::wstring RegFileEndsInContinuation()
{
    return L"The file ends where a value continues with \"\\\".";
}

inline std::wstring RegFileOddText(std::wstring_view form)
{
    return std::wstring(form) + L" holds UTF-16 text, which needs an even number of bytes.";
}

} // namespace Tessel::Reg::Messages

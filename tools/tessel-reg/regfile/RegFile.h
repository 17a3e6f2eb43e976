// .reg files, the Windows registry editor's text format, without the command line: reading one
// into sections and values, writing one byte for byte as the editor does, and moving them
// between a file and the registry. A library or a service can import and export through this
// header alone.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "KeyPath.h"
#include "TesselWin32.h"

namespace Tessel::Reg {

// One value line: a value to set, or ("name"=-) one to delete.
struct RegFileValue {
    std::wstring Name; // empty for the default value (@)
    bool Delete = false;
    DWORD Type = REG_NONE;
    std::vector<BYTE> Data; // what the registry stores: UTF-16LE for text types, whatever the file's text
    size_t Line = 0;        // where the value starts in the file
};

// One [KEY] section with its values, or a [-KEY] line that deletes the key and all below it.
struct RegFileKey {
    KeyPath Key; // its View is 0; the importer chooses the view
    bool Delete = false;
    size_t Line = 0;
    std::vector<RegFileValue> Values;
};

// A malformed file: the first line that is wrong, and what is wrong with it.
struct RegFileError {
    size_t Line = 0;
    std::wstring Message;
};

// Reads a whole file: "Windows Registry Editor Version 5.00" (UTF-16LE with its byte-order mark,
// or UTF-8) or "REGEDIT4" (8-bit text). A file without a byte-order mark is read as UTF-8 when it
// is valid UTF-8 and as Windows-1252 otherwise; so is the hex(1), hex(2) and hex(7) data of a
// REGEDIT4 file, which holds the text of the writer's code page. Throws RegFileError for
// anything malformed, so that nothing is acted on before the whole file has been checked.
std::vector<RegFileKey> ReadRegFile(const BYTE* bytes, size_t size);

// Writes a file in the registry editor's own form: the version 5 header, UTF-16LE after a
// byte-order mark, CRLF line ends, a blank line after each key, "@" for the default value, text
// as "name"="text", numbers as dword:, everything else as hex(N): lines of at most 80 columns.
class RegFileWriter {
public:
    RegFileWriter();

    // Starts the section of a key, given by its full path with the root's long name.
    void BeginKey(std::wstring_view fullPath);
    // A value of the current key; an empty name is the default value.
    void AddValue(std::wstring_view name, DWORD type, const BYTE* data, size_t size);
    // Ends the last section and gives the whole file; the writer is spent afterwards.
    std::string Finish();

private:
    void Put(char16_t unit);
    void PutAscii(std::string_view text);
    void PutUnits(const BYTE* utf16, size_t units, bool escape);
    void PutWide(std::wstring_view text, bool escape);
    void PutHex(DWORD type, const BYTE* data, size_t size);
    void EndLine();

    std::string m_bytes; // UTF-16LE
    size_t m_column = 0; // UTF-16 units on the current line
};

// Writes the key and everything below it, parents before children, each key's values and
// sub-keys in the order the registry enumerates them. A sub-key that another process deletes
// meanwhile is passed over; any other failure is returned and the file is incomplete.
LSTATUS ExportRegistryTree(const KeyPath& path, RegFileWriter& writer);

// Where an import stopped: the registry's status and the line that it failed on.
struct RegFileImportFailure {
    LSTATUS Status = ERROR_SUCCESS;
    size_t Line = 0;
};

// Applies a file's sections in order through the given view (0, KEY_WOW64_32KEY or
// KEY_WOW64_64KEY): creates keys, sets and deletes values, deletes trees. Deleting what isn't
// there is no failure. Stops at the first failure; what came before it stays applied. The store
// here takes the changes to each hive in one transaction instead of one per value.
RegFileImportFailure ImportRegFile(const std::vector<RegFileKey>& keys, REGSAM view);

} // namespace Tessel::Reg

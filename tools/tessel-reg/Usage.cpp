// The usage texts of tessel-reg and of each of its commands. Each lists every option the
// command takes, in both spellings; the man page says the same at more length.

#include "CommandLine.h"

namespace Tessel::Reg {
namespace {

const wchar_t kToolUsage[] =
    L"tessel-reg COMMAND ARGUMENTS\n"
    L"tessel-reg --version\n"
    L"\n"
    L"Commands:\n"
    L"  query    show a key's values and sub-keys, or search them\n"
    L"  add      create a key or set a value\n"
    L"  delete   delete a value, all values or a whole key\n"
    L"  copy     copy a key's values, or a whole tree, to another key\n"
    L"  compare  compare two keys, or two trees\n"
    L"  export   write a key and everything below it to a .reg file\n"
    L"  import   apply a .reg file\n"
    L"  save     write a key and everything below it to a saved-key file\n"
    L"  restore  replace a key and everything below it with a saved-key file\n"
    L"  watch    show each change below a key as it happens\n"
    L"  load, unload, flags  not supported on this system\n"
    L"\n"
    L"KEY is ROOT\\path, where ROOT is HKLM, HKCU, HKCR, HKU or HKCC, or the long form\n"
    L"(HKEY_LOCAL_MACHINE, ...). Options take the /x form, also written -x, and a POSIX long\n"
    L"form (--value); /reg:32 and /reg:64 choose the 32-bit or 64-bit view of the registry for\n"
    L"every command that takes a key. FILE is a path of this system: one that starts with / is\n"
    L"taken for an option unless it holds a second / (/tmp/x.reg), and -- ends the options.\n"
    L"Type \"tessel-reg COMMAND /?\" for what a command takes; \"man tessel-reg\" says more.\n";

const wchar_t kViewOptions[] =
    L"  /reg:32, --reg32         use the 32-bit view of the registry\n"
    L"  /reg:64, --reg64         use the 64-bit view of the registry\n";

const wchar_t kQueryUsage[] =
    L"tessel-reg query KEY [/v NAME | /ve] [/s] [/se SEP] [/z] [/reg:32 | /reg:64]\n"
    L"tessel-reg query KEY /f DATA [/v] [/k | /d] [/c] [/e] [/t TYPES] [/s] [/se SEP] [/z]\n"
    L"\n"
    L"  /v NAME, --value NAME    show only the value NAME; with /s, wherever it is in the tree\n"
    L"  /ve, --default           show only the default value\n"
    L"  /s, --recurse            show or search all sub-keys, at any depth\n"
    L"  /se SEP, --separator SEP show REG_MULTI_SZ items apart by the one character SEP (else \\0)\n"
    L"  /f DATA, --find DATA     search key names, value names and data for DATA; * and ? are\n"
    L"                           wildcards, and DATA matches anywhere in the text unless /e\n"
    L"  /v, --value              (with /f) search value names only\n"
    L"  /k, --keys               search key names only\n"
    L"  /d, --in-data            search data only\n"
    L"  /c, --case-sensitive     match case; otherwise case is ignored\n"
    L"  /e, --exact              match whole names and data only\n"
    L"  /t TYPES, --type TYPES   search only values of these types, comma-separated\n"
    L"                           (REG_SZ,REG_DWORD,...); key names are not searched then\n"
    L"  /z, --numeric-type       show each type's number beside its name\n";

const wchar_t kAddUsage[] =
    L"tessel-reg add KEY [/v NAME | /ve] [/t TYPE] [/s SEP] [/d DATA] [/f] [/reg:32 | /reg:64]\n"
    L"\n"
    L"  /v NAME, --value NAME    the value to set; without /v or /ve, /d sets the default value\n"
    L"  /ve, --default           set the default value\n"
    L"  /t TYPE, --type TYPE     REG_SZ (the default), REG_MULTI_SZ, REG_EXPAND_SZ, REG_DWORD,\n"
    L"                           REG_DWORD_LITTLE_ENDIAN, REG_DWORD_BIG_ENDIAN (stored\n"
    L"                           big-endian), REG_QWORD, REG_BINARY, REG_NONE, REG_LINK,\n"
    L"                           REG_RESOURCE_LIST, REG_FULL_RESOURCE_DESCRIPTOR or\n"
    L"                           REG_RESOURCE_REQUIREMENTS_LIST\n"
    L"  /s SEP, --separator SEP  the one character between REG_MULTI_SZ items in DATA (else \\0)\n"
    L"  /d DATA, --data DATA     numbers in decimal or 0x hex; binary, REG_NONE and the\n"
    L"                           resource types as hex pairs\n"
    L"  /f, --force              overwrite an existing value without asking\n";

const wchar_t kDeleteUsage[] =
    L"tessel-reg delete KEY [/v NAME | /ve | /va] [/f] [/reg:32 | /reg:64]\n"
    L"\n"
    L"  /v NAME, --value NAME    delete the value NAME\n"
    L"  /ve, --default           delete the default value\n"
    L"  /va, --all-values        delete all values of the key, keeping its sub-keys\n"
    L"  /f, --force              delete without asking\n"
    L"\n"
    L"Without /v, /ve or /va the key is deleted with all its sub-keys.\n";

const wchar_t kCopyUsage[] =
    L"tessel-reg copy KEY1 KEY2 [/s] [/f] [/reg:32 | /reg:64]\n"
    L"\n"
    L"Copies the values of KEY1 to KEY2, creating KEY2 if need be.\n"
    L"  /s, --recurse            copy all sub-keys and their values too\n"
    L"  /f, --force              overwrite values that KEY2 has already without asking\n";

const wchar_t kCompareUsage[] =
    L"tessel-reg compare KEY1 KEY2 [/v NAME | /ve] [/s] [/oa | /od | /os | /on] [/reg:32 | /reg:64]\n"
    L"\n"
    L"  /v NAME, --value NAME    compare only the value NAME\n"
    L"  /ve, --default           compare only the default values\n"
    L"  /s, --recurse            compare all sub-keys too\n"
    L"  /oa, --all               show differences and matches\n"
    L"  /od, --differences       show differences only (the default)\n"
    L"  /os, --same              show matches only\n"
    L"  /on, --none              show neither, only the result\n"
    L"\n"
    L"Lines start with < for KEY1's side, > for KEY2's and = for a match.\n"
    L"Exit code: 0 identical, 2 different, 1 the comparison failed.\n";

const wchar_t kExportUsage[] =
    L"tessel-reg export KEY FILE [/y] [/reg:32 | /reg:64]\n"
    L"\n"
    L"Writes KEY and everything below it to FILE as the Windows registry editor does\n"
    L"(\"Windows Registry Editor Version 5.00\", UTF-16LE, CRLF line ends).\n"
    L"  /y, --yes                overwrite FILE without asking\n";

const wchar_t kImportUsage[] =
    L"tessel-reg import FILE [/reg:32 | /reg:64]\n"
    L"\n"
    L"Applies a .reg file: \"Windows Registry Editor Version 5.00\" in UTF-16LE or UTF-8, or\n"
    L"\"REGEDIT4\". A file without a byte-order mark is read as UTF-8 when it is valid UTF-8 and\n"
    L"as Windows-1252 otherwise. The whole file is checked before anything is written.\n";

const wchar_t kSaveUsage[] =
    L"tessel-reg save KEY FILE [/y] [/reg:32 | /reg:64]\n"
    L"\n"
    L"Writes KEY and everything below it to FILE: every value with its type and bytes, class\n"
    L"names and last-write times, as one consistent picture of the registry. The file's format\n"
    L"is this system's own; on Windows it is a hive file, and the command needs an elevated\n"
    L"prompt holding the backup privilege (SeBackupPrivilege).\n"
    L"  /y, --yes                overwrite FILE without asking\n";

const wchar_t kRestoreUsage[] =
    L"tessel-reg restore KEY FILE [/reg:32 | /reg:64]\n"
    L"\n"
    L"Replaces the values and sub-keys of KEY with those that \"tessel-reg save\" wrote to FILE,\n"
    L"in one step: a program reading KEY meanwhile sees it whole before or whole after. On\n"
    L"Windows the command needs an elevated prompt holding the restore privilege\n"
    L"(SeRestorePrivilege).\n";
const wchar_t kWatchUsage[] =
    L"tessel-reg watch KEY [/s] [/t name|last_set|attributes|security] [/n COUNT] [/reg:32 | /reg:64]\n"
    L"\n"
    L"Prints one line per change of KEY, made by any process, until interrupted or COUNT\n"
    L"changes: the time, the key's path, the kind of change (key_added, key_deleted, value_set,\n"
    L"value_deleted, attributes or security) and, for a value, its name.\n"
    L"  /s, --recurse            watch all sub-keys too, at any depth\n"
    L"  /t KIND, --type KIND     watch only sub-keys added or deleted (name), values set or\n"
    L"                           deleted (last_set), or the key's attributes or security\n"
    L"  /n COUNT, --count COUNT  stop after COUNT changes\n";

const wchar_t kUnsupportedUsage[] =
    L"\n"
    L"Not supported on this system: the registry store keeps each hive in a database of its\n"
    L"own, and has no hive files to attach nor virtualization flags.\n";

} // namespace

std::wstring UsageText(std::optional<Verb> verb)
{
    if (!verb)
        return kToolUsage;
    switch (*verb) {
    case Verb::Query:
        return std::wstring(kQueryUsage) + kViewOptions +
               L"\nExample: tessel-reg query HKLM\\Software\\Example /f Retries /s\n";
    case Verb::Add:
        return std::wstring(kAddUsage) + kViewOptions +
               L"\nExample: tessel-reg add HKLM\\Software\\Example /v Retries /t REG_DWORD /d 3\n";
    case Verb::Delete:
        return std::wstring(kDeleteUsage) + kViewOptions +
               L"\nExample: tessel-reg delete HKLM\\Software\\Example /v Retries /f\n";
    case Verb::Copy:
        return std::wstring(kCopyUsage) + kViewOptions +
               L"\nExample: tessel-reg copy HKCU\\Software\\Example HKCU\\Software\\Backup /s /f\n";
    case Verb::Compare:
        return std::wstring(kCompareUsage) + kViewOptions +
               L"\nExample: tessel-reg compare HKCU\\Software\\Example HKCU\\Software\\Backup /s\n";
    case Verb::Export:
        return std::wstring(kExportUsage) + kViewOptions +
               L"\nExample: tessel-reg export HKCU\\Software\\Example example.reg /y\n";
    case Verb::Import:
        return std::wstring(kImportUsage) + kViewOptions + L"\nExample: tessel-reg import example.reg\n";
    case Verb::Save:
        return std::wstring(kSaveUsage) + kViewOptions +
               L"\nExample: tessel-reg save HKCU\\Software\\Example example.hiv /y\n";
    case Verb::Restore:
        return std::wstring(kRestoreUsage) + kViewOptions +
               L"\nExample: tessel-reg restore HKCU\\Software\\Example example.hiv\n";
    case Verb::Watch:
        return std::wstring(kWatchUsage) + kViewOptions +
               L"\nExample: tessel-reg watch HKCU\\Software\\Example /s /n 10\n";
    case Verb::Load:
        return L"tessel-reg load KEY FILE\n" + std::wstring(kUnsupportedUsage);
    case Verb::Unload:
        return L"tessel-reg unload KEY\n" + std::wstring(kUnsupportedUsage);
    case Verb::Flags:
        return L"tessel-reg flags KEY [QUERY | SET ...]\n" + std::wstring(kUnsupportedUsage);
    }
    return {};
}

} // namespace Tessel::Reg

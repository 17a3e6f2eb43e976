// PersistRegistry: one open key named by a full path, with typed writes and reads of its values,
// a walk over its sub-keys and their removal.
#include <KavorTesselUtils.h>

#include <iostream>
#include <string>

using namespace Tessel;

namespace {

void WriteSettings(const PersistRegistry& settings)
{
    settings.Write(L"Title", L"Tessel example");
    settings.Write(L"Offset", static_cast<LONG>(-5)); // text: "-5"
    settings.Write(L"Count", static_cast<ULONG>(7));  // REG_DWORD
    settings.Write(L"Verbose", true);                 // REG_DWORD 1
    settings.Write(L"LogDir", L"%HOME%/logs", true);  // REG_EXPAND_SZ, expanded when read
    unsigned char signature[] = {0x4B, 0x54, 0xA0, 0x01};
    settings.Write(L"Signature", signature, sizeof(signature));
}

int ReadSettings(const PersistRegistry& settings)
{
    LONG offset = 0;
    ULONG count = 0;
    bool verbose = false;
    std::wstring title;
    std::wstring logDir;
    unsigned char signature[8];
    settings.Read(L"Offset", offset, false);
    settings.Read(L"Count", count, false);
    settings.Read(L"Verbose", verbose, false);
    settings.Read(L"Title", title, false, false);
    settings.Read(L"LogDir", logDir, true, false);
    settings.Read(L"Signature", signature, 4, sizeof(signature), false);
    std::wcout << title << L": offset " << offset << L", count " << count << L", verbose " << verbose
               << L", logs in " << logDir << L"\n";

    // An optional read of an absent value says so and leaves the variable alone.
    ULONG limit = 100;
    if (!settings.Read(L"Limit", limit, true))
        std::wcout << L"no limit stored, keeping " << limit << L"\n";

    try {
        settings.Read(L"Title", count, false);
    } catch (const PersistencyOtherType& e) {
        std::wcout << L"PersistencyOtherType: " << e.GetDescription() << L"\n";
    }
    return offset == -5 && count == 7 && verbose && signature[0] == 0x4B ? 0 : 1;
}

} // namespace

int main()
{
    try {
        PersistRegistry example;
        example.Create(L"HKCU\\Software\\Example", ReadWrite, nullptr); // makes the key if missing
        try {
            example.Remove(L"Persist", true);
        } catch (const PersistencyFailed&) {
            // Nothing is left over from an earlier run.
        }

        PersistRegistry settings;
        settings.Create(L"HKCU\\Software\\Example\\Persist", ReadWrite, nullptr);
        WriteSettings(settings);
        const int status = ReadSettings(settings);

        // Sub-keys are made by a path below the parent's; no Write ever makes a key.
        for (const wchar_t* name : {L"Logs", L"Cache"})
            PersistRegistry().Create((std::wstring(settings.GetPath()) + name).c_str(), ReadWrite, nullptr);
        std::wcout << L"sub-keys:";
        const wchar_t* separator = L" ";
        for (const std::wstring& name : settings) {
            std::wcout << separator << name;
            separator = L", ";
        }
        std::wcout << L"\n";

        settings.Remove(L"Logs", false); // a sub-key without sub-keys of its own
        example.Remove(L"Persist", true); // everything below as well
        return status;
    } catch (const ExceptionBase& e) {
        std::wcerr << L"failed: " << e.GetDescription() << L"\n";
        return 1;
    }
}

// The Write family and Remove of PersistRegistry: the stored form of each source type, and the
// removal of sub-keys with or without what lies below them.

#include "Tessel/PersistRegistry.h"

#include <cstdio>
#include <string>

#include "Tessel/Exceptions.h"
#include "common/Utf16Data.h"

namespace Tessel {

namespace {

// Numbers are formatted narrow, as sprintf does it under the current locale, and widened
// through the thread's code page, so that the reading side's wcstod sees the same notation.
std::wstring WidenNumber(const char* narrow, int length)
{
    if (length <= 0)
        return std::wstring();
    const int wideLength = MultiByteToWideChar(CP_THREAD_ACP, 0, narrow, length, nullptr, 0);
    if (wideLength <= 0)
        return std::wstring(narrow, narrow + length); // digits, signs and the exponent are ASCII
    std::wstring wide(static_cast<size_t>(wideLength), L'\0');
    MultiByteToWideChar(CP_THREAD_ACP, 0, narrow, length, &wide[0], wideLength);
    return wide;
}

} // namespace

void PersistRegistry::SetValue(const wchar_t* name, DWORD type, const BYTE* data, DWORD size) const
{
    const LSTATUS result = RegSetValueExW(GetKey(), name, 0, type, data, size);
    if (result != ERROR_SUCCESS)
        throw PersistencyFailed(L"Writing item '%s' failed with %08x", name, static_cast<unsigned int>(result));
}

void PersistRegistry::Write(const wchar_t* name, const wchar_t* value, bool expandable) const
{
    Validate(true);
    if (value == nullptr)
        throw InvalidArg(L"Null value specified for item '%s'", name);
    const std::vector<BYTE> data = Detail::Utf16FromWide(value, true);
    SetValue(name, expandable ? REG_EXPAND_SZ : REG_SZ, data.data(), static_cast<DWORD>(data.size()));
}

void PersistRegistry::Write(const wchar_t* name, const std::wstring& value, bool expandable) const
{
    Write(name, value.c_str(), expandable);
}

void PersistRegistry::Write(const wchar_t* name, LONG value) const
{
    // Signed numbers are stored as text, not as a dword; only unsigned ones are dwords.
    Write(name, std::to_wstring(static_cast<long long>(value)), false);
}

void PersistRegistry::Write(const wchar_t* name, ULONG value) const
{
    Validate(true);
    const DWORD data = value;
    SetValue(name, REG_DWORD, reinterpret_cast<const BYTE*>(&data), sizeof data);
}

void PersistRegistry::Write(const wchar_t* name, float value) const
{
    char narrow[64];
    const int length = std::snprintf(narrow, sizeof narrow, "%.6g", static_cast<double>(value));
    Write(name, WidenNumber(narrow, length), false);
}

void PersistRegistry::Write(const wchar_t* name, double value) const
{
    char narrow[64];
    const int length = std::snprintf(narrow, sizeof narrow, "%.15g", value);
    Write(name, WidenNumber(narrow, length), false);
}

void PersistRegistry::Write(const wchar_t* name, unsigned char* data, size_t size) const
{
    Validate(true);
    SetValue(name, REG_BINARY, data, static_cast<DWORD>(size));
}

void PersistRegistry::Write(const wchar_t* name, bool value) const
{
    Validate(true);
    const DWORD data = value ? 1 : 0;
    SetValue(name, REG_DWORD, reinterpret_cast<const BYTE*>(&data), sizeof data);
}

void PersistRegistry::Remove(const wchar_t* subKey, bool recursive) const
{
    Validate(true);
    const LSTATUS result = recursive ? SHDeleteKeyW(GetKey(), subKey) : RegDeleteKeyW(GetKey(), subKey);
    if (result != ERROR_SUCCESS)
        throw PersistencyFailed(L"%s emoval of key '%s' failed", recursive ? L"Recursive r" : L"R", subKey);
}

} // namespace Tessel

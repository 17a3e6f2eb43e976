// The values of a PersistRegistry: the stored form of each type, as Write produces it and Read
// takes it back, and the removal of sub-keys. Both sides live here because they must agree.

#include "Tessel/PersistRegistry.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <new>

#include "Tessel/Exceptions.h"
#include "common/Utf16Data.h"

namespace Tessel {

namespace {

// Fetches a dword, or up to 4 bytes of a shorter value into its low bytes. The temporary
// leaves the caller's variable alone when the query fails.
LSTATUS FetchDword(HKEY key, const wchar_t* name, DWORD& value)
{
    DWORD data = 0;
    DWORD size = sizeof data;
    const LSTATUS result = RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(&data), &size);
    if (result == ERROR_SUCCESS)
        value = data;
    return result;
}

// The stored text up to its first NUL or the end of the data, whichever comes first, so that a
// value stored without its terminator, or an empty one, reads as what it holds.
std::wstring FetchText(HKEY key, const wchar_t* name, DWORD size)
{
    std::vector<BYTE> buffer;
    try {
        buffer.resize(std::max<DWORD>(size, 2));
    } catch (const std::bad_alloc&) {
        throw OutOfMemory(nullptr);
    }
    // The second query decides: if the item grew in between, its code is the failure.
    DWORD dataSize = static_cast<DWORD>(buffer.size());
    const LSTATUS result = RegQueryValueExW(key, name, nullptr, nullptr, buffer.data(), &dataSize);
    if (result != ERROR_SUCCESS)
        throw PersistencyFailed(L"Retrieval of string from registry failed with %08x",
                                static_cast<unsigned int>(result));

    const size_t units = std::min<size_t>(dataSize, buffer.size()) / 2;
    size_t length = 0;
    while (length < units && (buffer[2 * length] != 0 || buffer[2 * length + 1] != 0))
        ++length;
    try {
        return Detail::WideFromUtf16(buffer.data(), length * 2);
    } catch (const std::bad_alloc&) {
        throw OutOfMemory(nullptr);
    }
}

std::wstring ExpandText(const std::wstring& text)
{
    const DWORD needed = ExpandEnvironmentStringsW(text.c_str(), nullptr, 0);
    if (needed == 0)
        throw PersistencyFailed(L"Failed to expand the environment strings, error=%08x",
                                static_cast<unsigned int>(GetLastError()));

    std::vector<wchar_t> expanded;
    try {
        expanded.assign(needed, L'\0');
    } catch (const std::bad_alloc&) {
        throw OutOfMemory(nullptr);
    }
    if (ExpandEnvironmentStringsW(text.c_str(), expanded.data(), needed) == 0)
        throw PersistencyFailed(L"String expand unexpectedly failed");
    // Bounded: an environment that grew between the two calls must not run us off the buffer.
    return std::wstring(expanded.data(), wcsnlen(expanded.data(), expanded.size()));
}

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

bool PersistRegistry::Read(const wchar_t* name, LONG& value, bool optional) const
{
    DWORD type = 0;
    DWORD size = 0;
    if (!GetType(name, optional, type, size))
        return false;

    if (type == REG_DWORD) {
        DWORD data = 0;
        const LSTATUS result = FetchDword(GetKey(), name, data);
        if (result != ERROR_SUCCESS)
            throw PersistencyFailed(L"Retrieval of long from registry failed with %08x",
                                    static_cast<unsigned int>(result));
        value = static_cast<LONG>(data);
        return true;
    }
    if (type == REG_SZ) {
        std::wstring text;
        Read(name, text, false, false);
        const wchar_t* cursor = text.c_str();
        // Signed and unsigned forms of one integer type may alias; the parser hands back the
        // converted bits at once, as a failing text leaves them in `value`.
        ParseValue(name, cursor, reinterpret_cast<ULONG&>(value), nullptr, true);
        return true;
    }
    throw PersistencyOtherType(L"Storage item '%s' is not dword or string", name);
}

bool PersistRegistry::Read(const wchar_t* name, ULONG& value, bool optional) const
{
    DWORD type = 0;
    DWORD size = 0;
    if (!GetType(name, optional, type, size))
        return false;
    if (type != REG_DWORD)
        throw PersistencyOtherType(L"Storage item '%s' is not dword", name);

    DWORD data = 0;
    const LSTATUS result = FetchDword(GetKey(), name, data);
    if (result != ERROR_SUCCESS)
        throw PersistencyFailed(L"Retrieval of unsigned long from registry failed with %08x",
                                static_cast<unsigned int>(result));
    value = data;
    return true;
}

bool PersistRegistry::Read(const wchar_t* name, float& value, bool optional) const
{
    std::wstring text;
    if (!Read(name, text, false, optional))
        return false;
    double parsed = 0.0;
    const wchar_t* cursor = text.c_str();
    ParseValue(name, cursor, parsed, nullptr, true);
    value = static_cast<float>(parsed);
    return true;
}

bool PersistRegistry::Read(const wchar_t* name, double& value, bool optional) const
{
    std::wstring text;
    if (!Read(name, text, false, optional))
        return false;
    const wchar_t* cursor = text.c_str();
    ParseValue(name, cursor, value, nullptr, false);
    return true;
}

bool PersistRegistry::Read(const wchar_t* name, std::wstring& value, bool expand, bool optional) const
{
    DWORD type = 0;
    DWORD size = 0;
    if (!GetType(name, optional, type, size))
        return false;
    if (type != REG_SZ && type != REG_EXPAND_SZ)
        throw PersistencyOtherType(L"Storage item '%s' is not a string", name);

    std::wstring text = FetchText(GetKey(), name, size);
    // Expansion follows the caller's wish, not the stored type: a REG_SZ is expanded too.
    if (expand)
        text = ExpandText(text);
    value.swap(text);
    return true;
}

bool PersistRegistry::Read(const wchar_t* name, std::vector<std::wstring>& value, bool optional) const
{
    value.clear();
    std::wstring text;
    if (!Read(name, text, false, optional))
        return false;
    if (text.empty())
        return true;

    size_t cursor = 0;
    for (;;) {
        const size_t comma = text.find(L',', cursor);
        const size_t itemEnd = comma == std::wstring::npos ? text.size() : comma;
        // Only spaces are trimmed, and only one of them at the end of an item: a tab, or a
        // second trailing space, is part of the item.
        while (cursor < itemEnd && text[cursor] == L' ')
            ++cursor;
        size_t length = itemEnd - cursor;
        if (length != 0 && text[itemEnd - 1] == L' ')
            --length;
        value.push_back(text.substr(cursor, length));
        if (comma == std::wstring::npos)
            break;
        cursor = comma + 1;
    }
    return true;
}

bool PersistRegistry::Read(const wchar_t* name, bool& value, bool optional) const
{
    DWORD type = 0;
    DWORD size = 0;
    if (!GetType(name, optional, type, size))
        return false;
    if (type == REG_BINARY && size > sizeof(DWORD))
        throw PersistencyOtherType(
            L"Storage item '%s' is typed as binary larger then 4 bytes, can't convert to boolean", name);
    if (type != REG_DWORD && type != REG_BINARY)
        throw PersistencyOtherType(L"Storage item '%s' is not dword or binary", name);

    DWORD data = 0;
    const LSTATUS result = FetchDword(GetKey(), name, data);
    if (result != ERROR_SUCCESS)
        throw PersistencyFailed(L"Retrieval of boolean from registry failed with %08x",
                                static_cast<unsigned int>(result));
    value = data != 0;
    return true;
}

bool PersistRegistry::Read(const wchar_t* name, unsigned char* buffer, size_t minSize, size_t maxSize,
                           bool optional) const
{
    DWORD type = 0;
    DWORD size = 0;
    if (!GetType(name, optional, type, size))
        return false;
    if (type != REG_BINARY)
        throw PersistencyOtherType(L"Storage item '%s' is not binary", name);
    if (size < minSize)
        throw PersistencyInvalid(L"Storage item '%s' doesn't contain minimum of %d bytes binary data", name,
                                 static_cast<int>(minSize));
    if (size > maxSize)
        throw PersistencyMoreData(L"Storage item '%s' contains %d bytes", name, static_cast<int>(size));

    if (maxSize != 0)
        std::memset(buffer, 0, maxSize);
    DWORD dataSize = static_cast<DWORD>(std::min<size_t>(maxSize, 0xFFFFFFFFu));
    const LSTATUS result = RegQueryValueExW(GetKey(), name, nullptr, nullptr, buffer, &dataSize);
    if (result != ERROR_SUCCESS)
        throw PersistencyFailed(L"Retrieval of binary data from registry failed with %08x",
                                static_cast<unsigned int>(result));
    return true;
}

bool PersistRegistry::Read(const wchar_t* name, wchar_t* buffer, size_t capacity, bool expand, bool optional) const
{
    std::wstring text;
    if (!Read(name, text, expand, optional))
        return false;
    if (text.size() >= capacity)
        throw PersistencyMoreData(L"String for item '%s' requires %d characters (incl. terminator)", name,
                                  static_cast<int>(text.size() + 1));
    // wcsncpy pads the rest of the buffer with zeros, which callers may rely on.
    std::wcsncpy(buffer, text.c_str(), capacity);
    return true;
}

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
        // The word and "emoval" join with nothing between: "Removal of…", "Recursive removal of…".
        throw PersistencyFailed(L"%semoval of key '%s' failed", recursive ? L"Recursive r" : L"R", subKey);
}

} // namespace Tessel

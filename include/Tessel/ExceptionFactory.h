// The process-wide table of exception throwers, keyed by the identity of an exception class, that
// turns a failed HRESULT or a copied record back into a typed exception; and the registrar that
// puts a class into the table when its module starts.
#pragma once

#include <cstddef>
#include <cstring>
#include <map>

#include "Tessel/Export.h"
#include "TesselWin32.h"

namespace Tessel {

class ErrorStorage;

// Makes an exception of one class from a record and throws it.
using ExceptionThrower = void (*)(const ErrorStorage& record);

// The thrower of class T: T's copying constructor takes the record's text and identity.
template <class T>
[[noreturn]] void ThrowFromRecord(const ErrorStorage& record)
{
    throw T(record);
}

namespace Detail {

// Compares two GUIDs as four unsigned 32-bit words in memory order.
inline int CompareGuidWords(const GUID& left, const GUID& right) noexcept
{
    unsigned char leftBytes[sizeof(GUID)];
    unsigned char rightBytes[sizeof(GUID)];
    std::memcpy(leftBytes, &left, sizeof(GUID));
    std::memcpy(rightBytes, &right, sizeof(GUID));
    for (std::size_t offset = 0; offset < sizeof(GUID); offset += 4) {
        ULONG leftWord = 0;
        ULONG rightWord = 0;
        std::memcpy(&leftWord, leftBytes + offset, 4);
        std::memcpy(&rightWord, rightBytes + offset, 4);
        if (leftWord != rightWord)
            return leftWord < rightWord ? -1 : 1;
    }
    return 0;
}

// Reads a wide text as UTF-16 code units, whatever the width of wchar_t, so that names order
// the same way on every system.
class Utf16Reader {
public:
    explicit Utf16Reader(const wchar_t* text) noexcept : m_text(text) {}

    // The next code unit, or 0 at the end.
    unsigned Next() noexcept
    {
        if (m_pendingTrail != 0) {
            const unsigned trail = m_pendingTrail;
            m_pendingTrail = 0;
            return trail;
        }
        const unsigned long point = static_cast<unsigned long>(*m_text);
        if (point == 0)
            return 0;
        ++m_text;
        if (point <= 0xFFFF)
            return static_cast<unsigned>(point);
        const unsigned long offset = point - 0x10000;
        m_pendingTrail = static_cast<unsigned>(0xDC00 + (offset & 0x3FF));
        return static_cast<unsigned>(0xD800 + ((offset >> 10) & 0x3FF));
    }

private:
    const wchar_t* m_text;
    unsigned m_pendingTrail = 0;
};

inline int CompareUtf16(const wchar_t* left, const wchar_t* right) noexcept
{
    Utf16Reader leftReader(left);
    Utf16Reader rightReader(right);
    for (;;) {
        const unsigned leftUnit = leftReader.Next();
        const unsigned rightUnit = rightReader.Next();
        if (leftUnit != rightUnit)
            return leftUnit < rightUnit ? -1 : 1;
        if (leftUnit == 0)
            return 0;
    }
}

} // namespace Detail

// The key of a class with a COM identity: ordered by the GUID first, then by the code as a
// signed number.
struct ComErrorKey {
    LONG code;
    GUID guid;

    bool operator<(const ComErrorKey& other) const noexcept
    {
        const int byGuid = Detail::CompareGuidWords(guid, other.guid);
        if (byGuid != 0)
            return byGuid < 0;
        return code < other.code;
    }
};

// The key of a class with a named identity. It keeps the pointer, not the text, so a registered
// name must outlive the registry; keys compare by the text (null first), then by code.
struct NamedErrorKey {
    const wchar_t* name;
    unsigned code;

    bool operator<(const NamedErrorKey& other) const noexcept
    {
        if (name == nullptr || other.name == nullptr) {
            if (name != other.name)
                return name == nullptr;
        } else if (const int byName = Detail::CompareUtf16(name, other.name); byName != 0) {
            return byName < 0;
        }
        return code < other.code;
    }
};

// There is one live instance, behind getExceptionFactoryInstance; Register and Throw work on it.
// Registration belongs to start-up: a Register must not run beside another Register or a Throw.
// Any number of Throw calls may run at once.
class TESSEL_API ExceptionFactory {
public:
    ExceptionFactory();
    ExceptionFactory(const ExceptionFactory& other);
    ExceptionFactory(ExceptionFactory&& other) noexcept;
    ExceptionFactory& operator=(const ExceptionFactory& other);
    ExceptionFactory& operator=(ExceptionFactory&& other) noexcept;
    ~ExceptionFactory();

    // The first registration of a key wins; a later one is dropped without a word. Memory that
    // runs out comes back as OutOfMemory without a text.
    static void Register(const GUID& guid, LONG code, ExceptionThrower thrower);
    static void Register(const wchar_t* name, unsigned code, ExceptionThrower thrower);

    // Turns a failed call into its exception class; returns at once when code is not negative.
    // The text comes from info if given, else from the thread's error object when source says
    // that it supports error info for guid, else (both null) from the thread's error object.
    // Call it on the thread that made the failing call.
    static void Throw(const GUID& guid, LONG code, const IErrorInfo* info, const IUnknown* source);

    // Throws the registered class of the record's identity; returns normally if there is none.
    static void Throw(const ErrorStorage& record);

    // How many keys each map holds, for diagnostics; entries are never removed.
    std::size_t GetComThrowerCount() const noexcept { return m_comThrowers.size(); }
    std::size_t GetNamedThrowerCount() const noexcept { return m_namedThrowers.size(); }

private:
    ExceptionThrower FindComThrower(const GUID& guid, LONG code) const noexcept;
    ExceptionThrower FindNamedThrower(const wchar_t* name, unsigned code) const noexcept;

    std::map<ComErrorKey, ExceptionThrower> m_comThrowers;
    std::map<NamedErrorKey, ExceptionThrower> m_namedThrowers;
};

// The registry, made on the first call; the first registrar to run in any module makes it, so
// registration does not depend on the order in which units start.
TESSEL_API ExceptionFactory& getExceptionFactoryInstance();

// A static object of this class registers one exception class when its unit starts. Entries stay
// in the registry for good: the destructor does nothing.
class ExceptionRegistrar {
public:
    ExceptionRegistrar(const GUID& guid, LONG code, ExceptionThrower thrower)
    {
        ExceptionFactory::Register(guid, code, thrower);
    }
    ExceptionRegistrar(const wchar_t* name, unsigned code, ExceptionThrower thrower)
    {
        ExceptionFactory::Register(name, code, thrower);
    }
    ~ExceptionRegistrar() {}

    ExceptionRegistrar(const ExceptionRegistrar&) = delete;
    ExceptionRegistrar& operator=(const ExceptionRegistrar&) = delete;
};

} // namespace Tessel

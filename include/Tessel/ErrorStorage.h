// The error record that every exception of the library is, with its two kinds of identity (COM
// and named), and the two middle classes of the tree. The classes live wholly in this header, so
// that every module builds, catches and derives from the same classes.
//
// A message constructor takes a printf-style wide format in which %s reads a wide string and %S a
// narrow one. Text that comes from data must not be the format: pass it as an argument, e.g.
// ExceptionCOM(code, guid, L"%s", path), so that a '%' in it stays a '%'.
#pragma once

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cwchar>
#include <memory>
#include <new>
#include <stdexcept>

#include "TesselWin32.h"

namespace Tessel {

// The complete record of a failure: a wide description of at most 1023 characters, its narrow
// form as the text of the std::runtime_error base, and an identity, either an HRESULT with an
// interface GUID or a name with a code. The record does not change after construction.
class ErrorStorage : public std::runtime_error {
public:
    static constexpr std::size_t DescriptionSize = 1024; // wide characters, terminator included

    // Kind, identity, description and narrow text are those of the source, whatever its class.
    ErrorStorage(const ErrorStorage& source);

    // COM identity; the description comes from info, which may be null.
    ErrorStorage(LONG code, const GUID& guid, const IErrorInfo* info);

    ErrorStorage& operator=(const ErrorStorage& source);
    ~ErrorStorage() override = default;

    // The narrow text, "Message not specified" until a description could be converted.
    const char* what() const noexcept override;

    // The wide text, empty when none was given; valid as long as the object.
    const wchar_t* GetDescription() const noexcept { return m_description; }

    // The identity. The COM accessors give 0 and GUID_NULL for a record of the named kind, and
    // the named ones null and 0 for a record of the COM kind.
    bool HasName() const noexcept { return m_hasName; }
    LONG GetComCode() const noexcept { return m_hasName ? 0 : m_com.m_comCode; }
    const GUID& GetComGuid() const noexcept { return m_hasName ? NullGuid() : m_com.m_comGuid; }
    const wchar_t* GetName() const noexcept { return m_hasName ? m_named.m_name : nullptr; }
    ULONG GetCode() const noexcept { return m_hasName ? m_named.m_code : 0; }

protected:
    // A record of the COM kind with no text yet.
    ErrorStorage(LONG code, const GUID& guid);

    // A record of the named kind with no text yet. name is not copied: it must outlive every
    // copy of the record.
    ErrorStorage(const wchar_t* name, ULONG code);

    // Formats the description; on success the narrow text follows it. A text too long for the
    // record keeps its first 1023 characters and leaves the narrow text as it was. format must
    // not be null.
    void SetDescription(const wchar_t* format, va_list args) noexcept;

private:
    struct ComIdentity {
        LONG m_comCode;
        GUID m_comGuid; // the failing interface, or GUID_NULL
    };
    struct NamedIdentity {
        const wchar_t* m_name; // not owned, may be null
        ULONG m_code;
    };

    static const GUID& NullGuid() noexcept
    {
        static const GUID nullGuid = {};
        return nullGuid;
    }

    void CopyRecord(const ErrorStorage& source) noexcept;
    void ReplaceNarrowText() noexcept;

    bool m_hasName;
    wchar_t m_description[DescriptionSize];
    union {
        ComIdentity m_com;
        NamedIdentity m_named;
    };
};

// The root of the library's own classes, and what its handlers catch.
class ExceptionBase : public ErrorStorage {
public:
    explicit ExceptionBase(const ErrorStorage& source) : ErrorStorage(source) {}

protected:
    ExceptionBase(LONG code, const GUID& guid) : ErrorStorage(code, guid) {}

    // For classes of the named kind, the client's included; name must outlive every copy.
    ExceptionBase(const wchar_t* name, ULONG code) : ErrorStorage(name, code) {}
};

// A failure with a COM identity. Thrown as itself for a code that no class is registered for.
class ExceptionCOM : public ExceptionBase {
public:
    explicit ExceptionCOM(const ErrorStorage& source) : ExceptionBase(source) {}

    ExceptionCOM(LONG code, const GUID& guid, const wchar_t* format, ...) : ExceptionBase(code, guid)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }

protected:
    ExceptionCOM(LONG code, const GUID& guid) : ExceptionBase(code, guid) {}
};

inline ErrorStorage::ErrorStorage(const ErrorStorage& source) : std::runtime_error(source)
{
    CopyRecord(source);
}

inline ErrorStorage::ErrorStorage(LONG code, const GUID& guid) : std::runtime_error("Message not specified"),
    m_hasName(false), m_description{}, m_com{code, guid}
{
}

inline ErrorStorage::ErrorStorage(const wchar_t* name, ULONG code) : std::runtime_error("Message not specified"),
    m_hasName(true), m_description{}, m_named{name, code}
{
}

inline ErrorStorage::ErrorStorage(LONG code, const GUID& guid, const IErrorInfo* info) : ErrorStorage(code, guid)
{
    if (info == nullptr)
        return;
    // The interface has no const methods; asking for the text changes nothing in the object.
    IErrorInfo* object = const_cast<IErrorInfo*>(info);
    BSTR text = nullptr;
    HRESULT read = E_FAIL;
    // A client's object might throw; that is a failed read, since nothing may leave here.
    try {
        read = object->GetDescription(&text);
    } catch (...) {
        read = E_UNEXPECTED;
    }
    if (FAILED(read)) {
        SysFreeString(text);
        return;
    }
    // A null text counts as no text at all: the record keeps its starting narrow text.
    if (text != nullptr) {
        wcsncpy_s(m_description, DescriptionSize, text, _TRUNCATE);
        ReplaceNarrowText();
    }
    SysFreeString(text);
}

inline ErrorStorage& ErrorStorage::operator=(const ErrorStorage& source)
{
    if (this != &source) {
        std::runtime_error::operator=(source);
        CopyRecord(source);
    }
    return *this;
}

inline const char* ErrorStorage::what() const noexcept
{
    const char* text = std::runtime_error::what();
    return text != nullptr ? text : "Unknown exception";
}

inline void ErrorStorage::CopyRecord(const ErrorStorage& source) noexcept
{
    m_hasName = source.m_hasName;
    wcsncpy_s(m_description, DescriptionSize, source.m_description, _TRUNCATE);
    if (m_hasName)
        m_named = source.m_named;
    else
        m_com = source.m_com;
}

inline void ErrorStorage::SetDescription(const wchar_t* format, va_list args) noexcept
{
    // errno is the only word the formatter gives on why it failed, so it must start clean; the
    // caller's value is put back afterwards.
    const int callerErrno = errno;
    errno = 0;
    const int written = _vsnwprintf_s(m_description, DescriptionSize, _TRUNCATE, format, args);
    const int failure = errno;
    errno = callerErrno;

    if (written >= 0) {
        ReplaceNarrowText();
        return;
    }
    // A text cut to fit also ends here, with errno untouched: the 1023 characters stay, and the
    // narrow text is not made from a fragment.
    if (failure == EINVAL)
        wcsncpy_s(m_description, DescriptionSize, L"<error setting exception description: invalid argument>",
                  _TRUNCATE);
    else if (failure == ERANGE)
        wcsncpy_s(m_description, DescriptionSize, L"<error setting exception description: not enough space>",
                  _TRUNCATE);
}

inline void ErrorStorage::ReplaceNarrowText() noexcept
{
    // No exception may leave a constructor, so a conversion that fails, or memory that runs out,
    // leaves the narrow text as it was: the wide description is still there for the caller.
    try {
        const int needed = WideCharToMultiByte(CP_THREAD_ACP, 0, m_description, -1, nullptr, 0, nullptr, nullptr);
        if (needed <= 0)
            return;
        char local[1024];
        std::unique_ptr<char[]> large;
        char* narrow = local;
        if (static_cast<std::size_t>(needed) > sizeof(local)) {
            large.reset(new (std::nothrow) char[static_cast<std::size_t>(needed)]);
            if (!large)
                return;
            narrow = large.get();
        }
        if (WideCharToMultiByte(CP_THREAD_ACP, 0, m_description, -1, narrow, needed, nullptr, nullptr) <= 0)
            return;
        std::runtime_error::operator=(std::runtime_error(narrow));
    } catch (...) {
    }
}

} // namespace Tessel

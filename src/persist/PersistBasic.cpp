// PersistBasic: the path and access of a wrapper object, and the parsers of stored text with
// their 32-bit range checks.

#include "Tessel/PersistBasic.h"

#include <cerrno>
#include <cfloat>
#include <cwchar>
#include <new>

#include "Tessel/Exceptions.h"
#include "common/Long32.h"

namespace Tessel {

namespace {

// Only space and tab count as blanks here; the stored forms never hold other white space, and
// a line break inside an item is something to refuse, not to skip.
bool IsBlank(wchar_t ch)
{
    return ch == L' ' || ch == L'\t';
}

const wchar_t* SkipBlanks(const wchar_t* text)
{
    while (IsBlank(*text))
        ++text;
    return text;
}

// True when `ch` may end a field: the terminator always, a delimiter when a set is given.
bool EndsField(wchar_t ch, const wchar_t* delimiters)
{
    if (ch == L'\0')
        return true;
    return delimiters != nullptr && std::wcschr(delimiters, ch) != nullptr;
}

} // namespace

PersistBasic::PersistBasic()
    : m_access(ReadOnly)
{
}

PersistBasic::PersistBasic(const PersistBasic& other) = default;

PersistBasic& PersistBasic::operator=(const PersistBasic& other)
{
    m_access = other.m_access;
    if (this != &other)
        m_path = other.m_path;
    return *this;
}

PersistBasic::~PersistBasic() = default;

const wchar_t* PersistBasic::GetPath() const
{
    return m_path.c_str();
}

StorageAccess PersistBasic::GetAccess() const
{
    return m_access;
}

void PersistBasic::Setup(const wchar_t* path, StorageAccess access)
{
    m_access = access;
    try {
        m_path = path;
        if (!m_path.empty() && m_path.back() != L'\\')
            m_path += L'\\';
    } catch (const std::bad_alloc&) {
        throw OutOfMemory(nullptr);
    }
}

void PersistBasic::ParseBoolean(const wchar_t* name, const wchar_t*& cursor, bool& value,
                                const wchar_t* delimiters) const
{
    cursor = SkipBlanks(cursor);
    if (*cursor != L'0' && *cursor != L'1')
        throw PersistencyInvalid(L"Storage item '%s' contains invalid value for boolean, only '0' or '1' allowed",
                                 name);
    value = *cursor == L'1';
    cursor = SkipBlanks(cursor + 1);
    if (!EndsField(*cursor, delimiters))
        throw PersistencyInvalid(L"Storage item '%s' contains illegal boolean value", name);
}

void PersistBasic::ParseValue(const wchar_t* name, const wchar_t*& cursor, ULONG& value, const wchar_t* delimiters,
                              bool isSigned) const
{
    const wchar_t* typeWord = isSigned ? L"a signed" : L"an unsigned";
    errno = 0;
    cursor = SkipBlanks(cursor);

    // The conversions keep the 32-bit reading of long on every system, so that the range
    // check below is the same everywhere.
    wchar_t* converted = nullptr;
    if (isSigned)
        value = static_cast<ULONG>(Detail::WcsToLong32(cursor, &converted, 10));
    else
        value = Detail::WcsToULong32(cursor, &converted, 10);
    const int conversionError = errno;
    const wchar_t* end = SkipBlanks(converted);

    if (conversionError == ERANGE)
        throw PersistencyInvalid(L"Storage item '%s' contains %s long outside valid range", name, typeWord);
    if (converted == cursor || !EndsField(*end, delimiters))
        throw PersistencyInvalid(L"Storage item '%s' contains illegal %s value", name, typeWord);
    cursor = end;
}

void PersistBasic::ParseValue(const wchar_t* name, const wchar_t*& cursor, double& value, const wchar_t* delimiters,
                              bool isFloat) const
{
    const wchar_t* typeWord = isFloat ? L"float" : L"double";
    errno = 0;
    cursor = SkipBlanks(cursor);

    wchar_t* converted = nullptr;
    value = std::wcstod(cursor, &converted);
    const int conversionError = errno;
    const wchar_t* end = SkipBlanks(converted);

    if (conversionError == ERANGE)
        throw PersistencyInvalid(L"Storage item '%s' contains a %s outside valid range", name, typeWord);
    // The lower limit is FLT_MIN, the smallest positive normal float, not -FLT_MAX: 0 and every
    // negative number are out of range on purpose. A NaN fails neither comparison and passes.
    if (isFloat && (value < static_cast<double>(FLT_MIN) || value > static_cast<double>(FLT_MAX)))
        throw PersistencyInvalid(L"Storage item '%s' contains a %s outside valid range", name, typeWord);
    if (converted == cursor || !EndsField(*end, delimiters))
        throw PersistencyInvalid(L"Storage item '%s' contains illegal %s value", name, typeWord);
    cursor = end;
}

} // namespace Tessel

// The secure wide formatters with the Windows reading of the format: %s wide and %S narrow,
// 32-bit %l, the %I size prefixes, and the errno contract of the secure CRT.
// Implementation here must contain only generic UNIX code.

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>

#include "TesselPlatform/Text.h"
#include "text/Utf8Codec.h"

namespace {

using TesselPlatform::Text::DecodeUtf8;
using TesselPlatform::Text::kReplacementCharacter;

static_assert(sizeof(wchar_t) == 4, "the platform layer's wide text is UTF-32");

// Collects the output up to a limit; what doesn't fit is dropped and remembered.
class OutputBuffer {
public:
    OutputBuffer(wchar_t* buffer, std::size_t limit) : m_buffer(buffer), m_limit(limit) {}

    void Put(wchar_t c)
    {
        if (m_length < m_limit)
            m_buffer[m_length++] = c;
        else
            m_overflow = true;
    }

    void Append(const wchar_t* text, std::size_t count)
    {
        const std::size_t room = m_limit - m_length;
        const std::size_t taken = count < room ? count : room;
        std::wmemcpy(m_buffer + m_length, text, taken);
        m_length += taken;
        if (taken < count)
            m_overflow = true;
    }

    void Repeat(wchar_t c, std::size_t count)
    {
        for (std::size_t i = 0; i < count && !m_overflow; ++i)
            Put(c);
    }

    std::size_t Length() const { return m_length; }
    std::size_t Room() const { return m_limit - m_length; }
    bool Overflowed() const { return m_overflow; }
    void MarkOverflow() { m_overflow = true; }

private:
    wchar_t* m_buffer;
    std::size_t m_limit;
    std::size_t m_length = 0;
    bool m_overflow = false;
};

enum class SizePrefix { None, Char, Short, Long32, Int64, PointerSized, IntMax, SizeT, PtrDiff, LongDouble, Wide };

struct ConversionSpec {
    bool left = false;
    bool plus = false;
    bool space = false;
    bool alternate = false;
    bool zero = false;
    int width = 0;
    int precision = -1; // -1: none given
    SizePrefix size = SizePrefix::None;
};

bool ReadDecimal(const wchar_t*& cursor, int& value)
{
    long long number = 0;
    while (*cursor >= L'0' && *cursor <= L'9') {
        number = number * 10 + (*cursor - L'0');
        if (number > INT_MAX)
            return false;
        ++cursor;
    }
    value = static_cast<int>(number);
    return true;
}

void Pad(OutputBuffer& out, const ConversionSpec& spec, std::size_t contentLength)
{
    const std::size_t width = static_cast<std::size_t>(spec.width);
    if (width > contentLength)
        out.Repeat(spec.zero && !spec.left ? L'0' : L' ', width - contentLength);
}

// Character output of %c and %s in both widths. Windows pads strings with zeros under the 0 flag.
void PutPadded(OutputBuffer& out, const ConversionSpec& spec, const wchar_t* text, std::size_t length)
{
    if (!spec.left)
        Pad(out, spec, length);
    out.Append(text, length);
    if (spec.left) {
        ConversionSpec blanks = spec;
        blanks.zero = false;
        Pad(out, blanks, length);
    }
}

void PutWideString(OutputBuffer& out, const ConversionSpec& spec, const wchar_t* text)
{
    if (text == nullptr)
        text = L"(null)";
    std::size_t length = 0;
    const std::size_t limit = spec.precision < 0 ? SIZE_MAX : static_cast<std::size_t>(spec.precision);
    while (length < limit && text[length] != L'\0')
        ++length;
    PutPadded(out, spec, text, length);
}

// Narrow text is UTF-8, and an ill-formed byte becomes U+FFFD rather than failing the whole
// call; the precision counts the wide characters written, as C's wide printf counts them.
void PutNarrowString(OutputBuffer& out, const ConversionSpec& spec, const char* text)
{
    if (text == nullptr) {
        PutWideString(out, spec, nullptr);
        return;
    }
    const std::size_t limit = spec.precision < 0 ? SIZE_MAX : static_cast<std::size_t>(spec.precision);
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    const unsigned char* end = bytes + std::strlen(text);

    std::size_t length = 0;
    for (const unsigned char* p = bytes; p < end && length < limit; ++length)
        p += DecodeUtf8(p, end).length;

    if (!spec.left)
        Pad(out, spec, length);
    const unsigned char* p = bytes;
    for (std::size_t i = 0; i < length; ++i) {
        const auto step = DecodeUtf8(p, end);
        out.Put(static_cast<wchar_t>(step.codePoint));
        p += step.length;
    }
    if (spec.left) {
        ConversionSpec blanks = spec;
        blanks.zero = false;
        Pad(out, blanks, length);
    }
}

wchar_t WideFromNarrowChar(int value)
{
    const auto byte = static_cast<unsigned char>(value);
    // A single byte of the UTF-8 code page is a character only when it is ASCII.
    return byte < 0x80 ? static_cast<wchar_t>(byte) : static_cast<wchar_t>(kReplacementCharacter);
}

// Appends what the C library printed in the locale's multibyte encoding.
void AppendNarrowNumber(OutputBuffer& out, const char* text, std::size_t length)
{
    std::size_t i = 0;
    std::mbstate_t state{};
    while (i < length) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x80) {
            out.Put(static_cast<wchar_t>(byte));
            ++i;
            continue;
        }
        // Only a locale's decimal point or sign can leave ASCII here.
        wchar_t wide = 0;
        const std::size_t used = std::mbrtowc(&wide, text + i, length - i, &state);
        if (used == static_cast<std::size_t>(-1) || used == static_cast<std::size_t>(-2) || used == 0) {
            out.Put(static_cast<wchar_t>(kReplacementCharacter));
            state = std::mbstate_t{};
            ++i;
        } else {
            out.Put(wide);
            i += used;
        }
    }
}

// Hands one numeric conversion to the C library, which brings the current locale's decimal
// point. lengthModifier is the C library's form for the value's type.
template <typename T>
void PutNumber(OutputBuffer& out, const ConversionSpec& spec, const char* lengthModifier, char conversion, T value)
{
    char format[24];
    char* p = format;
    *p++ = '%';
    if (spec.left)
        *p++ = '-';
    if (spec.plus)
        *p++ = '+';
    if (spec.space)
        *p++ = ' ';
    if (spec.alternate)
        *p++ = '#';
    if (spec.zero)
        *p++ = '0';
    *p++ = '*';
    if (spec.precision >= 0) {
        *p++ = '.';
        *p++ = '*';
    }
    for (const char* m = lengthModifier; *m != '\0'; ++m)
        *p++ = *m;
    *p++ = conversion;
    *p = '\0';

    int width = spec.width;
    const auto print = [&](char* target, std::size_t size) {
        return spec.precision >= 0 ? std::snprintf(target, size, format, width, spec.precision, value)
                                   : std::snprintf(target, size, format, width, value);
    };
    // The C library would pad a huge width in full only for us to drop it. Beyond the room
    // left plus the number itself, more width shows nothing new, so the width stops there.
    constexpr int kPlainWidth = 256;
    if (width > kPlainWidth) {
        width = 0;
        const int bare = print(nullptr, 0);
        if (bare < 0)
            return;
        const std::size_t enough = static_cast<std::size_t>(bare) + out.Room() + 1;
        width = enough < static_cast<std::size_t>(spec.width) ? static_cast<int>(enough) : spec.width;
    }
    char local[128];
    const int length = print(local, sizeof local);
    if (length < 0)
        return;
    if (static_cast<std::size_t>(length) < sizeof local) {
        AppendNarrowNumber(out, local, static_cast<std::size_t>(length));
        return;
    }
    // Only what still fits matters: the prefix holds at least one character more than there is
    // room for, at MB_LEN_MAX bytes each.
    const auto full = static_cast<std::size_t>(length);
    const std::size_t wanted = std::min(full, (out.Room() + 1) * MB_LEN_MAX);
    // These functions have C linkage and report by status: without memory the text stops here.
    const std::unique_ptr<char[]> large(new (std::nothrow) char[wanted + 1]);
    if (!large) {
        out.MarkOverflow();
        return;
    }
    print(large.get(), wanted + 1);
    AppendNarrowNumber(out, large.get(), wanted);
    if (wanted < full)
        out.MarkOverflow();
}

long long ReadSigned(SizePrefix size, va_list* args)
{
    switch (size) {
    case SizePrefix::Char:
        return static_cast<signed char>(va_arg(*args, int));
    case SizePrefix::Short:
        return static_cast<short>(va_arg(*args, int));
    case SizePrefix::Long32:
        return va_arg(*args, std::int32_t);
    case SizePrefix::Int64:
        return va_arg(*args, std::int64_t);
    case SizePrefix::PointerSized:
    case SizePrefix::PtrDiff:
        return va_arg(*args, std::ptrdiff_t);
    case SizePrefix::SizeT:
        return static_cast<long long>(va_arg(*args, std::size_t));
    case SizePrefix::IntMax:
        return va_arg(*args, std::intmax_t);
    default:
        return va_arg(*args, int);
    }
}

unsigned long long ReadUnsigned(SizePrefix size, va_list* args)
{
    switch (size) {
    case SizePrefix::Char:
        return static_cast<unsigned char>(va_arg(*args, unsigned int));
    case SizePrefix::Short:
        return static_cast<unsigned short>(va_arg(*args, unsigned int));
    case SizePrefix::Long32:
        return va_arg(*args, std::uint32_t);
    case SizePrefix::Int64:
        return va_arg(*args, std::uint64_t);
    case SizePrefix::PointerSized:
    case SizePrefix::SizeT:
        return va_arg(*args, std::size_t);
    case SizePrefix::PtrDiff:
        return static_cast<std::size_t>(va_arg(*args, std::ptrdiff_t));
    case SizePrefix::IntMax:
        return va_arg(*args, std::uintmax_t);
    default:
        return va_arg(*args, unsigned int);
    }
}

bool IsIntegerSize(SizePrefix size)
{
    return size != SizePrefix::LongDouble && size != SizePrefix::Wide;
}

// Reads the size prefix at cursor. 'l' is 32 bits as on Windows, whatever the C library's long.
SizePrefix ReadSizePrefix(const wchar_t*& cursor)
{
    switch (*cursor) {
    case L'h':
        if (cursor[1] == L'h') {
            cursor += 2;
            return SizePrefix::Char;
        }
        ++cursor;
        return SizePrefix::Short;
    case L'l':
        if (cursor[1] == L'l') {
            cursor += 2;
            return SizePrefix::Int64;
        }
        ++cursor;
        return SizePrefix::Long32;
    case L'I':
        if (cursor[1] == L'3' && cursor[2] == L'2') {
            cursor += 3;
            return SizePrefix::Long32;
        }
        if (cursor[1] == L'6' && cursor[2] == L'4') {
            cursor += 3;
            return SizePrefix::Int64;
        }
        ++cursor;
        return SizePrefix::PointerSized;
    case L'j':
        ++cursor;
        return SizePrefix::IntMax;
    case L'z':
        ++cursor;
        return SizePrefix::SizeT;
    case L't':
        ++cursor;
        return SizePrefix::PtrDiff;
    case L'L':
        ++cursor;
        return SizePrefix::LongDouble;
    case L'w':
        ++cursor;
        return SizePrefix::Wide;
    default:
        return SizePrefix::None;
    }
}

// Whether a character or string conversion reads a narrow argument: %s and %c are wide unless
// h makes them narrow, %S and %C narrow unless l or w makes them wide.
bool ReadsNarrow(wchar_t conversion, SizePrefix size, bool& valid)
{
    valid = size == SizePrefix::None || size == SizePrefix::Short || size == SizePrefix::Long32 ||
            size == SizePrefix::Wide;
    if (size == SizePrefix::Short)
        return true;
    if (size == SizePrefix::Long32 || size == SizePrefix::Wide)
        return false;
    return conversion == L'S' || conversion == L'C';
}

enum class FormatStatus { Done, Overflow, Invalid };

// Formats one conversion whose flags, width, precision and size are already read.
bool FormatConversion(OutputBuffer& out, ConversionSpec& spec, wchar_t conversion, va_list* args)
{
    switch (conversion) {
    case L'd':
    case L'i':
        if (!IsIntegerSize(spec.size))
            return false;
        PutNumber(out, spec, "ll", 'd', ReadSigned(spec.size, args));
        return true;
    case L'u':
    case L'o':
    case L'x':
    case L'X':
        if (!IsIntegerSize(spec.size))
            return false;
        PutNumber(out, spec, "ll", static_cast<char>(conversion), ReadUnsigned(spec.size, args));
        return true;
    case L'e':
    case L'E':
    case L'f':
    case L'F':
    case L'g':
    case L'G':
    case L'a':
    case L'A':
        if (spec.size == SizePrefix::LongDouble) {
            PutNumber(out, spec, "L", static_cast<char>(conversion), va_arg(*args, long double));
            return true;
        }
        if (spec.size != SizePrefix::None && spec.size != SizePrefix::Long32)
            return false;
        PutNumber(out, spec, "", static_cast<char>(conversion), va_arg(*args, double));
        return true;
    case L'p': {
        // Windows prints all digits of the pointer in upper case, without a prefix.
        spec.precision = static_cast<int>(sizeof(void*) * 2);
        spec.alternate = spec.plus = spec.space = spec.zero = false;
        const auto value = reinterpret_cast<std::uintptr_t>(va_arg(*args, void*));
        PutNumber(out, spec, "ll", 'X', static_cast<unsigned long long>(value));
        return true;
    }
    case L'c':
    case L'C': {
        bool valid = false;
        const bool narrow = ReadsNarrow(conversion, spec.size, valid);
        if (!valid)
            return false;
        const int value = va_arg(*args, int);
        const wchar_t c = narrow ? WideFromNarrowChar(value) : static_cast<wchar_t>(value);
        PutPadded(out, spec, &c, 1);
        return true;
    }
    case L's':
    case L'S': {
        bool valid = false;
        const bool narrow = ReadsNarrow(conversion, spec.size, valid);
        if (!valid)
            return false;
        if (narrow)
            PutNarrowString(out, spec, va_arg(*args, const char*));
        else
            PutWideString(out, spec, va_arg(*args, const wchar_t*));
        return true;
    }
    default:
        // %n is refused as the Windows runtime refuses it by default; so is anything unknown.
        return false;
    }
}

FormatStatus FormatInto(OutputBuffer& out, const wchar_t* format, va_list* args)
{
    const wchar_t* cursor = format;
    while (*cursor != L'\0') {
        if (*cursor != L'%') {
            const wchar_t* run = cursor;
            while (*cursor != L'\0' && *cursor != L'%')
                ++cursor;
            out.Append(run, static_cast<std::size_t>(cursor - run));
            continue;
        }
        ++cursor;

        ConversionSpec spec;
        for (;; ++cursor) {
            if (*cursor == L'-')
                spec.left = true;
            else if (*cursor == L'+')
                spec.plus = true;
            else if (*cursor == L' ')
                spec.space = true;
            else if (*cursor == L'#')
                spec.alternate = true;
            else if (*cursor == L'0')
                spec.zero = true;
            else
                break;
        }
        if (*cursor == L'*') {
            ++cursor;
            const int width = va_arg(*args, int);
            if (width < 0) {
                if (width == INT_MIN)
                    return FormatStatus::Invalid;
                spec.left = true;
                spec.width = -width;
            } else {
                spec.width = width;
            }
        } else if (!ReadDecimal(cursor, spec.width)) {
            return FormatStatus::Invalid;
        }
        if (*cursor == L'.') {
            ++cursor;
            if (*cursor == L'*') {
                ++cursor;
                const int precision = va_arg(*args, int);
                spec.precision = precision < 0 ? -1 : precision;
            } else if (!ReadDecimal(cursor, spec.precision)) {
                return FormatStatus::Invalid;
            }
        }
        if (spec.left)
            spec.zero = false;
        spec.size = ReadSizePrefix(cursor);

        const wchar_t conversion = *cursor;
        if (conversion == L'\0')
            return FormatStatus::Invalid;
        ++cursor;
        if (conversion == L'%') {
            out.Put(L'%');
            continue;
        }
        if (!FormatConversion(out, spec, conversion, args))
            return FormatStatus::Invalid;
    }
    return out.Overflowed() ? FormatStatus::Overflow : FormatStatus::Done;
}

FormatStatus Format(wchar_t* buffer, std::size_t limit, const wchar_t* format, va_list args, std::size_t& length)
{
    va_list copy;
    va_copy(copy, args);
    OutputBuffer out(buffer, limit);
    const FormatStatus status = FormatInto(out, format, &copy);
    va_end(copy);
    length = out.Length();
    return status;
}

int Refuse(wchar_t* buffer, std::size_t sizeOfBuffer, int code)
{
    if (buffer != nullptr && sizeOfBuffer > 0)
        buffer[0] = L'\0';
    errno = code;
    return -1;
}

int LengthResult(std::size_t length)
{
    return length > static_cast<std::size_t>(INT_MAX) ? INT_MAX : static_cast<int>(length);
}

} // namespace

extern "C" {

int _vsnwprintf_s(wchar_t* buffer, size_t sizeOfBuffer, size_t count, const wchar_t* format, va_list args)
{
    if (format == nullptr || buffer == nullptr || sizeOfBuffer == 0)
        return Refuse(buffer, sizeOfBuffer, EINVAL);

    // A count below the buffer size is a limit of its own, which may cut as _TRUNCATE does;
    // a count that reaches the buffer size demands that everything fits.
    const bool mayCut = count == _TRUNCATE || count < sizeOfBuffer;
    const std::size_t limit = count < sizeOfBuffer ? count : sizeOfBuffer - 1;

    const int savedErrno = errno;
    std::size_t length = 0;
    switch (Format(buffer, limit, format, args, length)) {
    case FormatStatus::Invalid:
        return Refuse(buffer, sizeOfBuffer, EINVAL);
    case FormatStatus::Overflow:
        if (!mayCut)
            return Refuse(buffer, sizeOfBuffer, ERANGE);
        buffer[length] = L'\0';
        errno = savedErrno;
        return -1;
    case FormatStatus::Done:
        break;
    }
    buffer[length] = L'\0';
    errno = savedErrno;
    return LengthResult(length);
}

int _snwprintf_s(wchar_t* buffer, size_t sizeOfBuffer, size_t count, const wchar_t* format, ...)
{
    va_list args;
    va_start(args, format);
    const int result = _vsnwprintf_s(buffer, sizeOfBuffer, count, format, args);
    va_end(args);
    return result;
}

int vswprintf_s(wchar_t* buffer, size_t sizeOfBuffer, const wchar_t* format, va_list args)
{
    if (format == nullptr || buffer == nullptr || sizeOfBuffer == 0)
        return Refuse(buffer, sizeOfBuffer, EINVAL);

    const int savedErrno = errno;
    std::size_t length = 0;
    switch (Format(buffer, sizeOfBuffer - 1, format, args, length)) {
    case FormatStatus::Invalid:
        return Refuse(buffer, sizeOfBuffer, EINVAL);
    case FormatStatus::Overflow:
        return Refuse(buffer, sizeOfBuffer, ERANGE);
    case FormatStatus::Done:
        break;
    }
    buffer[length] = L'\0';
    errno = savedErrno;
    return LengthResult(length);
}

int swprintf_s(wchar_t* buffer, size_t sizeOfBuffer, const wchar_t* format, ...)
{
    va_list args;
    va_start(args, format);
    const int result = vswprintf_s(buffer, sizeOfBuffer, format, args);
    va_end(args);
    return result;
}

} // extern "C"

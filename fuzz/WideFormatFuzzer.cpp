// The wide formatter over format strings built from the input: literal text and conversions
// with any flags, width, precision and size prefix. Each conversion gets an argument of the
// class its letter reads (integer, floating point or pointer), so that only the formatter is on
// trial; a pointer argument is valid read as narrow text, wide text or a %n target. A crash, a
// sanitizer report or a broken rule of the secure formatters is a finding.

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

#include "FuzzSupport.h"

namespace {

enum class ArgClass { Integer, Floating, Pointer };

struct Argument {
    ArgClass kind;
    long long integer;
    double floating;
};

constexpr int kMaxArguments = 4;

// Valid as "AB" narrow and as one wide character, zeros after: any read of it ends in bounds.
alignas(8) char g_text[64] = {'A', 'B'};

const wchar_t* const kSizes[] = {L"", L"h", L"hh", L"l", L"ll", L"w", L"I", L"I32", L"I64", L"L", L"z", L"j", L"t", L"q"};
const wchar_t kConversions[] = L"diuxXocCsSpnfeEgGaAZ%y";

ArgClass ClassOf(wchar_t conversion)
{
    if (std::wcschr(L"diuxXocC", conversion) != nullptr)
        return ArgClass::Integer;
    if (std::wcschr(L"feEgGaA", conversion) != nullptr)
        return ArgClass::Floating;
    return ArgClass::Pointer;
}

template <class... Args>
int Call(wchar_t* buffer, std::size_t room, std::size_t count, const wchar_t* format, Args... args)
{
    return _snwprintf_s(buffer, room, count, format, args...);
}

// Appends the arguments one class at a time, so that each is passed with its own type.
template <int Depth, class... Args>
int Dispatch(const Argument* arguments, int used, wchar_t* buffer, std::size_t room, std::size_t count,
             const wchar_t* format, Args... args)
{
    if constexpr (Depth == kMaxArguments) {
        return Call(buffer, room, count, format, args...);
    } else {
        if (Depth == used)
            return Call(buffer, room, count, format, args...);
        const Argument& next = arguments[Depth];
        switch (next.kind) {
        case ArgClass::Integer:
            return Dispatch<Depth + 1>(arguments, used, buffer, room, count, format, args..., next.integer);
        case ArgClass::Floating:
            return Dispatch<Depth + 1>(arguments, used, buffer, room, count, format, args..., next.floating);
        case ArgClass::Pointer:
            return Dispatch<Depth + 1>(arguments, used, buffer, room, count, format, args...,
                                       static_cast<void*>(g_text));
        }
        return 0;
    }
}

long long IntegerFrom(Fuzz::Input& input)
{
    static const long long kValues[] = {0, 1, -1, 42, 0x7FFFFFFF, -0x7FFFFFFF - 1, 0xFFFFFFFFll, 1ll << 40, -(1ll << 62)};
    return kValues[input.Byte() % (sizeof kValues / sizeof kValues[0])];
}

double FloatingFrom(Fuzz::Input& input)
{
    static const double kValues[] = {0.0,
                                     -0.0,
                                     1.5,
                                     -2.25e-300,
                                     1e308,
                                     3.14159,
                                     std::numeric_limits<double>::infinity(),
                                     -std::numeric_limits<double>::infinity(),
                                     std::numeric_limits<double>::quiet_NaN()};
    return kValues[input.Byte() % (sizeof kValues / sizeof kValues[0])];
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Fuzz::Input input(data, size);
    const std::size_t room = input.Byte();
    const std::uint8_t countChoice = input.Byte();
    const std::size_t count = countChoice == 255 ? _TRUNCATE : countChoice;

    std::wstring format;
    Argument arguments[kMaxArguments];
    int used = 0;
    while (!input.Empty() && format.size() < 200) {
        const std::uint8_t token = input.Byte();
        if ((token & 0x80) == 0) {
            // Literal text, with no conversion in it.
            if (token != '%' && token != 0)
                format += static_cast<wchar_t>(token);
            continue;
        }
        if (used == kMaxArguments)
            break;
        format += L'%';
        const std::uint8_t flags = input.Byte();
        for (int bit = 0; bit < 5; ++bit) {
            if ((flags >> bit) & 1)
                format += L"-+ 0#"[bit];
        }
        if ((token & 0x40) != 0)
            format += std::to_wstring(input.Byte() % 40);
        if ((token & 0x20) != 0)
            format += L"." + std::to_wstring(input.Byte() % 40);
        const wchar_t conversion = kConversions[input.Byte() % (sizeof kConversions / sizeof(wchar_t) - 1)];
        const ArgClass kind = ClassOf(conversion);
        std::wstring sizePrefix = kSizes[token % (sizeof kSizes / sizeof kSizes[0])];
        // %Lf would read a long double, a class of its own that this harness doesn't pass.
        if (kind == ArgClass::Floating && sizePrefix == L"L")
            sizePrefix.clear();
        format += sizePrefix;
        format += conversion;
        // "%%" with flags or a width is still a percent sign, and reads no argument.
        if (conversion != L'%')
            arguments[used++] = {kind, IntegerFrom(input), FloatingFrom(input)};
    }

    std::vector<wchar_t> buffer(room == 0 ? 1 : room, L'#');
    errno = 0;
    const int result = Dispatch<0>(arguments, used, room == 0 ? nullptr : buffer.data(), room, count, format.c_str());
    if (room == 0)
        return 0;
    // Whatever happened, the buffer holds terminated text within its size.
    if (std::wmemchr(buffer.data(), L'\0', room) == nullptr)
        std::abort();
    if (result >= 0 && (static_cast<std::size_t>(result) >= room || buffer[static_cast<std::size_t>(result)] != L'\0'))
        std::abort();
    return 0;
}

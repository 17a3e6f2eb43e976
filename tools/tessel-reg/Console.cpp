// The standard streams as a Console, and the UTF-8 conversions that the command line and the
// output need.

#include "Console.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

#include "AsciiText.h"
#include "RegFileText.h"
#include "TesselWin32.h"

#if defined(_WIN32)
#  include <io.h>
#  define TESSEL_ISATTY(fd) _isatty(fd)
#  define TESSEL_FILENO(file) _fileno(file)
#else
#  include <unistd.h>
#  define TESSEL_ISATTY(fd) isatty(fd)
#  define TESSEL_FILENO(file) fileno(file)
#endif

namespace Tessel::Reg {
namespace {

void Write(std::FILE* stream, std::wstring_view text)
{
    const std::string bytes = Utf8FromWide(text);
    std::fwrite(bytes.data(), 1, bytes.size(), stream);
    std::fflush(stream);
}

std::wstring_view Trim(std::wstring_view text)
{
    while (!text.empty() && (text.front() == L' ' || text.front() == L'\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == L' ' || text.back() == L'\t' || text.back() == L'\r'))
        text.remove_suffix(1);
    return text;
}

} // namespace

std::string Utf8FromWide(std::wstring_view text)
{
    if (text.empty())
        return {};
    const int length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    if (size <= 0)
        return {};
    std::string bytes(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
    return bytes;
}

std::wstring WideFromUtf8(std::string_view text)
{
    if (text.empty())
        return {};
    const int length = static_cast<int>(text.size());
    const int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
    if (size <= 0)
        return {};
    std::wstring wide(static_cast<size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), size);
    return wide;
}

std::optional<std::wstring> WideFromStrictUtf8(std::string_view text)
{
    std::u16string units;
    if (!RegFileText::DecodeUtf8(reinterpret_cast<const BYTE*>(text.data()), text.size(), units))
        return std::nullopt;
    return RegFileText::WideFromUnits(units);
}

std::wstring ShowBytes(std::string_view text)
{
    static const wchar_t digits[] = L"0123456789ABCDEF";
    std::wstring shown;
    size_t i = 0;
    while (i < text.size()) {
        // The longest run of up to four bytes from here that decodes.
        size_t length = 0;
        std::optional<std::wstring> character;
        for (size_t n = std::min<size_t>(4, text.size() - i); n > 0 && !character; --n) {
            character = WideFromStrictUtf8(text.substr(i, n));
            length = n;
        }
        if (character) {
            shown += *character;
            i += length;
        } else {
            const auto byte = static_cast<unsigned char>(text[i++]);
            shown += L"\\x";
            shown += digits[byte >> 4];
            shown += digits[byte & 0xF];
        }
    }
    return shown;
}

std::optional<bool> ParseAnswer(std::wstring_view answer)
{
    answer = Trim(answer);
    if (EqualsIgnoringCase(answer, L"y") || EqualsIgnoringCase(answer, L"yes"))
        return true;
    if (EqualsIgnoringCase(answer, L"n") || EqualsIgnoringCase(answer, L"no"))
        return false;
    return std::nullopt;
}

StandardConsole::StandardConsole()
{
#if defined(_WIN32)
    // The console shows what we write as UTF-8, like every other system does.
    SetConsoleOutputCP(CP_UTF8);
#endif
}

void StandardConsole::Out(std::wstring_view text)
{
    Write(stdout, text);
}

void StandardConsole::Err(std::wstring_view text)
{
    Write(stderr, text);
}

bool StandardConsole::Interactive()
{
    return TESSEL_ISATTY(TESSEL_FILENO(stdin)) != 0;
}

bool StandardConsole::Confirm(std::wstring_view question)
{
    for (;;) {
        Out(question);
        Out(L" ");
        std::string line;
        if (!std::getline(std::cin, line))
            return false;
        if (const std::optional<bool> answer = ParseAnswer(WideFromUtf8(line)))
            return *answer;
    }
}

} // namespace Tessel::Reg

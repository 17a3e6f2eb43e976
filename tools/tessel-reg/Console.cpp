// The standard streams as a Console, and the UTF-8 conversions that the command line and the
// output need.

#include "Console.h"

#include <cstdio>
#include <iostream>

#include "CommandLine.h"
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

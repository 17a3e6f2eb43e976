// tessel-reg's entry point: the arguments handed to the tool.

#include <clocale>
#include <string>
#include <vector>

#include "Commands.h"
#include "Console.h"

#if defined(_WIN32)
// Windows gives the arguments as UTF-16 only to wmain.
int wmain(int argc, wchar_t** argv)
{
    std::setlocale(LC_CTYPE, "");
    const std::vector<std::wstring> args(argv + (argc > 0 ? 1 : 0), argv + argc);
    Tessel::Reg::StandardConsole console;
    return Tessel::Reg::RunTool(args, console);
}
#else
int main(int argc, char** argv)
{
    // Case-insensitive searches fold letters as the user's locale does.
    std::setlocale(LC_CTYPE, "");
    const std::vector<std::string> args(argv + (argc > 0 ? 1 : 0), argv + argc);
    Tessel::Reg::StandardConsole console;
    return Tessel::Reg::RunToolUtf8(args, console);
}
#endif

// tessel-reg's entry point: the arguments as wide text, handed to the tool.

#include <string>
#include <vector>

#include "Commands.h"
#include "Console.h"

#if defined(_WIN32)
// Windows gives the arguments as UTF-16 only to wmain.
int wmain(int argc, wchar_t** argv)
{
    const std::vector<std::wstring> args(argv + (argc > 0 ? 1 : 0), argv + argc);
    Tessel::Reg::StandardConsole console;
    return Tessel::Reg::RunTool(args, console);
}
#else
int main(int argc, char** argv)
{
    std::vector<std::wstring> args;
    for (int i = 1; i < argc; ++i)
        args.push_back(Tessel::Reg::WideFromUtf8(argv[i]));
    Tessel::Reg::StandardConsole console;
    return Tessel::Reg::RunTool(args, console);
}
#endif

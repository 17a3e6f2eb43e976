// Runs the built tessel-reg as a separate process on the test's store: UTF-8 arguments and
// output, exit codes, and the single error line on stderr.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

struct Outcome {
    int Exit = -1;
    std::string Out;
    std::string Err;
};

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// Runs the tool with stdin from /dev/null, so it never has anyone to ask. Output goes to files
// rather than pipes so that neither stream can block the other.
Outcome RunTessel(const std::vector<std::string>& args)
{
    const std::string directory = std::getenv("TESSEL_REGISTRY_DIR");
    const std::string outPath = directory + "/tool.out";
    const std::string errPath = directory + "/tool.err";
    std::vector<char*> argv;
    std::string program = TESSEL_REG_EXECUTABLE;
    argv.push_back(program.data());
    std::vector<std::string> copies = args;
    for (std::string& arg : copies)
        argv.push_back(arg.data());
    argv.push_back(nullptr);

    const pid_t child = fork();
    if (child == 0) {
        const int in = open("/dev/null", O_RDONLY);
        const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (in < 0 || out < 0 || err < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0)
            _exit(127);
        execv(argv[0], argv.data());
        _exit(127);
    }
    Outcome outcome;
    int status = 0;
    if (child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status))
        outcome.Exit = WEXITSTATUS(status);
    outcome.Out = ReadFile(outPath);
    outcome.Err = ReadFile(errPath);
    return outcome;
}

TEST(TesselRegTool, WritesAndReadsBackUtf8NamesAndData)
{
    const std::string key = "HKCU\\Software\\Gr\xC3\xBC\xC3\x9F" "e";
    const std::string name = "Stra\xC3\x9F" "e \xE2\x82\xAC";
    const std::string data = "\xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80";

    Outcome add = RunTessel({"add", key, "/v", name, "/d", data});
    EXPECT_EQ(add.Exit, 0);
    EXPECT_EQ(add.Out, "The operation completed successfully.\n");
    EXPECT_EQ(add.Err, "");
    EXPECT_EQ(RunTessel({"add", key, "--value", "n", "--type", "REG_DWORD", "--data", "255", "--force"}).Exit, 0);

    const Outcome query = RunTessel({"query", key});
    EXPECT_EQ(query.Exit, 0);
    EXPECT_EQ(query.Err, "");
    EXPECT_EQ(query.Out, "\nHKEY_CURRENT_USER\\Software\\Gr\xC3\xBC\xC3\x9F" "e\n"
                         "    " + name + "    REG_SZ    " + data + "\n"
                         "    n    REG_DWORD    0xff\n"
                         "\n");
}

// Checks that every way of getting the arguments wrong ends the same way: one line on stderr
// that starts with "ERROR: ", nothing on stdout, exit code 1.
TEST(TesselRegTool, BadArgumentsGiveOneErrorLineAndExitOne)
{
    const std::vector<std::string> cases[] = {
        {}, {"list", "HKCU\\a"}, {"query"}, {"query", "HKZZ\\a"}, {"query", "HKCU\\a", "--bogus"},
        {"add", "HKCU\\a", "/v", "x", "/t", "REG_DWORD", "/d", "ten"}, {"delete", "HKCU\\a", "/v", "x", "/ve"},
    };
    for (const auto& args : cases) {
        std::string joined;
        for (const std::string& arg : args)
            joined += arg + " ";
        SCOPED_TRACE(joined);
        const Outcome outcome = RunTessel(args);
        EXPECT_EQ(outcome.Exit, 1);
        EXPECT_EQ(outcome.Out, "");
        EXPECT_EQ(outcome.Err.rfind("ERROR: ", 0), 0u) << outcome.Err;
        EXPECT_EQ(outcome.Err.find('\n'), outcome.Err.size() - 1) << outcome.Err;
    }
}

TEST(TesselRegTool, RefusesToOverwriteOrDeleteWithoutATerminal)
{
    ASSERT_EQ(RunTessel({"add", "HKCU\\Software\\T", "/v", "v", "/d", "1"}).Exit, 0);

    const Outcome overwrite = RunTessel({"add", "HKCU\\Software\\T", "/v", "v", "/d", "2"});
    EXPECT_EQ(overwrite.Exit, 1);
    EXPECT_EQ(overwrite.Err, "ERROR: Value v exists; use /f to overwrite it.\n");
    EXPECT_EQ(RunTessel({"delete", "HKCU\\Software\\T"}).Exit, 1);

    const Outcome query = RunTessel({"query", "HKCU\\Software\\T", "/v", "v"});
    EXPECT_EQ(query.Out, "\nHKEY_CURRENT_USER\\Software\\T\n    v    REG_SZ    1\n\n");

    EXPECT_EQ(RunTessel({"delete", "HKCU\\Software\\T", "-f"}).Exit, 0);
    const Outcome gone = RunTessel({"query", "HKCU\\Software\\T"});
    EXPECT_EQ(gone.Exit, 1);
    EXPECT_EQ(gone.Err, "ERROR: The system was unable to find the specified registry key or value.\n");
}

TEST(TesselRegTool, RefusesArgumentsThatAreNotUtf8AndNamesThem)
{
    const Outcome outcome = RunTessel({"add", "HKCU\\Software\\T", "/v", "caf\xE9 \xC3\xA9", "/d", "1"});
    EXPECT_EQ(outcome.Exit, 1);
    EXPECT_EQ(outcome.Out, "");
    EXPECT_EQ(outcome.Err, "ERROR: Argument 4 is not valid UTF-8: caf\\xE9 \xC3\xA9\n");
    EXPECT_EQ(RunTessel({"query", "HKCU\\Software\\T"}).Exit, 1);
}

TEST(TesselRegTool, CompareExitsTwoWhenKeysDiffer)
{
    ASSERT_EQ(RunTessel({"add", "HKCU\\Software\\A", "/v", "v", "/d", "1"}).Exit, 0);
    ASSERT_EQ(RunTessel({"add", "HKCU\\Software\\B", "/v", "v", "/d", "2"}).Exit, 0);
    EXPECT_EQ(RunTessel({"compare", "HKCU\\Software\\A", "HKCU\\Software\\B", "/on"}).Exit, 2);
    EXPECT_EQ(RunTessel({"compare", "HKCU\\Software\\A", "HKCU\\Software\\A"}).Exit, 0);
}

TEST(TesselRegTool, VersionAndHelpGoToStdoutAndSucceed)
{
    const Outcome version = RunTessel({"--version"});
    EXPECT_EQ(version.Exit, 0);
    EXPECT_EQ(version.Out.rfind("tessel-reg ", 0), 0u) << version.Out;
    EXPECT_NE(version.Out.find("\nKavorTesselUtils "), std::string::npos) << version.Out;

    const Outcome help = RunTessel({"query", "--help"});
    EXPECT_EQ(help.Exit, 0);
    EXPECT_EQ(help.Out.rfind("tessel-reg query KEY", 0), 0u);
    EXPECT_EQ(help.Err, "");
}

} // namespace

// Checks how tessel-reg reads its command line: key paths, options in both spellings, and the
// argument mistakes that must be refused before anything touches the registry.

#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "CommandLine.h"
#include "FakeConsole.h"

namespace Tessel::Reg {
namespace {

using Testing::Narrow;

TEST(KeyPath, AcceptsShortAndLongRootsInAnyCase)
{
    struct Case {
        const wchar_t* Input;
        HKEY Root;
        const wchar_t* FullName;
    };
    const Case cases[] = {
        {L"HKLM\\Software\\X", HKEY_LOCAL_MACHINE, L"HKEY_LOCAL_MACHINE\\Software\\X"},
        {L"hklm\\Software", HKEY_LOCAL_MACHINE, L"HKEY_LOCAL_MACHINE\\Software"},
        {L"HKEY_LOCAL_MACHINE\\a", HKEY_LOCAL_MACHINE, L"HKEY_LOCAL_MACHINE\\a"},
        {L"HKCU\\a\\b\\c", HKEY_CURRENT_USER, L"HKEY_CURRENT_USER\\a\\b\\c"},
        {L"hkey_current_user\\a", HKEY_CURRENT_USER, L"HKEY_CURRENT_USER\\a"},
        {L"HKCR\\.txt", HKEY_CLASSES_ROOT, L"HKEY_CLASSES_ROOT\\.txt"},
        {L"HKU\\.Default", HKEY_USERS, L"HKEY_USERS\\.Default"},
        {L"HKCC\\System", HKEY_CURRENT_CONFIG, L"HKEY_CURRENT_CONFIG\\System"},
        {L"HKLM", HKEY_LOCAL_MACHINE, L"HKEY_LOCAL_MACHINE"},
        {L"HKLM\\", HKEY_LOCAL_MACHINE, L"HKEY_LOCAL_MACHINE"},
        {L"HKCU\\Software\\X\\", HKEY_CURRENT_USER, L"HKEY_CURRENT_USER\\Software\\X"},
        {L"HKCU\\Sp ace\\\u00c4\u00df", HKEY_CURRENT_USER, L"HKEY_CURRENT_USER\\Sp ace\\\u00c4\u00df"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(Narrow(c.Input));
        const std::optional<KeyPath> path = ParseKeyPath(c.Input);
        ASSERT_TRUE(path.has_value());
        EXPECT_EQ(path->Root, c.Root);
        EXPECT_EQ(path->FullName(), c.FullName);
    }
}

TEST(KeyPath, RejectsUnknownRootsAndEmptyComponents)
{
    const wchar_t* cases[] = {
        L"", L"HKXX\\a", L"Software\\X", L"HKLMX\\a", L"\\\\machine\\HKLM\\a", L"HKLM\\\\a",
        L"HKLM\\a\\\\b", L"HKLM\\a\\\\", L"HKLM\\\\", L"HKEY_PERFORMANCE_DATA", L"\\HKLM\\a",
    };
    for (const wchar_t* input : cases) {
        SCOPED_TRACE(Narrow(input));
        EXPECT_FALSE(ParseKeyPath(input).has_value());
    }
}

TEST(CommandLine, AdministratorAndPosixSpellingsMeanTheSame)
{
    struct Case {
        std::vector<std::wstring> Administrator;
        std::vector<std::wstring> Posix;
    };
    const Case cases[] = {
        {{L"query", L"HKCU\\a", L"/v", L"N"}, {L"query", L"HKCU\\a", L"--value", L"N"}},
        {{L"query", L"HKCU\\a", L"/ve", L"/s"}, {L"query", L"HKCU\\a", L"--default", L"--recurse"}},
        {{L"add", L"HKCU\\a", L"/v", L"N", L"/t", L"REG_MULTI_SZ", L"/s", L",", L"/d", L"x,y", L"/f"},
         {L"add", L"HKCU\\a", L"--value=N", L"--type", L"REG_MULTI_SZ", L"--separator", L",", L"--data=x,y",
          L"--force"}},
        {{L"ADD", L"/T", L"REG_DWORD", L"HKCU\\a", L"/D", L"7"},
         {L"add", L"HKCU\\a", L"-t", L"REG_DWORD", L"-d", L"7"}},
        {{L"delete", L"HKCU\\a", L"/va", L"/f"}, {L"delete", L"HKCU\\a", L"--all-values", L"--force"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(Narrow(c.Posix[0] + L" " + c.Posix[1]));
        const CommandLine left = ParseCommandLine(c.Administrator);
        const CommandLine right = ParseCommandLine(c.Posix);
        EXPECT_EQ(left.Command, right.Command);
        EXPECT_EQ(left.Operands, right.Operands);
        EXPECT_EQ(left.Values, right.Values);
        EXPECT_EQ(left.ValueName, right.ValueName);
        EXPECT_EQ(left.Recurse, right.Recurse);
        EXPECT_EQ(left.Type, right.Type);
        EXPECT_EQ(left.Data, right.Data);
        EXPECT_EQ(left.Separator, right.Separator);
        EXPECT_EQ(left.Force, right.Force);
    }
}

TEST(CommandLine, OptionsMeanWhatTheVerbAndTheirPlaceSay)
{
    const CommandLine query = ParseCommandLine({L"query", L"HKCU\\a", L"/s"});
    EXPECT_TRUE(query.Recurse);
    EXPECT_FALSE(query.Separator.has_value());

    const CommandLine add = ParseCommandLine({L"add", L"HKCU\\a", L"/s", L"#"});
    EXPECT_FALSE(add.Recurse);
    EXPECT_EQ(add.Separator, std::wstring(L"#"));

    // The word after /d or /v is data or a name, however much it looks like an option.
    const CommandLine line = ParseCommandLine({L"add", L"HKCU\\a", L"/d", L"-x", L"/v", L"/f"});
    EXPECT_EQ(line.Data, std::wstring(L"-x"));
    EXPECT_EQ(line.Values, ValueSelection::Named);
    EXPECT_EQ(line.ValueName, L"/f");
    EXPECT_FALSE(line.Force);
}

TEST(CommandLine, HelpAnywhereWinsOverEverythingElse)
{
    const std::vector<std::wstring> cases[] = {
        {L"query", L"/?"}, {L"add", L"HKCU\\a", L"-h"}, {L"delete", L"--help", L"/bogus"}, {L"QUERY", L"--HELP"},
    };
    for (const auto& args : cases) {
        SCOPED_TRACE(Narrow(args[1]));
        EXPECT_TRUE(ParseCommandLine(args).Help);
    }
}

TEST(CommandLine, SearchOptionsAndValueNamesAreToldApart)
{
    const CommandLine names = ParseCommandLine({L"query", L"HKCU\\a", L"/f", L"x", L"/v", L"/s"});
    EXPECT_EQ(names.Values, ValueSelection::AnyName);
    EXPECT_TRUE(names.Recurse);
    EXPECT_TRUE(names.Searches());
    const CommandLine named = ParseCommandLine({L"query", L"HKCU\\a", L"/v", L"Name", L"/s"});
    EXPECT_EQ(named.Values, ValueSelection::Named);
    EXPECT_EQ(named.ValueName, L"Name");
    EXPECT_FALSE(named.Searches());
    EXPECT_TRUE(ParseCommandLine({L"query", L"HKCU\\a", L"/t", L"REG_SZ"}).Searches());
}

TEST(CommandLine, PathsOfThisSystemAreFilesNotOptions)
{
    const CommandLine exported = ParseCommandLine({L"export", L"HKCU\\a", L"/tmp/x.reg", L"/y", L"/reg:64"});
    EXPECT_EQ(exported.Operands, (std::vector<std::wstring>{L"HKCU\\a", L"/tmp/x.reg"}));
    EXPECT_TRUE(exported.Force);
    EXPECT_EQ(exported.View, REGSAM{KEY_WOW64_64KEY});
    const CommandLine ended = ParseCommandLine({L"import", L"--reg32", L"--", L"/y"});
    EXPECT_EQ(ended.Operands, std::vector<std::wstring>{L"/y"});
    EXPECT_EQ(ended.View, REGSAM{KEY_WOW64_32KEY});
}

TEST(CommandLine, CompareOutputOptionsChooseOneForm)
{
    const std::pair<const wchar_t*, CompareOutput> cases[] = {
        {L"/oa", CompareOutput::All}, {L"/od", CompareOutput::Differences}, {L"--same", CompareOutput::Same},
        {L"--none", CompareOutput::Nothing}};
    for (const auto& [option, output] : cases) {
        SCOPED_TRACE(Narrow(option));
        EXPECT_EQ(ParseCommandLine({L"compare", L"HKCU\\a", L"HKCU\\b", option}).Output, output);
    }
    EXPECT_EQ(ParseCommandLine({L"compare", L"HKCU\\a", L"HKCU\\b"}).Output, CompareOutput::Differences);
}

// Checks that help, and the shell's completion, know every option that the parser knows.
TEST(CommandLine, UsageAndCompletionNameEveryVerbAndOption)
{
    std::ifstream file(TESSEL_REG_COMPLETION);
    std::set<std::string> words;
    std::string word;
    for (char c; file.get(c);) {
        if (c == ' ' || c == '\n' || c == '"' || c == '=') {
            words.insert(word);
            word.clear();
        } else {
            word += c;
        }
    }
    ASSERT_GT(words.size(), 100u);
    for (const Verb verb : AllVerbs()) {
        const std::wstring usage = UsageText(verb);
        SCOPED_TRACE(Narrow(VerbName(verb)));
        EXPECT_NE(UsageText(std::nullopt).find(VerbName(verb)), std::wstring::npos);
        EXPECT_EQ(words.count(Narrow(VerbName(verb))), 1u);
        for (const std::wstring& spelling : OptionSpellings(verb)) {
            SCOPED_TRACE(Narrow(spelling));
            EXPECT_NE(usage.find(spelling), std::wstring::npos);
            EXPECT_EQ(words.count(Narrow(spelling)), 1u);
        }
    }
}

// Checks that each mistake is refused as syntax, with a usage hint, before any command runs.
TEST(CommandLine, RefusesMalformedCommands)
{
    const std::vector<std::wstring> cases[] = {
        {}, {L"frobnicate", L"HKCU\\a"}, {L"query"}, {L"query", L"HKCU\\a", L"HKCU\\b"},
        {L"query", L"HKCU\\a", L"/v"}, {L"query", L"HKCU\\a", L"/v", L"x", L"/ve"}, {L"query", L"HKCU\\a", L"/va"},
        {L"query", L"HKCU\\a", L"/f"}, {L"query", L"HKCU\\a", L"/s", L"/s"}, {L"query", L"HKCU\\a", L"--recurse=yes"},
        {L"query", L"HKCU\\a", L"--values", L"x"}, {L"add", L"HKCU\\a", L"/d"},
        {L"add", L"HKCU\\a", L"/d", L"1", L"/d", L"2"}, {L"add", L"HKCU\\a", L"/f", L"/f"},
        {L"add", L"HKCU\\a", L"/va"}, {L"add", L"HKCU\\a", L"/ve", L"/v", L"x"},
        {L"delete", L"HKCU\\a", L"/v", L"x", L"/va"}, {L"delete", L"HKCU\\a", L"/s"},
        {L"delete", L"HKCU\\a", L"/d", L"x"}, {L"delete", L"/f"}, {L"query", L"HKCU\\a", L"/k", L"/d"},
        {L"query", L"HKCU\\a", L"/v", L"x", L"/f", L"y"}, {L"query", L"HKCU\\a", L"/ve", L"/e"},
        {L"query", L"HKCU\\a", L"/reg:32", L"/reg:64"}, {L"query", L"HKCU\\a", L"/reg:16"}, {L"copy", L"HKCU\\a"},
        {L"copy", L"HKCU\\a", L"HKCU\\b", L"/v", L"x"}, {L"compare", L"HKCU\\a", L"HKCU\\b", L"/s", L"/v", L"x"},
        {L"compare", L"HKCU\\a", L"HKCU\\b", L"/oa", L"/od"}, {L"export", L"HKCU\\a"},
        {L"export", L"HKCU\\a", L"/file.reg"}, {L"import", L"a.reg", L"b.reg"}, {L"import", L"a.reg", L"/y"},
    };
    for (const auto& args : cases) {
        std::wstring joined;
        for (const std::wstring& arg : args)
            joined += arg + L" ";
        SCOPED_TRACE(Narrow(joined));
        try {
            ParseCommandLine(args);
            ADD_FAILURE() << "accepted";
        } catch (const ToolError& error) {
            EXPECT_EQ(error.Message(), L"Invalid syntax.");
            EXPECT_TRUE(error.UsageHint());
        }
    }
}

} // namespace
} // namespace Tessel::Reg

// Runs tessel-reg's commands in-process against the test's own registry store, checking the
// exact output, the state left behind, and the questions asked before anything is overwritten
// or deleted.

#include <gtest/gtest.h>

#include "CommandsFixture.h"

namespace Tessel::Reg::Testing {
namespace {

TEST_F(TesselRegCommands, AddedValuesOfEveryTypeQueryBackInCreationOrder)
{
    Add({kKey, L"/v", L"Name", L"/d", L"Kavor Tessel"});
    Add({kKey, L"/v", L"Count", L"/t", L"REG_DWORD", L"/d", L"42"});
    Add({kKey, L"/v", L"Big", L"--type", L"REG_QWORD", L"--data", L"0x123456789A"});
    Add({kKey, L"/v", L"Blob", L"/t", L"REG_BINARY", L"/d", L"00ff10"});
    Add({kKey, L"/v", L"List", L"/t", L"REG_MULTI_SZ", L"/d", L"one\\0two"});
    Add({kKey, L"/v", L"Path", L"/t", L"REG_EXPAND_SZ", L"/d", L"%HOME%\\x"});
    Add({kKey, L"/v", L"Nothing", L"/t", L"REG_NONE"});
    Add({kKey, L"/ve", L"/d", L"top"});
    Add({kKey + L"\\Child"});
    EXPECT_EQ(m_console.OutText, kDone);

    EXPECT_EQ(Query({L"hkey_current_user\\Software\\TesselRegTest"}),
              L"\n" + kFull + L"\n"
              L"    Name    REG_SZ    Kavor Tessel\n"
              L"    Count    REG_DWORD    0x2a\n"
              L"    Big    REG_QWORD    0x123456789a\n"
              L"    Blob    REG_BINARY    00FF10\n"
              L"    List    REG_MULTI_SZ    one\\0two\n"
              L"    Path    REG_EXPAND_SZ    %HOME%\\x\n"
              L"    Nothing    REG_NONE    \n"
              L"    (Default)    REG_SZ    top\n"
              L"\n" + kFull + L"\\Child\n");
}

// Checks the bytes themselves: other programs read these values, not just this tool.
TEST_F(TesselRegCommands, StoresWhatTheRegistryFunctionsExpect)
{
    Add({kKey, L"/v", L"S", L"/d", L"\u00e4\U0001F600"});
    Add({kKey, L"/v", L"M", L"/t", L"REG_MULTI_SZ", L"/s", L",", L"/d", L"a,b"});
    Add({kKey, L"/v", L"D", L"/t", L"REG_DWORD", L"/d", L"0x01020304"});

    const RegistryValue expected[] = {{L"S", REG_SZ, {0xE4, 0, 0x3D, 0xD8, 0x00, 0xDE, 0, 0}},
                                      {L"M", REG_MULTI_SZ, {'a', 0, 0, 0, 'b', 0, 0, 0, 0, 0}},
                                      {L"D", REG_DWORD, {4, 3, 2, 1}}};
    for (const RegistryValue& value : expected) {
        SCOPED_TRACE(Narrow(value.Name));
        const auto stored = Stored(L"Software\\TesselRegTest", value.Name);
        ASSERT_TRUE(stored.has_value());
        EXPECT_EQ(stored->Type, value.Type);
        EXPECT_EQ(stored->Data, value.Data);
    }
}

TEST_F(TesselRegCommands, QueriesOneValueOrTheDefault)
{
    Add({kKey, L"/v", L"Count", L"/t", L"REG_DWORD", L"/d", L"7"});
    EXPECT_EQ(Query({kKey, L"/v", L"Count"}), L"\n" + kFull + L"\n    Count    REG_DWORD    0x7\n\n");
    EXPECT_EQ(Query({kKey, L"/ve"}), L"\n" + kFull + L"\n    (Default)    REG_SZ    (value not set)\n\n");
    Add({kKey, L"/ve", L"/d", L"d"});
    EXPECT_EQ(Query({kKey, L"--default"}), L"\n" + kFull + L"\n    (Default)    REG_SZ    d\n\n");

    EXPECT_EQ(Run({L"query", kKey, L"/v", L"Missing"}), 1);
    EXPECT_EQ(m_console.ErrText, kNotFound);
    EXPECT_EQ(m_console.OutText, L"");
}

TEST_F(TesselRegCommands, MissingKeyIsReportedByEveryCommand)
{
    const std::vector<std::wstring> cases[] = {
        {L"query", kKey + L"\\Nope"}, {L"query", kKey + L"\\Nope", L"/s"}, {L"delete", kKey + L"\\Nope", L"/f"},
        {L"delete", kKey + L"\\Nope", L"/v", L"x", L"/f"}, {L"delete", kKey + L"\\Nope", L"/va", L"/f"},
    };
    for (const auto& args : cases) {
        SCOPED_TRACE(std::string(args[0].begin(), args[0].end()) + " " + std::to_string(args.size()));
        EXPECT_EQ(Run(args), 1);
        EXPECT_EQ(m_console.ErrText, kNotFound);
    }
}

TEST_F(TesselRegCommands, RecursiveQueryShowsEveryKeyBlockParentsFirst)
{
    Add({kKey, L"/v", L"A", L"/d", L"1"});
    Add({kKey + L"\\Beta\\Deep", L"/v", L"B", L"/t", L"REG_DWORD", L"/d", L"2"});
    Add({kKey + L"\\Alpha", L"/v", L"A", L"/d", L"3"});

    EXPECT_EQ(Query({kKey, L"/s"}), L"\n" + kFull + L"\n    A    REG_SZ    1\n"
                                    L"\n" + kFull + L"\\Alpha\n    A    REG_SZ    3\n"
                                    L"\n" + kFull + L"\\Beta\n"
                                    L"\n" + kFull + L"\\Beta\\Deep\n    B    REG_DWORD    0x2\n"
                                    L"\n");
    EXPECT_EQ(Query({kKey, L"/v", L"A", L"--recurse"}), L"\n" + kFull + L"\n    A    REG_SZ    1\n"
                                                        L"\n" + kFull + L"\\Alpha\n    A    REG_SZ    3\n"
                                                        L"\nEnd of search: 2 match(es) found.\n");
}

TEST_F(TesselRegCommands, ExistingValueIsOverwrittenOnlyWhenConfirmed)
{
    Add({kKey, L"/v", L"V", L"/d", L"old"});

    // Nobody to ask: refused, untouched.
    EXPECT_EQ(Run({L"add", kKey, L"/v", L"V", L"/d", L"new"}), 1);
    EXPECT_EQ(m_console.ErrText, L"ERROR: Value V exists; use /f to overwrite it.\n");
    EXPECT_EQ(FormatData(REG_SZ, Stored(L"Software\\TesselRegTest", L"V")->Data), L"old");

    FakeConsole undecided(true, {L"maybe", L"n"});
    EXPECT_EQ(Run({L"add", kKey, L"/v", L"V", L"/d", L"new"}, undecided), 1);
    EXPECT_EQ(undecided.Questions,
              std::vector<std::wstring>(2, L"Value V exists, overwrite(Yes/No)?"));
    EXPECT_EQ(undecided.OutText, L"The operation was canceled by the user.\n");
    EXPECT_EQ(FormatData(REG_SZ, Stored(L"Software\\TesselRegTest", L"V")->Data), L"old");

    FakeConsole agreeing(true, {L"Yes"});
    EXPECT_EQ(Run({L"add", kKey, L"/v", L"V", L"/t", L"REG_DWORD", L"/d", L"1"}, agreeing), 0);
    EXPECT_EQ(Stored(L"Software\\TesselRegTest", L"V")->Type, REG_DWORD);

    EXPECT_EQ(Run({L"add", kKey, L"/v", L"V", L"/d", L"forced", L"--force"}), 0);
    EXPECT_EQ(FormatData(REG_SZ, Stored(L"Software\\TesselRegTest", L"V")->Data), L"forced");
}

TEST_F(TesselRegCommands, AddWithoutValueOptionCreatesKeyOrSetsDefault)
{
    Add({kKey + L"\\Empty"});
    EXPECT_TRUE(KeyExists(L"Software\\TesselRegTest\\Empty"));
    EXPECT_FALSE(Stored(L"Software\\TesselRegTest\\Empty", L"").has_value());
    // Adding an existing key is no conflict.
    Add({kKey + L"\\Empty"});

    Add({kKey, L"/d", L"default data"});
    EXPECT_EQ(FormatData(REG_SZ, Stored(L"Software\\TesselRegTest", L"")->Data), L"default data");
}

// Checks that bad arguments leave no key behind.
TEST_F(TesselRegCommands, RefusesBadKeyTypeDataOrSeparatorBeforeWriting)
{
    struct Case {
        std::vector<std::wstring> Args;
        const wchar_t* Error;
    };
    const std::wstring hint = L" Type \"tessel-reg add /?\" for usage.\n";
    const Case cases[] = {
        {{L"/v", L"x", L"/t", L"REG_WORD"}, L"ERROR: Invalid value type \"REG_WORD\"."},
        {{L"/v", L"x", L"/t", L"REG_DWORD", L"/d", L"12abc"}, L"ERROR: Invalid data \"12abc\" for REG_DWORD."},
        {{L"/v", L"x", L"/t", L"REG_BINARY", L"/d", L"123"}, L"ERROR: Invalid data \"123\" for REG_BINARY."},
        {{L"/v", L"x", L"/s", L","}, L"ERROR: Invalid syntax."},
        {{L"/v", L"x", L"/t", L"REG_MULTI_SZ", L"/s", L"ab"}, L"ERROR: Invalid syntax."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.Args.back().begin(), c.Args.back().end()));
        std::vector<std::wstring> args = {L"add", kKey};
        args.insert(args.end(), c.Args.begin(), c.Args.end());
        EXPECT_EQ(Run(args), 1);
        EXPECT_EQ(m_console.ErrText, c.Error + hint);
        EXPECT_FALSE(KeyExists(L"Software\\TesselRegTest"));
    }
    EXPECT_EQ(Run({L"add", L"HKXY\\a"}), 1);
    EXPECT_EQ(m_console.ErrText, L"ERROR: Invalid key name." + hint);
    EXPECT_EQ(Run({L"delete", L"HKCU", L"/f"}), 1);
    EXPECT_EQ(m_console.ErrText, L"ERROR: Invalid key name. Type \"tessel-reg delete /?\" for usage.\n");
}

TEST_F(TesselRegCommands, DeletesOneValueAllValuesOrTheWholeTree)
{
    Add({kKey, L"/v", L"A", L"/d", L"1"});
    Add({kKey, L"/v", L"B", L"/d", L"2"});
    Add({kKey, L"/ve", L"/d", L"0"});
    Add({kKey + L"\\Sub\\Deeper", L"/v", L"C", L"/d", L"3"});

    EXPECT_EQ(Run({L"delete", kKey, L"/v", L"a", L"/f"}), 0);
    EXPECT_FALSE(Stored(L"Software\\TesselRegTest", L"A").has_value());
    EXPECT_TRUE(Stored(L"Software\\TesselRegTest", L"B").has_value());

    EXPECT_EQ(Run({L"delete", kKey, L"/v", L"A", L"/f"}), 1);
    EXPECT_EQ(m_console.ErrText, kNotFound);

    EXPECT_EQ(Run({L"delete", kKey, L"/ve", L"/f"}), 0);
    EXPECT_FALSE(Stored(L"Software\\TesselRegTest", L"").has_value());
    EXPECT_TRUE(Stored(L"Software\\TesselRegTest", L"B").has_value());

    Add({kKey, L"/v", L"D", L"/d", L"4"});
    EXPECT_EQ(Run({L"delete", kKey, L"/va", L"/f"}), 0);
    EXPECT_EQ(Query({kKey}), L"\n" + kFull + L"\n\n" + kFull + L"\\Sub\n");
    EXPECT_TRUE(Stored(L"Software\\TesselRegTest\\Sub\\Deeper", L"C").has_value());

    EXPECT_EQ(Run({L"delete", kKey, L"--force"}), 0);
    EXPECT_EQ(m_console.OutText, kDone);
    EXPECT_FALSE(KeyExists(L"Software\\TesselRegTest"));
    EXPECT_TRUE(KeyExists(L"Software"));
}

TEST_F(TesselRegCommands, DeleteAsksFirstAndRefusesWithoutATerminal)
{
    Add({kKey + L"\\Sub", L"/v", L"A", L"/d", L"1"});
    const std::wstring sub = kKey + L"\\Sub";

    EXPECT_EQ(Run({L"delete", sub, L"/v", L"A"}), 1);
    EXPECT_EQ(m_console.ErrText,
              L"ERROR: Nothing was deleted without confirmation; use /f to delete without asking.\n");
    EXPECT_EQ(Run({L"delete", sub}), 1);
    EXPECT_TRUE(Stored(L"Software\\TesselRegTest\\Sub", L"A").has_value());

    FakeConsole declining(true, {L"no"});
    EXPECT_EQ(Run({L"delete", sub, L"/v", L"A"}, declining), 1);
    EXPECT_EQ(declining.Questions, std::vector<std::wstring>{L"Delete the registry value A (Yes/No)?"});
    EXPECT_TRUE(Stored(L"Software\\TesselRegTest\\Sub", L"A").has_value());

    FakeConsole declineAll(true, {L"n"});
    EXPECT_EQ(Run({L"delete", sub, L"/va"}, declineAll), 1);
    EXPECT_EQ(declineAll.Questions,
              std::vector<std::wstring>{L"Delete all values under the registry key " + kFull + L"\\Sub (Yes/No)?"});

    FakeConsole agreeing(true, {L"y"});
    EXPECT_EQ(Run({L"delete", sub}, agreeing), 0);
    EXPECT_EQ(agreeing.Questions, std::vector<std::wstring>{L"Delete the registry key " + kFull + L"\\Sub (Yes/No)?"});
    EXPECT_FALSE(KeyExists(L"Software\\TesselRegTest\\Sub"));
    EXPECT_TRUE(KeyExists(L"Software\\TesselRegTest"));
}

// Checks that a registry failure other than "not found" reaches the user with its own text.
TEST_F(TesselRegCommands, ReportsAccessDeniedByItsText)
{
    Add({kKey, L"/v", L"A", L"/d", L"1"});
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\TesselRegTest", 0, KEY_ALL_ACCESS, &key), ERROR_SUCCESS);
    ASSERT_EQ(TesselRegSetKeyAccess(key, KEY_READ), ERROR_SUCCESS);
    RegCloseKey(key);

    for (const auto& args : {std::vector<std::wstring>{L"add", kKey, L"/v", L"B", L"/d", L"2", L"/f"},
                             std::vector<std::wstring>{L"delete", kKey, L"/v", L"A", L"/f"},
                             std::vector<std::wstring>{L"delete", kKey, L"/f"}}) {
        SCOPED_TRACE(std::string(args[0].begin(), args[0].end()) + " " + std::to_string(args.size()));
        EXPECT_EQ(Run(args), 1);
        EXPECT_EQ(m_console.ErrText, L"ERROR: Access is denied.\n");
    }
    EXPECT_EQ(Query({kKey, L"/v", L"A"}), L"\n" + kFull + L"\n    A    REG_SZ    1\n\n");
}

} // namespace
} // namespace Tessel::Reg::Testing

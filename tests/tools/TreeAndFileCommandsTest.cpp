// Runs query's search, copy, compare, export, import, save and restore in-process: what they print, what they
// leave in the store and in files, and what they refuse.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "CommandSupport.h"
#include "CommandsFixture.h"
#include "KeyPath.h"

namespace Tessel::Reg::Testing {
namespace {

const std::wstring kA = kKey + L"\\A";
const std::wstring kB = kKey + L"\\B";
const std::wstring kFullA = kFull + L"\\A";
const std::wstring kFullB = kFull + L"\\B";

std::wstring FileInStore(const std::wstring& name)
{
    const std::string directory = std::getenv("TESSEL_REGISTRY_DIR");
    return std::wstring(directory.begin(), directory.end()) + L"/" + name;
}

std::string ReadBytes(const std::wstring& file)
{
    std::ifstream in(Narrow(file), std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

void WriteBytes(const std::wstring& file, const std::string& bytes)
{
    std::ofstream(Narrow(file), std::ios::binary) << bytes;
}

class TreeCommands : public TesselRegCommands {
protected:
    // A: name=alpha, n=1, Sub\deep=x, Only    B: NAME=alpha, n=2 (a number), SUB\deep=x, Other
    void MakeTwoTrees()
    {
        Add({kA, L"/v", L"name", L"/d", L"alpha"});
        Add({kA, L"/v", L"n", L"/d", L"1"});
        Add({kA + L"\\Sub", L"/v", L"deep", L"/d", L"x"});
        Add({kA + L"\\Only"});
        Add({kB, L"/v", L"NAME", L"/d", L"alpha"});
        Add({kB, L"/v", L"n", L"/t", L"REG_DWORD", L"/d", L"2"});
        Add({kB + L"\\SUB", L"/v", L"deep", L"/d", L"x"});
        Add({kB + L"\\Other"});
    }
};

TEST_F(TreeCommands, SearchLooksInKeyNamesValueNamesAndDataAsAskedAndListsUseTheSeparator)
{
    Add({kKey, L"/v", L"Colour", L"/d", L"Blue sky"});
    Add({kKey, L"/v", L"Count", L"/t", L"REG_DWORD", L"/d", L"0xb1"});
    Add({kKey + L"\\Blueprints", L"/v", L"x", L"/d", L"ocean BLUE"});
    Add({kKey + L"\\Blueprints\\Deeper", L"/v", L"blue", L"/d", L"1"});

    struct Case {
        std::vector<std::wstring> Options;
        std::wstring Expected;
    };
    const std::wstring end1 = L"\nEnd of search: 1 match(es) found.\n";
    const Case cases[] = {
        {{L"/f", L"blue"},
         L"\n" + kFull + L"\n    Colour    REG_SZ    Blue sky\n\n" + kFull + L"\\Blueprints\n" +
             L"\nEnd of search: 2 match(es) found.\n"},
        {{L"/f", L"blue", L"/s"},
         L"\n" + kFull + L"\n    Colour    REG_SZ    Blue sky\n\n" + kFull + L"\\Blueprints\n" +
             L"    x    REG_SZ    ocean BLUE\n\n" + kFull + L"\\Blueprints\\Deeper\n    blue    REG_SZ    1\n" +
             L"\nEnd of search: 4 match(es) found.\n"},
        {{L"/f", L"blue", L"/k"}, L"\n" + kFull + L"\\Blueprints\n" + end1},
        {{L"/f", L"BLUE", L"/s", L"/d", L"/c"}, L"\n" + kFull + L"\\Blueprints\n    x    REG_SZ    ocean BLUE\n" + end1},
        {{L"/f", L"blue", L"/s", L"/v"},
         L"\n" + kFull + L"\\Blueprints\\Deeper\n    blue    REG_SZ    1\n" + end1},
        {{L"/f", L"blue", L"/s", L"/e"},
         L"\n" + kFull + L"\\Blueprints\\Deeper\n    blue    REG_SZ    1\n" + end1},
        {{L"/f", L"b?ue*y", L"/e"}, L"\n" + kFull + L"\n    Colour    REG_SZ    Blue sky\n" + end1},
        {{L"/f", L"B1", L"/t", L"REG_DWORD,REG_BINARY", L"/z"},
         L"\n" + kFull + L"\n    Count    REG_DWORD (4)    0xb1\n" + end1},
        {{L"/t", L"REG_DWORD"}, L"\n" + kFull + L"\n    Count    REG_DWORD    0xb1\n" + end1},
        {{L"/f", L"nothing like it", L"/s"}, L"\nEnd of search: 0 match(es) found.\n"},
    };
    for (const Case& c : cases) {
        std::vector<std::wstring> args = {kKey};
        args.insert(args.end(), c.Options.begin(), c.Options.end());
        SCOPED_TRACE(Narrow(c.Options[0] + L" " + c.Options[1] + L" " + c.Options.back()));
        EXPECT_EQ(Query(args), c.Expected);
    }
    EXPECT_EQ(Run({L"query", kKey, L"/f", L"x", L"/t", L"REG_TEXT"}), 1);
    EXPECT_EQ(m_console.ErrText, L"ERROR: Invalid value type \"REG_TEXT\". Type \"tessel-reg query /?\" for usage.\n");

    // Lists show with the chosen separator, of one character.
    Add({kKey + L"\\Lists", L"/v", L"L", L"/t", L"REG_MULTI_SZ", L"/d", L"a\\0b"});
    EXPECT_EQ(Query({kKey + L"\\Lists", L"/se", L"#"}), L"\n" + kFull + L"\\Lists\n    L    REG_MULTI_SZ    a#b\n\n");
    EXPECT_EQ(Run({L"query", kKey, L"/se", L"##"}), 1);
    EXPECT_EQ(m_console.ErrText, L"ERROR: Invalid syntax. Type \"tessel-reg query /?\" for usage.\n");
}

TEST_F(TreeCommands, CompareReportsEachSideAndTheVerdict)
{
    MakeTwoTrees();
    // Value names match without regard to case; data and types must be the same.
    EXPECT_EQ(Run({L"compare", kA, kB}), 2);
    EXPECT_EQ(m_console.OutText, L"< " + kFullA + L"    n    REG_SZ    1\n"
                                 L"> " + kFullB + L"    n    REG_DWORD    0x2\n"
                                 L"\nResult Compared: Different\n" + kDone);

    EXPECT_EQ(Run({L"compare", kA, kB, L"/s", L"/oa"}), 2);
    // Sub-keys too match without regard to case.
    EXPECT_EQ(m_console.OutText, L"= " + kFullA + L"    name    REG_SZ    alpha\n"
                                 L"< " + kFullA + L"    n    REG_SZ    1\n"
                                 L"> " + kFullB + L"    n    REG_DWORD    0x2\n"
                                 L"< " + kFullA + L"\\Only\n"
                                 L"= " + kFullA + L"\\Sub    deep    REG_SZ    x\n"
                                 L"> " + kFullB + L"\\Other\n"
                                 L"\nResult Compared: Different\n" + kDone);

    EXPECT_EQ(Run({L"compare", kA, kB, L"/v", L"NAME", L"/os"}), 0);
    EXPECT_EQ(m_console.OutText, L"= " + kFullA + L"    NAME    REG_SZ    alpha\n"
                                 L"\nResult Compared: Identical\n" + kDone);
    EXPECT_EQ(Run({L"compare", kA, kB, L"/s", L"/on"}), 2);
    EXPECT_EQ(m_console.OutText, L"\nResult Compared: Different\n" + kDone);

    // Data that differs only in case differs.
    Add({kB, L"/v", L"name", L"/d", L"ALPHA", L"/f"});
    EXPECT_EQ(Run({L"compare", kA, kB, L"/v", L"name", L"--none"}), 2);
    EXPECT_EQ(Run({L"compare", kA + L"\\Sub", kA + L"\\Sub"}), 0);
    EXPECT_EQ(Run({L"compare", kA, kB, L"/ve"}), 1);
    EXPECT_EQ(m_console.ErrText, kNotFound);
    EXPECT_EQ(Run({L"compare", kA, kKey + L"\\Missing"}), 1);
    EXPECT_EQ(m_console.ErrText, kNotFound);
}

TEST_F(TreeCommands, CopyTakesValuesOrTheWholeTree)
{
    MakeTwoTrees();
    Add({kA, L"/v", L"blob", L"/t", L"REG_BINARY", L"/d", L"00ff"});
    EXPECT_EQ(Run({L"copy", kA, kKey + L"\\Flat"}), 0);
    EXPECT_EQ(m_console.OutText, kDone);
    EXPECT_EQ(Query({kKey + L"\\Flat"}), L"\n" + kFull + L"\\Flat\n    name    REG_SZ    alpha\n    n    REG_SZ    1\n"
                                         L"    blob    REG_BINARY    00FF\n\n");

    EXPECT_EQ(Run({L"copy", kA, kKey + L"\\Tree", L"/s"}), 0);
    EXPECT_EQ(Run({L"compare", kA, kKey + L"\\Tree", L"/s"}), 0);
    // Into its own tree: the source is read whole before the first write.
    EXPECT_EQ(Run({L"copy", kA, kA + L"\\Sub\\Again", L"/s"}), 0);
    EXPECT_EQ(Run({L"compare", kKey + L"\\Tree", kA + L"\\Sub\\Again", L"/s"}), 0);
    EXPECT_FALSE(KeyExists(L"Software\\TesselRegTest\\A\\Sub\\Again\\Sub\\Again"));
}

// Checks that nothing is written when an overwrite is refused, and that an answer of no keeps
// only that value.
TEST_F(TreeCommands, CopyAsksBeforeOverwritingEachValue)
{
    MakeTwoTrees();
    EXPECT_EQ(Run({L"copy", kA, kB}), 1);
    EXPECT_EQ(m_console.ErrText, L"ERROR: Value " + kFullB + L"\\name exists; use /f to overwrite it.\n");
    EXPECT_EQ(FormatData(REG_DWORD, Stored(L"Software\\TesselRegTest\\B", L"n")->Data), L"0x2");

    FakeConsole choosing(true, {L"no", L"yes"});
    EXPECT_EQ(Run({L"copy", kA, kB}, choosing), 0);
    EXPECT_EQ(choosing.Questions, (std::vector<std::wstring>{L"Value " + kFullB + L"\\name exists, overwrite(Yes/No)?",
                                                            L"Value " + kFullB + L"\\n exists, overwrite(Yes/No)?"}));
    EXPECT_EQ(Stored(L"Software\\TesselRegTest\\B", L"name")->Name, L"name");
    EXPECT_EQ(Stored(L"Software\\TesselRegTest\\B", L"n")->Type, REG_SZ);

    EXPECT_EQ(Run({L"copy", kA, kB, L"/s", L"/f"}), 0);
    EXPECT_TRUE(KeyExists(L"Software\\TesselRegTest\\B\\Only"));
    EXPECT_TRUE(KeyExists(L"Software\\TesselRegTest\\B\\Other"));
    // The sub-key that B had under another case is the one written to.
    EXPECT_EQ(Query({kB, L"/k", L"/f", L"sub"}), L"\n" + kFullB + L"\\SUB\n\nEnd of search: 1 match(es) found.\n");
}

TEST_F(TreeCommands, ExportThenImportRestoresTheTree)
{
    MakeTwoTrees();
    const std::wstring file = FileInStore(L"tree.reg");
    EXPECT_EQ(Run({L"export", kKey, file}), 0);
    EXPECT_EQ(m_console.OutText, kDone);
    const std::string exported = ReadBytes(file);
    EXPECT_EQ(exported.substr(0, 2), "\xFF\xFE");

    EXPECT_EQ(Run({L"delete", kKey, L"/f"}), 0);
    EXPECT_EQ(Run({L"import", file}), 0);
    EXPECT_EQ(m_console.OutText, kDone);
    EXPECT_EQ(Run({L"export", kKey, file, L"/y"}), 0);
    EXPECT_EQ(ReadBytes(file), exported);
}

// Export and save ask the same question before replacing a file, and leave the file unless told.
TEST_F(TreeCommands, ExportAndSaveAskBeforeReplacingAFile)
{
    Add({kKey, L"/v", L"v", L"/d", L"1"});
    for (const wchar_t* verb : {L"export", L"save"}) {
        SCOPED_TRACE(Narrow(verb));
        const std::wstring file = FileInStore(std::wstring(L"kept.") + verb);
        WriteBytes(file, "precious");
        EXPECT_EQ(Run({verb, kKey, file}), 1);
        EXPECT_EQ(m_console.ErrText, L"ERROR: File " + file + L" exists; use /y to overwrite it.\n");
        FakeConsole declining(true, {L"n"});
        EXPECT_EQ(Run({verb, kKey, file}, declining), 1);
        EXPECT_EQ(declining.Questions, std::vector<std::wstring>{L"File " + file + L" exists, overwrite(Yes/No)?"});
        EXPECT_EQ(Run({verb, kKey + L"\\Missing", file, L"/y"}), 1);
        EXPECT_EQ(m_console.ErrText, kNotFound);
        EXPECT_EQ(ReadBytes(file), "precious");
    }
    FakeConsole agreeing(true, {L"y"});
    EXPECT_EQ(Run({L"export", kKey, FileInStore(L"kept.export")}, agreeing), 0);
    EXPECT_EQ(ReadBytes(FileInStore(L"kept.export")).substr(0, 2), "\xFF\xFE");
}

TEST_F(TreeCommands, ImportOfAMalformedFileNamesTheLineAndWritesNothing)
{
    const std::wstring file = FileInStore(L"bad.reg");
    WriteBytes(file, "Windows Registry Editor Version 5.00\r\n"
                     "[HKEY_CURRENT_USER\\Software\\TesselRegTest]\r\n"
                     "\"good\"=\"first\"\r\n"
                     "\"bad\"=hex:0x\r\n");
    EXPECT_EQ(Run({L"import", file}), 1);
    EXPECT_EQ(m_console.ErrText, L"ERROR: " + file + L", line 4: Bad hexadecimal byte \"0x\".\n");
    EXPECT_FALSE(KeyExists(L"Software\\TesselRegTest"));

    EXPECT_EQ(Run({L"import", FileInStore(L"missing.reg")}), 1);
    EXPECT_EQ(m_console.ErrText, L"ERROR: Error opening the file. There may be a disk or file system error.\n");
}

TEST_F(TreeCommands, SaveThenRestoreBringsTheTreeBack)
{
    MakeTwoTrees();
    const std::wstring copy = kKey + L"\\Copy";
    EXPECT_EQ(Run({L"copy", kA, copy, L"/s", L"/f"}), 0);
    const std::wstring file = FileInStore(L"tree.sav");
    EXPECT_EQ(Run({L"save", kA, file}), 0);
    EXPECT_EQ(m_console.OutText, kDone);

    Add({kA, L"/v", L"name", L"/d", L"changed", L"/f"});
    Add({kA + L"\\New"});
    EXPECT_EQ(Run({L"delete", kA + L"\\Sub", L"/f"}), 0);
    EXPECT_EQ(Run({L"restore", kA, file}), 0);
    EXPECT_EQ(m_console.OutText, kDone);
    EXPECT_EQ(Run({L"compare", kA, copy, L"/s"}), 0);
}

TEST_F(TreeCommands, RestoreRefusesBadFilesAndSaveUnwritableOnes)
{
    Add({kKey, L"/v", L"v", L"/d", L"1"});
    const std::wstring file = FileInStore(L"kept.sav");
    WriteBytes(file, "precious");
    EXPECT_EQ(Run({L"restore", kKey, file}), 1);
    EXPECT_EQ(m_console.ErrText, L"ERROR: The configuration registry database is corrupt.\n");
    EXPECT_EQ(Run({L"restore", kKey, FileInStore(L"missing.sav")}), 1);
    EXPECT_EQ(m_console.ErrText, L"ERROR: Error opening the file. There may be a disk or file system error.\n");
    EXPECT_EQ(Run({L"save", kKey, FileInStore(L"no/such/folder.sav")}), 1);
    EXPECT_EQ(m_console.ErrText, L"ERROR: Error writing the file. There may be a disk or file system error.\n");
    EXPECT_EQ(Query({kKey, L"/v", L"v"}), L"\n" + kFull + L"\n    v    REG_SZ    1\n\n");

    EXPECT_EQ(Run({L"save", kKey, file, L"/y"}), 0);
    EXPECT_EQ(Run({L"restore", kKey, file}), 0);
}

TEST_F(TreeCommands, ViewsReachTheThirtyTwoBitTreeOnEveryVerb)
{
    const std::wstring vendor = L"HKLM\\Software\\Vendor";
    Add({vendor, L"/v", L"bits", L"/d", L"32", L"/reg:32"});
    EXPECT_EQ(Query({vendor, L"/v", L"bits", L"--reg32"}),
              L"\nHKEY_LOCAL_MACHINE\\Software\\Vendor\n    bits    REG_SZ    32\n\n");
    EXPECT_EQ(Run({L"query", vendor, L"/reg:64"}), 1);
    EXPECT_EQ(Run({L"copy", vendor, vendor + L"2", L"/reg:32"}), 0);
    EXPECT_EQ(Run({L"compare", vendor, vendor + L"2", L"/reg:32"}), 0);
    EXPECT_EQ(Run({L"delete", vendor + L"2", L"/f", L"/reg:32"}), 0);
    EXPECT_EQ(Run({L"query", vendor + L"2", L"/reg:32"}), 1);

    const std::wstring file = FileInStore(L"view.reg");
    EXPECT_EQ(Run({L"export", vendor, file, L"/reg:32"}), 0);
    EXPECT_EQ(Run({L"import", file}), 0);
    EXPECT_EQ(Query({vendor, L"/v", L"bits", L"/reg:64"}),
              L"\nHKEY_LOCAL_MACHINE\\Software\\Vendor\n    bits    REG_SZ    32\n\n");
    EXPECT_EQ(Run({L"query", vendor, L"/reg:32", L"/reg:64"}), 1);
    EXPECT_EQ(m_console.ErrText, L"ERROR: Invalid syntax. Type \"tessel-reg query /?\" for usage.\n");
}

TEST_F(TreeCommands, HiveVerbsSayThatThisSystemHasNoHives)
{
    for (const wchar_t* verb : {L"load", L"unload", L"flags"}) {
        SCOPED_TRACE(Narrow(verb));
        EXPECT_EQ(Run({verb, L"HKLM\\Hive", L"hive.hiv"}), 1);
        EXPECT_EQ(m_console.ErrText,
                  L"ERROR: The " + std::wstring(verb) + L" operation is not supported on this system.\n");
        EXPECT_EQ(Run({verb, L"/?"}), 0);
        EXPECT_NE(m_console.OutText.find(L"Not supported on this system"), std::wstring::npos);
    }
}

// A key deleted by someone else between its opening and the listing of its sub-keys, as a watch
// or a query /s may meet it, is passed over rather than ending the walk with an error.
TEST_F(TreeCommands, AWalkPassesOverAKeyDeletedAfterItWasOpened)
{
    Add({kA + L"\\gone", L"/f"});
    const KeyPath gone = *ParseKeyPath(kA + L"\\gone");
    RegistryKey key;
    ASSERT_EQ(ERROR_SUCCESS, key.Open(gone, KEY_READ));
    ASSERT_EQ(0, Run({L"delete", kA + L"\\gone", L"/f"}));
    std::vector<std::wstring> visited;
    auto visit = [&visited](const KeyPath& path, RegistryKey&) { visited.push_back(path.FullName()); };
    EXPECT_NO_THROW(WalkTree(gone, key, visit));
    EXPECT_EQ(std::vector<std::wstring>{kFullA + L"\\gone"}, visited);
}

} // namespace
} // namespace Tessel::Reg::Testing

// Checks the registration script language: each construct, the value types, replacement, the
// limits, the recovery after a half-done registration and the unregistering rules.

#include <gtest/gtest.h>

#include <string>

#include "com/registrar/RegObject.h"
#include "com/RegistryProbe.h"

using ATL::CRegObject;
using namespace ComTest;

namespace {

class Registrar : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(m_registrar.FinalConstruct(), S_OK); }

    HRESULT Register(const std::wstring& script) { return m_registrar.RunScript(script.c_str(), TRUE); }
    HRESULT Unregister(const std::wstring& script) { return m_registrar.RunScript(script.c_str(), FALSE); }

    CRegObject m_registrar;
};

// Each key with its default value comes on registering and goes on unregistering, under every root spelling.
TEST_F(Registrar, RootKeywordsMatchWholeIgnoringCase)
{
    const wchar_t* nested = L"NoRemove Software { TesselRoot = s 'here' }";
    const wchar_t* nestedPath = L"Software\\TesselRoot";
    const struct {
        const wchar_t* root;
        HKEY key;
        const wchar_t* body;
        const wchar_t* path;
    } rows[] = {
        {L"HKCR", HKEY_CLASSES_ROOT, L"Foo = s 'here'", L"Foo"},
        {L"hkcr", HKEY_CLASSES_ROOT, nested, nestedPath},
        {L"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT, nested, nestedPath},
        {L"HKCU", HKEY_CURRENT_USER, nested, nestedPath},
        {L"hkey_current_user", HKEY_CURRENT_USER, nested, nestedPath},
        {L"HKLM", HKEY_LOCAL_MACHINE, nested, nestedPath},
        {L"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE, nested, nestedPath},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.root);
        const std::wstring script = std::wstring(row.root) + L" { " + row.body + L" }";
        ASSERT_EQ(Register(script), S_OK);
        EXPECT_EQ(ReadString(row.key, row.path, nullptr), L"here");
        ASSERT_EQ(Unregister(script), S_OK);
        EXPECT_FALSE(KeyExists(row.key, row.path));
    }
    for (const wchar_t* bad : {L"HK", L"HKCRX", L"HKEY_CLASSES", L"Classes"}) {
        SCOPED_TRACE(bad);
        EXPECT_EQ(Register(std::wstring(bad) + L" { Foo }"), DISP_E_EXCEPTION);
    }
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"Foo"));
}

TEST_F(Registrar, ValueTypesAreStoredInTheirForms)
{
    ASSERT_EQ(Register(L"HKCR { Types {\n"
                       L"  val Text = s 'two words'\n"
                       L"  val Empty = s ''\n"
                       L"  val Number = d '4294967295'\n"
                       L"  val Hex = d '&H1F'\n"
                       L"  val Bytes = b 'ABCDEF'\n"
                       L"  val Lower = b '0a1b'\n"
                       L"  val NotDigits = b 'zz'\n"
                       L"  val List = m 'one\\0two'\n"
                       L"  val Cut = m 'a\\0\\0b'\n"
                       L"} }"),
              S_OK);
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, L"Types", L"Text"), L"two words");
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, L"Types", L"Empty"), L"");
    const struct {
        const wchar_t* name;
        DWORD type;
        std::vector<BYTE> data;
    } rows[] = {
        {L"Number", REG_DWORD, Bytes({0xFF, 0xFF, 0xFF, 0xFF})},
        {L"Hex", REG_DWORD, Bytes({0x1F, 0, 0, 0})},
        {L"Bytes", REG_BINARY, Bytes({0xAB, 0xCD, 0xEF})},
        {L"Lower", REG_BINARY, Bytes({0x0A, 0x1B})},
        {L"NotDigits", REG_BINARY, Bytes({0x00})},
        {L"List", REG_MULTI_SZ, Bytes({'o', 0, 'n', 0, 'e', 0, 0, 0, 't', 0, 'w', 0, 'o', 0, 0, 0, 0, 0})},
        {L"Cut", REG_MULTI_SZ, Bytes({'a', 0, 0, 0, 0, 0})},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto value = ReadValue(HKEY_CLASSES_ROOT, L"Types", row.name);
        ASSERT_TRUE(value.has_value());
        EXPECT_EQ(value->type, row.type);
        EXPECT_EQ(value->data, row.data);
    }
}

TEST_F(Registrar, BadValuesFailWithTheirCodesAndLeaveNothing)
{
    const struct {
        const wchar_t* value;
        HRESULT expected;
    } rows[] = {
        {L"b 'ABC'", E_FAIL},
        {L"d 'twelve'", DISP_E_TYPEMISMATCH},
        {L"d '4294967296'", DISP_E_OVERFLOW},
        {L"x 'text'", DISP_E_EXCEPTION},
        {L"string 'text'", DISP_E_EXCEPTION},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.value);
        EXPECT_EQ(Register(std::wstring(L"HKCR { Made { Inner } Bad = ") + row.value + L" }"), row.expected);
        EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"Made"));
        EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"Bad"));
    }
}

TEST_F(Registrar, SyntaxErrorsGiveDispatchException)
{
    // Where the error stands before any key is made, nothing is made. Where the text breaks off
    // behind a key, the recovery walk breaks off at the same place and cannot reach it.
    const struct {
        const wchar_t* script;
        bool leavesNothing;
    } rows[] = {
        {L"HKCR Foo", true},                   // no block after the root
        {L"HKCR { val Name 'x' }", true},      // Val without '='
        {L"HKCR { Foo\\Bar }", true},          // a path where a key name belongs
        {L"HKCR { ForceRemove A\\B }", true},  // the same after ForceRemove
        {L"   ", true},                        // white space where a root must stand
        {L"HKCR { Foo", false},                // the text ends inside a block
        {L"HKCR { Foo = s 'open }", false},    // the text ends inside a quoted token
        {L"HKCR { Foo = s }", false},          // a value without its text swallows the brace
        {L"HKCR { A { B }}", false},           // "}}" closes one block only
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.script);
        EXPECT_EQ(Register(row.script), DISP_E_EXCEPTION);
        if (row.leavesNothing) {
            EXPECT_EQ(SubKeyCount(HKEY_CLASSES_ROOT, L""), 0u);
        }
    }
    EXPECT_EQ(Register(L""), S_OK);
    EXPECT_EQ(m_registrar.RunScript(nullptr, TRUE), E_POINTER);

    // Deep nesting is refused without a crash.
    std::wstring deep = L"HKCR { ";
    for (int i = 0; i < 5000; ++i)
        deep += L"K { ";
    EXPECT_EQ(Unregister(deep), DISP_E_EXCEPTION);
}

TEST_F(Registrar, QuotedTokensKeepSpacesAndDoubledQuotesUpTo4094Characters)
{
    ASSERT_EQ(Register(L"HKCR { 'Two Words' = s 'it''s ''here''' { '{' } }"), S_OK);
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, L"Two Words", nullptr), L"it's 'here'");
    // Quotes only group: an item that reads "{" is a key of that name.
    EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, L"Two Words\\{"));

    const std::wstring longest(4094, L'v');
    ASSERT_EQ(Register(L"HKCR { Limits { val " + longest + L" = s '" + longest + L"' } }"), S_OK);
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, L"Limits", longest.c_str()), longest);
    EXPECT_EQ(Register(L"HKCR { Over { val " + longest + L"v = s 'x' } }"), DISP_E_EXCEPTION);
    EXPECT_EQ(Register(L"HKCR { Over = s '" + longest + L"v' }"), DISP_E_EXCEPTION);
}

TEST_F(Registrar, ReplacementsFillMarksOnceAndRefuseWhatTheyCannotFill)
{
    ASSERT_EQ(m_registrar.AddReplacementPair(L"Name", L"First"), S_OK);
    ASSERT_EQ(m_registrar.AddReplacementPair(L"NAME", L"Second"), S_OK);
    ASSERT_EQ(m_registrar.AddReplacementPair(L"Nested", L"%Name%"), S_OK);
    ASSERT_EQ(Register(L"HKCR { Rep { val A = s '%name%' val B = s '100%%' val C = s '%Nested%' } }"), S_OK);
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, L"Rep", L"A"), L"First");
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, L"Rep", L"B"), L"100%");
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, L"Rep", L"C"), L"%Name%");
    ASSERT_EQ(m_registrar.ClearReplacementPairs(), S_OK);

    const std::wstring key31(31, L'k');
    ASSERT_EQ(m_registrar.AddReplacementPair(key31.c_str(), L"ok"), S_OK);
    const struct {
        std::wstring script;
        HRESULT expected;
    } rows[] = {
        {L"HKCR { R = s '%Module%' }", DISP_E_EXCEPTION},
        {L"HKCR { R = s '%unclosed' }", DISP_E_EXCEPTION},
        {L"HKCR { R = s '%" + key31 + L"k%' }", E_FAIL},
        {L"HKCR { R = s '%" + key31 + L"%' }", S_OK},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.script);
        EXPECT_EQ(Register(row.script), row.expected);
    }
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, L"R", nullptr), L"ok");

    LPOLESTR result = nullptr;
    EXPECT_EQ(m_registrar.ReplaceText(L"x", nullptr), E_POINTER);
    EXPECT_EQ(m_registrar.ReplaceText(nullptr, &result), E_POINTER);
    EXPECT_EQ(m_registrar.AddReplacementPair(nullptr, L"x"), E_INVALIDARG);
    EXPECT_EQ(m_registrar.AddReplacementPair(L"x", nullptr), E_INVALIDARG);
    ASSERT_EQ(m_registrar.ClearReplacementPairs(), S_OK);
    EXPECT_EQ(Register(L"HKCR { R = s '%" + key31 + L"%' }"), DISP_E_EXCEPTION);
}

TEST_F(Registrar, ForceRemoveAndDeleteClearOldKeysButNotProtectedOnes)
{
    ASSERT_TRUE(MakeKey(HKEY_CLASSES_ROOT, L"Foo\\Old\\Deeper"));
    ASSERT_TRUE(SetString(HKEY_CLASSES_ROOT, L"Foo", L"Stale", L"x"));
    ASSERT_TRUE(MakeKey(HKEY_CLASSES_ROOT, L"Software\\Marker"));
    // A key of no name is none: the parent and its protected keys stay.
    ASSERT_EQ(Register(L"HKCR { ForceRemove '' ForceRemove Foo = s 'New' { Sub } ForceRemove Software { Added } }"),
              S_OK);
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"Foo\\Old"));
    EXPECT_FALSE(ReadValue(HKEY_CLASSES_ROOT, L"Foo", L"Stale").has_value());
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, L"Foo", nullptr), L"New");
    EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, L"Foo\\Sub"));
    EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, L"Software\\Marker"));
    EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, L"Software\\Added"));

    // Delete removes when registering and acts as a key when unregistering.
    ASSERT_TRUE(MakeKey(HKEY_CLASSES_ROOT, L"Gone\\Below"));
    ASSERT_TRUE(MakeKey(HKEY_CLASSES_ROOT, L"clsid\\Kept"));
    ASSERT_EQ(Register(L"HKCR { Delete Gone = s 'ignored' Delete CLSID }"), S_OK);
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"Gone"));
    EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, L"CLSID\\Kept"));

    ASSERT_TRUE(MakeKey(HKEY_CLASSES_ROOT, L"Empty"));
    ASSERT_EQ(Unregister(L"HKCR { Delete Empty }"), S_OK);
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"Empty"));
}

TEST_F(Registrar, UnregisteringKeepsNoRemoveAndForeignSubKeys)
{
    const std::wstring script = L"HKCR { NoRemove Shared { Mine { val V = s 'x' } '' } Owned { Mine } "
                                L"Values { val Plain = s 'a' NoRemove val Kept = s 'b' val Missing = s 'c' } }";
    ASSERT_EQ(Register(script), S_OK);
    ASSERT_TRUE(MakeKey(HKEY_CLASSES_ROOT, L"Owned\\Foreign"));
    ASSERT_TRUE(SetString(HKEY_CLASSES_ROOT, L"Values", L"Missing", L"c"));
    ASSERT_EQ(Unregister(script), S_OK);
    EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, L"Shared"));
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"Shared\\Mine"));
    EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, L"Owned\\Foreign"));
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"Owned\\Mine"));
    // Values is emptied of its keys (it has none), so it goes with Kept inside it.
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"Values"));

    // A value that is already gone, and a block below a missing key, are no failure.
    ASSERT_TRUE(MakeKey(HKEY_CLASSES_ROOT, L"Values"));
    EXPECT_EQ(Unregister(L"HKCR { NoRemove Values { val Plain = s 'a' } Absent { Values { val X = d 1 } } }"),
              S_OK);
    EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, L"Values"));
}

TEST_F(Registrar, FailedRegistrationTakesBackWhatTheBlockMade)
{
    ASSERT_TRUE(MakeKey(HKEY_CLASSES_ROOT, L"Existing\\Foreign"));
    const std::wstring longName(256, L'n');
    const struct {
        std::wstring failingItem;
        HRESULT expected;
    } rows[] = {
        {L"Bad = d 'NaN'", DISP_E_TYPEMISMATCH},
        {longName, HRESULT_FROM_WIN32(ERROR_INVALID_PARAMETER)},
        {L"Bad = q 'x'", DISP_E_EXCEPTION},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.failingItem);
        const std::wstring script = L"HKCU { Software { Early } } "
                                    L"HKCR { A = s 'x' { B { val V = s 'y' } } Existing { New } " +
                                    row.failingItem + L" Later }";
        EXPECT_EQ(Register(script), row.expected);
        EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"A"));
        EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"Existing\\New"));
        EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, L"Existing\\Foreign"));
        EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"Later"));
        // Only the failing block is taken back: an earlier root block stays done.
        EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, L"Software\\Early"));
    }
}

TEST_F(Registrar, EveryRootBlockRuns)
{
    const std::wstring script = L"HKCR { One } HKCU { NoRemove Software { Two } }\r\n\tHKCR { Three }\n";
    ASSERT_EQ(Register(script), S_OK);
    EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, L"One"));
    EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, L"Software\\Two"));
    EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, L"Three"));
    ASSERT_EQ(Unregister(script), S_OK);
    EXPECT_EQ(SubKeyCount(HKEY_CLASSES_ROOT, L""), 0u);
    EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, L"Software"));
}

} // namespace

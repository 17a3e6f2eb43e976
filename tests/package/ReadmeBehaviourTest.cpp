// The behaviour that the README warns newcomers about, each statement checked as it is written
// there: numbers and the library's own words under the process's locale, names in the store in
// every locale, the read buffer, an empty sub name, and names with an embedded NUL.

#include <gtest/gtest.h>

#include <clocale>
#include <locale>
#include <stdexcept>
#include <string>

#include "Tessel/Exceptions.h"
#include "Tessel/PersistRegistry.h"
#include "writer/WriterTestSupport.h"

using namespace Tessel;
using namespace TesselTest;

namespace {

// Sets a locale for one test and restores the classic one, in C and in C++, when it ends.
// The test command generates the locales; elsewhere a machine may lack them.
class ScopedLocale {
public:
    enum Scope { CTypeOnly, COnly, CAndCxx };

    ScopedLocale(const char* name, Scope scope)
    {
        if (std::setlocale(scope == CTypeOnly ? LC_CTYPE : LC_ALL, name) == nullptr)
            return;
        m_set = true;
        if (scope == CAndCxx)
            std::locale::global(std::locale(name)); // sets the C locale as well, since it has a name
    }
    ~ScopedLocale()
    {
        std::locale::global(std::locale::classic());
        std::setlocale(LC_ALL, "C");
    }
    ScopedLocale(const ScopedLocale&) = delete;
    ScopedLocale& operator=(const ScopedLocale&) = delete;

    bool IsSet() const { return m_set; }

private:
    bool m_set = false;
};

} // namespace

// Checks the two ways a German locale breaks numbers: with setlocale alone the writer still
// writes a point that the reader no longer takes; with the C++ global locale as well, a large
// number is written with a thousands separator that the reader does not take either. The
// character type alone leaves numbers as they are.
TEST(ReadmeBehaviour, NumbersFollowTheProcessLocale)
{
    struct Row {
        ScopedLocale::Scope scope;
        double value;
        const wchar_t* stored;
        int parsed; // characters the reader takes; 0: the whole text converts
    };
    const Row rows[] = {
        {ScopedLocale::CTypeOnly, 3.25, L"3.25", 0},
        {ScopedLocale::COnly, 3.25, L"3.25", 1},
        {ScopedLocale::CAndCxx, 3.25, L"3,25", 0},
        {ScopedLocale::CAndCxx, 1234.5, L"1.234,5", 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(Narrow(row.stored));
        ScopedLocale german("de_DE.UTF-8", row.scope);
        if (!german.IsSet())
            GTEST_SKIP() << "no de_DE.UTF-8 locale on this machine";
        auto writer = OpenWriter(kBaseLocation);
        writer->DeleteParameter(L"Ratio");
        writer->SetDouble(L"Ratio", row.value);
        EXPECT_EQ(ReadRaw(kBase, L"Ratio"), RawText(row.stored));
        auto reader = OpenReader(kBaseLocation);
        if (row.parsed == 0)
            EXPECT_EQ(reader->GetDouble(L"Ratio"), row.value);
        else
            ExpectFailure<InvalidTypeException>([&] { reader->GetDouble(L"Ratio"); },
                                                PartialParseText(row.parsed, row.stored));
    }
}

TEST(ReadmeBehaviour, SchemeWordFoldsUnderTheProcessLocale)
{
    ScopedKey key(kBase, HKEY_CURRENT_USER);
    ScopedLocale turkish("tr_TR.UTF-8", ScopedLocale::COnly);
    if (!turkish.IsSet())
        GTEST_SKIP() << "no tr_TR.UTF-8 locale on this machine";
    // A Turkish capital I folds to a dotless i, so "REGISTRY" is no longer "registry".
    ExpectFailure<UnknownConfigurationException>([] { OpenReader(L"REGISTRY:HKCU\\" + kBase); }, nullptr);
    EXPECT_EQ(OpenReader(L"registry:HKCU\\" + kBase)->GetDatasetPath(), L"HKCU\\" + kBase);
}

// Checks that names in the store match without regard to case beyond ASCII even in the "C"
// locale, while the library's own comparison of sub-dataset names, the runtime's, folds what the
// locale folds: A to Z alone in the "C" locale, every paired letter in a UTF-8 locale.
TEST(ReadmeBehaviour, StoreNamesMatchTheSameInEveryLocaleTheRuntimesComparisonDoesNot)
{
    ScopedLocale classic("C", ScopedLocale::COnly);
    auto writer = OpenWriter(kBaseLocation);
    writer->SetString(L"\u00E4rger", L"found");
    writer->CreateSubDataset(L"\u00DCbung");
    auto reader = OpenReader(kBaseLocation);
    EXPECT_EQ(reader->GetString(L"\u00C4RGER"), L"found");
    EXPECT_TRUE(reader->HasSubDataset(L"\u00DCBUNG"));
    EXPECT_FALSE(reader->HasSubDataset(L"\u00FCBUNG"));
    EXPECT_THROW(reader->GetSubDataset(L"\u00FCbung"), ConfigurationNotFoundException);

    ScopedLocale utf8("C.UTF-8", ScopedLocale::CTypeOnly);
    if (!utf8.IsSet())
        GTEST_SKIP() << "no C.UTF-8 locale on this machine";
    EXPECT_TRUE(reader->HasSubDataset(L"\u00FCBUNG"));
    EXPECT_EQ(reader->GetSubDataset(L"\u00FCbung")->GetDatasetName(), L"\u00DCbung");
}

// Checks that a text longer than the read buffer is stored, but neither read back nor replaced
// by a Set, which reads before it writes; only its deletion frees the name.
TEST(ReadmeBehaviour, TextBeyondTheReadBufferIsWrittenButNotRead)
{
    auto writer = OpenWriter(kBaseLocation);
    writer->SetString(L"Long", std::wstring(20000, L'x'));
    writer->SetString(L"Longest", std::wstring(16299, L'y'));
    auto reader = OpenReader(kBaseLocation);
    EXPECT_EQ(reader->GetString(L"Longest").size(), 16299u);
    ExpectFailure<UnknownConfigurationException>([&] { reader->GetStringOr(L"Long", L"default"); },
                                                 TooLargeText(L"Long"));
    const std::wstring writerText = L"Failed to read value 'Long' from registry key '" + kBaseLocation +
                                    L"'. Supplied buffer too small.";
    ExpectFailure<UnknownPersistentDataException>([&] { writer->SetString(L"Long", L"short"); }, writerText);
    writer->DeleteParameter(L"Long");
    writer->SetString(L"Long", L"short");
    EXPECT_EQ(reader->GetString(L"Long"), L"short");
}

TEST(ReadmeBehaviour, EmptySubNameRemovesTheObjectsOwnKey)
{
    const std::wstring child = kBase + L"\\Child";
    ScopedKey(child + L"\\Grandchild").SetText(L"Value", L"x");
    OpenWriter(kBaseLocation + L"\\Child")->DeleteSubDataset(L"");
    EXPECT_FALSE(KeyExists(child));
    EXPECT_TRUE(KeyExists(kBase));

    ScopedKey(child + L"\\Grandchild").SetText(L"Value", L"x");
    PersistRegistry persist((kBaseLocation + L"\\Child").c_str(), ReadWrite);
    ExpectFailure<PersistencyFailed>([&] { persist.Remove(L"", false); }, L"Removal of key '' failed");
    EXPECT_TRUE(KeyExists(child));
    persist.Remove(L"", true);
    EXPECT_FALSE(KeyExists(child));
    EXPECT_TRUE(KeyExists(kBase));
}

TEST(ReadmeBehaviour, NamesEndAtAnEmbeddedNul)
{
    const std::wstring key = kBase + L"\\Nul";
    auto writer = OpenWriter(L"HKLM\\" + key);
    writer->SetInt(std::wstring(L"ab\0cd", 5), 7);
    writer->SetString(L"Text", std::wstring(L"x\0y", 3));
    EXPECT_EQ(writer->GetParameterNames(), (std::vector<std::wstring>{L"ab", L"Text"}));
    EXPECT_EQ(OpenReader(L"HKLM\\" + key)->GetInt(std::wstring(L"ab\0zz", 5)), 7);
    EXPECT_EQ(ReadRaw(key, L"Text"), RawText(L"x"));
    writer->CreateSubDataset(std::wstring(L"Sub\0Ignored", 11));
    EXPECT_EQ(writer->GetSubDatasetNames(), std::vector<std::wstring>{L"Sub"});
}

// The writer's frame: the factory, a writer on a missing location and on a key that it may read
// but not write, sub datasets created, deleted and walked, and the dataset name.

#include <functional>

#include "writer/WriterTestSupport.h"

using namespace TesselTest;
using Tessel::IPersistentDataWriter;

namespace {

const std::wstring kMissing = kBase + L"\\Deep\\Missing";
const std::wstring kMissingLocation = L"HKLM\\" + kMissing;

} // namespace

TEST(WriterFactory, RefusesOtherSchemesAndUnknownRootsWithoutText)
{
    for (const std::wstring name : {L"xml:HKLM\\Software", L"database:HKLM\\Software", L":HKLM\\Software",
                                    L"C:\\temp", L"hklm\\Software", L"registry:HKPD\\x"}) {
        SCOPED_TRACE(Narrow(name));
        ExpectFailure<Tessel::UnknownPersistentDataException>([&] { OpenWriter(name); }, nullptr);
    }
    EXPECT_EQ(OpenWriter(L" Registry :" + kMissingLocation)->GetDatasetPath(), kMissingLocation);
}

// Checks that a writer on a location that does not exist reads as an empty dataset, that reading
// creates nothing, and that the first modifying operation creates the dataset and its parents.
TEST(RegistryDataWriter, MissingLocationReadsAsEmptyUntilTheFirstModifyingOperation)
{
    const auto writer = OpenWriter(kMissingLocation);
    ExpectFailure<Tessel::PersistentDataParameterNotFoundException>([&] { writer->GetInt(L"p"); },
                                                                    NotFoundText(L"p", kMissingLocation));
    EXPECT_EQ(writer->GetIntOr(L"p", 5), 5);
    EXPECT_TRUE(writer->GetParameterNames().empty());
    EXPECT_TRUE(writer->GetSubDatasets().empty());
    EXPECT_FALSE(writer->HasSubDataset(L"x"));
    EXPECT_FALSE(KeyExists(kMissing));

    const std::pair<const char*, std::function<void(IPersistentDataWriter&)>> operations[] = {
        {"SetInt", [](IPersistentDataWriter& w) { w.SetInt(L"p", 1); }},
        {"DeleteParameter", [](IPersistentDataWriter& w) { w.DeleteParameter(L"p"); }},
        {"DeleteSubDataset", [](IPersistentDataWriter& w) { w.DeleteSubDataset(L"s"); }},
    };
    int round = 0;
    for (const auto& [label, operation] : operations) {
        SCOPED_TRACE(label);
        const std::wstring subKey = kMissing + std::to_wstring(++round) + L"\\Leaf";
        operation(*OpenWriter(L"HKLM\\" + subKey));
        EXPECT_TRUE(KeyExists(subKey));
    }
}

// Checks a key whose grant allows reading only: reads work until the first write is refused,
// every write is refused, and afterwards the writer has lost its key.
TEST(RegistryDataWriter, ReadOnlyKeyRefusesWritesAndThenReadsNothing)
{
    const std::wstring subKey = kBase + L"\\Read%sOnly";
    {
        const ScopedKey key(subKey);
        key.SetText(L"p", L"12");
        ASSERT_EQ(TesselRegSetKeyAccess(key.Get(), KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS), ERROR_SUCCESS);
    }
    const auto writer = OpenWriter(L"HKLM\\" + subKey);
    EXPECT_EQ(writer->GetInt(L"p"), 12);
    for (int attempt = 0; attempt < 2; ++attempt) {
        SCOPED_TRACE(attempt);
        ExpectFailure<Tessel::PersistentDataNotFoundException>([&] { writer->SetInt(L"p", 13); },
                                                               L"Cannot open " + subKey);
    }
    EXPECT_EQ(ReadRaw(subKey, L"p"), RawText(L"12"));
    EXPECT_EQ(writer->GetIntOr(L"p", -1), -1);
    EXPECT_TRUE(writer->GetParameterNames().empty());
}

TEST(RegistryDataWriter, SubDatasetTakesTheStoredSpellingAndOutlivesItsParent)
{
    const ScopedKey alpha(kBase + L"\\Alpha");
    std::shared_ptr<IPersistentDataWriter> fresh;
    for (const std::wstring& location : {kBaseLocation, kBaseLocation + L"\\"}) {
        SCOPED_TRACE(Narrow(location));
        const auto writer = OpenWriter(location);
        EXPECT_EQ(writer->GetSubDataset(L"alpha")->GetDatasetPath(), kBaseLocation + L"\\Alpha");
        fresh = writer->GetSubDataset(L"beta");
        EXPECT_EQ(fresh->GetDatasetPath(), kBaseLocation + L"\\beta");
    }
    EXPECT_FALSE(KeyExists(kBase + L"\\beta"));
    fresh->SetString(L"s", L"v");
    EXPECT_EQ(ReadRaw(kBase + L"\\beta", L"s"), RawText(L"v"));
}

TEST(RegistryDataWriter, SubDatasetsAreCreatedWalkedAndDeletedWithEverythingBelow)
{
    const auto writer = OpenWriter(kBaseLocation);
    writer->CreateSubDataset(L"b");
    writer->CreateSubDataset(L"a\\x\\y");
    writer->CreateSubDataset(L"a\\x\\y");
    writer->GetSubDataset(L"a")->GetSubDataset(L"x")->GetSubDataset(L"y")->SetInt(L"deep", 2);

    const auto subs = writer->GetSubDatasets();
    ASSERT_EQ(subs.size(), 2u);
    EXPECT_EQ(subs[0]->GetDatasetPath(), kBaseLocation + L"\\a");
    EXPECT_EQ(subs[1]->GetDatasetPath(), kBaseLocation + L"\\b");
    EXPECT_TRUE(writer->HasSubDataset(L"A"));
    EXPECT_FALSE(writer->HasSubDataset(L"a\\x"));

    writer->DeleteSubDataset(L"A");
    writer->DeleteSubDataset(L"A");
    EXPECT_FALSE(KeyExists(kBase + L"\\a"));
    EXPECT_EQ(writer->GetSubDatasetNames(), std::vector<std::wstring>{L"b"});
}

// Checks that a deletion stopped part-way is reported under the sub dataset's name and keeps
// what it had deleted before.
TEST(RegistryDataWriter, DeleteSubDatasetStoppedPartWayKeepsItsProgress)
{
    const ScopedKey first(kBase + L"\\tree\\a1");
    const ScopedKey second(kBase + L"\\tree\\b2");
    ASSERT_EQ(TesselRegSetKeyAccess(second.Get(), KEY_READ), ERROR_SUCCESS);
    ExpectFailure<Tessel::UnknownPersistentDataException>(
        [] { OpenWriter(kBaseLocation)->DeleteSubDataset(L"tree"); },
        L"Unknown error occurs on access value 'tree' in registry key '" + kBaseLocation + L"'");
    EXPECT_FALSE(KeyExists(kBase + L"\\tree\\a1"));
    EXPECT_TRUE(KeyExists(kBase + L"\\tree\\b2"));
}

TEST(RegistryDataWriter, LocationWithoutBackslashCreatesSubDatasetsButOpensNone)
{
    const auto writer = OpenWriter(L"TesselBareKey");
    writer->CreateSubDataset(L"child");
    EXPECT_TRUE(writer->HasSubDataset(L"CHILD"));
    ExpectFailure<Tessel::UnknownPersistentDataException>([&] { writer->GetSubDataset(L"child"); }, nullptr);
    ExpectFailure<Tessel::UnknownPersistentDataException>([&] { writer->GetSubDatasets(); }, nullptr);
    writer->DeleteSubDataset(L"child");
    EXPECT_FALSE(KeyExists(L"TesselBareKey\\child"));
}

TEST(RegistryDataWriter, DatasetNameFollowsTheUserdataRuleWhereTheReaderDoesNot)
{
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"Software\\Kavor\\Tessel\\Alpha", L"Alpha"},
        {L"Software\\Kavor\\Tessel\\Alpha\\", L"Alpha"},
        {L"Alpha", L"Alpha"},
        {L"", L""},
        {L"Software\\UserData\\Alpha\\System", L"Alpha"},
        {L"Software\\USERDATA\\Alpha\\system\\", L"Alpha"},
        {L"UserData\\Alpha\\System", L"System"},
        {L"Software\\Other\\Alpha\\System", L"System"},
        {L"\\Alpha\\System", L"System"},
    };
    for (const auto& [subKey, name] : cases) {
        SCOPED_TRACE(Narrow(subKey));
        EXPECT_EQ(OpenWriter(L"HKLM\\" + std::wstring(subKey))->GetDatasetName(), name);
    }
    const ScopedKey key(kBase + L"\\userdata\\X\\system");
    EXPECT_EQ(OpenReader(kBaseLocation + L"\\userdata\\X\\system")->GetDatasetName(), L"system");
}

// Tree copy: the whole tree or one level, merge and overwrite at every level, breadth-first order
// seen through a failure part-way, and the three wrapped failure texts.

#include "Tessel/CopyRegistryTree.h"
#include "writer/WriterTestSupport.h"

using namespace TesselTest;

namespace {

const std::wstring kSource = kBase + L"\\Src";
const std::wstring kTarget = kBase + L"\\Dst";
const std::wstring kSourceLocation = L"HKLM\\" + kSource;
const std::wstring kTargetLocation = L"HKLM\\" + kTarget;

// Src: p=0; A: p=1 with A1: p=11 and A1x: p=111; B: p=2.
void BuildSource()
{
    ScopedKey(kSource).SetText(L"p", L"0");
    ScopedKey(kSource + L"\\A").SetText(L"p", L"1");
    ScopedKey(kSource + L"\\A\\A1").SetText(L"p", L"11");
    ScopedKey(kSource + L"\\A\\A1\\A1x").SetText(L"p", L"111");
    ScopedKey(kSource + L"\\B").SetText(L"p", L"2");
}

void Copy(bool recursive, bool overwrite)
{
    Tessel::CopyRegistryTree(*OpenReader(kSourceLocation), *OpenWriter(kTargetLocation), recursive, overwrite);
}

std::wstring OuterText(const std::wstring& inner, const std::wstring& source = kSourceLocation,
                      const std::wstring& target = kTargetLocation)
{
    return L"'Tessel::CopyRegistryTree': Errors found during copy from '" + source + L"' to '" + target +
           L"'. Message ='" + inner + L"'";
}

} // namespace

TEST(CopyRegistryTree, CopiesTheWholeTreeIntoATargetThatDoesNotExist)
{
    BuildSource();
    Copy(true, false);
    for (const wchar_t* relative : {L"", L"\\A", L"\\A\\A1", L"\\A\\A1\\A1x", L"\\B"}) {
        SCOPED_TRACE(Narrow(relative));
        EXPECT_EQ(ReadRaw(kTarget + relative, L"p"), ReadRaw(kSource + relative, L"p"));
    }
}

TEST(CopyRegistryTree, OneLevelCreatesDirectSubDatasetsEmpty)
{
    BuildSource();
    Copy(false, false);
    EXPECT_EQ(ReadRaw(kTarget, L"p"), RawText(L"0"));
    EXPECT_TRUE(KeyExists(kTarget + L"\\A"));
    EXPECT_TRUE(KeyExists(kTarget + L"\\B"));
    EXPECT_TRUE(ValueNames(kTarget + L"\\A").empty());
    EXPECT_FALSE(KeyExists(kTarget + L"\\A\\A1"));
}

TEST(CopyRegistryTree, MergesAtEveryLevelAndOverwritesOnlyWhenAsked)
{
    BuildSource();
    for (const bool overwrite : {false, true}) {
        SCOPED_TRACE(overwrite);
        {
            ScopedKey(kTarget).SetText(L"p", L"t0");
            const ScopedKey deep(kTarget + L"\\A\\A1");
            deep.SetText(L"p", L"t11");
            deep.SetText(L"own", L"kept");
        }
        Copy(true, overwrite);
        EXPECT_EQ(ReadRaw(kTarget, L"p"), RawText(overwrite ? L"0" : L"t0"));
        EXPECT_EQ(ReadRaw(kTarget + L"\\A\\A1", L"p"), RawText(overwrite ? L"11" : L"t11"));
        EXPECT_EQ(ReadRaw(kTarget + L"\\A\\A1", L"own"), RawText(L"kept"));
    }
}

// Checks the breadth-first order and the parameter guard together: the copy fails at B, the
// third dataset. By then the root and A have their parameters and A1 exists in the target, but
// A1, one level deeper than B, has not been touched yet.
TEST(CopyRegistryTree, FailureAtTheThirdDatasetLeavesTheFirstTwoCopied)
{
    BuildSource();
    ScopedKey(kSource + L"\\B").SetRaw(L"huge", REG_BINARY, std::vector<BYTE>(0x200001, 1));
    const std::wstring inner = L"Failed to copy parameters from reader '" + kSourceLocation + L"\\B' to writer '" +
                               kTargetLocation + L"\\B'. Message = 'Failed to copy value 'huge'. Message = " +
                               L"'More data is available.\r\n''.";
    ExpectFailure<Tessel::Unexpected>([] { Copy(true, false); }, OuterText(inner));
    EXPECT_EQ(ReadRaw(kTarget, L"p"), RawText(L"0"));
    EXPECT_EQ(ReadRaw(kTarget + L"\\A", L"p"), RawText(L"1"));
    EXPECT_TRUE(KeyExists(kTarget + L"\\A\\A1"));
    EXPECT_TRUE(ValueNames(kTarget + L"\\A\\A1").empty());
}

TEST(CopyRegistryTree, SubDatasetThatCannotBeCreatedIsWrappedTwice)
{
    BuildSource();
    {
        const ScopedKey locked(kTarget + L"\\A");
        ASSERT_EQ(TesselRegSetKeyAccess(locked.Get(), KEY_READ), ERROR_SUCCESS);
    }
    const std::wstring inner = L"Failed to copy sub dataset 'A' from reader '" + kSourceLocation +
                               L"\\A'. Message ='Unknown error occurs on access value 'A' in registry key '" +
                               kTargetLocation + L"''";
    ExpectFailure<Tessel::Unexpected>([] { Copy(true, false); }, OuterText(inner));
    EXPECT_EQ(ReadRaw(kTarget, L"p"), RawText(L"0"));
    EXPECT_FALSE(KeyExists(kTarget + L"\\B"));
}

TEST(CopyRegistryTree, SourceThatCannotBeOpenedLeavesTheTargetUntouched)
{
    const auto reader = ReaderOfDeletedKey(kSource);
    ExpectFailure<Tessel::Unexpected>(
        [&] { Tessel::CopyRegistryTree(*reader, *OpenWriter(kTargetLocation), true, true); }, OuterText(kSource));
    EXPECT_FALSE(KeyExists(kTarget));

    // When the target's location is refused as well, the source's failure is the one reported.
    const std::wstring colonTarget = kTargetLocation + L"\\a:b";
    ExpectFailure<Tessel::Unexpected>(
        [&] { Tessel::CopyRegistryTree(*reader, *OpenWriter(L"registry:" + colonTarget), true, true); },
        OuterText(kSource, kSourceLocation, colonTarget));
}

// A location is handed to the factories as a data-source name, so a colon in it splits off a
// scheme word that they refuse without a text.
TEST(CopyRegistryTree, ColonInALocationIsRefusedByTheFactory)
{
    const std::wstring colonKey = kBase + L"\\a:b";
    const ScopedKey key(colonKey);
    const std::wstring location = L"HKLM\\" + colonKey;
    ExpectFailure<Tessel::Unexpected>(
        [&] {
            Tessel::CopyRegistryTree(*OpenReader(L"registry:" + location), *OpenWriter(kTargetLocation), true, false);
        },
        OuterText(L"", location));
    EXPECT_FALSE(KeyExists(kTarget));
}

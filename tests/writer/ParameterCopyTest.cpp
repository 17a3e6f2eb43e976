// Parameter copy: every registry type and size byte for byte, the merge and overwrite rules, a
// source that does not exist, and the texts of a failed copy.

#include "writer/WriterTestSupport.h"

using namespace TesselTest;

namespace {

const std::wstring kSource = kBase + L"\\Source";
const std::wstring kTarget = kBase + L"\\Target";

std::vector<BYTE> Pattern(size_t size)
{
    std::vector<BYTE> bytes(size);
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<BYTE>(i * 7 + 3);
    return bytes;
}

void CopyInto(const std::wstring& target, const std::wstring& source, bool overwrite)
{
    OpenWriter(L"HKLM\\" + target)->CopyParameters(*OpenReader(L"HKLM\\" + source), overwrite);
}

} // namespace

TEST(CopyParameters, CopiesEveryTypeAndSizeByteForByte)
{
    const std::pair<const wchar_t*, RawValue> values[] = {
        {L"", RawText(L"default")},
        {L"big", RawValue{REG_BINARY, Pattern(1024 * 1024)}},
        {L"expand", RawValue{REG_EXPAND_SZ, Utf16Bytes(L"%TEMP%\\x")}},
        {L"empty", RawValue{REG_BINARY, {}}},
        {L"dword", RawValue{REG_DWORD, DwordBytes(0xCAFEF00D)}},
        {L"qword", RawValue{REG_QWORD, Pattern(8)}},
        {L"multi", RawValue{REG_MULTI_SZ, Utf16Bytes(std::wstring(L"a\0b\0\0", 5), false)}},
        {L"unterminated", RawValue{REG_SZ, Utf16Bytes(L"xy", false)}},
        {L"medium", RawValue{REG_BINARY, Pattern(40000)}},
    };
    {
        const ScopedKey source(kSource);
        for (const auto& [name, value] : values)
            source.SetRaw(name, value.type, value.bytes);
        const ScopedKey sub(kSource + L"\\Sub");
    }
    CopyInto(kTarget, kSource, false);
    for (const auto& [name, value] : values) {
        SCOPED_TRACE(Narrow(name));
        EXPECT_EQ(ReadRaw(kTarget, name), value);
    }
    EXPECT_EQ(ValueNames(kTarget), ValueNames(kSource));
    EXPECT_FALSE(KeyExists(kTarget + L"\\Sub"));
}

TEST(CopyParameters, MergesAndOverwritesOnlyWhenAsked)
{
    {
        const ScopedKey source(kSource);
        source.SetDword(L"shared", 7);
        source.SetText(L"new", L"n");
    }
    for (const bool overwrite : {false, true}) {
        SCOPED_TRACE(overwrite);
        {
            const ScopedKey target(kTarget);
            target.SetText(L"shared", L"old");
            target.SetText(L"own", L"mine");
        }
        CopyInto(kTarget, kSource, overwrite);
        EXPECT_EQ(ReadRaw(kTarget, L"shared"), (overwrite ? RawValue{REG_DWORD, DwordBytes(7)} : RawText(L"old")));
        EXPECT_EQ(ReadRaw(kTarget, L"new"), RawText(L"n"));
        EXPECT_EQ(ReadRaw(kTarget, L"own"), RawText(L"mine"));
    }
    CopyInto(kSource, kSource, true);
    EXPECT_EQ(ReadRaw(kSource, L"shared"), (RawValue{REG_DWORD, DwordBytes(7)}));
}

TEST(CopyParameters, MissingSourceCopiesNothingButCreatesTheTarget)
{
    OpenWriter(L"HKLM\\" + kTarget)->CopyParameters(*ReaderOfDeletedKey(kSource), true);
    EXPECT_TRUE(KeyExists(kTarget));
    EXPECT_TRUE(ValueNames(kTarget).empty());
}

// Checks both failure texts with the system's text of the status, line end included, and that
// parameters before the failure stay copied. A value over the transfer buffer can't be carried;
// in the target, a value that large still counts as present.
TEST(CopyParameters, FailedCopyNamesTheValueAndTheSystemText)
{
    {
        const ScopedKey source(kSource);
        source.SetText(L"first", L"1");
        source.SetRaw(L"huge%s", REG_BINARY, Pattern(0x200001));
        source.SetText(L"last", L"3");
    }
    const std::wstring moreData = L"More data is available.\r\n";
    ExpectFailure<Tessel::Unexpected>([] { CopyInto(kTarget, kSource, false); },
                                      L"Failed to copy value 'huge%s'. Message = '" + moreData + L"'");
    EXPECT_EQ(ReadRaw(kTarget, L"first"), RawText(L"1"));
    EXPECT_FALSE(ReadRaw(kTarget, L"last").has_value());

    ScopedKey(kTarget).SetText(L"huge%s", L"small");
    ExpectFailure<Tessel::Unexpected>([] { CopyInto(kTarget, kSource, true); },
                                      L"Failed to overwrite value 'huge%s'. Message = '" + moreData + L"'");
    EXPECT_EQ(ReadRaw(kTarget, L"huge%s"), RawText(L"small"));

    CopyInto(kSource, kTarget, false);
    EXPECT_EQ(ReadRaw(kSource, L"huge%s")->bytes.size(), 0x200001u);
}

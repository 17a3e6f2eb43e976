// Each status of the store turned into a value, a default or the exact exception, the limits of
// the fixed buffers, and a reader that stays usable after every failure.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "ConfigTestSupport.h"

using namespace Tessel;
using namespace TesselTest;

namespace {

std::wstring NotFound(const std::wstring& name)
{
    return L"Parameter '" + name + L"' not found in registry key '" + kBaseLocation + L"'.";
}

std::wstring WrongType(const std::wstring& name)
{
    return L"Datatype of value '" + name + L"' in registry key '" + kBaseLocation +
           L"' differs from expected datatype.";
}

std::wstring TooLarge(const std::wstring& name)
{
    return L"Failed to read value '" + name + L"' from registry key '" + kBaseLocation +
           L"'. Supplied buffer too small.";
}

std::wstring UnknownError(const std::wstring& name)
{
    return L"Unknown error occurs on access value '" + name + L"' in registry key '" + kBaseLocation + L"'";
}

class ValueStatus : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_key.SetText(L"Text", L"hello");
        m_key.SetDword(L"Number", 7);
        m_reader = OpenReader(kBaseLocation);
    }

    // After any failure the same reader still reads.
    void ExpectStillUsable() const
    {
        EXPECT_EQ(m_reader->GetString(L"Text"), L"hello");
        EXPECT_EQ(m_reader->GetUInt(L"Number"), 7u);
    }

    ScopedKey m_key = TestKey();
    std::shared_ptr<IConfigReader> m_reader;
};

} // namespace

TEST_F(ValueStatus, ReadsTextAndNumbers)
{
    EXPECT_EQ(m_reader->GetString(L"TEXT"), L"hello"); // names match without regard to case
    EXPECT_EQ(m_reader->GetUInt(L"number"), 7u);
    m_key.SetDword(L"Max", 0xFFFFFFFFu);
    EXPECT_EQ(m_reader->GetUIntOr(L"Max", 1), 0xFFFFFFFFu);
    EXPECT_EQ(m_reader->GetStringOr(L"Text", L"default"), L"hello");
}

TEST_F(ValueStatus, NoCacheSeesChangesAtTheNextRead)
{
    EXPECT_EQ(m_reader->GetString(L"Text"), L"hello");
    m_key.SetText(L"Text", L"changed");
    EXPECT_EQ(m_reader->GetString(L"Text"), L"changed");
}

TEST_F(ValueStatus, MissingParameterRaisesOrKeepsTheDefault)
{
    ExpectFailure<ParameterNotFoundException>([&] { m_reader->GetString(L"Missing"); }, NotFound(L"Missing"));
    ExpectFailure<ParameterNotFoundException>([&] { m_reader->GetUInt(L"Missing"); }, NotFound(L"Missing"));
    EXPECT_EQ(m_reader->GetStringOr(L"Missing", L"fallback"), L"fallback");
    EXPECT_EQ(m_reader->GetUIntOr(L"Missing", 99), 99u);
    // The unnamed default value is a parameter like any other; this key has none.
    ExpectFailure<ParameterNotFoundException>([&] { m_reader->GetString(L""); }, NotFound(L""));
    m_key.SetText(L"", L"unnamed");
    EXPECT_EQ(m_reader->GetString(L""), L"unnamed");
    ExpectStillUsable();
}

TEST_F(ValueStatus, WrongStoredTypeFailsInBothFlavours)
{
    m_key.SetRaw(L"Binary", REG_BINARY, {1, 2, 3, 4});
    m_key.SetRaw(L"Expand", REG_EXPAND_SZ, Utf16Bytes(L"x"));
    m_key.SetMultiText(L"Multi", {L"a"});
    const std::vector<std::pair<const wchar_t*, std::function<void()>>> reads = {
        {L"Number", [&] { m_reader->GetString(L"Number"); }},
        {L"Number", [&] { m_reader->GetStringOr(L"Number", L"d"); }},
        {L"Expand", [&] { m_reader->GetString(L"Expand"); }},
        {L"Binary", [&] { m_reader->GetString(L"Binary"); }},
        {L"Multi", [&] { m_reader->GetString(L"Multi"); }},
        {L"Binary", [&] { m_reader->GetUInt(L"Binary"); }},
        {L"Binary", [&] { m_reader->GetUIntOr(L"Binary", 1); }},
        {L"Expand", [&] { m_reader->GetUInt(L"Expand"); }},
    };
    for (const auto& [name, read] : reads) {
        SCOPED_TRACE(Narrow(name));
        ExpectFailure<InvalidTypeException>(read, WrongType(name));
    }
    ExpectStillUsable();
}

// Checks the 32,600-byte buffer of text reads: 16,299 characters and the terminator fit.
TEST_F(ValueStatus, TextFitsUpToTheValueCapacity)
{
    const std::wstring longest(16299, L'x');
    m_key.SetText(L"Longest", longest);
    EXPECT_EQ(m_reader->GetString(L"Longest"), longest);

    m_key.SetText(L"TooLong", longest + L"x");
    ExpectFailure<UnknownConfigurationException>([&] { m_reader->GetString(L"TooLong"); }, TooLarge(L"TooLong"));
    // A default never hides an oversized value.
    ExpectFailure<UnknownConfigurationException>([&] { m_reader->GetStringOr(L"TooLong", L"d"); },
                                                 TooLarge(L"TooLong"));
    // Oversize wins over the wrong type: the store reports the size first.
    m_key.SetRaw(L"BigBinary", REG_BINARY, std::vector<BYTE>(32601, 1));
    ExpectFailure<UnknownConfigurationException>([&] { m_reader->GetString(L"BigBinary"); }, TooLarge(L"BigBinary"));
    ExpectStillUsable();
}

// Checks the 8 bytes offered to number reads: small values of another type have the wrong type,
// larger ones are too large, whatever their type.
TEST_F(ValueStatus, NumberReadsOfferEightBytes)
{
    m_key.SetText(L"Short", L"12");    // 6 bytes
    m_key.SetText(L"Eight", L"123");   // 8 bytes
    m_key.SetText(L"Long", L"12345");  // 12 bytes
    m_key.SetRaw(L"Qword", REG_QWORD, std::vector<BYTE>(8, 0));
    m_key.SetRaw(L"Nine", REG_BINARY, std::vector<BYTE>(9, 0));
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetUInt(L"Short"); }, WrongType(L"Short"));
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetUInt(L"Eight"); }, WrongType(L"Eight"));
    ExpectFailure<InvalidTypeException>([&] { m_reader->GetUInt(L"Qword"); }, WrongType(L"Qword"));
    ExpectFailure<UnknownConfigurationException>([&] { m_reader->GetUInt(L"Long"); }, TooLarge(L"Long"));
    ExpectFailure<UnknownConfigurationException>([&] { m_reader->GetUIntOr(L"Nine", 3); }, TooLarge(L"Nine"));
    ExpectStillUsable();
}

TEST_F(ValueStatus, TextEndsAtItsFirstNulOrItsData)
{
    std::vector<BYTE> embedded = Utf16Bytes(L"ab");
    const std::vector<BYTE> tail = Utf16Bytes(L"cd");
    embedded.insert(embedded.end(), tail.begin(), tail.end());
    m_key.SetRaw(L"Embedded", REG_SZ, embedded);
    m_key.SetRaw(L"Unterminated", REG_SZ, Utf16Bytes(L"xyz", false));
    m_key.SetRaw(L"Empty", REG_SZ, {});
    m_key.SetRaw(L"Surrogates", REG_SZ, Utf16Bytes(L"\U0001F600\u00E4"));
    EXPECT_EQ(m_reader->GetString(L"Embedded"), L"ab");
    EXPECT_EQ(m_reader->GetString(L"Unterminated"), L"xyz");
    EXPECT_EQ(m_reader->GetStringOr(L"Empty", L"default"), L"");
    EXPECT_EQ(m_reader->GetString(L"Surrogates"), L"\U0001F600\u00E4");
}

// Checks that other statuses of the store take the general message, in both flavours.
TEST_F(ValueStatus, DeletedKeyGivesTheUnknownError)
{
    ASSERT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, kBase.c_str()), ERROR_SUCCESS);
    ExpectFailure<UnknownConfigurationException>([&] { m_reader->GetString(L"Text"); }, UnknownError(L"Text"));
    ExpectFailure<UnknownConfigurationException>([&] { m_reader->GetUIntOr(L"Number", 1); }, UnknownError(L"Number"));
    EXPECT_TRUE(m_reader->GetParameterNames().empty());
}

TEST_F(ValueStatus, PercentInNamesAndPathsIsLiteral)
{
    const std::wstring location = kBaseLocation + L"\\100%s";
    ScopedKey odd(HKEY_LOCAL_MACHINE, kBase + L"\\100%s");
    const auto reader = OpenReader(location);
    ExpectFailure<ParameterNotFoundException>(
        [&] { reader->GetString(L"%s%d%n"); },
        L"Parameter '%s%d%n' not found in registry key '" + location + L"'.");
}

TEST_F(ValueStatus, OverlongMessageKeepsItsFirst1023Characters)
{
    const std::wstring name(2000, L'n');
    try {
        m_reader->GetString(name);
        FAIL() << "no exception";
    } catch (const ParameterNotFoundException& failure) {
        EXPECT_EQ(std::wstring(failure.GetDescription()), NotFound(name).substr(0, 1023));
    }
}

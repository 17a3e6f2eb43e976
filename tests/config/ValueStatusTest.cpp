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

class ValueStatus : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_key.SetText(L"Text", L"hello");
        m_key.SetDword(L"Number", 7);
    }

    ScopedKey m_key{kBase};
    std::shared_ptr<IConfigReader> m_reader = OpenReader(kBaseLocation);
};

enum class Failure { ParameterNotFound, WrongType, TooLarge };

} // namespace

// Checks every failure of a fetch in both flavours: a default replaces only a missing parameter.
// Text reads offer 32,600 bytes (16,299 characters and the terminator), number reads 8 bytes.
TEST_F(ValueStatus, MapsEachStatusToItsClassAndText)
{
    m_key.SetRaw(L"Binary", REG_BINARY, {1, 2, 3, 4});
    m_key.SetRaw(L"Expand", REG_EXPAND_SZ, Utf16Bytes(L"x"));
    m_key.SetMultiText(L"Multi", {L"a"});
    m_key.SetText(L"Longest", std::wstring(16299, L'x'));
    m_key.SetText(L"TooLong", std::wstring(16300, L'x'));
    m_key.SetRaw(L"BigBinary", REG_BINARY, std::vector<BYTE>(32601, 1));
    m_key.SetText(L"Eight", L"123");   // 8 bytes with the terminator
    m_key.SetText(L"Twelve", L"12345"); // 12 bytes
    m_key.SetRaw(L"Qword", REG_QWORD, std::vector<BYTE>(8, 0));

    struct Row {
        const wchar_t* name;
        bool text; // GetString, else GetUInt
        Failure failure;
    };
    const Row rows[] = {
        {L"Missing", true, Failure::ParameterNotFound}, {L"Missing", false, Failure::ParameterNotFound},
        {L"Number", true, Failure::WrongType},          {L"Expand", true, Failure::WrongType},
        {L"Multi", true, Failure::WrongType},           {L"Binary", false, Failure::WrongType},
        {L"Eight", false, Failure::WrongType},          {L"Qword", false, Failure::WrongType},
        {L"TooLong", true, Failure::TooLarge},          {L"BigBinary", true, Failure::TooLarge},
        {L"Twelve", false, Failure::TooLarge},          {L"%s%d%n", true, Failure::ParameterNotFound},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(Narrow(row.name) + (row.text ? " as text" : " as number"));
        const std::wstring name = row.name;
        const std::function<void()> required = [&] {
            row.text ? void(m_reader->GetString(name)) : void(m_reader->GetUInt(name));
        };
        const std::function<void()> optional = [&] {
            row.text ? void(m_reader->GetStringOr(name, L"d")) : void(m_reader->GetUIntOr(name, 1));
        };
        switch (row.failure) {
        case Failure::ParameterNotFound:
            ExpectFailure<ParameterNotFoundException>(required, NotFoundText(name));
            EXPECT_NO_THROW(optional());
            break;
        case Failure::WrongType:
            ExpectFailure<InvalidTypeException>(required, WrongTypeText(name));
            ExpectFailure<InvalidTypeException>(optional, WrongTypeText(name));
            break;
        case Failure::TooLarge:
            ExpectFailure<UnknownConfigurationException>(required, TooLargeText(name));
            ExpectFailure<UnknownConfigurationException>(optional, TooLargeText(name));
            break;
        }
        EXPECT_EQ(m_reader->GetString(L"Text"), L"hello");
    }
    EXPECT_EQ(m_reader->GetString(L"Longest").size(), 16299u);
    EXPECT_EQ(m_reader->GetUIntOr(L"NUMBER", 1), 7u); // the store ignores the case of names
}

TEST_F(ValueStatus, TextEndsAtItsFirstNulOrItsDataAndADeletedKeyGivesTheUnknownError)
{
    std::vector<BYTE> embedded = Utf16Bytes(L"ab");
    const std::vector<BYTE> tail = Utf16Bytes(L"cd");
    embedded.insert(embedded.end(), tail.begin(), tail.end());
    m_key.SetRaw(L"Embedded", REG_SZ, embedded);
    m_key.SetRaw(L"Unterminated", REG_SZ, Utf16Bytes(L"xyz", false));
    m_key.SetRaw(L"Empty", REG_SZ, {});
    m_key.SetText(L"", L"\u00E4%s"); // the empty name is the key's default value
    EXPECT_EQ(m_reader->GetString(L"Embedded"), L"ab");
    EXPECT_EQ(m_reader->GetString(L"Unterminated"), L"xyz");
    EXPECT_EQ(m_reader->GetStringOr(L"Empty", L"default"), L"");
    EXPECT_EQ(m_reader->GetString(L""), L"\u00E4%s");

    // Any other status of the store takes the general message, which no default hides.
    ASSERT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, kBase.c_str()), ERROR_SUCCESS);
    ExpectFailure<UnknownConfigurationException>(
        [&] { m_reader->GetUIntOr(L"Number", 1); },
        L"Unknown error occurs on access value 'Number' in registry key '" + kBaseLocation + L"'");
    EXPECT_TRUE(m_reader->GetParameterNames().empty());
}

// Tests of PersistBasic: path normalisation and the three parsers with their cursor movement,
// delimiters, 32-bit ranges and exact messages.

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "PersistTestSupport.h"
#include "Tessel/PersistBasic.h"

namespace {

class Probe : public Tessel::PersistBasic {
public:
    using PersistBasic::ParseBoolean;
    using PersistBasic::ParseValue;
    using PersistBasic::Setup;
};

TEST(PersistBasic, SetupEndsNonEmptyPathsInOneBackslashAndChangesNothingElse)
{
    const wchar_t* const cases[][2] = {
        {L"", L""},
        {L"HKLM\\Software", L"HKLM\\Software\\"},
        {L"hkcu\\X\\", L"hkcu\\X\\"},
        {L"a\\\\b", L"a\\\\b\\"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(::testing::Message() << "path " << std::wstring(row[0]));
        Probe probe;
        probe.Setup(row[0], static_cast<Tessel::StorageAccess>(7));
        EXPECT_STREQ(row[1], probe.GetPath());
        EXPECT_EQ(7, static_cast<int>(probe.GetAccess())) << "any value is kept";
    }
}

enum class Kind { Boolean, Signed, Unsigned, Double, Float };

// Checks that each parser accepts or refuses a text with the exact message, where the cursor
// ends up, and what reached `value` (which also changes on some failures).
TEST(PersistBasic, ParsersAcceptWholeFieldsOnly)
{
    const struct {
        Kind kind;
        const wchar_t* text;
        const wchar_t* delimiters;
        const wchar_t* error; // null: accepted; else the text behind "Storage item 'x' contains "
        double value;         // what the value holds afterwards; 99 means untouched
        size_t cursor;        // where the cursor stands afterwards
    } cases[] = {
        {Kind::Boolean, L" \t1  ", nullptr, nullptr, 1, 5},
        {Kind::Boolean, L"0,1", L",", nullptr, 0, 1},
        {Kind::Boolean, L"10", nullptr, L"illegal boolean value", 1, 1},
        {Kind::Boolean, L"  ", nullptr, L"invalid value for boolean, only '0' or '1' allowed", 99, 2},
        {Kind::Boolean, L"true", nullptr, L"invalid value for boolean, only '0' or '1' allowed", 99, 0},
        {Kind::Signed, L"-12", nullptr, nullptr, 4294967284.0, 3},
        {Kind::Signed, L"2147483648", nullptr, L"a signed long outside valid range", 2147483647.0, 0},
        {Kind::Signed, L" 12;", nullptr, L"illegal a signed value", 12, 1},
        {Kind::Signed, L"12  ;", L";", nullptr, 12, 4},
        {Kind::Unsigned, L"4294967295", nullptr, nullptr, 4294967295.0, 10},
        {Kind::Unsigned, L"4294967296", nullptr, L"an unsigned long outside valid range", 4294967295.0, 0},
        {Kind::Unsigned, L"-1", nullptr, nullptr, 4294967295.0, 2},
        {Kind::Unsigned, L"   ", nullptr, L"illegal an unsigned value", 0, 3},
        {Kind::Double, L"1e300", nullptr, nullptr, 1e300, 5},
        {Kind::Double, L"1e999", nullptr, L"a double outside valid range", HUGE_VAL, 0},
        {Kind::Double, L"", nullptr, L"illegal double value", 0, 0},
        {Kind::Double, L"2.5;", L";", nullptr, 2.5, 3},
        {Kind::Float, L"3.4028234663852886e+38", nullptr, nullptr, 3.4028234663852886e+38, 22},
        {Kind::Float, L"0", nullptr, L"a float outside valid range", 0, 0},
        {Kind::Float, L"-1.5", nullptr, L"a float outside valid range", -1.5, 0},
        // With nothing converted the value is 0, and the range check comes first.
        {Kind::Float, L"abc", nullptr, L"a float outside valid range", 0, 0},
        {Kind::Float, L"1.5x", nullptr, L"illegal float value", 1.5, 0},
    };
    const Probe probe;
    for (const auto& row : cases) {
        SCOPED_TRACE(::testing::Message() << "kind " << static_cast<int>(row.kind) << ", text '"
                                          << std::wstring(row.text) << "'");
        const wchar_t* cursor = row.text;
        bool flag = row.value != 1; // the opposite of a successful parse; true if it must stay
        ULONG number = 99;
        double real = 99;
        auto parse = [&] {
            switch (row.kind) {
            case Kind::Boolean:
                probe.ParseBoolean(L"x", cursor, flag, row.delimiters);
                break;
            case Kind::Signed:
            case Kind::Unsigned:
                probe.ParseValue(L"x", cursor, number, row.delimiters, row.kind == Kind::Signed);
                break;
            case Kind::Double:
            case Kind::Float:
                probe.ParseValue(L"x", cursor, real, row.delimiters, row.kind == Kind::Float);
                break;
            }
        };
        if (row.error == nullptr)
            parse();
        else
            PersistTest::ExpectRaises<Tessel::PersistencyInvalid>(
                parse, L"Storage item 'x' contains " + std::wstring(row.error));

        EXPECT_EQ(row.cursor, static_cast<size_t>(cursor - row.text));
        if (row.kind == Kind::Boolean)
            EXPECT_EQ(row.value == 1 || row.value == 99, flag);
        else if (row.kind == Kind::Signed || row.kind == Kind::Unsigned)
            EXPECT_EQ(row.value, static_cast<double>(number));
        else
            EXPECT_EQ(row.value, real);
    }
    // The float range check lets NaN through.
    const wchar_t* cursor = L"nan";
    double value = 0;
    probe.ParseValue(L"f", cursor, value, nullptr, true);
    EXPECT_TRUE(std::isnan(value));
}

} // namespace

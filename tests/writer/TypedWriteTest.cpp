// The typed writes: the bytes that each one stores, what the reader reads back, and the guard
// that refuses a write over a parameter of another type or with text that does not convert.

#include <functional>

#include "writer/WriterTestSupport.h"

using namespace TesselTest;
using Tessel::IPersistentDataWriter;

namespace {

using Write = std::function<void(IPersistentDataWriter&)>;

RawValue Multi(const std::wstring& block)
{
    return RawValue{REG_MULTI_SZ, Utf16Bytes(block, false)};
}

} // namespace

// Checks each Set against its stored form byte for byte, in a dataset that does not exist yet.
TEST(TypedWrites, StoreTheirFixedFormsByteForByte)
{
    const struct {
        const char* label;
        Write write;
        RawValue stored;
    } cases[] = {
        {"int minimum", [](auto& w) { w.SetInt(L"v", -2147483647 - 1); }, RawText(L"-2147483648")},
        {"int list", [](auto& w) { w.SetIntList(L"v", {1, -2, 3}); }, RawText(L"1,;-2,;3")},
        {"empty int list", [](auto& w) { w.SetIntList(L"v", {}); }, RawText(L"")},
        {"double 0.1 + 0.2", [](auto& w) { w.SetDouble(L"v", 0.1 + 0.2); }, RawText(L"0.3")},
        {"double 1/3", [](auto& w) { w.SetDouble(L"v", 1.0 / 3.0); }, RawText(L"0.333333333333333")},
        {"double 1e14", [](auto& w) { w.SetDouble(L"v", 1e14); }, RawText(L"100000000000000")},
        {"double 1e15", [](auto& w) { w.SetDouble(L"v", 1e15); }, RawText(L"1e+15")},
        {"double 1e-5", [](auto& w) { w.SetDouble(L"v", 1e-5); }, RawText(L"1e-05")},
        {"double list", [](auto& w) { w.SetDoubleList(L"v", {0.5, 0.0, -1e20}); }, RawText(L"0.5,;0,;-1e+20")},
        {"bool list", [](auto& w) { w.SetBoolList(L"v", {true, false}); }, RawText(L"yes,;no")},
        {"string", [](auto& w) { w.SetString(L"v", L"a %s, b; \u00e4"); }, RawText(L"a %s, b; \u00e4")},
        {"string up to a NUL", [](auto& w) { w.SetString(L"v", std::wstring(L"ab\0cd", 5)); }, RawText(L"ab")},
        {"empty string list", [](auto& w) { w.SetStringList(L"v", {}); }, Multi(std::wstring(1, L'\0'))},
        {"string list", [](auto& w) { w.SetStringList(L"v", {L"a", L"bc"}); }, Multi(std::wstring(L"a\0bc\0\0", 6))},
        {"string list cut at an empty item", [](auto& w) { w.SetStringList(L"v", {L"a", L"", L"b"}); },
         Multi(std::wstring(L"a\0\0", 3))},
        {"string list starting empty", [](auto& w) { w.SetStringList(L"v", {L"", L"a"}); },
         Multi(std::wstring(1, L'\0'))},
        {"uint", [](auto& w) { w.SetUInt(L"v", 0x12345678u); }, RawValue{REG_DWORD, {0x78, 0x56, 0x34, 0x12}}},
        {"uint list", [](auto& w) { w.SetUIntList(L"v", {0u, 4294967295u}); }, RawText(L"0,;4294967295")},
    };
    int round = 0;
    for (const auto& row : cases) {
        SCOPED_TRACE(row.label);
        const std::wstring subKey = kBase + L"\\Forms" + std::to_wstring(++round);
        row.write(*OpenWriter(L"HKLM\\" + subKey));
        EXPECT_EQ(ReadRaw(subKey, L"v"), row.stored);
    }
}

TEST(TypedWrites, ReadBackThroughTheReader)
{
    const auto writer = OpenWriter(kBaseLocation);
    writer->SetInt(L"int", -7);
    writer->SetDoubleList(L"doubles", {0.25, -4.0});
    writer->SetBool(L"bool", true);
    writer->SetStringList(L"strings", {L" a,b ", L"c;"});
    writer->SetUInt(L"uint", 4000000000u);
    writer->SetUIntList(L"uints", {7u, 4000000000u});

    const auto reader = OpenReader(kBaseLocation);
    EXPECT_EQ(reader->GetInt(L"int"), -7);
    EXPECT_EQ(reader->GetDoubleList(L"doubles"), (std::vector<double>{0.25, -4.0}));
    EXPECT_TRUE(reader->GetBool(L"bool"));
    EXPECT_EQ(reader->GetStringList(L"strings"), (std::vector<std::wstring>{L" a,b ", L"c;"}));
    EXPECT_EQ(reader->GetUInt(L"uint"), 4000000000u);
    EXPECT_EQ(reader->GetUIntList(L"uints"), (std::vector<unsigned int>{7u, 4000000000u}));
}

// Checks every guard's refusal: the exact class and text, and the stored value unchanged.
TEST(TypedWrites, GuardRefusesAndLeavesTheStoreUnchanged)
{
    const std::wstring typeText = WrongTypeText(L"v");
    const RawValue number{REG_DWORD, DwordBytes(3)};
    enum { InvalidType, Unknown };
    const struct {
        const char* label;
        RawValue present;
        Write write;
        int thrown;
        std::wstring text;
    } cases[] = {
        {"int over a partial number", RawText(L"12abc"), [](auto& w) { w.SetInt(L"v", 1); }, InvalidType,
         L"Cannot parse whole string. Only first 2 chars are processed. '12abc'"},
        {"int over a percent text", RawText(L"1%s"), [](auto& w) { w.SetInt(L"v", 1); }, InvalidType,
         L"Cannot parse whole string. Only first 1 chars are processed. '1%s'"},
        {"int over empty text", RawText(L""), [](auto& w) { w.SetInt(L"v", 1); }, InvalidType,
         L"invalid stoi argument"},
        {"int over a number", number, [](auto& w) { w.SetInt(L"v", 1); }, InvalidType, typeText},
        {"int list with a bad item", RawText(L"1,x"), [](auto& w) { w.SetIntList(L"v", {1}); }, InvalidType,
         L"invalid stoi argument"},
        {"double over a word", RawText(L"pi"), [](auto& w) { w.SetDouble(L"v", 1); }, InvalidType,
         L"invalid stod argument"},
        {"bool over a word", RawText(L"true"), [](auto& w) { w.SetBool(L"v", true); }, InvalidType,
         L"Could not convert true to bool"},
        {"string over a number", number, [](auto& w) { w.SetString(L"v", L"x"); }, InvalidType, typeText},
        {"string over a list", Multi(std::wstring(L"a\0\0", 3)), [](auto& w) { w.SetString(L"v", L"x"); },
         InvalidType, typeText},
        {"string list over text", RawText(L"a"), [](auto& w) { w.SetStringList(L"v", {L"x"}); }, InvalidType,
         typeText},
        {"uint over short text", RawText(L"12"), [](auto& w) { w.SetUInt(L"v", 1); }, InvalidType, typeText},
        {"uint over long text", RawText(L"12345"), [](auto& w) { w.SetUInt(L"v", 1); }, Unknown,
         TooLargeText(L"v")},
        {"uint list over a number", number, [](auto& w) { w.SetUIntList(L"v", {1}); }, InvalidType, typeText},
        {"uint list with an item out of range", RawText(L"4294967296"), [](auto& w) { w.SetUIntList(L"v", {1}); },
         InvalidType, L"stoul argument out of range"},
    };
    const ScopedKey key(kBase);
    for (const auto& row : cases) {
        SCOPED_TRACE(row.label);
        key.SetRaw(L"v", row.present.type, row.present.bytes);
        const auto writer = OpenWriter(kBaseLocation);
        if (row.thrown == InvalidType)
            ExpectFailure<Tessel::InvalidPersistentDataTypeException>([&] { row.write(*writer); }, row.text);
        else
            ExpectFailure<Tessel::UnknownPersistentDataException>([&] { row.write(*writer); }, row.text);
        EXPECT_EQ(ReadRaw(kBase, L"v"), row.present);
    }
}

TEST(TypedWrites, GuardPassesAValueReadableAsTheNewType)
{
    const ScopedKey key(kBase);
    const auto writer = OpenWriter(kBaseLocation);
    key.SetText(L"d", L"3");
    writer->SetDouble(L"d", 3.5);
    EXPECT_EQ(ReadRaw(kBase, L"d"), RawText(L"3.5"));

    key.SetText(L"list", L"1 , 2 ; 3");
    writer->SetIntList(L"list", {1, 2, 3});
    EXPECT_EQ(ReadRaw(kBase, L"list"), RawText(L"1,;2,;3"));

    // Any text passes SetString, after which the number guard may refuse.
    key.SetText(L"n", L"12");
    writer->SetString(L"n", L"twelve");
    EXPECT_THROW(writer->SetInt(L"n", 12), Tessel::InvalidPersistentDataTypeException);

    // Only a deletion changes the stored type.
    key.SetDword(L"u", 5);
    writer->DeleteParameter(L"u");
    writer->SetUIntList(L"u", {1});
    EXPECT_EQ(ReadRaw(kBase, L"u"), RawText(L"1"));
}

// Checks the edge of the value capacity: the longest text that reads back, and one unit more,
// which is written but then neither read nor overwritten until it is deleted.
TEST(TypedWrites, TextOverTheCapacityIsWrittenButCannotBeOverwritten)
{
    const auto writer = OpenWriter(kBaseLocation);
    const std::wstring longest(16299, L'a');
    writer->SetString(L"s", longest);
    EXPECT_EQ(ReadRaw(kBase, L"s")->bytes.size(), 32600u);
    EXPECT_EQ(writer->GetString(L"s"), longest);

    writer->SetString(L"s", longest + L"b");
    ExpectFailure<Tessel::UnknownPersistentDataException>([&] { writer->GetString(L"s"); }, TooLargeText(L"s"));
    ExpectFailure<Tessel::UnknownPersistentDataException>([&] { writer->SetString(L"s", L"x"); },
                                                          TooLargeText(L"s"));
    writer->DeleteParameter(L"s");
    writer->SetString(L"s", L"x");
    EXPECT_EQ(writer->GetString(L"s"), L"x");
}

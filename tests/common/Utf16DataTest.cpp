// Checks that value data and wide text convert both ways without loss, sizes included, and
// that the list form ends where the store's readers expect it to end.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/Utf16Data.h"

namespace {

using namespace Tessel::Detail;

std::vector<BYTE> Bytes(std::initializer_list<int> values)
{
    std::vector<BYTE> bytes;
    for (int value : values)
        bytes.push_back(static_cast<BYTE>(value));
    return bytes;
}

TEST(Utf16Data, RoundTripsEveryKindOfUnit)
{
    struct Row {
        const char* what;
        std::vector<BYTE> data;
        std::wstring text;
    };
    const Row rows[] = {
        {"empty", {}, L""},
        {"ASCII with NUL", Bytes({'a', 0, 0, 0, 'b', 0}), std::wstring(L"a\0b", 3)},
        {"BMP", Bytes({0xE4, 0x00, 0xAC, 0x20}), L"ä€"},
        {"supplementary", Bytes({0x34, 0xD8, 0x1E, 0xDD}), L"\U0001D11E"},
        {"lone high", Bytes({0x34, 0xD8, 'x', 0}), std::wstring{static_cast<wchar_t>(0xD834), L'x'}},
        {"lone low first", Bytes({0x1E, 0xDD, 0x34, 0xD8}),
         std::wstring{static_cast<wchar_t>(0xDD1E), static_cast<wchar_t>(0xD834)}},
        {"high at the end", Bytes({'y', 0, 0x34, 0xD8}), std::wstring{L'y', static_cast<wchar_t>(0xD834)}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.text, WideFromUtf16(row.data.data(), row.data.size()));
        EXPECT_EQ(row.data.size() / 2, Utf16Length(row.text));
        EXPECT_EQ(row.data, Utf16FromWide(row.text, false));
    }
}

// Checks that the paths of eight and four units at a time and the one-unit path agree wherever a
// surrogate pair, a lone surrogate or a NUL falls: at every position of a short text, and at
// every offset within a block of a long one.
TEST(Utf16Data, EveryPositionOfASpecialUnitReadsBack)
{
    const std::wstring pair = L"\U0001F600";
    const std::wstring specials[] = {pair, std::wstring(1, static_cast<wchar_t>(0xDC01)),
                                     std::wstring(1, static_cast<wchar_t>(0xD801))};
    for (const size_t length : {size_t{7}, size_t{29}, size_t{300}}) {
        for (size_t at = 0; at + 1 < length; at += length < 30 ? 1 : 37) {
            for (const std::wstring& special : specials) {
                std::wstring text(length, L'x');
                text.replace(at, 1, special);
                SCOPED_TRACE(testing::Message() << "length " << length << " at " << at);
                const std::vector<BYTE> data = Utf16FromWide(text, true);
                EXPECT_EQ(text + L'\0', WideFromUtf16(data.data(), data.size()));
                EXPECT_EQ(text, WideTextFromUtf16(data.data(), data.size()));
            }
            std::wstring cut(length, L'y');
            cut[at] = L'\0';
            const std::vector<BYTE> data = Utf16FromWide(cut, false);
            EXPECT_EQ(cut.substr(0, at), WideTextFromUtf16(data.data(), data.size()));
        }
    }
    // Without a terminator the text runs to the end of the data; an odd byte is no unit.
    const std::vector<BYTE> bare = Bytes({'a', 0, 'b', 0, 'c'});
    EXPECT_EQ(L"ab", WideTextFromUtf16(bare.data(), bare.size()));
    EXPECT_EQ(L"", WideTextFromUtf16(nullptr, 8));
}

TEST(Utf16Data, TerminatorOddBytesAndWritingOnlyWhatFits)
{
    const std::vector<BYTE> data = Utf16FromWide(L"ab", true);
    EXPECT_EQ(Bytes({'a', 0, 'b', 0, 0, 0}), data);
    // An odd last byte is no unit; the terminator is kept for the caller to see.
    EXPECT_EQ(std::wstring(L"ab\0", 3), WideFromUtf16(data.data(), data.size()));
    EXPECT_EQ(L"ab", WideFromUtf16(data.data(), 5));
    EXPECT_EQ(L"a", WideFromUtf16(data.data(), 3));
    EXPECT_EQ(L"", WideFromUtf16(nullptr, 4));

    // Writing needs room for the whole text or writes nothing.
    const std::wstring text = L"a\U0001F600";
    EXPECT_EQ(6u, WriteUtf16(text, nullptr, 0));
    BYTE out[6] = {0x55, 0x55, 0x55, 0x55, 0x55, 0x55};
    EXPECT_EQ(6u, WriteUtf16(text, out, 5));
    EXPECT_EQ(0x55, out[0]);
    EXPECT_EQ(6u, WriteUtf16(text, out, 6));
    EXPECT_EQ(Bytes({'a', 0, 0x3D, 0xD8, 0x00, 0xDE}), std::vector<BYTE>(out, out + 6));
}

TEST(Utf16Data, ListsEndAtTheFirstEmptyString)
{
    struct Row {
        const char* what;
        std::vector<std::wstring> items;
        std::vector<std::wstring> readBack;
        size_t bytes;
    };
    const Row rows[] = {
        {"two", {L"a", L"bc"}, {L"a", L"bc"}, 12},
        {"none", {}, {}, 2},
        {"empty first", {L"", L"x"}, {}, 2},
        {"empty in the middle", {L"a", L"", L"x"}, {L"a"}, 6},
        {"NUL inside", {std::wstring(L"a\0b", 3)}, {L"a", L"b"}, 10},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const std::vector<BYTE> data = Utf16FromWideList(row.items);
        EXPECT_EQ(row.bytes, data.size());
        EXPECT_EQ(row.readBack, WideListFromUtf16(data.data(), data.size()));
    }
    // Data stored without its final NULs still reads.
    const std::vector<BYTE> unterminated = Bytes({'a', 0, 0, 0, 'b', 0});
    EXPECT_EQ((std::vector<std::wstring>{L"a", L"b"}), WideListFromUtf16(unterminated.data(), unterminated.size()));
}

} // namespace

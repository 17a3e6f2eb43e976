// Checks the one reading of a character as a digit that the number parsers share.

#include <gtest/gtest.h>

#include "common/DigitValue.h"

namespace {

using Tessel::Detail::DigitValue;
using Tessel::Detail::kNoDigit;

TEST(DigitValue, LettersGoOnFromTheDecimalDigitsInEitherCase)
{
    struct Case {
        wchar_t c;
        int value;
    };
    const Case cases[] = {
        {L'0', 0}, {L'9', 9}, {L'a', 10}, {L'A', 10}, {L'f', 15}, {L'F', 15}, {L'g', 16}, {L'z', 35}, {L'Z', 35},
        // The neighbours of each range, and digits and letters outside ASCII, are no digits.
        {L'/', kNoDigit}, {L':', kNoDigit}, {L'@', kNoDigit}, {L'[', kNoDigit}, {L'`', kNoDigit},
        {L'{', kNoDigit}, {L' ', kNoDigit}, {L'\0', kNoDigit}, {static_cast<wchar_t>(0x0663), kNoDigit},
        {static_cast<wchar_t>(0xFF21), kNoDigit}, {static_cast<wchar_t>(0x00E4), kNoDigit},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(static_cast<unsigned>(row.c));
        EXPECT_EQ(DigitValue(row.c), row.value);
    }
    EXPECT_GT(kNoDigit, 36);
}

} // namespace

// One UTF-8 decoder and encoder for everything in the text area that meets narrow text: the
// code-page conversions, the formatters' narrow arguments and the environment's values.
#pragma once

#include <cstddef>
#include <cstdint>

#include "text/Utf16Codec.h"

namespace TesselPlatform::Text {

struct Utf8Step {
    char32_t codePoint; // the decoded character, or U+FFFD when the bytes are ill-formed
    std::size_t length; // bytes consumed, at least 1 when any input was left
    bool valid;
};

inline bool IsContinuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

// Decodes the character at text. An ill-formed sequence consumes its maximal subpart (the
// longest prefix that could still have become a valid sequence), so that one U+FFFD replaces
// each broken sequence and the byte that broke it starts the next step.
inline Utf8Step DecodeUtf8(const unsigned char* text, const unsigned char* end)
{
    const unsigned char lead = text[0];
    if (lead < 0x80)
        return {lead, 1, true};

    std::size_t length = 0;
    char32_t codePoint = 0;
    unsigned char secondLow = 0x80;
    unsigned char secondHigh = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        codePoint = lead & 0x1Fu;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        codePoint = lead & 0x0Fu;
        // Overlong forms below U+0800 and the surrogate range are ill-formed.
        if (lead == 0xE0)
            secondLow = 0xA0;
        else if (lead == 0xED)
            secondHigh = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        codePoint = lead & 0x07u;
        if (lead == 0xF0)
            secondLow = 0x90;
        else if (lead == 0xF4)
            secondHigh = 0x8F;
    } else {
        return {kReplacementCharacter, 1, false};
    }

    const std::size_t available = static_cast<std::size_t>(end - text);
    for (std::size_t i = 1; i < length; ++i) {
        if (i >= available)
            return {kReplacementCharacter, i, false};
        const unsigned char byte = text[i];
        const bool inRange = i == 1 ? (byte >= secondLow && byte <= secondHigh) : IsContinuation(byte);
        if (!inRange)
            return {kReplacementCharacter, i, false};
        codePoint = (codePoint << 6) | (byte & 0x3Fu);
    }
    return {codePoint, length, true};
}

// Bytes that EncodeUtf8 writes for a character; characters outside Unicode and surrogates
// count as the replacement character.
inline std::size_t Utf8Length(char32_t c)
{
    if (c < 0x80)
        return 1;
    if (c < 0x800)
        return 2;
    if (c < 0x10000 || c > kMaxCodePoint)
        return 3;
    return 4;
}

// Writes c as UTF-8 into out, which has room for four bytes, and returns the byte count.
inline std::size_t EncodeUtf8(char32_t c, char* out)
{
    if (c > kMaxCodePoint || IsSurrogate(c))
        c = kReplacementCharacter;
    if (c < 0x80) {
        out[0] = static_cast<char>(c);
        return 1;
    }
    if (c < 0x800) {
        out[0] = static_cast<char>(0xC0 | (c >> 6));
        out[1] = static_cast<char>(0x80 | (c & 0x3F));
        return 2;
    }
    if (c < 0x10000) {
        out[0] = static_cast<char>(0xE0 | (c >> 12));
        out[1] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out[2] = static_cast<char>(0x80 | (c & 0x3F));
        return 3;
    }
    out[0] = static_cast<char>(0xF0 | (c >> 18));
    out[1] = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out[2] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out[3] = static_cast<char>(0x80 | (c & 0x3F));
    return 4;
}

} // namespace TesselPlatform::Text

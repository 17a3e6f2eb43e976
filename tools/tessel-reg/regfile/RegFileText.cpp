// Encodings of .reg files. Files made on Windows carry UTF-16LE (version 5) or the 8-bit code
// page of the machine that wrote them (REGEDIT4); files written by hand on Linux are UTF-8.

#include "RegFileText.h"

#include "Messages.h"
#include "common/Utf16Data.h"
#include "RegFile.h"

namespace Tessel::Reg::RegFileText {
namespace {

// Windows-1252 from 0x80 to 0x9F; the rest of the code page is Latin-1.
const char16_t kWindows1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

void AppendCodePoint(char32_t codePoint, std::u16string& out)
{
    if (codePoint < 0x10000) {
        out += static_cast<char16_t>(codePoint);
    } else {
        codePoint -= 0x10000;
        out += static_cast<char16_t>(0xD800 + (codePoint >> 10));
        out += static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF));
    }
}

bool IsContinuation(BYTE b)
{
    return (b & 0xC0) == 0x80;
}

} // namespace

bool DecodeUtf8(const BYTE* bytes, size_t size, std::u16string& out)
{
    out.reserve(out.size() + size);
    size_t i = 0;
    while (i < size) {
        const BYTE lead = bytes[i];
        if (lead < 0x80) {
            out += static_cast<char16_t>(lead);
            ++i;
            continue;
        }
        size_t length = 0;
        char32_t codePoint = 0;
        char32_t least = 0;
        if ((lead & 0xE0) == 0xC0) {
            length = 2;
            codePoint = lead & 0x1F;
            least = 0x80;
        } else if ((lead & 0xF0) == 0xE0) {
            length = 3;
            codePoint = lead & 0x0F;
            least = 0x800;
        } else if ((lead & 0xF8) == 0xF0) {
            length = 4;
            codePoint = lead & 0x07;
            least = 0x10000;
        } else {
            return false;
        }
        if (size - i < length)
            return false;
        for (size_t k = 1; k < length; ++k) {
            if (!IsContinuation(bytes[i + k]))
                return false;
            codePoint = (codePoint << 6) | (bytes[i + k] & 0x3F);
        }
        if (codePoint < least || codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF))
            return false;
        AppendCodePoint(codePoint, out);
        i += length;
    }
    return true;
}

std::u16string DecodeEightBit(const BYTE* bytes, size_t size)
{
    std::u16string text;
    if (DecodeUtf8(bytes, size, text))
        return text;
    text.clear();
    text.reserve(size);
    for (size_t i = 0; i < size; ++i) {
        const BYTE b = bytes[i];
        text += b >= 0x80 && b < 0xA0 ? kWindows1252High[b - 0x80] : static_cast<char16_t>(b);
    }
    return text;
}

std::u16string DecodeFile(const BYTE* bytes, size_t size)
{
    if (size >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE) {
        if (size % 2 != 0)
            throw RegFileError{1, Messages::RegFileHalfUnit()};
        std::u16string text((size - 2) / 2, u'\0');
        for (size_t i = 0; i < text.size(); ++i)
            text[i] = static_cast<char16_t>(bytes[2 + 2 * i] | (bytes[3 + 2 * i] << 8));
        return text;
    }
    if (size >= 2 && bytes[0] == 0xFE && bytes[1] == 0xFF)
        throw RegFileError{1, Messages::RegFileBigEndian()};
    if (size >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF) {
        std::u16string text;
        if (!DecodeUtf8(bytes + 3, size - 3, text))
            throw RegFileError{1, Messages::RegFileBadUtf8()};
        return text;
    }
    return DecodeEightBit(bytes, size);
}

std::vector<BYTE> DataFromUnits(std::u16string_view units)
{
    std::vector<BYTE> data(units.size() * 2);
    for (size_t i = 0; i < units.size(); ++i) {
        data[2 * i] = static_cast<BYTE>(units[i] & 0xFF);
        data[2 * i + 1] = static_cast<BYTE>(units[i] >> 8);
    }
    return data;
}

std::wstring WideFromUnits(std::u16string_view units)
{
    const std::vector<BYTE> data = DataFromUnits(units);
    return Detail::WideFromUtf16(data.data(), data.size());
}

} // namespace Tessel::Reg::RegFileText

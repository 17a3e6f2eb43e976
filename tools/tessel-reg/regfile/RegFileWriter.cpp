// Writing .reg files in the registry editor's own layout, so that a file made here opens there
// as it is and compares equal to one the editor exported.

#include "RegFile.h"
#include "common/Utf16Data.h"

namespace Tessel::Reg {
namespace {

// The editor ends a line of hex data once it reaches this column, after the byte's comma.
constexpr size_t kHexBreakColumn = 77;
constexpr char kHexDigits[] = "0123456789abcdef";

char16_t UnitAt(const BYTE* data, size_t index)
{
    return static_cast<char16_t>(data[2 * index] | (data[2 * index + 1] << 8));
}

// Text that reads back as the same bytes from "name"="text": one terminator, at the end, and no
// line break, which would end the line. Anything else is written as hex(1).
bool IsPlainString(const BYTE* data, size_t size)
{
    if (size < 2 || size % 2 != 0 || UnitAt(data, size / 2 - 1) != 0)
        return false;
    for (size_t i = 0; i + 1 < size / 2; ++i) {
        const char16_t unit = UnitAt(data, i);
        if (unit == 0 || unit == u'\r' || unit == u'\n')
            return false;
    }
    return true;
}

} // namespace

RegFileWriter::RegFileWriter()
{
    m_bytes.reserve(1 << 16);
    m_bytes += "\xFF\xFE";
    PutAscii("Windows Registry Editor Version 5.00");
    EndLine();
}

void RegFileWriter::Put(char16_t unit)
{
    m_bytes += static_cast<char>(unit & 0xFF);
    m_bytes += static_cast<char>(unit >> 8);
    ++m_column;
}

void RegFileWriter::PutAscii(std::string_view text)
{
    for (const char c : text) {
        m_bytes += c;
        m_bytes += '\0';
    }
    m_column += text.size();
}

void RegFileWriter::EndLine()
{
    PutAscii("\r\n");
    m_column = 0;
}

void RegFileWriter::PutUnits(const BYTE* utf16, size_t units, bool escape)
{
    for (size_t i = 0; i < units; ++i) {
        const char16_t unit = UnitAt(utf16, i);
        if (escape && (unit == u'\\' || unit == u'"'))
            Put(u'\\');
        Put(unit);
    }
}

void RegFileWriter::PutWide(std::wstring_view text, bool escape)
{
    const std::vector<BYTE> utf16 = Detail::Utf16FromWide(text, false);
    PutUnits(utf16.data(), utf16.size() / 2, escape);
}

void RegFileWriter::BeginKey(std::wstring_view fullPath)
{
    // Each key's section ends in a blank line, the last one's in Finish.
    EndLine();
    Put(u'[');
    PutWide(fullPath, false);
    Put(u']');
    EndLine();
}

void RegFileWriter::AddValue(std::wstring_view name, DWORD type, const BYTE* data, size_t size)
{
    if (name.empty()) {
        Put(u'@');
    } else {
        Put(u'"');
        PutWide(name, true);
        Put(u'"');
    }
    Put(u'=');
    if (type == REG_SZ && IsPlainString(data, size)) {
        Put(u'"');
        PutUnits(data, size / 2 - 1, true);
        Put(u'"');
    } else if (type == REG_DWORD && size == sizeof(DWORD)) {
        const DWORD number = data[0] | (data[1] << 8) | (data[2] << 16) | (static_cast<DWORD>(data[3]) << 24);
        PutAscii("dword:");
        for (int shift = 28; shift >= 0; shift -= 4)
            Put(static_cast<char16_t>(kHexDigits[(number >> shift) & 0xF]));
    } else {
        PutHex(type, data, size);
    }
    EndLine();
}

void RegFileWriter::PutHex(DWORD type, const BYTE* data, size_t size)
{
    if (type == REG_BINARY) {
        PutAscii("hex:");
    } else {
        PutAscii("hex(");
        bool leading = true;
        for (int shift = 28; shift >= 0; shift -= 4) {
            const unsigned digit = (type >> shift) & 0xF;
            if (leading && digit == 0 && shift != 0)
                continue;
            leading = false;
            Put(static_cast<char16_t>(kHexDigits[digit]));
        }
        PutAscii("):");
    }
    for (size_t i = 0; i < size; ++i) {
        Put(static_cast<char16_t>(kHexDigits[data[i] >> 4]));
        Put(static_cast<char16_t>(kHexDigits[data[i] & 0xF]));
        if (i + 1 == size)
            break;
        Put(u',');
        if (m_column >= kHexBreakColumn) {
            Put(u'\\');
            EndLine();
            PutAscii("  ");
        }
    }
}

std::string RegFileWriter::Finish()
{
    EndLine();
    return std::move(m_bytes);
}

} // namespace Tessel::Reg

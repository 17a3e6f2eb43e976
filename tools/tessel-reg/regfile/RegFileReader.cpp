// Reading .reg files. The whole file is checked here, before anyone acts on it: every failure is
// a RegFileError with the physical line it was found on.

#include "AsciiText.h"
#include "common/DigitValue.h"
#include "Messages.h"
#include "RegFile.h"
#include "RegFileText.h"

namespace Tessel::Reg {
namespace {

constexpr size_t kMaxValueNameUnits = 16383;
constexpr size_t kMaxKeyNameUnits = 255;

bool IsBlank(char16_t c)
{
    return c == u' ' || c == u'\t';
}

std::u16string_view TrimBlanks(std::u16string_view text)
{
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

bool StartsWithIgnoringCase(std::u16string_view text, std::u16string_view prefix)
{
    if (text.size() < prefix.size())
        return false;
    for (size_t i = 0; i < prefix.size(); ++i) {
        char16_t c = text[i];
        if (c >= u'A' && c <= u'Z')
            c = static_cast<char16_t>(c - u'A' + u'a');
        if (c != prefix[i])
            return false;
    }
    return true;
}

// Types whose data is UTF-16 text: in a REGEDIT4 file their hex data is 8-bit text instead.
bool IsTextType(DWORD type)
{
    return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

std::vector<std::u16string_view> SplitLines(std::u16string_view text)
{
    std::vector<std::u16string_view> lines;
    lines.reserve(text.size() / 32 + 1);
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find(u'\n', start);
        if (end == std::u16string_view::npos)
            end = text.size();
        std::u16string_view line = text.substr(start, end - start);
        if (!line.empty() && line.back() == u'\r')
            line.remove_suffix(1);
        lines.push_back(line);
        start = end + 1;
    }
    return lines;
}

class Reader {
public:
    explicit Reader(std::u16string_view text) : m_lines(SplitLines(text)) {}

    std::vector<RegFileKey> Read()
    {
        ReadHeader();
        std::vector<RegFileKey> keys;
        for (m_index = 1; m_index < m_lines.size(); ++m_index) {
            const std::u16string_view line = TrimBlanks(m_lines[m_index]);
            if (line.empty() || line.front() == u';')
                continue;
            if (line.front() == u'[') {
                keys.push_back(ReadKey(line));
            } else if (line.front() == u'"' || line.front() == u'@') {
                if (keys.empty())
                    Fail(Messages::RegFileValueBeforeKey());
                if (keys.back().Delete)
                    Fail(Messages::RegFileValueAfterDelete());
                keys.back().Values.push_back(ReadValue(line));
            } else {
                Fail(Messages::RegFileUnknownLine());
            }
        }
        return keys;
    }

private:
    [[noreturn]] void Fail(std::wstring message) const { throw RegFileError{m_index + 1, std::move(message)}; }

    static std::wstring Shown(std::u16string_view text) { return RegFileText::WideFromUnits(text); }

    void ReadHeader()
    {
        m_index = 0;
        const std::u16string_view header = TrimBlanks(m_lines[0]);
        if (header == u"Windows Registry Editor Version 5.00")
            return;
        if (header == u"REGEDIT4") {
            m_eightBit = true;
            return;
        }
        Fail(header == u"REGEDIT" ? Messages::RegFileWindows3() : Messages::RegFileNoHeader());
    }

    RegFileKey ReadKey(std::u16string_view line)
    {
        if (line.back() != u']')
            Fail(Messages::RegFileMissingBracket());
        RegFileKey key;
        key.Line = m_index + 1;
        std::u16string_view name = line.substr(1, line.size() - 2);
        if (!name.empty() && name.front() == u'-') {
            key.Delete = true;
            name.remove_prefix(1);
        }
        const std::wstring wide = Shown(name);
        std::optional<KeyPath> path = ParseLongKeyPath(wide);
        if (!path) {
            const std::wstring root = wide.substr(0, wide.find(L'\\'));
            Fail(ParseLongKeyPath(root) ? Messages::RegFileBadKeyName(wide) : Messages::RegFileUnknownRoot(wide));
        }
        size_t partStart = 0;
        for (size_t i = 0; i <= name.size(); ++i) {
            if (i == name.size() || name[i] == u'\\') {
                if (i - partStart > kMaxKeyNameUnits)
                    Fail(Messages::RegFileBadKeyName(wide));
                partStart = i + 1;
            }
        }
        if (key.Delete && path->IsRoot())
            Fail(Messages::RegFileDeleteRoot());
        key.Key = std::move(*path);
        return key;
    }

    RegFileValue ReadValue(std::u16string_view line)
    {
        RegFileValue value;
        value.Line = m_index + 1;
        std::u16string_view rest = line;
        if (rest.front() == u'@') {
            rest.remove_prefix(1);
        } else {
            const std::u16string name = ReadQuoted(rest);
            if (name.size() > kMaxValueNameUnits || name.find(u'\0') != std::u16string::npos)
                Fail(Messages::RegFileBadName());
            value.Name = Shown(name);
        }
        rest = TrimBlanks(rest);
        if (rest.empty() || rest.front() != u'=')
            Fail(Messages::RegFileMissingEquals());
        rest = TrimBlanks(rest.substr(1));
        ReadData(rest, value);
        return value;
    }

    // Reads "text" with its escapes from the start of rest, and leaves rest after the closing quote.
    std::u16string ReadQuoted(std::u16string_view& rest) const
    {
        std::u16string text;
        for (size_t i = 1; i < rest.size(); ++i) {
            const char16_t c = rest[i];
            if (c == u'"') {
                rest.remove_prefix(i + 1);
                return text;
            }
            if (c == u'\\') {
                if (i + 1 >= rest.size() || (rest[i + 1] != u'\\' && rest[i + 1] != u'"'))
                    Fail(Messages::RegFileBadEscape());
                ++i;
            }
            text += rest[i];
        }
        Fail(Messages::RegFileUnterminated());
    }

    void ExpectNothingAfter(std::u16string_view rest) const
    {
        rest = TrimBlanks(rest);
        if (!rest.empty())
            Fail(Messages::RegFileTrailingText(Shown(rest)));
    }

    void ReadData(std::u16string_view rest, RegFileValue& value)
    {
        if (!rest.empty() && rest.front() == u'-') {
            ExpectNothingAfter(rest.substr(1));
            value.Delete = true;
            return;
        }
        if (!rest.empty() && rest.front() == u'"') {
            std::u16string text = ReadQuoted(rest);
            ExpectNothingAfter(rest);
            text += u'\0';
            value.Type = REG_SZ;
            value.Data = RegFileText::DataFromUnits(text);
            return;
        }
        if (StartsWithIgnoringCase(rest, u"dword:")) {
            ReadDword(rest.substr(6), value);
            return;
        }
        if (StartsWithIgnoringCase(rest, u"hex")) {
            ReadHexValue(rest, value);
            return;
        }
        Fail(Messages::RegFileUnknownData(Shown(rest)));
    }

    void ReadDword(std::u16string_view digits, RegFileValue& value) const
    {
        digits = TrimBlanks(digits);
        if (digits.empty() || digits.size() > 8)
            Fail(Messages::RegFileBadDword());
        DWORD number = 0;
        for (const char16_t c : digits) {
            const int digit = Detail::DigitValue(c);
            if (digit >= 16)
                Fail(Messages::RegFileBadDword());
            number = (number << 4) | static_cast<DWORD>(digit);
        }
        value.Type = REG_DWORD;
        value.Data = {static_cast<BYTE>(number), static_cast<BYTE>(number >> 8), static_cast<BYTE>(number >> 16),
                      static_cast<BYTE>(number >> 24)};
    }

    // hex:..., or hex(N):... where N is the type in hexadecimal.
    void ReadHexValue(std::u16string_view rest, RegFileValue& value)
    {
        const std::u16string_view form = rest.substr(0, rest.find(u':'));
        if (form.size() == rest.size())
            Fail(Messages::RegFileUnknownData(Shown(rest)));
        value.Type = REG_BINARY;
        if (form.size() > 3) {
            if (form[3] != u'(' || form.back() != u')' || form.size() < 6 || form.size() > 13)
                Fail(Messages::RegFileBadHexType(Shown(form)));
            DWORD type = 0;
            for (const char16_t c : form.substr(4, form.size() - 5)) {
                const int digit = Detail::DigitValue(c);
                if (digit >= 16)
                    Fail(Messages::RegFileBadHexType(Shown(form)));
                type = (type << 4) | static_cast<DWORD>(digit);
            }
            value.Type = type;
        }
        ReadHexBytes(rest.substr(form.size() + 1), value.Data);
        if (!IsTextType(value.Type))
            return;
        if (m_eightBit) {
            const std::u16string text = RegFileText::DecodeEightBit(value.Data.data(), value.Data.size());
            value.Data = RegFileText::DataFromUnits(text);
        } else if (value.Data.size() % 2 != 0) {
            m_index = value.Line - 1;
            Fail(Messages::RegFileOddText(Shown(form)));
        }
    }

    // Comma-separated bytes; a backslash at the end of a line continues them on the next.
    void ReadHexBytes(std::u16string_view rest, std::vector<BYTE>& data)
    {
        bool afterComma = false;
        for (;;) {
            rest = TrimBlanks(rest);
            if (rest.empty()) {
                if (afterComma)
                    Fail(Messages::RegFileHexEndsInComma());
                return;
            }
            if (rest.front() == u'\\' && (afterComma || data.empty())) {
                ExpectNothingAfter(rest.substr(1));
                if (++m_index >= m_lines.size()) {
                    m_index = m_lines.size() - 1;
                    Fail(Messages::RegFileEndsInContinuation());
                }
                rest = m_lines[m_index];
                continue;
            }
            if (!afterComma && !data.empty())
                Fail(Messages::RegFileBadHexByte(Shown(rest.substr(0, rest.find(u',')))));
            size_t length = 0;
            while (length < rest.size() && rest[length] != u',' && !IsBlank(rest[length]))
                ++length;
            const std::u16string_view item = rest.substr(0, length);
            const int high = item.size() == 2 ? Detail::DigitValue(item[0]) : 0;
            const int low = item.empty() ? Detail::kNoDigit : Detail::DigitValue(item.back());
            if (item.size() > 2 || high >= 16 || low >= 16)
                Fail(Messages::RegFileBadHexByte(Shown(item)));
            data.push_back(static_cast<BYTE>(high * 16 + low));
            rest = TrimBlanks(rest.substr(length));
            afterComma = !rest.empty() && rest.front() == u',';
            if (afterComma)
                rest.remove_prefix(1);
        }
    }

    std::vector<std::u16string_view> m_lines;
    size_t m_index = 0;       // the physical line being read, from 0
    bool m_eightBit = false;  // REGEDIT4: text data is in the writer's 8-bit code page
};

} // namespace

std::vector<RegFileKey> ReadRegFile(const BYTE* bytes, size_t size)
{
    const std::u16string text = RegFileText::DecodeFile(bytes, size);
    return Reader(text).Read();
}

} // namespace Tessel::Reg

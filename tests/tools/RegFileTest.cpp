// Checks the .reg reader and writer without the registry: the writer's bytes against the
// registry editor's layout, and the reader over hand-written files in every encoding and form,
// malformed ones with the line and the message that says what is wrong.

#include <gtest/gtest.h>

#include "FakeConsole.h"
#include "RegFile.h"

namespace Tessel::Reg {
namespace {

using Bytes = std::vector<BYTE>;
using Testing::Narrow;

// UTF-16LE file bytes as ASCII text, after checking the byte-order mark; every unit here is ASCII.
std::string AsciiOf(const std::string& file)
{
    EXPECT_EQ(file.substr(0, 2), "\xFF\xFE");
    std::string text;
    for (size_t i = 2; i + 1 < file.size(); i += 2) {
        EXPECT_EQ(file[i + 1], '\0');
        text += file[i];
    }
    return text;
}

std::string Utf16File(std::u16string_view text)
{
    std::string bytes = "\xFF\xFE";
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

std::vector<RegFileKey> Read(const std::string& bytes)
{
    return ReadRegFile(reinterpret_cast<const BYTE*>(bytes.data()), bytes.size());
}

// The literal's units, embedded NULs included, without the literal's own terminator.
template <size_t N>
Bytes Utf16Data(const char16_t (&literal)[N])
{
    const std::u16string_view text(literal, N - 1);
    Bytes data;
    for (const char16_t unit : text) {
        data.push_back(static_cast<BYTE>(unit & 0xFF));
        data.push_back(static_cast<BYTE>(unit >> 8));
    }
    return data;
}

void AddValue(RegFileWriter& writer, std::wstring_view name, DWORD type, const Bytes& data)
{
    writer.AddValue(name, type, data.data(), data.size());
}

TEST(RegFileWriter, WritesEachTypeAsTheRegistryEditorDoes)
{
    RegFileWriter writer;
    writer.BeginKey(L"HKEY_CURRENT_USER\\Software\\T");
    AddValue(writer, L"", REG_SZ, Utf16Data(u"top\0"));
    AddValue(writer, L"q\"uote\\back", REG_SZ, Utf16Data(u"a\"b\\c\0"));
    AddValue(writer, L"plain", REG_SZ, Utf16Data(u"\0"));
    AddValue(writer, L"n", REG_DWORD, {0x2A, 0, 0, 0x80});
    AddValue(writer, L"e", REG_EXPAND_SZ, Utf16Data(u"%\0"));
    AddValue(writer, L"m", REG_MULTI_SZ, Utf16Data(u"a\0\0"));
    AddValue(writer, L"q", REG_QWORD, {1, 0, 0, 0, 0, 0, 0, 0});
    AddValue(writer, L"none", REG_NONE, {});
    AddValue(writer, L"bin", REG_BINARY, {0xAB});
    AddValue(writer, L"big", REG_DWORD_BIG_ENDIAN, {0, 0, 0, 1});
    AddValue(writer, L"short", REG_DWORD, {1, 2});
    AddValue(writer, L"nul", REG_SZ, Utf16Data(u"a\0b\0"));
    AddValue(writer, L"unterminated", REG_SZ, Utf16Data(u"a"));
    AddValue(writer, L"empty", REG_SZ, {});
    AddValue(writer, L"break", REG_SZ, Utf16Data(u"\r\n\0"));
    AddValue(writer, L"sixteen", 0x10, {0xFF});
    AddValue(writer, L"all", 0xFFFFFFFF, {});
    writer.BeginKey(L"HKEY_CURRENT_USER\\Software\\T\\Empty");

    EXPECT_EQ(AsciiOf(writer.Finish()), "Windows Registry Editor Version 5.00\r\n"
                                        "\r\n"
                                        "[HKEY_CURRENT_USER\\Software\\T]\r\n"
                                        "@=\"top\"\r\n"
                                        "\"q\\\"uote\\\\back\"=\"a\\\"b\\\\c\"\r\n"
                                        "\"plain\"=\"\"\r\n"
                                        "\"n\"=dword:8000002a\r\n"
                                        "\"e\"=hex(2):25,00,00,00\r\n"
                                        "\"m\"=hex(7):61,00,00,00,00,00\r\n"
                                        "\"q\"=hex(b):01,00,00,00,00,00,00,00\r\n"
                                        "\"none\"=hex(0):\r\n"
                                        "\"bin\"=hex:ab\r\n"
                                        "\"big\"=hex(5):00,00,00,01\r\n"
                                        "\"short\"=hex(4):01,02\r\n"
                                        "\"nul\"=hex(1):61,00,00,00,62,00,00,00\r\n"
                                        "\"unterminated\"=hex(1):61,00\r\n"
                                        "\"empty\"=hex(1):\r\n"
                                        "\"break\"=hex(1):0d,00,0a,00,00,00\r\n"
                                        "\"sixteen\"=hex(10):ff\r\n"
                                        "\"all\"=hex(ffffffff):\r\n"
                                        "\r\n"
                                        "[HKEY_CURRENT_USER\\Software\\T\\Empty]\r\n"
                                        "\r\n");
}

std::vector<std::string> LinesOf(const std::string& text)
{
    std::vector<std::string> lines;
    for (size_t start = 0; start < text.size();) {
        const size_t end = text.find("\r\n", start);
        lines.push_back(text.substr(start, end - start));
        start = end + 2;
    }
    return lines;
}

// Checks the line width against a value as the registry editor exported it, then the width rule for
// a short name and for a name so long that one byte already passes it.
TEST(RegFileWriter, BreaksHexLinesWithinEightyColumnsAsTheRegistryEditorDoes)
{
    RegFileWriter exported;
    exported.BeginKey(L"HKEY_CURRENT_USER\\T");
    AddValue(exported, L"test", REG_EXPAND_SZ, Utf16Data(u"This is a test\0"));
    const std::string text = AsciiOf(exported.Finish());
    EXPECT_NE(text.find("\"test\"=hex(2):54,00,68,00,69,00,73,00,20,00,69,00,73,00,20,00,61,00,20,00,74,\\\r\n"
                        "  00,65,00,73,00,74,00,00,00\r\n"),
              std::string::npos)
        << text;

    for (const std::wstring& name : {std::wstring(L"b"), std::wstring(90, L'n')}) {
        SCOPED_TRACE(name.size());
        RegFileWriter writer;
        writer.BeginKey(L"HKEY_CURRENT_USER\\T");
        AddValue(writer, name, REG_BINARY, Bytes(200, 0x5A));
        const std::vector<std::string> lines = LinesOf(AsciiOf(writer.Finish()));
        const std::string prefix = "\"" + Narrow(name) + "\"=hex:";
        ASSERT_EQ(lines[3].rfind(prefix, 0), 0u);
        // The first line holds what fits after the name, but at least one byte.
        const size_t firstBytes = prefix.size() >= 77 ? 1 : (77 - prefix.size() + 2) / 3;
        EXPECT_EQ(lines[3], prefix + [&] {
            std::string items;
            for (size_t i = 0; i < firstBytes; ++i)
                items += "5a,";
            return items + "\\";
        }());
        size_t bytes = firstBytes;
        for (size_t i = 4; i < lines.size() && !lines[i].empty(); ++i) {
            EXPECT_EQ(lines[i].rfind("  5a", 0), 0u) << lines[i];
            EXPECT_LE(lines[i].size(), 78u) << lines[i];
            const bool last = lines[i].back() != '\\';
            EXPECT_TRUE(last || lines[i].size() == 78u) << lines[i];
            bytes += (lines[i].size() - 2 + (last ? 1 : -1)) / 3;
        }
        EXPECT_EQ(bytes, 200u);
    }
}

TEST(RegFileReader, ReadsEveryFormOfAVersionFiveFile)
{
    const std::u16string text = u"Windows Registry Editor Version 5.00\r\n"
                                u"\r\n"
                                u"; a comment\r\n"
                                u"[HKEY_CURRENT_USER\\Software\\A]\r\n"
                                u"@=\"top\"\r\n"
                                u"\"q\\\"uote\\\\\"=\"x\\\\y\"\r\n"
                                u"  \"n\" = dword:2A\r\n"
                                u"\"b\"=hex:01,02,\\\r\n"
                                u"    03\r\n"
                                u"\"e\"=hex(2):25,00,00,00\r\n"
                                u"\"q\"=hex(b):01,00,00,00,00,00,00,00\r\n"
                                u"\"none\"=hex(0):\r\n"
                                u"\"\u00e4\u20ac\"=\"\u65e5\U0001F600\"\r\n"
                                u"\"gone\"=-\r\n"
                                u"\r\n"
                                u"[-HKEY_CLASSES_ROOT\\.old]\r\n"
                                u"[HKEY_LOCAL_MACHINE\\Software\\Empty]\r\n";
    const std::vector<RegFileKey> keys = Read(Utf16File(text));
    ASSERT_EQ(keys.size(), 3u);
    EXPECT_EQ(keys[0].Key.FullName(), L"HKEY_CURRENT_USER\\Software\\A");
    EXPECT_EQ(keys[0].Key.Root, HKEY_CURRENT_USER);
    EXPECT_EQ(keys[0].Line, 4u);
    EXPECT_FALSE(keys[0].Delete);

    struct Expected {
        const wchar_t* Name;
        bool Delete;
        DWORD Type;
        Bytes Data;
        size_t Line;
    };
    const Expected values[] = {
        {L"", false, REG_SZ, Utf16Data(u"top\0"), 5},
        {L"q\"uote\\", false, REG_SZ, Utf16Data(u"x\\y\0"), 6},
        {L"n", false, REG_DWORD, {0x2A, 0, 0, 0}, 7},
        {L"b", false, REG_BINARY, {1, 2, 3}, 8},
        {L"e", false, REG_EXPAND_SZ, {0x25, 0, 0, 0}, 10},
        {L"q", false, REG_QWORD, {1, 0, 0, 0, 0, 0, 0, 0}, 11},
        {L"none", false, REG_NONE, {}, 12},
        {L"\u00e4\u20ac", false, REG_SZ, Utf16Data(u"\u65e5\U0001F600\0"), 13},
        {L"gone", true, REG_NONE, {}, 14},
    };
    ASSERT_EQ(keys[0].Values.size(), std::size(values));
    for (size_t i = 0; i < std::size(values); ++i) {
        SCOPED_TRACE(i);
        const RegFileValue& value = keys[0].Values[i];
        EXPECT_EQ(value.Name, values[i].Name);
        EXPECT_EQ(value.Delete, values[i].Delete);
        EXPECT_EQ(value.Type, values[i].Type);
        EXPECT_EQ(value.Data, values[i].Data);
        EXPECT_EQ(value.Line, values[i].Line);
    }
    EXPECT_TRUE(keys[1].Delete);
    EXPECT_EQ(keys[1].Key.FullName(), L"HKEY_CLASSES_ROOT\\.old");
    EXPECT_EQ(keys[2].Key.FullName(), L"HKEY_LOCAL_MACHINE\\Software\\Empty");
    EXPECT_TRUE(keys[2].Values.empty());
}

// Checks the encodings a file may come in: the same content reads the same in each.
TEST(RegFileReader, ReadsUtf16Utf8AndWindows1252WithEitherLineEndIntoUtf16)
{
    const std::string body = "[HKEY_CURRENT_USER\\K]\n\"n\"=\"caf\xC3\xA9\"\n";
    const std::string crlf = "[HKEY_CURRENT_USER\\K]\r\n\"n\"=\"caf\xC3\xA9\"\r\n";
    const std::string cases[] = {
        "Windows Registry Editor Version 5.00\n" + body,
        "\xEF\xBB\xBFWindows Registry Editor Version 5.00\r\n" + crlf,
        "REGEDIT4\r\n" + crlf,
        "REGEDIT4\r\n[HKEY_CURRENT_USER\\K]\r\n\"n\"=\"caf\xE9\"\r\n",
        Utf16File(u"Windows Registry Editor Version 5.00\n[HKEY_CURRENT_USER\\K]\n\"n\"=\"caf\u00e9\""),
    };
    for (const std::string& file : cases) {
        SCOPED_TRACE(file);
        const std::vector<RegFileKey> keys = Read(file);
        ASSERT_EQ(keys.size(), 1u);
        ASSERT_EQ(keys[0].Values.size(), 1u);
        EXPECT_EQ(keys[0].Values[0].Data, Utf16Data(u"caf\u00e9\0"));
    }

    // REGEDIT4's hex text data holds 8-bit text: it becomes the UTF-16 the registry stores, and
    // Windows-1252's own letters come through.
    const std::string file = "REGEDIT4\r\n"
                             "[HKEY_CURRENT_USER\\K]\r\n"
                             "\"e\"=hex(2):25,80,25,00\r\n"
                             "\"m\"=hex(7):61,00,c3,a4,00,00\r\n"
                             "\"b\"=hex:80\r\n";
    const std::vector<RegFileKey> regedit4 = Read(file);
    ASSERT_EQ(regedit4[0].Values.size(), 3u);
    EXPECT_EQ(regedit4[0].Values[0].Data, Utf16Data(u"%\u20ac%\0"));
    EXPECT_EQ(regedit4[0].Values[1].Data, Utf16Data(u"a\0\u00e4\0\0"));
    EXPECT_EQ(regedit4[0].Values[2].Data, Bytes{0x80});
}

TEST(RegFileReader, NamesTheLineAndTheFaultOfAMalformedFile)
{
    struct Case {
        std::string File;
        size_t Line;
        std::wstring Message;
    };
    const std::string head = "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\K]\r\n";
    const Case cases[] = {
        {"", 1, L"The file is not a registry script: it must begin with \"Windows Registry Editor Version "
                L"5.00\" or \"REGEDIT4\"."},
        {"REGEDIT\r\nHKEY_CLASSES_ROOT\\x = y\r\n", 1,
         L"Registry scripts of Windows 3.x (\"REGEDIT\") are not supported."},
        {"\xFE\xFF\0W", 1, L"UTF-16 big-endian files are not supported; save the file as UTF-16LE or UTF-8."},
        {"\xFF\xFEW", 1, L"The file ends in half a UTF-16 character."},
        {"\xEF\xBB\xBFREGEDIT4\r\n\xFF\r\n", 1,
         L"The file begins with a UTF-8 byte-order mark but is not valid UTF-8."},
        {"REGEDIT4\r\n\"v\"=\"x\"\r\n", 2, L"A value line must follow a key line."},
        {head + "[HKEY_CURRENT_USER\\L\r\n", 4, L"A key line must end with \"]\"."},
        {head + "[HKLM\\L]\r\n", 4,
         L"The key \"HKLM\\L\" does not start with HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER, HKEY_CLASSES_ROOT, "
         L"HKEY_USERS or HKEY_CURRENT_CONFIG."},
        {head + "[HKEY_CURRENT_USER\\a\\\\b]\r\n", 4,
         L"The key name \"HKEY_CURRENT_USER\\a\\\\b\" has an empty part or a part over 255 characters."},
        {head + "[HKEY_CURRENT_USER\\" + std::string(256, 'k') + "]\r\n", 4,
         L"The key name \"HKEY_CURRENT_USER\\" + std::wstring(256, L'k') +
             L"\" has an empty part or a part over 255 characters."},
        {head + "[-HKEY_CURRENT_USER]\r\n", 4, L"A root key cannot be deleted."},
        {head + "[-HKEY_CURRENT_USER\\L]\r\n\"v\"=-\r\n", 5, L"A value line cannot follow a line that deletes its key."},
        {head + "\"v\"=\"abc\r\n", 4, L"A quoted text has no closing quote."},
        {head + "\"v=\"abc\"\r\n", 4, L"A value name must be followed by \"=\"."},
        {head + "\"v\"=\"C:\\Windows\"\r\n", 4, L"A backslash in quoted text must be followed by \\ or \"."},
        {head + "\"v\"=\"x\" tail\r\n", 4, L"Unexpected text after the value: \"tail\"."},
        {head + "\"v\"=string\r\n", 4, L"Unknown value data \"string\"."},
        {head + "\"v\"=dword:123456789\r\n", 4, L"dword: must be followed by 1 to 8 hexadecimal digits."},
        {head + "\"v\"=dword:12g4\r\n", 4, L"dword: must be followed by 1 to 8 hexadecimal digits."},
        {head + "\"v\"=hex(x):00\r\n", 4, L"Bad value type in \"hex(x)\"."},
        {head + "\"v\"=hex:00,0g\r\n", 4, L"Bad hexadecimal byte \"0g\"."},
        {head + "\"v\"=hex:00,\\\r\n  01,123\r\n", 5, L"Bad hexadecimal byte \"123\"."},
        {head + "\"v\"=hex:00 01\r\n", 4, L"Bad hexadecimal byte \"01\"."},
        {head + "\"v\"=hex:00,\r\n", 4, L"The hexadecimal data ends in a comma without a \"\\\" to continue it."},
        {head + "\"v\"=hex:00,\\\r\n", 5, L"The hexadecimal data ends in a comma without a \"\\\" to continue it."},
        {head + "\"v\"=hex:00,\\", 4, L"The file ends where a value continues with \"\\\"."},
        {head + "\"v\"=hex(2):41,00,\\\r\n  42\r\n", 4, L"hex(2) holds UTF-16 text, which needs an even number of bytes."},
        {head + "junk\r\n", 4, L"A line must be a [key], a value, a ; comment or blank."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.File);
        try {
            Read(c.File);
            ADD_FAILURE() << "accepted";
        } catch (const RegFileError& error) {
            EXPECT_EQ(error.Line, c.Line);
            EXPECT_EQ(Narrow(error.Message), Narrow(c.Message));
        }
    }
}

// Checks the property the fuzzer also checks: what the writer makes, the reader reads back as
// the same values, whatever the bytes.
TEST(RegFile, WrittenValuesReadBackUnchanged)
{
    RegFileWriter writer;
    writer.BeginKey(L"HKEY_USERS\\.DEFAULT\\N\u00e4me [x] = \"y\"");
    std::vector<RegFileValue> written;
    for (const DWORD type : std::vector<DWORD>{REG_NONE, REG_SZ, REG_EXPAND_SZ, REG_BINARY, REG_DWORD, REG_DWORD_BIG_ENDIAN, REG_LINK,
                       REG_MULTI_SZ, REG_RESOURCE_LIST, REG_QWORD, DWORD{0x1234}}) {
        for (const Bytes& data : {Bytes{}, Utf16Data(u"\0"), Utf16Data(u"\\\"\0"), Bytes(334, 0x7F), Bytes{1, 2, 3, 4}}) {
            RegFileValue value;
            value.Name = L"v" + std::to_wstring(written.size()) + L" \\\"=[]";
            value.Type = type;
            value.Data = data;
            writer.AddValue(value.Name, value.Type, value.Data.data(), value.Data.size());
            written.push_back(value);
        }
    }
    const std::string file = writer.Finish();
    std::vector<RegFileKey> keys;
    try {
        keys = Read(file);
    } catch (const RegFileError& error) {
        FAIL() << error.Line << ": " << Narrow(error.Message);
    }
    ASSERT_EQ(keys.size(), 1u);
    EXPECT_EQ(keys[0].Key.FullName(), L"HKEY_USERS\\.DEFAULT\\N\u00e4me [x] = \"y\"");
    ASSERT_EQ(keys[0].Values.size(), written.size());
    for (size_t i = 0; i < written.size(); ++i) {
        SCOPED_TRACE(Narrow(written[i].Name) + " type " + std::to_string(written[i].Type));
        EXPECT_EQ(keys[0].Values[i].Name, written[i].Name);
        EXPECT_EQ(keys[0].Values[i].Type, written[i].Type);
        EXPECT_EQ(keys[0].Values[i].Data, written[i].Data);
    }
}

} // namespace
} // namespace Tessel::Reg

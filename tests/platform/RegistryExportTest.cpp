// Tests of the registry export format: exact bytes written, every form read, bad files refused.
#include "platform/RegistryExport.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/RegistryValues.h"

namespace {

using testutil::Dword;
using testutil::Text;

const std::wstring kSetting = L"Software\\Harrowmere\\Lunavex32\\Setting";

std::vector<u8> Utf8File(const std::string& text) {
    return std::vector<u8>(text.begin(), text.end());
}

std::vector<u8> Utf16File(const std::wstring& text) {
    std::vector<u8> bytes{0xFF, 0xFE};
    std::vector<u8> body = Utf16LeFromWide(text);
    bytes.insert(bytes.end(), body.begin(), body.end());
    return bytes;
}

bool Parses(const std::string& text) {
    CRegTree tree;
    return ParseRegistryExport(Utf8File(text), tree);
}

} // namespace

TEST(RegistryExportTest, WritesTheEditorsFormatInUtf16) {
    CRegTree tree;
    tree.SetValue(kSetting, L"OutputPath", Text(1, L"C:\\a \"b\""));
    tree.SetValue(kSetting, L"SaveType", Dword(2));
    tree.SetValue(kSetting, L"", Text(1, L"round"));
    tree.SetValue(kSetting, L"Big", {11, {8, 7, 6, 5, 4, 3, 2, 1}});
    tree.SetValue(kSetting, L"Path", Text(2, L"%HOME%"));
    RegValueData blob{3, {}};
    for (u8 i = 0; i < 30; ++i)
        blob.bytes.push_back(i);
    tree.SetValue(kSetting, L"Blob", blob);
    tree.SetValue(kSetting, L"Odd", {1, {0x61, 0x00, 0x62}});
    tree.SetValue(kSetting, L"Short", {4, {1, 0}});

    // The text as UTF-16LE behind its byte order mark, which the round trip below reads.
    std::vector<u8> bytes = FormatRegistryExport(tree);
    std::wstring expected =
        L"Windows Registry Editor Version 5.00\r\n\r\n"
        L"[HKEY_CURRENT_USER\\Software]\r\n\r\n"
        L"[HKEY_CURRENT_USER\\Software\\Harrowmere]\r\n\r\n"
        L"[HKEY_CURRENT_USER\\Software\\Harrowmere\\Lunavex32]\r\n\r\n"
        L"[HKEY_CURRENT_USER\\Software\\Harrowmere\\Lunavex32\\Setting]\r\n"
        L"\"OutputPath\"=\"C:\\\\a \\\"b\\\"\"\r\n"
        L"\"SaveType\"=dword:00000002\r\n"
        L"@=\"round\"\r\n"
        L"\"Big\"=hex(b):08,07,06,05,04,03,02,01\r\n"
        L"\"Path\"=hex(2):25,00,48,00,4f,00,4d,00,45,00,25,00,00,00\r\n"
        L"\"Blob\"=hex:00,01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,\\\r\n"
        L"  16,17,18,19,1a,1b,1c,1d\r\n"
        L"\"Odd\"=hex(1):61,00,62\r\n"
        L"\"Short\"=hex(4):01,00\r\n"
        L"\r\n";
    EXPECT_EQ(WideFromUtf16Le(bytes.data() + 2, bytes.size() - 2), expected);

    // Every value comes back byte for byte, with its type.
    CRegTree back;
    ASSERT_TRUE(ParseRegistryExport(bytes, back));
    EXPECT_EQ(back, tree);
}

TEST(RegistryExportTest, TextsThatCannotBeQuotedSurviveAsHex) {
    CRegTree tree;
    tree.SetValue(L"K", L"NoTerminator", {1, {0x61, 0x00}});
    tree.SetValue(L"K", L"InnerZero", Text(1, std::wstring(L"a\0b", 3)));
    tree.SetValue(L"K", L"Break", Text(1, L"line\r\nnext"));
    tree.SetValue(L"K", L"Empty", {1, {}});
    tree.SetValue(L"K", L"Wide", Text(1, L"\u5199\u771f \U0001F600"));
    tree.SetValue(L"K", L"Name \"with\" \\", Dword(0xFFFFFFFB));
    tree.SetValue(L"", L"x", Dword(1)); // the root gets a section when it holds values
    std::vector<u8> bytes = FormatRegistryExport(tree);
    std::wstring text = WideFromUtf16Le(bytes.data() + 2, bytes.size() - 2);
    EXPECT_NE(text.find(L"\"NoTerminator\"=hex(1):61,00\r\n"), std::wstring::npos);
    EXPECT_NE(text.find(L"\"Empty\"=hex(1):\r\n"), std::wstring::npos);
    EXPECT_NE(text.find(L"\"Wide\"=\"\u5199\u771f \U0001F600\"\r\n"), std::wstring::npos);
    EXPECT_NE(text.find(L"\"Name \\\"with\\\" \\\\\"=dword:fffffffb\r\n"), std::wstring::npos);
    EXPECT_NE(text.find(L"[HKEY_CURRENT_USER]\r\n\"x\"=dword:00000001\r\n"), std::wstring::npos);
    // A character beyond U+FFFF is a surrogate pair in the file.
    std::vector<u8> pair = Utf16LeFromWide(L"\U0001F600");
    EXPECT_EQ(pair, (std::vector<u8>{0x3D, 0xD8, 0x00, 0xDE}));

    CRegTree back;
    ASSERT_TRUE(ParseRegistryExport(bytes, back));
    EXPECT_EQ(back, tree);
}

TEST(RegistryExportTest, ReadsEveryFormInUtf8AndUtf16) {
    const std::string body = "Windows Registry Editor Version 5.00\r\n"
                             "\r\n"
                             "; a comment\n"
                             "[HKEY_CURRENT_USER\\Software\\Test]\n"
                             "\"Text\"=\"a \\\"quoted\\\" \\\\ path\"\n"
                             "\"Num\"=dword:0000002A\n"
                             "@=\"default\"\n"
                             "\"Bin\"=hex:01,02,\\\n"
                             "  03,04\n"
                             "\"Exp\" = hex(2):41,00,00,00\n"
                             "\"Gone\"=\"x\"\n"
                             "\"Gone\"=-\n"
                             "[hkey_current_user\\software\\TEST\\Sub]\n"
                             "\"x\"=dword:1\n"
                             "[HKEY_CURRENT_USER\\Software\\Test\\Other]\n"
                             "[-HKEY_CURRENT_USER\\Software\\Test\\Sub]\n";
    auto check = [](const CRegTree& tree) {
        const RegKeyData* key = tree.FindKey(L"software\\test");
        ASSERT_NE(key, nullptr);
        EXPECT_EQ(key->path, L"Software\\Test");
        ASSERT_NE(key->Find(L"TEXT"), nullptr);
        EXPECT_EQ(*key->Find(L"text"), Text(1, L"a \"quoted\" \\ path"));
        EXPECT_EQ(*key->Find(L"Num"), Dword(42));
        EXPECT_EQ(*key->Find(L""), Text(1, L"default"));
        EXPECT_EQ(*key->Find(L"Bin"), (RegValueData{3, {1, 2, 3, 4}}));
        EXPECT_EQ(*key->Find(L"Exp"), (RegValueData{2, {0x41, 0, 0, 0}}));
        EXPECT_EQ(key->Find(L"Gone"), nullptr);
        EXPECT_FALSE(tree.HasKey(L"Software\\Test\\Sub"));
        EXPECT_TRUE(tree.HasKey(L"Software\\Test\\Other"));
        EXPECT_TRUE(tree.HasKey(L"Software"));
    };
    // UTF-8, UTF-8 behind its byte order mark, and UTF-16LE behind its own.
    for (const std::vector<u8>& file : {Utf8File(body), Utf8File("\xEF\xBB\xBF" + body),
                                        Utf16File(std::wstring(body.begin(), body.end()))}) {
        CRegTree tree;
        ASSERT_TRUE(ParseRegistryExport(file, tree));
        check(tree);
    }
}

TEST(RegistryExportTest, RefusesWhatIsNoExportAndLeavesTheTree) {
    const std::string header = "Windows Registry Editor Version 5.00\n";
    EXPECT_TRUE(Parses(header));
    EXPECT_FALSE(Parses(""));
    EXPECT_FALSE(Parses("REGEDIT4\n[HKEY_CURRENT_USER\\K]\n"));
    EXPECT_FALSE(Parses("\n" + header));
    EXPECT_FALSE(Parses(header + "\"a\"=dword:1\n")); // a value before any key
    EXPECT_FALSE(Parses(header + "[HKEY_LOCAL_MACHINE\\Software]\n"));
    EXPECT_FALSE(Parses(header + "[HKEY_CURRENT_USERS\\Software]\n"));
    EXPECT_FALSE(Parses(header + "[HKEY_CURRENT_USER\\a\\\\b]\n"));
    EXPECT_FALSE(Parses(header + "[HKEY_CURRENT_USER\\a\n"));
    // Lines of a key that are no value of any form.
    for (const char* line :
         {"\"a\"=dword:123456789", "\"a\"=dword:", "\"a\"=\"open", "\"a\"=\"x\" y", "\"a\"=\"\\n\"",
          "\"a\"=hex:1g", "\"a\"=hex:123", "\"a\"=hex(q):00", "\"a\"=hex:01,\\", "\"a\"=text",
          "\"a\"", "garbage"})
        EXPECT_FALSE(Parses(header + "[HKEY_CURRENT_USER\\K]\n" + line + "\n")) << line;

    // UTF-16 big-endian and a UTF-16 file cut in the middle of a unit.
    CRegTree bigEndian;
    EXPECT_FALSE(ParseRegistryExport({0xFE, 0xFF, 0x00, 0x57}, bigEndian));
    std::vector<u8> cut = Utf16File(L"Windows Registry Editor Version 5.00\r\n");
    cut.push_back(0x41);
    CRegTree tree;
    tree.SetValue(L"Kept", L"v", Dword(7));
    CRegTree before = tree;
    EXPECT_FALSE(ParseRegistryExport(cut, tree));
    EXPECT_FALSE(
        ParseRegistryExport(Utf8File(header + "[HKEY_CURRENT_USER\\New]\n\"a\"=?\n"), tree));
    EXPECT_EQ(tree, before);
}

TEST(RegistryExportTest, AKeyPathHasTheRegistrysLimitOfLength) {
    const std::string header = "Windows Registry Editor Version 5.00\n";
    // levels names of one letter each: 2 * levels - 1 characters.
    auto section = [](std::size_t levels, const std::string& sign = "") {
        std::string path = "[" + sign + "HKEY_CURRENT_USER";
        for (std::size_t i = 0; i < levels; ++i) {
            path += '\\';
            path += static_cast<char>('a' + i % 26);
        }
        return path + "]\n";
    };
    const std::size_t deepest = (kMostKeyPathChars + 1) / 2;
    CRegTree tree;
    ASSERT_TRUE(ParseRegistryExport(Utf8File(header + section(deepest) + "\"v\"=dword:1\n"), tree));
    // Every level is a key of its own, and the root besides.
    EXPECT_EQ(tree.Keys().size(), deepest + 1);
    EXPECT_FALSE(Parses(header + section(deepest + 1)));
    EXPECT_FALSE(Parses(header + section(deepest + 1, "-")));
    EXPECT_FALSE(Parses(header + section(20000)));
    // One long name counts the same.
    const std::string key = header + "[HKEY_CURRENT_USER\\";
    EXPECT_TRUE(Parses(std::string(key).append(kMostKeyPathChars, 'n') + "]\n"));
    EXPECT_FALSE(Parses(std::string(key).append(kMostKeyPathChars + 1, 'n') + "]\n"));
    EXPECT_FALSE(Parses(header + "[HKEY_CURRENT_USER\\K\\]\n"));

    // Keys in all: the root, "K" and the keys below it.
    std::string many = header;
    for (std::size_t i = 0; i + 2 < kMostKeys; ++i)
        many += "[HKEY_CURRENT_USER\\K\\" + std::to_string(i) + "]\n";
    EXPECT_TRUE(Parses(many));
    EXPECT_FALSE(Parses(many + "[HKEY_CURRENT_USER\\One-more]\n"));
    // A removed key makes room again.
    EXPECT_TRUE(Parses(many + "[-HKEY_CURRENT_USER\\K\\0]\n[HKEY_CURRENT_USER\\One-more]\n"));
}

TEST(RegistryExportTest, BytesThatAreNotUtf8AreRefusedRatherThanReplaced) {
    const std::string head =
        "Windows Registry Editor Version 5.00\n[HKEY_CURRENT_USER\\K]\n\"P\"=\"";
    for (const char* bad :
         {"Bilder-\xC4", "\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xED\xA0\x80", "\xF0\x80\x80\x80",
          "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xE5\x86", "\x80", "\xFF"}) {
        EXPECT_FALSE(Parses(head + bad + "\"\n")) << bad;
        EXPECT_FALSE(Parses("\xEF\xBB\xBF" + head + bad + "\"\n")) << bad;
    }
    // The largest forms of each length, and the smallest above the surrogates, are read exactly.
    CRegTree tree;
    ASSERT_TRUE(ParseRegistryExport(
        Utf8File(head + "\xC3\x84\xDF\xBF\xED\x9F\xBF\xEE\x80\x80\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF" +
                 "\"\n"),
        tree));
    EXPECT_EQ(*tree.FindKey(L"K")->Find(L"P"),
              Text(1, L"\u00C4\u07FF\uD7FF\uE000\U0001F600\U0010FFFF"));
}

TEST(RegistryExportTest, ManyValuesOfOneKeyKeepTheirOrderAndTheirNames) {
    const std::size_t count = 50000;
    std::string text = "Windows Registry Editor Version 5.00\n[HKEY_CURRENT_USER\\K]\n";
    for (std::size_t i = 0; i < count; ++i)
        text += "\"V" + std::to_string(i) + "\"=dword:" + std::to_string(i % 10) + "\n";
    // A name in another case sets the value in its place; a removed one comes back at the end.
    text += "\"v0\"=dword:7\n\"V1\"=-\n\"v1\"=dword:8\n";
    text += "[HKEY_CURRENT_USER\\K\\Sub]\n[HKEY_CURRENT_USER\\K\\Sub\\Deeper]\n"
            "[HKEY_CURRENT_USER\\Ka]\n[HKEY_CURRENT_USER\\K\\Sub2]\n[-HKEY_CURRENT_USER\\k\\sub]\n";
    CRegTree tree;
    ASSERT_TRUE(ParseRegistryExport(Utf8File(text), tree));
    const RegKeyData* key = tree.FindKey(L"K");
    ASSERT_NE(key, nullptr);
    const RegKeyData::Values& values = key->AllValues();
    ASSERT_EQ(values.size(), count);
    EXPECT_EQ(values.front().first, L"V0");
    EXPECT_EQ(values.front().second, Dword(7));
    EXPECT_EQ(std::next(values.begin())->first, L"V2");
    EXPECT_EQ(values.back().first, L"v1");
    EXPECT_EQ(values.back().second, Dword(8));
    EXPECT_EQ(std::prev(values.end(), 2)->first, L"V" + std::to_wstring(count - 1));
    EXPECT_EQ(*key->Find(L"v49999"), Dword((count - 1) % 10));
    EXPECT_EQ(key->Find(L"V50000"), nullptr);

    // The removed key took its sub-keys and nothing that only begins with the same letters.
    EXPECT_FALSE(tree.HasKey(L"K\\Sub"));
    EXPECT_FALSE(tree.HasKey(L"K\\Sub\\Deeper"));
    EXPECT_TRUE(tree.HasKey(L"K\\Sub2"));
    EXPECT_TRUE(tree.HasKey(L"Ka"));

    // A copy of the tree is a tree of its own.
    CRegTree copy = tree;
    copy.SetValue(L"K", L"V2", Dword(9));
    EXPECT_EQ(*tree.FindKey(L"K")->Find(L"V2"), Dword(2));
    EXPECT_EQ(*copy.FindKey(L"K")->Find(L"V2"), Dword(9));
    copy.SetValue(L"K", L"V2", Dword(2));
    EXPECT_EQ(copy, tree);
}

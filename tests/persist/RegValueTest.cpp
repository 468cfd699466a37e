// Tests of the typed registry values: read whole and of their type, or not at all.
#include "persist/RegValue.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/XdgSandbox.h"

// Signed numbers, flags, values of other types, REG_EXPAND_SZ and the bytes that a text is written
// as are pinned by the settings tests' files (SettingsTest); here the forms that files cannot hold.
TEST(RegValueTest, ValuesAreReadWholeAndOfTheirTypeOrNotAtAll) {
    XdgSandbox sandbox;
    CRegKey root = CRegKey::CurrentUser();
    CRegKey key;
    ASSERT_EQ(key.Create(root, L"Software\\Test", reg::kKeyReadWrite), 0);
    auto setRaw = [&key](const wchar_t* name, u32 type, std::vector<u8> bytes) {
        ASSERT_EQ(key.SetValue(name, type, bytes.data(), static_cast<u32>(bytes.size())), 0);
    };

    // Numbers are four-byte DWORDs only.
    setRaw(L"Short", reg::kDword, {1, 0});
    u32 kept = 77;
    EXPECT_FALSE(ReadDwordValue(key, L"Short", kept));
    EXPECT_FALSE(ReadDwordValue(key, L"Missing", kept));
    EXPECT_EQ(kept, 77u);
    bool flag = true;
    EXPECT_FALSE(ReadBoolValue(key, L"Short", flag));
    EXPECT_TRUE(flag);

    // A key opened for reading refuses the write.
    CRegKey reader;
    ASSERT_EQ(reader.Open(root, L"Software\\Test", reg::kKeyRead), 0);
    EXPECT_EQ(WriteDwordValue(reader, L"N", 1), 5);

    // Texts keep their terminator rule.
    EXPECT_EQ(WriteStringValue(key, L"T", L"ab"), 0);
    EXPECT_EQ(WriteStringValue(key, L"T", static_cast<const wchar_t*>(nullptr)), 13);
    // The default value (no name) is read and written in SettingsTest (the sub-folder names).
    std::wstring out = L"kept";
    EXPECT_TRUE(ReadStringValue(key, L"T", out));
    EXPECT_EQ(out, L"ab");

    setRaw(L"Inner", reg::kSz, {'a', 0, 0, 0, 'b', 0, 0, 0});
    EXPECT_TRUE(ReadStringValue(key, L"Inner", out));
    EXPECT_EQ(out, std::wstring(L"a\0b", 3));
    setRaw(L"Empty", reg::kSz, {});
    EXPECT_TRUE(ReadStringValue(key, L"Empty", out));
    EXPECT_EQ(out, L"");

    out = L"kept";
    setRaw(L"Odd", reg::kSz, {'a', 0, 0});
    setRaw(L"Open", reg::kSz, {'a', 0, 'b', 0});
    setRaw(L"Num", reg::kDword, {0, 0, 0, 0});
    EXPECT_FALSE(ReadStringValue(key, L"Odd", out));
    EXPECT_FALSE(ReadStringValue(key, L"Open", out));
    EXPECT_FALSE(ReadStringValue(key, L"Num", out));
    EXPECT_FALSE(ReadStringValue(key, L"Missing", out));
    EXPECT_EQ(out, L"kept");

    // 1023 characters fill the first buffer exactly; 1024 and 5000 need it doubled.
    for (std::size_t length : {1023u, 1024u, 5000u}) {
        std::wstring text;
        for (std::size_t i = 0; i < length; ++i)
            text += static_cast<wchar_t>(L'a' + i % 26);
        text.back() = L'\u5199';
        ASSERT_EQ(WriteStringValue(key, L"Long", text), 0);
        EXPECT_TRUE(ReadStringValue(key, L"Long", out)) << length;
        EXPECT_EQ(out, text) << length;
    }
}

// Tests of the typed registry values: read whole and of their type, or not at all.
#include "persist/RegValue.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/XdgSandbox.h"

namespace {

class RegValueTest : public ::testing::Test {
protected:
    void SetUp() override {
        root_ = CRegKey::CurrentUser();
        ASSERT_EQ(key_.Create(root_, L"Software\\Test", reg::kKeyReadWrite), 0);
    }
    void SetRaw(const wchar_t* name, u32 type, std::vector<u8> bytes) {
        ASSERT_EQ(key_.SetValue(name, type, bytes.data(), static_cast<u32>(bytes.size())), 0);
    }

    XdgSandbox sandbox_;
    CRegKey root_;
    CRegKey key_;
};

} // namespace

// Signed numbers, flags, values of other types, REG_EXPAND_SZ and the bytes that a text is written
// as are pinned by the settings tests' files (SettingsTest); here the forms that files cannot hold.
TEST_F(RegValueTest, NumbersAreFourByteDwordsOnly) {
    SetRaw(L"Short", reg::kDword, {1, 0});
    u32 kept = 77;
    EXPECT_FALSE(ReadDwordValue(key_, L"Short", kept));
    EXPECT_FALSE(ReadDwordValue(key_, L"Missing", kept));
    EXPECT_EQ(kept, 77u);
    bool flag = true;
    EXPECT_FALSE(ReadBoolValue(key_, L"Short", flag));
    EXPECT_TRUE(flag);

    // A key opened for reading refuses the write.
    CRegKey reader;
    ASSERT_EQ(reader.Open(root_, L"Software\\Test", reg::kKeyRead), 0);
    EXPECT_EQ(WriteDwordValue(reader, L"N", 1), 5);
}

TEST_F(RegValueTest, TextsKeepTheirTerminatorRule) {
    EXPECT_EQ(WriteStringValue(key_, L"T", L"ab"), 0);
    EXPECT_EQ(WriteStringValue(key_, L"T", static_cast<const wchar_t*>(nullptr)), 13);
    // The default value (no name) is read and written in SettingsTest (the sub-folder names).
    std::wstring out = L"kept";
    EXPECT_TRUE(ReadStringValue(key_, L"T", out));
    EXPECT_EQ(out, L"ab");

    SetRaw(L"Inner", reg::kSz, {'a', 0, 0, 0, 'b', 0, 0, 0});
    EXPECT_TRUE(ReadStringValue(key_, L"Inner", out));
    EXPECT_EQ(out, std::wstring(L"a\0b", 3));
    SetRaw(L"Empty", reg::kSz, {});
    EXPECT_TRUE(ReadStringValue(key_, L"Empty", out));
    EXPECT_EQ(out, L"");

    out = L"kept";
    SetRaw(L"Odd", reg::kSz, {'a', 0, 0});
    SetRaw(L"Open", reg::kSz, {'a', 0, 'b', 0});
    SetRaw(L"Num", reg::kDword, {0, 0, 0, 0});
    EXPECT_FALSE(ReadStringValue(key_, L"Odd", out));
    EXPECT_FALSE(ReadStringValue(key_, L"Open", out));
    EXPECT_FALSE(ReadStringValue(key_, L"Num", out));
    EXPECT_FALSE(ReadStringValue(key_, L"Missing", out));
    EXPECT_EQ(out, L"kept");
}

TEST_F(RegValueTest, LongTextsAreReadWhole) {
    // 1023 characters fill the first buffer exactly; 1024 and 5000 need it doubled.
    for (std::size_t length : {1023u, 1024u, 5000u}) {
        std::wstring text;
        for (std::size_t i = 0; i < length; ++i)
            text += static_cast<wchar_t>(L'a' + i % 26);
        text.back() = L'\u5199';
        ASSERT_EQ(WriteStringValue(key_, L"Long", text), 0);
        std::wstring out;
        EXPECT_TRUE(ReadStringValue(key_, L"Long", out)) << length;
        EXPECT_EQ(out, text) << length;
    }
}

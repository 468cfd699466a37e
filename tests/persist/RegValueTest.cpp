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

TEST_F(RegValueTest, NumbersAreFourByteDwordsOnly) {
    EXPECT_EQ(WriteDwordValue(key_, L"N", 0xFFFFFFFB), 0);
    u32 unsignedOut = 0;
    i32 signedOut = 0;
    EXPECT_TRUE(ReadDwordValue(key_, L"N", unsignedOut));
    EXPECT_EQ(unsignedOut, 0xFFFFFFFBu);
    EXPECT_TRUE(ReadDwordValue(key_, L"N", signedOut));
    EXPECT_EQ(signedOut, -5);

    SetRaw(L"Q", reg::kQword, {1, 0, 0, 0, 0, 0, 0, 0});
    SetRaw(L"S", reg::kSz, {'7', 0, 0, 0});
    SetRaw(L"Short", reg::kDword, {1, 0});
    SetRaw(L"B", reg::kBinary, {1, 0, 0, 0});
    u32 kept = 77;
    EXPECT_FALSE(ReadDwordValue(key_, L"Q", kept));
    EXPECT_FALSE(ReadDwordValue(key_, L"S", kept));
    EXPECT_FALSE(ReadDwordValue(key_, L"Short", kept));
    EXPECT_FALSE(ReadDwordValue(key_, L"B", kept));
    EXPECT_FALSE(ReadDwordValue(key_, L"Missing", kept));
    EXPECT_EQ(kept, 77u);

    // Flags: 1 and 0 on writing, anything but 0 is true on reading.
    SetRaw(L"F", reg::kDword, {7, 0, 0, 0});
    bool flag = false;
    EXPECT_TRUE(ReadBoolValue(key_, L"F", flag));
    EXPECT_TRUE(flag);
    EXPECT_EQ(WriteDwordValue(key_, L"F", 0), 0);
    EXPECT_TRUE(ReadBoolValue(key_, L"F", flag));
    EXPECT_FALSE(flag);
    flag = true;
    EXPECT_FALSE(ReadBoolValue(key_, L"Q", flag));
    EXPECT_TRUE(flag);

    // A key opened for reading refuses the write.
    CRegKey reader;
    ASSERT_EQ(reader.Open(root_, L"Software\\Test", reg::kKeyRead), 0);
    EXPECT_EQ(WriteDwordValue(reader, L"N", 1), 5);
}

TEST_F(RegValueTest, TextsKeepTheirTerminatorRule) {
    EXPECT_EQ(WriteStringValue(key_, L"T", L"ab"), 0);
    u32 type = 0;
    u8 bytes[16] = {};
    u32 size = sizeof bytes;
    ASSERT_EQ(key_.QueryValue(L"T", &type, bytes, &size), 0);
    EXPECT_EQ(type, reg::kSz);
    EXPECT_EQ(std::vector<u8>(bytes, bytes + size), (std::vector<u8>{'a', 0, 'b', 0, 0, 0}));
    EXPECT_EQ(WriteStringValue(key_, L"T", static_cast<const wchar_t*>(nullptr)), 13);
    EXPECT_EQ(WriteStringValue(key_, nullptr, L"default"), 0);

    std::wstring out = L"kept";
    EXPECT_TRUE(ReadStringValue(key_, L"T", out));
    EXPECT_EQ(out, L"ab");
    EXPECT_TRUE(ReadStringValue(key_, nullptr, out));
    EXPECT_EQ(out, L"default");

    SetRaw(L"Expand", reg::kExpandSz, {'%', 0, 'X', 0, '%', 0, 0, 0});
    EXPECT_TRUE(ReadStringValue(key_, L"Expand", out));
    EXPECT_EQ(out, L"%X%");
    SetRaw(L"Inner", reg::kSz, {'a', 0, 0, 0, 'b', 0, 0, 0});
    EXPECT_TRUE(ReadStringValue(key_, L"Inner", out));
    EXPECT_EQ(out, std::wstring(L"a\0b", 3));
    SetRaw(L"Empty", reg::kSz, {});
    EXPECT_TRUE(ReadStringValue(key_, L"Empty", out));
    EXPECT_EQ(out, L"");

    out = L"kept";
    SetRaw(L"Odd", reg::kSz, {'a', 0, 0});
    SetRaw(L"Open", reg::kSz, {'a', 0, 'b', 0});
    SetRaw(L"Bin", reg::kBinary, {'a', 0, 0, 0});
    SetRaw(L"Num", reg::kDword, {0, 0, 0, 0});
    EXPECT_FALSE(ReadStringValue(key_, L"Odd", out));
    EXPECT_FALSE(ReadStringValue(key_, L"Open", out));
    EXPECT_FALSE(ReadStringValue(key_, L"Bin", out));
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

TEST_F(RegValueTest, RectanglesAreFourValuesBehindAPrefix) {
    Rect rect{-10, 20, 810, 620};
    EXPECT_TRUE(WriteWindowRect(key_, L"Main", rect));
    u32 left = 0;
    EXPECT_TRUE(ReadDwordValue(key_, L"MainLeft", left));
    EXPECT_EQ(left, 0xFFFFFFF6u);
    Rect out;
    EXPECT_TRUE(ReadWindowRect(key_, L"Main", out));
    EXPECT_EQ(out, rect);

    CRegKey partial;
    ASSERT_EQ(partial.Create(root_, L"Software\\Partial", reg::kKeyReadWrite), 0);
    EXPECT_EQ(WriteDwordValue(partial, L"Left", 1), 0);
    EXPECT_EQ(WriteDwordValue(partial, L"Top", 2), 0);
    EXPECT_EQ(WriteDwordValue(partial, L"Right", 3), 0);
    Rect kept{5, 6, 7, 8};
    EXPECT_FALSE(ReadWindowRect(partial, L"", kept));
    EXPECT_EQ(kept, (Rect{5, 6, 7, 8}));

    CRegKey reader;
    ASSERT_EQ(reader.Open(root_, L"Software\\Partial", reg::kKeyRead), 0);
    EXPECT_FALSE(WriteWindowRect(reader, L"", rect));
}

TEST_F(RegValueTest, TheApplicationKeyComesFromTheStringTable) {
    CAppRegKey app;
    EXPECT_EQ(app.Open(root_, 130, 131), 0);
    EXPECT_EQ(app.Maker(), L"Harrowmere");
    EXPECT_EQ(app.Product(), L"Lunavex");
    EXPECT_EQ(app.KeyPath(), L"Software\\Harrowmere\\Lunavex32");
    EXPECT_EQ(app.OpenSection(L"Setting"), L"Software\\Harrowmere\\Lunavex32\\Setting");
    EXPECT_TRUE(app.Key().IsOpen());
    EXPECT_EQ(app.Key().Access(), reg::kKeyReadWrite);
    CRegKey check;
    EXPECT_EQ(check.Open(app.Root(), L"Software\\Harrowmere\\Lunavex32", reg::kKeyRead), 0);
    // OpenSection touches nothing.
    EXPECT_EQ(check.Open(app.Root(), app.OpenSection(L"Setting"), reg::kKeyRead), 2);
}

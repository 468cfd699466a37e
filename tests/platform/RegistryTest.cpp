// Tests of the registry key handles: the Win32 codes of open, create, query and set. That a
// batch of writes goes out as one write is SettingsTest's (a save).
#include "platform/Registry.h"

#include <gtest/gtest.h>

#include "support/XdgSandbox.h"

TEST(RegistryTest, OpenAndCreateAnswerWithWin32Codes) {
    XdgSandbox sandbox;
    CRegKey root = CRegKey::CurrentUser();
    ASSERT_TRUE(root.IsOpen());

    CRegKey key;
    EXPECT_EQ(key.Open(root, L"Software\\Harrowmere", reg::kKeyRead), 2);
    EXPECT_FALSE(key.IsOpen());
    EXPECT_EQ(key.Create(root, L"Software\\Harrowmere\\Lunavex32", reg::kKeyReadWrite), 0);
    EXPECT_EQ(key.Path(), L"Software\\Harrowmere\\Lunavex32");
    EXPECT_EQ(key.Access(), 0x0002001Fu);

    CRegKey parent;
    EXPECT_EQ(parent.Open(root, L"SOFTWARE\\harrowmere", reg::kKeyRead), 0);
    CRegKey child;
    EXPECT_EQ(child.Open(parent, L"Lunavex32", reg::kKeyRead), 0);
    // A key opened for reading cannot make sub-keys, but can open existing ones by Create.
    EXPECT_EQ(child.Create(parent, L"New", reg::kKeyReadWrite), 5);
    EXPECT_EQ(child.Create(parent, L"Lunavex32", reg::kKeyRead), 0);
    EXPECT_EQ(child.Open(parent, L"", reg::kKeyRead), 0);
    EXPECT_EQ(child.Path(), L"SOFTWARE\\harrowmere");

    EXPECT_EQ(child.Open(root, L"\\Software", reg::kKeyRead), 161);
    EXPECT_EQ(child.Open(root, L"Software\\\\Harrowmere", reg::kKeyRead), 161);
    EXPECT_EQ(child.Open(root, L"Software\\", reg::kKeyRead), 161);

    CRegKey closed;
    EXPECT_EQ(child.Open(closed, L"Software", reg::kKeyRead), 6);
    u32 size = 0;
    EXPECT_EQ(closed.QueryValue(L"x", nullptr, nullptr, &size), 6);
    EXPECT_EQ(closed.SetValue(L"x", reg::kDword, &size, 4), 6);
    EXPECT_EQ(key.Close(), 0);
    EXPECT_FALSE(key.IsOpen());
}

TEST(RegistryTest, QueryAndSetFollowRegQueryValueEx) {
    XdgSandbox sandbox;
    CRegKey root = CRegKey::CurrentUser();
    CRegKey key;
    ASSERT_EQ(key.Create(root, L"Software\\T", reg::kKeyReadWrite), 0);

    const u8 text[] = {'a', 0, 'b', 0, 'c', 0, 0, 0};
    EXPECT_EQ(key.SetValue(L"Text", reg::kSz, text, sizeof text), 0);

    u32 type = 99;
    u32 size = 0;
    EXPECT_EQ(key.QueryValue(L"TEXT", &type, nullptr, &size), 0);
    EXPECT_EQ(type, reg::kSz);
    EXPECT_EQ(size, 8u);

    u8 small[4] = {9, 9, 9, 9};
    size = sizeof small;
    type = 99;
    EXPECT_EQ(key.QueryValue(L"Text", &type, small, &size), 234);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(type, reg::kSz);
    EXPECT_EQ(small[0], 9);
    EXPECT_EQ(key.QueryValue(L"Missing", &type, small, &size), 2);

    // A key without KEY_QUERY_VALUE cannot query. Whole reads, the default value, empty values
    // and a reader's refused write are RegValueTest's.
    CRegKey writer;
    ASSERT_EQ(writer.Open(root, L"Software\\T", reg::kSetValue), 0);
    EXPECT_EQ(writer.QueryValue(L"Text", &type, small, &size), 5);
}

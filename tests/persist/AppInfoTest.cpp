// Tests of the application identity: names from the string table, the version for the About box.
#include "persist/AppInfo.h"

#include <gtest/gtest.h>

#include "resources/Version.h"

TEST(AppInfoTest, InitReadsTheIdentityOnce) {
    CAppInfo info;
    EXPECT_FALSE(info.IsInitialised());
    info.Init(130, 131, 137, 137);
    EXPECT_TRUE(info.IsInitialised());
    EXPECT_EQ(info.Maker(), L"Harrowmere");
    EXPECT_EQ(info.Product(), L"Lunavex");
    EXPECT_EQ(info.Title(), L"Lunavex");
    EXPECT_EQ(info.IconId(), 137u);
    EXPECT_EQ(info.Version(), (std::array<u16, 4>{LVX_VERSION_MAJOR, LVX_VERSION_MINOR,
                                                  LVX_VERSION_PATCH, LVX_VERSION_TWEAK}));
    EXPECT_EQ(info.Copyright(), LVX_COPYRIGHT_WTEXT);
    EXPECT_EQ(info.TitleAndVersion(), L"Lunavex  " + std::wstring(LVX_VERSION_WTEXT));

    // A second call changes nothing.
    info.Init(134, 134, 134, 1);
    EXPECT_EQ(info.Maker(), L"Harrowmere");
    EXPECT_EQ(info.IconId(), 137u);

    EXPECT_TRUE(info.HomeAddress().empty());
    info.SetHomeAddress(134);
    EXPECT_EQ(info.HomeAddress(), L"https://harrowmere.example/lunavex/");
    EXPECT_EQ(&TheAppInfo(), &TheAppInfo());
}

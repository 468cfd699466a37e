// Tests of the About box's link: handed to the desktop's opener, a stand-in on PATH, and a beep
// when the opener's failure arrives.
#include "ui/AboutDlg.h"

#include <gtest/gtest.h>

#include <QTest>

#include "foundation/ResString.h"
#include "foundation/Utf8.h"
#include "persist/AppInfo.h"
#include "platform/qt/QtChildWatch.h"
#include "support/StandInShell.h"

namespace {

// A generous bound for the opener's answer; it only keeps a broken test from hanging.
constexpr int kArrivalBoundMs = 30000;

class AboutDlgTest : public ::testing::Test {
protected:
    void SetUp() override {
        TheAppInfo().Init(130, 131, 137, 137);
        TheAppInfo().SetHomeAddress(134);
    }

    CQtChildWatch watch;
    CStandInShell shell;
    int beeps = 0;
};

TEST_F(AboutDlgTest, AFailedLinkBeepsWhenTheAnswerArrivesEvenAfterTheBoxHasGone) {
    shell.Set("xdg-open", 4, true);
    {
        CAboutDlg about(nullptr);
        about.beep = [this] { ++beeps; };
        about.OpenLink();
    }
    ASSERT_TRUE(shell.WaitUntilStarted("xdg-open"));
    EXPECT_FALSE(shell.Released("xdg-open")) << "the link returned while the opener waited";
    EXPECT_EQ(beeps, 0);

    shell.Release("xdg-open");
    ASSERT_TRUE(QTest::qWaitFor([this] { return beeps > 0; }, kArrivalBoundMs));
    EXPECT_EQ(beeps, 1);
    EXPECT_EQ(shell.Calls(), "xdg-open\n" + Utf8FromWide(TheAppInfo().HomeAddress()) + "\n--\n");
}

TEST_F(AboutDlgTest, ALinkThatOpensMakesNoSoundAndAnOpenerThatCannotStartBeepsAtOnce) {
    CAboutDlg about(nullptr);
    about.beep = [this] { ++beeps; };
    about.OpenLink();
    ASSERT_EQ(watch.Watching(), 1u);
    ASSERT_TRUE(QTest::qWaitFor([this] { return watch.Watching() == 0; }, kArrivalBoundMs));
    EXPECT_EQ(beeps, 0);

    shell.Remove("xdg-open");
    about.OpenLink();
    EXPECT_EQ(beeps, 1);
    EXPECT_EQ(watch.Watching(), 0u);
}

} // namespace

// Tests of the About box: what it shows, and its link handed to the desktop's opener, a stand-in on
// PATH, with a beep when the opener's failure arrives.
#include "ui/AboutDlg.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include "foundation/ResString.h"
#include "foundation/Utf8.h"
#include "persist/AppInfo.h"
#include "platform/qt/QtChildWatch.h"
#include "resources/Version.h"
#include "support/StandInShell.h"
#include "ui/ControlId.h"

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

TEST_F(AboutDlgTest, TheBoxShowsIdentityAndTheHomeAddressAndOkAccepts) {
    CAboutDlg about(nullptr);

    auto* title = qobject_cast<QLabel*>(FindControl(&about, aboutctl::kTitle));
    auto* copyright = qobject_cast<QLabel*>(FindControl(&about, aboutctl::kCopyright));
    auto* link = qobject_cast<QLabel*>(FindControl(&about, aboutctl::kLink));
    auto* icon = qobject_cast<QLabel*>(FindControl(&about, aboutctl::kIcon));
    auto* ok = qobject_cast<QPushButton*>(FindControl(&about, 1));
    ASSERT_TRUE(title && copyright && link && icon && ok);
    // The product's name from the string table, two blanks, and the version of the build.
    EXPECT_EQ(title->text().toStdWString(), std::wstring(L"Lunavex  ") + LVX_VERSION_WTEXT);
    EXPECT_EQ(copyright->text().toStdWString(), LVX_COPYRIGHT_WTEXT);
    EXPECT_EQ(link->text(), QStringLiteral("https://harrowmere.example/lunavex/"));
    EXPECT_FALSE(icon->pixmap().isNull());
    EXPECT_TRUE(ok->isDefault());

    // No label cuts its text.
    for (QLabel* label : about.findChildren<QLabel*>()) {
        if (!label->text().isEmpty()) {
            EXPECT_GE(label->width(), label->sizeHint().width()) << label->text().toStdString();
        }
    }

    // OK closes with the accepting answer.
    QTimer::singleShot(0, ok, &QPushButton::click);
    EXPECT_EQ(about.exec(), QDialog::Accepted);
}

} // namespace

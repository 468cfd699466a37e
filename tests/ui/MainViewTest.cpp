// Tests of the main view without a command table: typing into its lists, the tab order of the
// format group, stored values outside the lists, the enabling rules and the wiring of the quality
// pair and the anchor.
#include "ui/MainView.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QtTest/QTest>

#include "batch/Setting.h"
#include "support/QtPixels.h"
#include "ui/ColorWidget.h"
#include "ui/ControlText.h"
#include "ui/DibWidget.h"

namespace {

using lvx::CMainView;
namespace ctl = lvx::ctl;

class MainViewTest : public ::testing::Test {
protected:
    void SetUp() override { TheSetting() = CSetting(); }

    static std::wstring TextOf(const CMainView& view, i32 id) {
        std::wstring text;
        GetControlText(view.Control(id), text);
        return text;
    }
    static QComboBox* Combo(const CMainView& view, i32 id) {
        return qobject_cast<QComboBox*>(view.Control(id));
    }
    static bool Enabled(const CMainView& view, i32 id) { return view.Control(id)->isEnabled(); }
    // Shows the view as the active window, so that keys reach it.
    static ::testing::AssertionResult Activate(CMainView& view) {
        view.show();
        QApplication::setActiveWindow(&view);
        return QTest::qWaitForWindowActive(&view) ? ::testing::AssertionSuccess()
                                                  : ::testing::AssertionFailure() << "not active";
    }
    static void Click(const CMainView& view, i32 id) {
        qobject_cast<QAbstractButton*>(view.Control(id))->click();
    }
    // The user chooses an entry: the selection moves, then the choice is announced.
    static void Choose(const CMainView& view, i32 id, int index) {
        QComboBox* combo = Combo(view, id);
        combo->setCurrentIndex(index);
        emit combo->activated(index);
    }
};

TEST_F(MainViewTest, EditableCombosKeepExactlyWhatWasTyped) {
    CMainView view;
    ASSERT_TRUE(Activate(view));
    // "100" is the start of the list entry "1000", and "ROUND" differs from "round" in case only.
    ASSERT_GE(Combo(view, ctl::kCustomWidth)->findText("1000"), 0);
    const struct {
        i32 id;
        const char* typed;
    } cases[] = {{ctl::kCustomWidth, "100"}, {ctl::kSubFolder, "ROUND"}};
    for (const auto& c : cases) {
        view.Control(c.id)->setEnabled(true); // as the custom shrink choice leaves it
        QLineEdit* edit = Combo(view, c.id)->lineEdit();
        edit->setFocus();
        edit->selectAll();
        QTest::keyClicks(edit, c.typed);
        EXPECT_EQ(TextOf(view, c.id), QString(c.typed).toStdWString());
        QTest::keyClick(edit, Qt::Key_Return);
        EXPECT_EQ(TextOf(view, c.id), QString(c.typed).toStdWString()) << "Enter keeps it";
        view.Control(ctl::kRadius)->setFocus();
        EXPECT_EQ(TextOf(view, c.id), QString(c.typed).toStdWString()) << "leaving keeps it";
    }
}

TEST_F(MainViewTest, TabReachesTheChosenFormat) {
    for (auto [saveType, chosen] : {std::pair{2u, ctl::kJpeg}, {1u, ctl::kPng}, {3u, ctl::kWebp}}) {
        TheSetting().saveType = saveType;
        CMainView view;
        ASSERT_TRUE(Activate(view));
        ASSERT_TRUE(view.IsChecked(chosen));
        // Tab from the control before the group, and Shift+Tab from the one after it.
        view.Control(ctl::kCustomHeight)->setEnabled(true);
        view.Control(ctl::kCustomHeight)->setFocus();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        EXPECT_EQ(QApplication::focusWidget(), view.Control(chosen)) << saveType;
        view.Control(ctl::kQualityNumber)->setEnabled(true);
        view.Control(ctl::kQualityNumber)->setFocus();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab, Qt::ShiftModifier);
        EXPECT_EQ(QApplication::focusWidget(), view.Control(chosen)) << saveType;
    }
}

TEST_F(MainViewTest, StoredValuesOutsideTheListsShowNoSelection) {
    TheSetting().saveType = 0;
    TheSetting().jpegQuality = 55;
    TheSetting().shrink.shrinkType = 2;
    TheSetting().shrink.shrinkWidth = 123;
    TheSetting().round.corners = 0;
    TheSetting().round.edges = 8;
    CMainView view;
    EXPECT_TRUE(view.IsChecked(ctl::kPng));
    EXPECT_EQ(Combo(view, ctl::kShrink)->currentIndex(), -1);
    EXPECT_EQ(TextOf(view, ctl::kQualityNumber), L"55");
    EXPECT_EQ(Combo(view, ctl::kQualityName)->currentIndex(), -1);
    EXPECT_EQ(view.detailPane->Anchor(), 3u);
}

TEST_F(MainViewTest, EnablingRulesAndTheHandlersThatEnableByChoice) {
    CMainView view;
    const i32 idle[] = {141, 151, 152, 173, 174, 175, 176, 177, 146, 153, 155, 156, 157,
                        158, 147, 149, 166, 159, 160, 161, 162, 148, 150, 167, 165, 164};
    for (i32 id : idle)
        EXPECT_TRUE(Enabled(view, id)) << id;
    EXPECT_FALSE(Enabled(view, ctl::kStop));
    // Default: JPEG, no shrink.
    EXPECT_TRUE(Enabled(view, ctl::kQualityNumber));
    EXPECT_TRUE(Enabled(view, ctl::kQualityName));
    EXPECT_FALSE(Enabled(view, ctl::kTransparent));
    EXPECT_FALSE(Enabled(view, ctl::kCustomWidth));
    EXPECT_FALSE(Enabled(view, ctl::kCustomHeight));

    view.UpdateControlStates(true);
    for (i32 id : idle)
        EXPECT_FALSE(Enabled(view, id)) << id;
    EXPECT_TRUE(Enabled(view, ctl::kStop));
    for (i32 id : {142, 143, 144, 145, 154})
        EXPECT_FALSE(Enabled(view, id)) << id;

    TheSetting().saveType = 1;
    TheSetting().shrink.shrinkType = 1;
    view.UpdateControlStates(false);
    EXPECT_FALSE(Enabled(view, ctl::kStop));
    EXPECT_TRUE(Enabled(view, ctl::kTransparent));
    EXPECT_FALSE(Enabled(view, ctl::kQualityNumber));
    EXPECT_FALSE(Enabled(view, ctl::kQualityName));
    EXPECT_TRUE(Enabled(view, ctl::kCustomWidth));
    EXPECT_TRUE(Enabled(view, ctl::kCustomHeight));

    // Shrink kind 1 (the custom size) enables the custom controls, any other kind disables them.
    Choose(view, ctl::kShrink, 1);
    EXPECT_TRUE(Enabled(view, ctl::kCustomWidth));
    EXPECT_TRUE(Enabled(view, ctl::kCustomHeight));
    Choose(view, ctl::kShrink, 2);
    EXPECT_FALSE(Enabled(view, ctl::kCustomWidth));
    // No selection: nothing happens.
    Choose(view, ctl::kShrink, 1);
    Choose(view, ctl::kShrink, -1);
    EXPECT_TRUE(Enabled(view, ctl::kCustomWidth));

    // An arrow key moves the choice: PNG enables Transparent and greys the quality, JPEG the
    // other way round.
    ASSERT_TRUE(Activate(view));
    view.Control(ctl::kJpeg)->setFocus();
    for (const i32 chosen : {ctl::kPng, ctl::kJpeg}) {
        QTest::keyClick(QApplication::focusWidget(),
                        chosen == ctl::kPng ? Qt::Key_Up : Qt::Key_Down);
        ASSERT_TRUE(view.IsChecked(chosen));
        EXPECT_EQ(Enabled(view, ctl::kTransparent), chosen == ctl::kPng);
        EXPECT_EQ(Enabled(view, ctl::kQualityNumber), chosen == ctl::kJpeg);
        EXPECT_EQ(Enabled(view, ctl::kQualityName), chosen == ctl::kJpeg);
    }
    // WebP below JPEG holds alpha and takes the quality: both enabled.
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
    ASSERT_TRUE(view.IsChecked(ctl::kWebp));
    EXPECT_TRUE(Enabled(view, ctl::kTransparent));
    EXPECT_TRUE(Enabled(view, ctl::kQualityName));
}

TEST_F(MainViewTest, QualityPairColourTextAndAnchorFollowTheirControls) {
    CMainView view;
    QWidget* number = view.Control(ctl::kQualityNumber);
    SetControlText(number, L"30", true);
    EXPECT_EQ(Combo(view, ctl::kQualityName)->currentIndex(), 1);
    EXPECT_EQ(TextOf(view, ctl::kQualityName), L"低");
    // A value in no entry clears the selection; the value stands.
    SetControlText(number, L"55", true);
    EXPECT_EQ(Combo(view, ctl::kQualityName)->currentIndex(), -1);
    EXPECT_EQ(TextOf(view, ctl::kQualityNumber), L"55");
    // Text that does not read changes nothing.
    SetControlText(number, L"50", true);
    SetControlText(number, L"", true);
    EXPECT_EQ(Combo(view, ctl::kQualityName)->currentIndex(), 2);
    // Choosing a name writes its value.
    Choose(view, ctl::kQualityName, 4);
    EXPECT_EQ(TextOf(view, ctl::kQualityNumber), L"100");
    Choose(view, ctl::kQualityName, 0);
    EXPECT_EQ(TextOf(view, ctl::kQualityNumber), L"0");
    EXPECT_EQ(Combo(view, ctl::kQualityName)->currentIndex(), 0);

    QWidget* color = view.Control(ctl::kColorText);
    const std::pair<const wchar_t*, u32> colours[] = {
        {L"FF0000", 0x0000FF}, {L"F", 0x0F0F0F}, {L"FFF", 0}};
    for (const auto& [text, swatch] : colours) {
        SetControlText(color, text, true);
        EXPECT_EQ(view.swatch->Color(), swatch) << text;
    }

    // Anchor order: top left, top right, bottom left, bottom right. Each row clicks its checks
    // in turn; the corners all clear leave the edges left and top, then right, then bottom only.
    const std::pair<std::vector<i32>, u32> clicks[] = {
        {{ctl::kTopLeft}, 4},     {{ctl::kTopRight}, 2},        {{ctl::kBottomLeft}, 3},
        {{ctl::kBottomRight}, 1}, {{ctl::kLeft, ctl::kTop}, 4}, {{ctl::kRight}, 3}};
    for (const auto& [ids, anchor] : clicks) {
        for (i32 id : ids)
            Click(view, id);
        EXPECT_EQ(view.detailPane->Anchor(), anchor) << ids.front();
    }
}

// The swatch lies in a group box, whose frame tints what it covers: the window shows it exactly.
TEST_F(MainViewTest, TheSwatchShowsItsExactColour) {
    CMainView view;
    view.show();
    const Rect r = view.swatch->GetRect();
    for (const u8 grey : {u8{255}, u8{192}}) {
        view.swatch->SetColor(grey * 0x010101u);
        const QImage image = view.grab().toImage().convertToFormat(QImage::Format_ARGB32);
        EXPECT_TRUE(
            testutil::PixelsAt(image, {{r.left, r.top, {0xA0, 0xA0, 0xA0, 255}},
                                       {r.left + 2, r.top + 2, {grey, grey, grey, 255}},
                                       {r.right - 3, r.bottom - 3, {grey, grey, grey, 255}}}));
    }
}

// Run by ctest at QT_SCALE_FACTOR=2: the panes are made and drawn in device pixels.
TEST(MainViewScaledTest, ThePanesDrawOneImagePixelOnOneDevicePixel) {
    if (qApp->devicePixelRatio() != 2.0)
        GTEST_SKIP() << "needs QT_SCALE_FACTOR=2";
    TheSetting() = CSetting();
    CMainView view;
    // A source larger than both panes whose neighbouring pixels all differ.
    view.lastSource.reset(new CPreviewSource);
    ASSERT_EQ(view.lastSource->Build(*testutil::MakeDib(
                  1500, 1500,
                  [](i32 x, i32 y) {
                      return testutil::Bgra{u8(x * 7), u8(y * 11), u8(x + y), 255};
                  })),
              hr::kOk);
    ASSERT_TRUE(view.ShowPreview());
    const Rect detail = view.detailPane->GetRect();
    const CDibPtr& corner = view.detailPane->Shown();
    ASSERT_EQ(corner->Width(), detail.Width() * 2);
    ASSERT_EQ(corner->Height(), detail.Height() * 2);
    EXPECT_GT(view.wholePane->Image()->Height(), view.wholePane->GetRect().Height());
    // Top left: the image's (x, y) is the screen's (2 left + x, 2 top + y), clear of the corner.
    const QImage shown = view.grab().toImage().convertToFormat(QImage::Format_ARGB32);
    for (int x = 40; x < 44; ++x)
        EXPECT_EQ(testutil::PixelOf(shown, 2 * detail.left + x, 2 * detail.top + 40),
                  testutil::PixelOf(*corner, x, 40));
}

} // namespace

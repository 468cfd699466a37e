// Tests of the main view without a command table: the controls of the template, the values that
// a first start shows, the enabling rules and the wiring of the quality pair.
#include "ui/MainView.h"

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSlider>
#include <QtTest/QTest>

#include "batch/Setting.h"
#include "foundation/ResString.h"
#include "ui/ColorWidget.h"
#include "ui/ControlId.h"
#include "ui/ControlText.h"
#include "ui/DialogUnits.h"
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
    // The user chooses an entry: the selection moves, then the choice is announced.
    static void Choose(const CMainView& view, i32 id, int index) {
        QComboBox* combo = Combo(view, id);
        combo->setCurrentIndex(index);
        emit combo->activated(index);
    }
};

TEST_F(MainViewTest, TemplateControlsByIdKindAndRectangle) {
    CMainView view;
    EXPECT_EQ(lvx::TheView(), &view);
    EXPECT_EQ(view.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly).size(), 45);
    for (i32 id = 141; id <= 172; ++id) {
        ASSERT_NE(view.Control(id), nullptr) << id;
        EXPECT_EQ(ControlIdOf(view.Control(id)), id);
        EXPECT_EQ(FindControl(&view, id), view.Control(id));
    }
    EXPECT_EQ(view.Control(140), nullptr);
    EXPECT_EQ(view.Control(173), nullptr);

    CDialogUnits du(view.font());
    EXPECT_EQ(view.size(), du.Size(432, 308));
    EXPECT_EQ(view.Control(ctl::kRadius)->geometry(), du.Rect(130, 144, 24, 13));
    EXPECT_EQ(view.Control(ctl::kProgress)->geometry(), du.Rect(7, 295, 418, 6));
    EXPECT_EQ(view.Control(ctl::kWholePane)->geometry(), du.Rect(290, 142, 135, 124));
    EXPECT_EQ(view.Control(ctl::kShrink)->geometry().topLeft(),
              du.Rect(16, 20, 138, 290).topLeft());

    // Kinds: editable combos, drop-down lists, a digits-only edit, sliders, a progress bar.
    for (i32 id : {ctl::kCustomWidth, ctl::kCustomHeight, ctl::kSubFolder})
        EXPECT_TRUE(Combo(view, id)->isEditable()) << id;
    for (i32 id : {ctl::kShrink, ctl::kQualityName, ctl::kRadiusUnit, ctl::kBlurUnit})
        EXPECT_FALSE(Combo(view, id)->isEditable()) << id;
    auto* quality = qobject_cast<QLineEdit*>(view.Control(ctl::kQualityNumber));
    ASSERT_NE(quality->validator(), nullptr);
    QString letters = QStringLiteral("8a");
    int pos = 0;
    EXPECT_EQ(quality->validator()->validate(letters, pos), QValidator::Invalid);
    EXPECT_NE(qobject_cast<QSlider*>(view.Control(ctl::kRadiusSlider)), nullptr);
    EXPECT_NE(qobject_cast<QProgressBar*>(view.Control(ctl::kProgress)), nullptr);
    // The three frames only lend their rectangles.
    for (i32 id : {ctl::kSwatch, ctl::kDetailPane, ctl::kWholePane})
        EXPECT_TRUE(view.Control(id)->isHidden()) << id;

    // Captions of the template.
    EXPECT_EQ(TextOf(view, ctl::kJpeg), L"ジェイペグ形式 (*.&jpg) - 高圧縮");
    EXPECT_EQ(TextOf(view, ctl::kStop), L"中止");
    EXPECT_EQ(TextOf(view, ctl::kOpenOutput), L"出力先を開く(&F)");
    EXPECT_EQ(TextOf(view, ctl::kStatus),
              L"エクスプローラーなどから、角を丸めたい画像ファイルをドラッグ＆ドロップします");
    EXPECT_TRUE(qobject_cast<QPushButton*>(view.Control(ctl::kStop))->isDefault());

    // Tab order: the focus chain runs through the template's order.
    const std::vector<i32> order = {141, 142, 143, 151, 152, 144, 145, 146, 153,
                                    154, 155, 158, 156, 157, 147, 149, 166, 160,
                                    159, 161, 162, 148, 150, 167, 165, 163, 164};
    std::vector<i32> seen;
    QWidget* w = view.Control(141);
    for (int steps = 0; steps < 500 && seen.size() < order.size();
         ++steps, w = w->nextInFocusChain()) {
        i32 id = ControlIdOf(w);
        if (std::find(order.begin(), order.end(), id) != order.end() &&
            std::find(seen.begin(), seen.end(), id) == seen.end())
            seen.push_back(id);
    }
    EXPECT_EQ(seen, order);
}

TEST_F(MainViewTest, FirstStartShowsTheDefaults) {
    CMainView view;
    EXPECT_EQ(TextOf(view, ctl::kShrink), L"縮小しない");
    EXPECT_EQ(Combo(view, ctl::kShrink)->count(), 18);
    EXPECT_EQ(TextOf(view, ctl::kCustomWidth), L"200");
    EXPECT_EQ(TextOf(view, ctl::kCustomHeight), L"1000");
    EXPECT_EQ(Combo(view, ctl::kCustomWidth)->count(), 16);
    EXPECT_EQ(Combo(view, ctl::kCustomWidth)->currentIndex(), -1);
    EXPECT_TRUE(view.IsChecked(ctl::kJpeg));
    EXPECT_FALSE(view.IsChecked(ctl::kPng));
    EXPECT_EQ(TextOf(view, ctl::kQualityNumber), L"80");
    EXPECT_EQ(TextOf(view, ctl::kQualityName), L"高");
    EXPECT_EQ(Combo(view, ctl::kQualityName)->count(), 5);
    EXPECT_EQ(TextOf(view, ctl::kColorText), L"FFFFFF");
    EXPECT_FALSE(view.IsChecked(ctl::kTransparent));
    for (i32 id = ctl::kTopLeft; id <= ctl::kBottom; ++id)
        EXPECT_TRUE(view.IsChecked(id)) << id;
    EXPECT_EQ(TextOf(view, ctl::kRadius), L"10");
    EXPECT_EQ(TextOf(view, ctl::kRadiusUnit), L"ピクセル");
    EXPECT_EQ(qobject_cast<QSlider*>(view.Control(ctl::kRadiusSlider))->value(), 10);
    EXPECT_EQ(TextOf(view, ctl::kBlurWidth), L"1");
    EXPECT_EQ(TextOf(view, ctl::kBlurUnit), L"ピクセル");
    EXPECT_EQ(qobject_cast<QSlider*>(view.Control(ctl::kBlurSlider))->value(), 1);
    EXPECT_EQ(Combo(view, ctl::kBlurUnit)->itemText(1), QStringLiteral("% (短辺)"));
    EXPECT_EQ(TextOf(view, ctl::kSubFolder), L"round");
    EXPECT_EQ(Combo(view, ctl::kSubFolder)->count(), 1);

    // Widgets: swatch white over 168, whole pane at the right of 170, detail anchor 1.
    ASSERT_TRUE(view.swatch && view.wholePane && view.detailPane);
    EXPECT_EQ(view.swatch->Color(), 0xFFFFFFu);
    EXPECT_EQ(view.swatch->Id(), ctl::kSwatch);
    QRect frame = view.Control(ctl::kWholePane)->geometry();
    const Rect& pane = view.wholePane->GetRect();
    EXPECT_EQ(pane.right, frame.left() + frame.width());
    EXPECT_EQ(pane.top, frame.top());
    EXPECT_EQ(pane.bottom, frame.top() + frame.height());
    // Square, as far as the frame's left allows.
    EXPECT_EQ(pane.Width(), std::min(frame.width(), frame.height()));
    EXPECT_EQ(view.wholePane->Anchor(), 0u);
    EXPECT_EQ(view.detailPane->Anchor(), 1u);
    // The sample is loaded; without a command table no update has shown it.
    ASSERT_TRUE(view.sampleImage);
    EXPECT_EQ(view.sampleImage->Header()->biWidth, 298);
    EXPECT_EQ(view.sampleImage->Header()->biHeight, 372);
}

TEST_F(MainViewTest, EditableCombosKeepExactlyWhatWasTyped) {
    CMainView view;
    view.show();
    QApplication::setActiveWindow(&view);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&view));
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
    for (u32 saveType : {2u, 1u}) {
        TheSetting().saveType = saveType;
        CMainView view;
        view.show();
        QApplication::setActiveWindow(&view);
        ASSERT_TRUE(QTest::qWaitForWindowActive(&view));
        const i32 chosen = saveType == 2 ? ctl::kJpeg : ctl::kPng;
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

TEST_F(MainViewTest, EnablingRules) {
    CMainView view;
    const i32 idle[] = {141, 151, 152, 146, 153, 155, 156, 157, 158, 147, 149,
                        166, 159, 160, 161, 162, 148, 150, 167, 165, 164};
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
}

TEST_F(MainViewTest, ControlHandlersEnableByChoice) {
    CMainView view;
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

    // Each format click sets both sides: PNG enables Transparent and greys the quality, JPEG
    // the other way round.
    qobject_cast<QAbstractButton*>(view.Control(ctl::kPng))->click();
    EXPECT_TRUE(Enabled(view, ctl::kTransparent));
    EXPECT_FALSE(Enabled(view, ctl::kQualityNumber));
    EXPECT_FALSE(Enabled(view, ctl::kQualityName));
    qobject_cast<QAbstractButton*>(view.Control(ctl::kJpeg))->click();
    EXPECT_FALSE(Enabled(view, ctl::kTransparent));
    EXPECT_TRUE(Enabled(view, ctl::kQualityNumber));
    EXPECT_TRUE(Enabled(view, ctl::kQualityName));
    // An arrow key moves the choice within the group and sets the states the same way.
    view.show();
    QApplication::setActiveWindow(&view);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&view));
    view.Control(ctl::kJpeg)->setFocus();
    QTest::keyClick(view.Control(ctl::kJpeg), Qt::Key_Up);
    EXPECT_TRUE(view.IsChecked(ctl::kPng));
    EXPECT_TRUE(Enabled(view, ctl::kTransparent));
    EXPECT_FALSE(Enabled(view, ctl::kQualityNumber));
    QTest::keyClick(view.Control(ctl::kPng), Qt::Key_Down);
    EXPECT_TRUE(view.IsChecked(ctl::kJpeg));
    EXPECT_FALSE(Enabled(view, ctl::kTransparent));
    EXPECT_TRUE(Enabled(view, ctl::kQualityName));
}

TEST_F(MainViewTest, QualityNumberAndNameFollowEachOther) {
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
}

TEST_F(MainViewTest, ColorTextDrivesTheSwatchAndChecksTheAnchor) {
    CMainView view;
    QWidget* color = view.Control(ctl::kColorText);
    SetControlText(color, L"FF0000", true);
    EXPECT_EQ(view.swatch->Color(), 0x0000FFu);
    SetControlText(color, L"F", true);
    EXPECT_EQ(view.swatch->Color(), 0x0F0F0Fu);
    SetControlText(color, L"FFF", true);
    EXPECT_EQ(view.swatch->Color(), 0u);

    // Anchor order: top left, top right, bottom left, bottom right.
    auto click = [&](i32 id) { qobject_cast<QAbstractButton*>(view.Control(id))->click(); };
    click(ctl::kTopLeft);
    EXPECT_EQ(view.detailPane->Anchor(), 4u);
    click(ctl::kTopRight);
    EXPECT_EQ(view.detailPane->Anchor(), 2u);
    click(ctl::kBottomLeft);
    EXPECT_EQ(view.detailPane->Anchor(), 3u);
    click(ctl::kBottomRight);
    EXPECT_EQ(view.detailPane->Anchor(), 1u); // edges left and top
    click(ctl::kLeft);
    click(ctl::kTop);
    EXPECT_EQ(view.detailPane->Anchor(), 4u); // edge right
    click(ctl::kRight);
    EXPECT_EQ(view.detailPane->Anchor(), 3u); // bottom only
}

TEST_F(MainViewTest, TimerAndStop) {
    CMainView view;
    EXPECT_FALSE(view.TimerRunning());
    view.StartTimer();
    EXPECT_TRUE(view.TimerRunning());
    EXPECT_EQ(view.timerId, 1u);
    EXPECT_EQ(view.timerPeriod, 200u);
    view.KillTimer();
    EXPECT_EQ(view.timerId, 0u);
    view.Stop();
    EXPECT_TRUE(view.stopRequested);
}

} // namespace

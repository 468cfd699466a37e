// Tests of the length sets: value edit, unit list and slider in step with the stored length.
#include "ui/LengthCtrlSet.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QSlider>
#include <QtTest/QTest>

#include "batch/Setting.h"
#include "foundation/Exception.h"
#include "resources/StringIds.h"
#include "support/Thrown.h"
#include "ui/ControlText.h"
#include "ui/MainView.h"

namespace {

using lvx::CMainView;
namespace ctl = lvx::ctl;

class LengthCtrlSetTest : public ::testing::Test {
protected:
    void SetUp() override {
        TheSetting() = CSetting();
        view = std::make_unique<CMainView>();
    }
    void TearDown() override { view.reset(); }

    std::wstring Text(i32 id) const {
        std::wstring text;
        GetControlText(view->Control(id), text);
        return text;
    }
    void Type(i32 id, const std::wstring& text) { SetControlText(view->Control(id), text, true); }
    QSlider* Slider(i32 id) const { return qobject_cast<QSlider*>(view->Control(id)); }
    void ChooseUnit(i32 id, int index) {
        auto* combo = qobject_cast<QComboBox*>(view->Control(id));
        combo->setCurrentIndex(index);
        emit combo->activated(index);
    }
    LengthValue& Radius() { return TheSetting().round.radius; }

    std::unique_ptr<CMainView> view;
};

// Text that does not read (the forms are NumbersTest's) leaves field and slider; an empty edit
// stores 0; a negative number is stored, the slider clamps at its ends. The text stays as typed.
TEST_F(LengthCtrlSetTest, TypingStoresTheNumberAndTheSliderWritesWholeNumbers) {
    const struct {
        const wchar_t* typed;
        i32 tenths;
        int slider;
    } cases[] = {
        {L"10.5", 105, 10}, {L"25", 250, 20}, {L"1,5", 250, 20}, {L"", 0, 0}, {L"-1", -10, 0}};
    for (const auto& [typed, tenths, slider] : cases) {
        Type(ctl::kRadius, typed);
        EXPECT_EQ(Radius().tenths, tenths) << typed;
        EXPECT_EQ(Slider(ctl::kRadiusSlider)->value(), slider) << typed;
        EXPECT_EQ(Text(ctl::kRadius), typed);
    }
    EXPECT_EQ(Radius().thousandths, 50) << "the percent number stays untouched";

    Type(ctl::kRadius, L"10.5");
    Slider(ctl::kRadiusSlider)->setValue(3); // a move of the user
    EXPECT_EQ(Text(ctl::kRadius), L"3");
    EXPECT_EQ(Radius().tenths, 30);
    EXPECT_EQ(Slider(ctl::kRadiusSlider)->value(), 3);
    Slider(ctl::kBlurSlider)->setValue(20);
    EXPECT_EQ(Text(ctl::kBlurWidth), L"20");
    EXPECT_EQ(TheSetting().round.blurWidth.tenths, 200);

    QSlider* slider = Slider(ctl::kRadiusSlider);
    // A press and release of the handle that moves nothing.
    Type(ctl::kRadius, L"10.5");
    slider->setSliderDown(true);
    slider->setSliderDown(false);
    EXPECT_EQ(slider->value(), 10);
    EXPECT_EQ(Text(ctl::kRadius), L"10");
    EXPECT_EQ(Radius().tenths, 100);
    // An arrow key against the end: the position stays at 20, the value becomes 20.
    Type(ctl::kRadius, L"25.5");
    slider->setFocus();
    QTest::keyClick(slider, Qt::Key_Right);
    EXPECT_EQ(slider->value(), 20);
    EXPECT_EQ(Text(ctl::kRadius), L"20");
    EXPECT_EQ(Radius().tenths, 200);
    Type(ctl::kRadius, L"-1");
    QTest::keyClick(slider, Qt::Key_Home);
    EXPECT_EQ(Text(ctl::kRadius), L"0");
    EXPECT_EQ(Radius().tenths, 0);
    // A key that moves reports once, with the new position.
    Type(ctl::kRadius, L"3.5");
    QTest::keyClick(slider, Qt::Key_Left);
    EXPECT_EQ(Text(ctl::kRadius), L"2");
    EXPECT_EQ(Radius().tenths, 20);
}

TEST_F(LengthCtrlSetTest, UnitChangeShowsTheOtherNumberAndReadingFailsWithTheControl) {
    ChooseUnit(ctl::kRadiusUnit, 1);
    EXPECT_EQ(Radius().unit, 1u);
    EXPECT_EQ(Text(ctl::kRadius), L"5");
    EXPECT_EQ(Slider(ctl::kRadiusSlider)->value(), 5);
    Type(ctl::kRadius, L"7.5");
    EXPECT_EQ(Radius().thousandths, 75);
    EXPECT_EQ(Radius().tenths, 100);
    ChooseUnit(ctl::kRadiusUnit, 0);
    EXPECT_EQ(Radius().unit, 0u);
    EXPECT_EQ(Text(ctl::kRadius), L"10");
    EXPECT_EQ(Slider(ctl::kRadiusSlider)->value(), 10);
    auto radius = view->lengthSets[0];
    Type(ctl::kRadius, L"12.5");
    radius->ReadLength();
    EXPECT_EQ(Radius().tenths, 125);

    // No selection: dropped without a word; reading the unit then fails naming its own control
    // (a bad number: CommandUpdateDataTest).
    ChooseUnit(ctl::kRadiusUnit, -1);
    EXPECT_EQ(Radius().unit, 0u);
    const auto e = testutil::Thrown<my::CCtrlException>([&] { radius->ReadUnit(); });
    EXPECT_EQ(e.id, strid::kComboValueUnreadable);
    EXPECT_EQ(e.text,
              L"「半径の単位」の値を読み取れません。一覧から選ぶか、数値を入力してください");
    EXPECT_EQ(e.ctrl, view->Control(ctl::kRadiusUnit));
    // ReadLength stores nothing when one part fails.
    Type(ctl::kRadius, L"9");
    Radius().tenths = 125;
    EXPECT_THROW(radius->ReadLength(), my::CCtrlException);
    EXPECT_EQ(Radius().tenths, 125);
}

} // namespace

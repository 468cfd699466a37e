// Tests of the update command on a live view: the settings read back stage by stage, strict
// failures naming the control at fault, the sub-folder history and the preview of the sample.
#include "app/CommandUpdateData.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include <QComboBox>
#include <QImage>
#include <QLineEdit>
#include <QSlider>

#include "app/CommandTable.h"
#include "batch/Setting.h"
#include "foundation/ResString.h"
#include "resources/StringIds.h"
#include "support/LanguageGuard.h"
#include "support/RecordingMsg.h"
#include "support/Thrown.h"
#include "ui/ColorWidget.h"
#include "ui/ControlText.h"
#include "ui/DibWidget.h"
#include "ui/MainView.h"

namespace {

using lvx::CMainView;
namespace ctl = lvx::ctl;

class CommandUpdateDataTest : public ::testing::Test {
protected:
    void SetUp() override {
        TheSetting() = CSetting();
        table = std::make_unique<CCommandTable>();
        view = std::make_unique<CMainView>();
    }
    void TearDown() override {
        view.reset();
        table.reset();
    }

    void Type(i32 id, const std::wstring& text) { SetControlText(view->Control(id), text, true); }
    // The strict update's failure: id, text and control; id 0 when it passes.
    my::CCtrlException Strict() {
        return testutil::Thrown<my::CCtrlException>(
            [&] { table->updateDataStrict->OnExecute(true); });
    }
    void Tolerant() { table->updateData->OnExecute(true); }

    std::unique_ptr<CCommandTable> table;
    std::unique_ptr<CMainView> view;
};

TEST_F(CommandUpdateDataTest, StartShowsTheSampleProcessed) {
    ASSERT_TRUE(view->sampleImage);
    ASSERT_TRUE(view->samplePreview);
    const CDibPtr& whole = view->wholePane->Image();
    const CDibPtr& detail = view->detailPane->Image();
    ASSERT_TRUE(whole);
    ASSERT_TRUE(detail);
    EXPECT_NE(whole, view->sampleImage);
    EXPECT_NE(detail, whole);
    // The whole pane holds the result at the size the pane shows it, never larger than the
    // result; the detail pane holds no more than it can show at real size.
    const Size sample{view->sampleImage->Width(), view->sampleImage->Height()};
    const Rect& wholeRect = view->wholePane->GetRect();
    const Size fitted = FitToPane(Size{wholeRect.Width(), wholeRect.Height()}, sample, 0.01);
    EXPECT_EQ(whole->Width(), std::min(fitted.cx, sample.cx));
    EXPECT_EQ(whole->Height(), std::min(fitted.cy, sample.cy));
    const Rect& detailRect = view->detailPane->GetRect();
    EXPECT_LE(detail->Width(), std::min(detailRect.Width(), sample.cx));
    EXPECT_LE(detail->Height(), std::min(detailRect.Height(), sample.cy));
    // JPEG: the rounded top-left corner is filled with the white background, fully opaque, in
    // both panes.
    for (const CDibPtr& image : {whole, detail})
        EXPECT_EQ(std::vector<u8>(image->PixelAt(0, 0), image->PixelAt(0, 0) + 4),
                  (std::vector<u8>{255, 255, 255, 255}));

    // A change of the background colour recomputes both panes: the corner turns red.
    Type(ctl::kColorText, L"FF0000");
    EXPECT_EQ(TheSetting().round.backgroundColor, 0x0000FFu);
    for (const CDibPtr& image : {view->wholePane->Image(), view->detailPane->Image()})
        EXPECT_EQ(std::vector<u8>(image->PixelAt(0, 0), image->PixelAt(0, 0) + 3),
                  (std::vector<u8>{0, 0, 255}));
    // A source that gives no image leaves the panes as they are.
    CDibPtr before = view->wholePane->Image();
    view->lastSource.reset(new CPreviewSource);
    Tolerant();
    EXPECT_EQ(view->wholePane->Image(), before);
}

// Colours within a few steps of each other: the blend back on to the window may round.
bool Near(QRgb got, QRgb want) {
    return std::abs(qRed(got) - qRed(want)) <= 4 && std::abs(qGreen(got) - qGreen(want)) <= 4 &&
           std::abs(qBlue(got) - qBlue(want)) <= 4;
}

// The view paints the swatch and the detail pane (how a pane paints is the pane's own test).
TEST_F(CommandUpdateDataTest, ViewPaintsSwatchAndPanes) {
    Type(ctl::kColorText, L"0000FF");
    QImage image(view->size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::black);
    view->render(&image);
    const Rect& swatch = view->swatch->GetRect();
    QPoint middle((swatch.left + swatch.right) / 2, (swatch.top + swatch.bottom) / 2);
    EXPECT_TRUE(Near(image.pixel(middle), qRgb(0, 0, 255)));
    // The frame of the swatch is not the colour.
    EXPECT_FALSE(Near(image.pixel(swatch.left, swatch.top), qRgb(0, 0, 255)));
    // The detail pane shows the top-left corner of the image at real size: the pane's first
    // pixel is the rounded corner, filled with the background.
    const Rect& detail = view->detailPane->GetRect();
    EXPECT_TRUE(Near(image.pixel(detail.left, detail.top), qRgb(0, 0, 255)));
}

TEST_F(CommandUpdateDataTest, ReadsEveryControlIntoTheSettings) {
    auto* shrink = qobject_cast<QComboBox*>(view->Control(ctl::kShrink));
    shrink->setCurrentIndex(1);
    Type(ctl::kCustomWidth, L"640");
    Type(ctl::kCustomHeight, L"480");
    view->SetChecked(ctl::kPng, true);
    Type(ctl::kQualityNumber, L"");
    Type(ctl::kColorText, L"0a0B0c");
    view->SetChecked(ctl::kTransparent, true);
    view->SetChecked(ctl::kBottomLeft, false);
    view->SetChecked(ctl::kTop, false);
    Type(ctl::kRadius, L"4.5");
    Type(ctl::kBlurWidth, L"2");
    EXPECT_EQ(Strict().id, 0);
    const CSetting& s = TheSetting();
    EXPECT_EQ(s.shrink, (ShrinkSettings{.shrinkType = 1, .customWidth = 640, .customHeight = 480}));
    EXPECT_EQ(s.saveType, 1u);
    EXPECT_EQ(s.jpegQuality, 0u); // an empty quality reads as 0
    EXPECT_EQ(s.round, (RoundSettings{0x0C0B0A, true, 15 - 2, 15 - 2, {0, 45, 50}, {0, 20, 10}}));
    EXPECT_EQ(s.subFolders.front(), L"round");
    EXPECT_FALSE(s.keepStoredOrientation) << "the upright check starts ticked";
    EXPECT_FALSE(s.keepDates);
    EXPECT_EQ(s.metadata, metadatakept::kNone) << "the list starts at nothing kept";

    // The other formats' radios, and the upright check taken off.
    view->SetChecked(ctl::kWebp, true);
    view->SetChecked(ctl::kUpright, false);
    view->SetChecked(ctl::kKeepDates, true);
    qobject_cast<QComboBox*>(view->Control(ctl::kMetadata))->setCurrentIndex(1);
    EXPECT_EQ(Strict().id, 0);
    EXPECT_TRUE(s.keepDates);
    EXPECT_EQ(s.metadata, metadatakept::kWithoutLocation);
    EXPECT_EQ(s.saveType, savetype::kWebp);
    EXPECT_TRUE(s.keepStoredOrientation);
    view->SetChecked(ctl::kAvif, true);
    EXPECT_EQ(Strict().id, 0);
    EXPECT_EQ(s.saveType, savetype::kAvif);
}

// A value that does not read is named by its field's caption in the box, and its text is
// selected, so that what the user types next replaces it.
TEST_F(CommandUpdateDataTest, ABadValueNamesItsFieldAndIsSelectedForTyping) {
    CRecordingMsg msg;
    table->updateDataStrict->msg = &msg;
    const struct {
        u16 language;
        i32 control;
        const wchar_t* bad;
        const wchar_t* good;
        const wchar_t* box;
    } cases[] = {
        {1041, ctl::kRadius, L"abc", L"10",
         L"「半径」の値を読み取れません。数値を入力してください"},
        {1033, ctl::kRadius, L"ten", L"10",
         L"The value of \"Radius\" cannot be read. Type a number."},
        {1041, ctl::kBlurWidth, L"x", L"1",
         L"「ぼかす幅」の値を読み取れません。数値を入力してください"},
        {1041, ctl::kCustomWidth, L"w", L"200",
         L"「縮小する幅」の値を読み取れません。一覧から選ぶか、数値を入力してください"},
    };
    for (const auto& c : cases) {
        CLanguageGuard language(c.language);
        Type(c.control, c.bad);
        msg.boxes.clear();
        table->updateDataStrict->Execute(true, false);
        ASSERT_EQ(msg.boxes.size(), 1u) << c.control;
        EXPECT_EQ(msg.boxes[0].text, c.box);
        QWidget* control = view->Control(c.control);
        auto* edit = qobject_cast<QLineEdit*>(control);
        if (auto* combo = qobject_cast<QComboBox*>(control))
            edit = combo->lineEdit();
        ASSERT_NE(edit, nullptr) << c.control;
        EXPECT_EQ(edit->selectedText().toStdWString(), c.bad) << c.control;
        Type(c.control, c.good);
    }
}

TEST_F(CommandUpdateDataTest, StrictUpdateNamesTheFirstBadControl) {
    // One bad value at a time, then its good value back; a custom size is read even when no
    // custom shrink is chosen.
    const struct {
        i32 control;
        const wchar_t* bad;
        const wchar_t* good;
        i32 id;
        const wchar_t* text; // null: the text is the template's, tested with the string table
    } cases[] = {
        {ctl::kRadius, L"-1", L"10", strid::kBadLengthRange, nullptr},
        {ctl::kQualityNumber, L"101", L"80", strid::kJpegQualityOutOfRange,
         L"ジェイペグの画質の値が設定可能な範囲を超えています 0 ～ 100"},
        {ctl::kCustomWidth, L"0", L"200", strid::kValueNotPositive, nullptr},
    };
    for (const auto& c : cases) {
        Type(c.control, c.bad);
        const my::CCtrlException e = Strict();
        EXPECT_EQ(e.id, c.id) << c.control;
        EXPECT_EQ(e.ctrl, view->Control(c.control)) << c.control;
        if (c.text) {
            EXPECT_EQ(e.text, c.text);
        }
        Type(c.control, c.good);
    }

    // The colour comes before the length in the order of the stages.
    Type(ctl::kColorText, L"FFF");
    Type(ctl::kBlurWidth, L"x");
    my::CCtrlException e = Strict();
    EXPECT_EQ(e.id, strid::kBadColorFormat);
    EXPECT_EQ(e.text, L"色の形式が不正です");
    EXPECT_EQ(e.ctrl, view->Control(ctl::kColorText));
    Type(ctl::kColorText, L"FFFFFF");
    EXPECT_EQ(Strict().id, strid::kEditValueUnreadable);
    Type(ctl::kBlurWidth, L"1");

    qobject_cast<QComboBox*>(view->Control(ctl::kShrink))->setCurrentIndex(-1);
    e = Strict();
    EXPECT_EQ(e.id, strid::kNoShrinkChosen);
    EXPECT_EQ(e.ctrl, view->Control(ctl::kShrink));
    qobject_cast<QComboBox*>(view->Control(ctl::kShrink))->setCurrentIndex(0);

    // An empty sub-folder fails last and leaves the history.
    auto* folder = qobject_cast<QComboBox*>(view->Control(ctl::kSubFolder));
    folder->setEditText(QString());
    e = Strict();
    EXPECT_EQ(e.id, strid::kEmptySubFolder);
    EXPECT_EQ(e.text, L"サブフォルダ名が空です");
    EXPECT_EQ(e.ctrl, view->Control(ctl::kSubFolder));
    // So does one that would leave the source's folder, with its reason (every reason is the
    // plan's test).
    folder->setEditText(QStringLiteral("../out"));
    e = Strict();
    EXPECT_EQ(e.id, strid::kSubFolderDotName);
    EXPECT_TRUE(e.text.ends_with(L"\n\n../out")) << e.text;
    EXPECT_EQ(e.ctrl, view->Control(ctl::kSubFolder));
    ASSERT_EQ(TheSetting().subFolders.size(), 1u);
    EXPECT_EQ(TheSetting().subFolders.front(), L"round");
}

TEST_F(CommandUpdateDataTest, TolerantUpdateKeepsTheLastGoodValues) {
    Type(ctl::kColorText, L"00FF00");
    EXPECT_EQ(TheSetting().round.backgroundColor, 0x00FF00u);
    Type(ctl::kColorText, L"zz");
    EXPECT_EQ(TheSetting().round.backgroundColor, 0x00FF00u);
    // The other stages still run: the quality is read.
    Type(ctl::kQualityNumber, L"33");
    Tolerant();
    EXPECT_EQ(TheSetting().jpegQuality, 33u);
    EXPECT_EQ(TheSetting().round.backgroundColor, 0x00FF00u);
    // A negative length is the one bad value that the settings hold.
    Type(ctl::kRadius, L"-3");
    EXPECT_EQ(TheSetting().round.radius.tenths, -30);

    // Nothing runs without the run flag or a view.
    Type(ctl::kQualityNumber, L"200");
    EXPECT_NO_THROW(table->updateDataStrict->OnExecute(false));
    view.reset();
    EXPECT_NO_THROW(table->updateDataStrict->OnExecute(true));
}

TEST_F(CommandUpdateDataTest, SubFolderHistory) {
    auto* folder = qobject_cast<QComboBox*>(view->Control(ctl::kSubFolder));
    for (int i = 1; i <= 17; ++i) {
        folder->setEditText(QStringLiteral("f%1").arg(i));
        Tolerant();
    }
    // The list's own rules are the settings' test; the combo box shows the list.
    EXPECT_EQ(TheSetting().subFolders.front(), L"f17");
    EXPECT_EQ(folder->count(), 16);
    EXPECT_EQ(folder->itemText(0), QStringLiteral("f17"));
    EXPECT_EQ(folder->itemText(15), QStringLiteral("f2"));
    EXPECT_EQ(folder->currentIndex(), 0);
}

} // namespace

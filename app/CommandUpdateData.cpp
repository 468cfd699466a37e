// The update: the view's controls read back into the settings, stage by stage, and the preview
// computed from them.
#include "app/CommandUpdateData.h"

#include <QAbstractButton>
#include <QComboBox>

#include "batch/LunavexTask.h"
#include "batch/Setting.h"
#include "batch/SubFolderRule.h"
#include "foundation/GuardedCall.h"
#include "foundation/HexColor.h"
#include "image/NamedShrink.h"
#include "resources/StringIds.h"
#include "ui/ControlText.h"
#include "ui/FieldAtFault.h"
#include "ui/LengthCtrlSet.h"
#include "ui/MainView.h"

namespace lvx {

namespace {

i32 ReadCustomSize(CMainView& view, i32 id) {
    QWidget* control = view.Control(id);
    i32 value = 0;
    if (!control || !CMainView::ReadComboNumber(control, 0, value))
        throw my::CCtrlException(control, strid::kComboValueUnreadable, FieldName(id));
    if (value <= 0)
        throw my::CCtrlException(control, strid::kValueNotPositive);
    return value;
}

void ReadShrink(CMainView& view) {
    ShrinkSettings& shrink = TheSetting().shrink;
    QWidget* control = view.Control(ctl::kShrink);
    auto* combo = qobject_cast<QComboBox*>(control);
    int index = combo ? combo->currentIndex() : -1;
    if (index < 0 || index >= static_cast<int>(ShrinkChoices().size()))
        throw my::CCtrlException(control, strid::kNoShrinkChosen);
    const CNamedShrink& choice = *ShrinkChoices()[static_cast<size_t>(index)];
    shrink.shrinkType = choice.kind;
    shrink.shrinkWidth = static_cast<i32>(choice.width);
    shrink.shrinkHeight = static_cast<i32>(choice.height);
    shrink.customWidth = ReadCustomSize(view, ctl::kCustomWidth);
    shrink.customHeight = ReadCustomSize(view, ctl::kCustomHeight);
}

void ReadSaveType(CMainView& view) {
    TheSetting().keepStoredOrientation = !view.IsChecked(ctl::kUpright);
    TheSetting().keepDates = view.IsChecked(ctl::kKeepDates);
    auto* kept = qobject_cast<QComboBox*>(view.Control(ctl::kMetadata));
    TheSetting().metadata = kept && kept->currentIndex() > 0
                                ? static_cast<u32>(kept->currentIndex())
                                : metadatakept::kNone;
    if (view.CheckedSaveType(TheSetting().saveType))
        return;
    throw my::CCtrlException(view.Control(ctl::kPng), strid::kBadSaveType);
}

void ReadJpegQuality(CMainView& view) {
    QWidget* control = view.Control(ctl::kQualityNumber);
    i32 value = 0;
    if (!control || !CMainView::ReadNumber(control, 0, value))
        throw my::CCtrlException(control, strid::kEditValueUnreadable,
                                 FieldName(ctl::kQualityNumber));
    if (static_cast<u32>(value) > 100)
        throw my::CCtrlException(control, strid::kJpegQualityOutOfRange, L"0", L"100");
    TheSetting().jpegQuality = static_cast<u32>(value);
}

void ReadBackground(CMainView& view) {
    QWidget* control = view.Control(ctl::kColorText);
    std::wstring text;
    u32 color = 0;
    if (!control || !GetControlTextTrimmed(control, text, true) || !ParseHexColor(color, text))
        throw my::CCtrlException(control, strid::kBadColorFormat);
    RoundSettings& round = TheSetting().round;
    round.backgroundColor = color;
    round.transparent = view.IsChecked(ctl::kTransparent);
    round.corners = view.CheckedCorners();
    round.edges = view.CheckedEdges();
}

void ReadSubFolder(CMainView& view) {
    QWidget* control = view.Control(ctl::kSubFolder);
    std::wstring text;
    if (!control || !CMainView::ReadComboText(control, text))
        throw my::CCtrlException(control, strid::kComboValueUnreadable, FieldName(ctl::kSubFolder));
    // Refused here, before it is stored: the same value would send every later batch there.
    if (const u32 problem = SubFolderProblem(text); problem == strid::kEmptySubFolder)
        throw my::CCtrlException(control, strid::kEmptySubFolder);
    else if (problem != 0)
        throw my::CCtrlException(control, static_cast<i32>(problem), text);
    CHistoryList& folders = TheSetting().subFolders;
    folders.Add(text);
    auto* combo = qobject_cast<QComboBox*>(control);
    combo->clear();
    std::vector<std::wstring> names(folders.begin(), folders.end());
    CMainView::FillCombo(control, names);
    combo->setCurrentIndex(0);
}

// The panes from the newest source of a batch or else the sample; they change only when the
// settings give an image.
void RefreshPreview(CMainView& view) {
    view.ShowPreview();
}

} // namespace

// A view that does not exist yet has nothing to read.
void CCommandUpdateData::OnExecute(bool run) {
    if (!run)
        return;
    CMainView* view = TheView();
    if (!view)
        return;
    my::CCtrlException holder;
    auto stage = [&](auto&& body) {
        GuardedCall(holder, body);
        if (holder.IsError() && strict)
            throw my::CCtrlException(holder.ctrl, holder);
    };
    stage([view] { ReadShrink(*view); });
    stage([view] { ReadSaveType(*view); });
    stage([view] { ReadJpegQuality(*view); });
    stage([view] { ReadBackground(*view); });
    for (const auto& set : std::vector<boost::shared_ptr<CLengthCtrlSet>>(view->lengthSets))
        stage([set] { set->ReadLength(); });
    stage([view] { ReadSubFolder(*view); });
    stage([view] { RefreshPreview(*view); });
}

} // namespace lvx

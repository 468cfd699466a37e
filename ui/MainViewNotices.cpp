// The main view's answers to its controls' notifications: the choices that enable other
// controls, the quality's number and name that follow each other, the typed colour on the swatch
// and the checks that move the detail pane's anchor, each ending in the tolerant update; and Stop.
#include "ui/MainView.h"

#include <QComboBox>

#include "batch/Setting.h"
#include "foundation/HexColor.h"
#include "foundation/Numbers.h"
#include "image/NamedShrink.h"
#include "resources/StringIds.h"
#include "ui/ColorWidget.h"
#include "ui/ControlText.h"
#include "ui/DibWidget.h"
#include "ui/NamedInt.h"

namespace lvx {

void CMainView::Stop() {
    if (!batch_.Running())
        return;
    batch_.RequestStop();
    // The files in work still end before the batch does: the click is answered at once.
    Enable(ctl::kStop, false);
    SetControlTextId(Control(ctl::kStatus), strid::kBatchStopping, true);
}

void CMainView::OnShrinkChanged() {
    auto* combo = qobject_cast<QComboBox*>(Control(ctl::kShrink));
    int index = combo->currentIndex();
    if (index < 0 || index >= static_cast<int>(ShrinkChoices().size()))
        return;
    bool custom = ShrinkChoices()[static_cast<size_t>(index)]->kind == shrinktype::kCustom;
    Enable(ctl::kCustomWidth, custom);
    Enable(ctl::kCustomHeight, custom);
    RunUpdate();
}

void CMainView::OnQualityNumberChanged() {
    std::wstring text;
    i32 value = 0;
    if (!GetControlTextTrimmed(Control(ctl::kQualityNumber), text, true) ||
        !ParseUnsigned(value, text))
        return;
    int index = -1;
    for (size_t i = 0; i < QualityList().size(); ++i) {
        if (QualityList()[i]->value == value) {
            index = static_cast<int>(i);
            break;
        }
    }
    qobject_cast<QComboBox*>(Control(ctl::kQualityName))->setCurrentIndex(index);
}

void CMainView::OnQualityNameChanged() {
    int index = qobject_cast<QComboBox*>(Control(ctl::kQualityName))->currentIndex();
    if (index < 0 || index >= static_cast<int>(QualityList().size()))
        return;
    SetControlText(Control(ctl::kQualityNumber),
                   ToText(QualityList()[static_cast<size_t>(index)]->value), true);
}

// Each format greys the others' controls as well as enabling its own: Transparent for the formats
// that hold alpha, the quality for the lossy ones.
void CMainView::OnSaveTypeClicked(i32 id) {
    EnableFormatControls(SaveTypeOf(id), false);
    RunUpdate();
}

// The swatch shows black while the text is no colour; the settings follow in the update.
void CMainView::OnColorTextChanged() {
    if (!swatch)
        return;
    std::wstring text;
    u32 color = 0;
    if (!GetControlTextTrimmed(Control(ctl::kColorText), text, true) || !ParseHexColor(color, text))
        color = 0;
    swatch->SetColor(color);
    InvalidateWidget(swatch.get());
    RunUpdate();
}

void CMainView::OnAnchorCheck() {
    if (detailPane) {
        u32 anchor = AnchorFor(CheckedCorners(), CheckedEdges());
        if (anchor != detailPane->Anchor()) {
            detailPane->SetAnchor(anchor);
            InvalidateWidget(detailPane.get());
        }
    }
    RunUpdate();
}

} // namespace lvx

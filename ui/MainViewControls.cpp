// The control template of the main view: the 52 controls of dialog 139 built as child widgets,
// in tab order, at their rectangles in the dialog units of the view's font.
#include "ui/MainView.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpressionValidator>
#include <QSlider>

#include "foundation/ResString.h"
#include "resources/StringIds.h"
#include "ui/ControlId.h"
#include "ui/DialogUnits.h"

namespace lvx {

namespace {

enum class Kind {
    kGroup,
    kDropList,
    kEditCombo,
    kLabel,
    kRadio,
    kEdit,
    kDigitsEdit,
    kFrame,
    kButton,
    kDefaultButton,
    kCheck,
    kSlider,
    kProgress
};

// One control of the dialog template: id (0: none of its own), kind, caption string id (0: no
// caption) and rectangle in dialog units; a combo's height is that of its open list.
struct ControlDef {
    i32 id;
    Kind kind;
    u32 caption;
    int x, y, width, height;
};

// The 52 controls in tab order.
constexpr ControlDef kControls[] = {
    {0, Kind::kGroup, strid::kShrinkGroup, 7, 7, 275, 33},
    {ctl::kShrink, Kind::kDropList, 0, 16, 20, 138, 290},
    {ctl::kCustomWidth, Kind::kEditCombo, 0, 162, 20, 48, 289},
    {0, Kind::kLabel, strid::kSizeTimes, 216, 22, 8, 8},
    {ctl::kCustomHeight, Kind::kEditCombo, 0, 228, 20, 48, 290},
    {0, Kind::kGroup, strid::kSaveTypeGroup, 7, 44, 275, 61},
    {ctl::kPng, Kind::kRadio, strid::kPngChoice, 16, 59, 195, 10},
    {ctl::kJpeg, Kind::kRadio, strid::kJpegChoice, 16, 74, 117, 10},
    {ctl::kWebp, Kind::kRadio, strid::kWebpChoice, 16, 88, 117, 10},
    {ctl::kAvif, Kind::kRadio, strid::kAvifChoice, 140, 88, 136, 10},
    {0, Kind::kLabel, strid::kQualityLabel, 140, 75, 30, 8},
    {ctl::kQualityNumber, Kind::kDigitsEdit, 0, 174, 73, 21, 13},
    {ctl::kQualityName, Kind::kDropList, 0, 200, 73, 76, 30},
    {0, Kind::kGroup, strid::kBackgroundGroup, 7, 109, 275, 33},
    {ctl::kSwatch, Kind::kFrame, 0, 16, 123, 39, 11},
    {0, Kind::kLabel, strid::kColorHash, 61, 124, 8, 8},
    {ctl::kColorText, Kind::kEdit, 0, 70, 122, 43, 13},
    {ctl::kChooseColor, Kind::kButton, strid::kChooseColorButton, 119, 121, 55, 14},
    {ctl::kTransparent, Kind::kCheck, strid::kTransparentCheck, 187, 124, 87, 10},
    {0, Kind::kGroup, strid::kRoundGroup, 7, 146, 275, 47},
    {ctl::kTopLeft, Kind::kCheck, strid::kTopLeftCheck, 16, 160, 48, 10},
    {ctl::kTopRight, Kind::kCheck, strid::kTopRightCheck, 66, 160, 48, 10},
    {ctl::kBottomLeft, Kind::kCheck, strid::kBottomLeftCheck, 16, 172, 48, 10},
    {ctl::kBottomRight, Kind::kCheck, strid::kBottomRightCheck, 66, 172, 48, 10},
    {0, Kind::kLabel, strid::kRadiusLabel, 120, 160, 32, 8},
    {ctl::kRadius, Kind::kEdit, 0, 154, 158, 24, 13},
    {ctl::kRadiusUnit, Kind::kDropList, 0, 182, 158, 60, 30},
    {ctl::kRadiusSlider, Kind::kSlider, 0, 120, 176, 154, 11},
    {0, Kind::kGroup, strid::kBlurGroup, 7, 197, 275, 47},
    {ctl::kTop, Kind::kCheck, strid::kTopCheck, 42, 211, 36, 10},
    {ctl::kLeft, Kind::kCheck, strid::kLeftCheck, 16, 217, 26, 10},
    {ctl::kRight, Kind::kCheck, strid::kRightCheck, 80, 217, 30, 10},
    {ctl::kBottom, Kind::kCheck, strid::kBottomCheck, 42, 223, 36, 10},
    {0, Kind::kLabel, strid::kBlurWidthLabel, 120, 211, 32, 8},
    {ctl::kBlurWidth, Kind::kEdit, 0, 154, 208, 24, 13},
    {ctl::kBlurUnit, Kind::kDropList, 0, 182, 208, 60, 30},
    {ctl::kBlurSlider, Kind::kSlider, 0, 120, 226, 154, 11},
    {0, Kind::kGroup, strid::kOutputGroup, 7, 247, 276, 33},
    {0, Kind::kLabel, strid::kSubFolderLabel, 16, 259, 133, 13},
    {ctl::kSubFolder, Kind::kEditCombo, 0, 152, 259, 70, 30},
    {0, Kind::kLabel, strid::kSubFolderTail, 226, 259, 51, 13},
    {0, Kind::kGroup, strid::kPhotoGroup, 7, 284, 276, 47},
    {ctl::kUpright, Kind::kCheck, strid::kUprightCheck, 16, 299, 258, 10},
    {0, Kind::kLabel, strid::kMetadataLabel, 16, 315, 46, 8},
    {ctl::kMetadata, Kind::kDropList, 0, 64, 313, 92, 40},
    {ctl::kKeepDates, Kind::kCheck, strid::kKeepDatesCheck, 162, 314, 114, 10},
    {ctl::kStatus, Kind::kLabel, strid::kDropHint, 7, 340, 257, 8},
    {ctl::kStop, Kind::kDefaultButton, strid::kStopButton, 267, 337, 77, 16},
    {ctl::kOpenOutput, Kind::kButton, strid::kOpenOutputButton, 348, 337, 77, 16},
    {ctl::kDetailPane, Kind::kFrame, 0, 290, 10, 135, 155},
    {ctl::kWholePane, Kind::kFrame, 0, 290, 173, 135, 155},
    {ctl::kProgress, Kind::kProgress, 0, 7, 360, 418, 6},
};

// A closed combo box is as high as an edit of the template.
constexpr int kComboHeightUnits = 13;

QString Text(u32 id) {
    std::wstring text;
    if (id != 0)
        LoadResString(text, id, true);
    return QString::fromStdWString(text);
}

// Japanese glyphs are wider against the font's dialog units than the template's captions allow
// with some fonts: a caption that would be clipped gets a font a little smaller, down to 80 %.
void FitCaption(QWidget* control, int width) {
    bool hasCaption = qobject_cast<QLabel*>(control) || qobject_cast<QAbstractButton*>(control);
    if (!hasCaption || qobject_cast<QPushButton*>(control))
        return;
    QFont font = control->font();
    const qreal original = font.pointSizeF();
    if (original <= 0)
        return;
    for (qreal size = original; control->sizeHint().width() > width && size > original * 0.8;) {
        size -= 0.25;
        font.setPointSizeF(size);
        control->setFont(font);
    }
}
// A combo box: a drop-down list or an editable combo whose open list shows as many entries as the
// template's height holds; the rectangle becomes that of a closed combo.
QComboBox* MakeCombo(const ControlDef& def, const CDialogUnits& du, QRect& rect, QWidget* parent) {
    auto* combo = new QComboBox(parent);
    combo->setEditable(def.kind == Kind::kEditCombo);
    combo->setInsertPolicy(QComboBox::NoInsert);
    // What the user types stays as typed: no inline completion ("100" must not become "1000"),
    // and Enter picks a list entry only when it matches in case as well.
    if (combo->isEditable())
        combo->setCompleter(nullptr);
    combo->setMaxVisibleItems(qMax(1, rect.height() / qMax(1, du.Y(10))));
    rect.setHeight(du.Y(kComboHeightUnits));
    return combo;
}

QPushButton* MakeButton(const ControlDef& def, const QString& caption, QWidget* parent) {
    auto* button = new QPushButton(caption, parent);
    button->setDefault(def.kind == Kind::kDefaultButton);
    button->setAutoDefault(false);
    // Stop and Open output start disabled; the start values enable what an idle view has.
    button->setEnabled(def.id != ctl::kStop && def.id != ctl::kOpenOutput);
    return button;
}

// The widget of one control of the template, a child of parent; a combo's rectangle is adjusted.
QWidget* MakeControl(const ControlDef& def, const QString& caption, const CDialogUnits& du,
                     QRect& rect, QWidget* parent) {
    switch (def.kind) {
    case Kind::kGroup:
        return new QGroupBox(caption, parent);
    case Kind::kDropList:
    case Kind::kEditCombo:
        return MakeCombo(def, du, rect, parent);
    case Kind::kLabel: {
        auto* label = new QLabel(caption, parent);
        label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
        return label;
    }
    case Kind::kRadio:
        return new QRadioButton(caption, parent);
    case Kind::kCheck:
        return new QCheckBox(caption, parent);
    case Kind::kEdit:
    case Kind::kDigitsEdit: {
        auto* edit = new QLineEdit(parent);
        if (def.kind == Kind::kDigitsEdit)
            edit->setValidator(new QRegularExpressionValidator(
                QRegularExpression(QStringLiteral("[0-9]*")), edit));
        return edit;
    }
    case Kind::kFrame: {
        auto* frame = new QFrame(parent);
        frame->hide();
        return frame;
    }
    case Kind::kButton:
    case Kind::kDefaultButton:
        return MakeButton(def, caption, parent);
    case Kind::kSlider: {
        auto* slider = new QSlider(Qt::Horizontal, parent);
        slider->setTickPosition(QSlider::TicksBelow);
        return slider;
    }
    case Kind::kProgress: {
        auto* bar = new QProgressBar(parent);
        bar->setTextVisible(false);
        bar->setValue(0);
        return bar;
    }
    }
    return nullptr;
}
} // namespace

// Every control is a direct child of the view, made in tab order, so that the focus chain is the
// template's order and a group box lies under the controls inside it.
void CMainView::BuildControls() {
    CDialogUnits du(font());
    QLabel* pendingBuddyLabel = nullptr;
    for (const ControlDef& def : kControls) {
        QRect rect = du.Rect(def.x, def.y, def.width, def.height);
        const QString caption = Text(def.caption);
        QWidget* control = MakeControl(def, caption, du, rect, this);
        control->setGeometry(rect);
        FitCaption(control, rect.width());
        if (def.kind == Kind::kLabel && caption.contains(QLatin1Char('&')))
            pendingBuddyLabel = static_cast<QLabel*>(control);
        // A label's access key moves the focus to the next control of the tab order.
        if (pendingBuddyLabel && control != pendingBuddyLabel && def.id != 0 &&
            def.kind != Kind::kLabel) {
            pendingBuddyLabel->setBuddy(control);
            pendingBuddyLabel = nullptr;
        }
        if (def.id != 0) {
            SetControlId(control, def.id);
            control->setObjectName(QStringLiteral("ctl%1").arg(def.id));
            controls_[def.id] = control;
        }
    }
    // A drop anywhere on the view is a drop of files to convert: no control takes it as text (an
    // edit or an editable combo would otherwise type the file's address into a setting).
    for (QWidget* child : findChildren<QWidget*>())
        child->setAcceptDrops(false);
    setFixedSize(du.Size(kWidthUnits, kHeightUnits));
}

} // namespace lvx

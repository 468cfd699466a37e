// The main view: the controls of dialog 139, their start values, the wiring of their
// notifications (answered in MainViewNotices.cpp), the colour dialog, the panes and the timer.
#include "ui/MainView.h"

#include <algorithm>

#include <QAbstractButton>
#include <QApplication>
#include <QColorDialog>
#include <QComboBox>
#include <QLineEdit>
#include <QPaintEvent>
#include <QPainter>
#include <QSlider>

#include "batch/Setting.h"
#include "foundation/HexColor.h"
#include "foundation/Numbers.h"
#include "foundation/ResString.h"
#include "image/ImageIo.h"
#include "image/NamedShrink.h"
#include "image/SaveType.h"
#include "image/Shrink.h"
#include "resources/StringIds.h"
#include "ui/ColorWidget.h"
#include "ui/ControlText.h"
#include "ui/DibWidget.h"
#include "ui/LengthCtrlSet.h"
#include "ui/MainFrame.h"
#include "ui/NamedInt.h"
#include "ui/WidgetHost.h"
#include "ui/WindowCommands.h"

namespace lvx {

namespace {

CMainView* g_view = nullptr;

// The controls that only an idle view enables.
constexpr i32 kIdleControls[] = {
    ctl::kShrink,     ctl::kPng,          ctl::kJpeg,        ctl::kWebp,       ctl::kAvif,
    ctl::kUpright,    ctl::kMetadata,     ctl::kKeepDates,   ctl::kColorText,  ctl::kChooseColor,
    ctl::kTopLeft,    ctl::kBottomLeft,   ctl::kBottomRight, ctl::kTopRight,   ctl::kRadius,
    ctl::kRadiusUnit, ctl::kRadiusSlider, ctl::kLeft,        ctl::kTop,        ctl::kRight,
    ctl::kBottom,     ctl::kBlurWidth,    ctl::kBlurUnit,    ctl::kBlurSlider, ctl::kSubFolder,
    ctl::kOpenOutput};

// A check control and the bit that it stands for in the stored corners or edges.
struct CheckBit {
    i32 control;
    u32 bit;
};

// A format's radio button and the output type that it stands for.
struct FormatRadio {
    i32 control;
    u32 saveType;
};

constexpr FormatRadio kFormatRadios[] = {{ctl::kPng, savetype::kPng},
                                         {ctl::kJpeg, savetype::kJpeg},
                                         {ctl::kWebp, savetype::kWebp},
                                         {ctl::kAvif, savetype::kAvif}};

constexpr CheckBit kCornerChecks[] = {{ctl::kTopLeft, cornerbit::kTopLeft},
                                      {ctl::kBottomLeft, cornerbit::kBottomLeft},
                                      {ctl::kBottomRight, cornerbit::kBottomRight},
                                      {ctl::kTopRight, cornerbit::kTopRight}};
constexpr CheckBit kEdgeChecks[] = {{ctl::kLeft, edgebit::kLeft},
                                    {ctl::kTop, edgebit::kTop},
                                    {ctl::kRight, edgebit::kRight},
                                    {ctl::kBottom, edgebit::kBottom}};

constexpr u32 kSampleName = 138;
constexpr int kCustomColorCount = 16;

QColor ToQColor(ColorRef color) {
    return QColor(color & 0xFF, (color >> 8) & 0xFF, (color >> 16) & 0xFF);
}

ColorRef FromQColor(const QColor& color) {
    return static_cast<ColorRef>(color.red()) | static_cast<ColorRef>(color.green()) << 8 |
           static_cast<ColorRef>(color.blue()) << 16;
}

// The custom colours of the colour dialog live as long as the process and start white.
void InitCustomColors() {
    static bool done = false;
    if (done)
        return;
    done = true;
    for (int i = 0; i < kCustomColorCount; ++i)
        QColorDialog::setCustomColor(i, QColor(255, 255, 255));
}

} // namespace

const std::vector<boost::shared_ptr<CNamedInt>>& CustomSizeList() {
    static const std::vector<boost::shared_ptr<CNamedInt>> list = [] {
        std::vector<boost::shared_ptr<CNamedInt>> sizes;
        for (i32 size : ShrinkSizes())
            sizes.push_back(boost::shared_ptr<CNamedInt>(new CNamedInt(size)));
        return sizes;
    }();
    return list;
}

const std::vector<boost::shared_ptr<CNamedInt>>& QualityList() {
    static const std::vector<boost::shared_ptr<CNamedInt>> list = [] {
        const std::pair<i32, u32> entries[] = {{0, strid::kQualityLowest},
                                               {30, strid::kQualityLow},
                                               {50, strid::kQualityMiddle},
                                               {80, strid::kQualityHigh},
                                               {100, strid::kQualityHighest}};
        std::vector<boost::shared_ptr<CNamedInt>> qualities;
        for (const auto& [value, id] : entries) {
            boost::shared_ptr<CNamedInt> entry(new CNamedInt(value));
            entry->SetName(id);
            qualities.push_back(entry);
        }
        return qualities;
    }();
    return list;
}

CMainView* TheView() {
    return g_view;
}

CMainView::CMainView(QWidget* parent) : QWidget(parent) {
    g_view = this;
    setObjectName(QStringLiteral("view"));
    timer_ = new QTimer(this);
    timer_->setInterval(static_cast<int>(timerPeriod));
    connect(timer_, &QTimer::timeout, this, [] {
        if (CWindowCommands* commands = CWindowCommands::Installed())
            commands->Timer();
    });
    BuildControls();
    ConnectControls();
    OnInitDialog();
}

CMainView::~CMainView() {
    // A session that ends (SIGTERM) as a batch finishes comes here with the worker running: it is
    // stopped and waited for before the controls go.
    batch_.StopAndWait();
    KillTimer();
    if (g_view == this)
        g_view = nullptr;
}

QWidget* CMainView::Control(i32 id) const {
    auto it = controls_.find(id);
    return it == controls_.end() ? nullptr : it->second;
}

// The notifications that Windows would send, and no more: user edits and the program's own
// text changes for edits, user choices for combos, clicks for buttons, user moves for sliders.
void CMainView::ConnectControls() {
    auto combo = [this](i32 id) { return qobject_cast<QComboBox*>(Control(id)); };
    auto edit = [this](i32 id) { return qobject_cast<QLineEdit*>(Control(id)); };
    auto button = [this](i32 id) { return qobject_cast<QAbstractButton*>(Control(id)); };

    connect(combo(ctl::kShrink), &QComboBox::activated, this, [this] { OnShrinkChanged(); });
    for (i32 id : {ctl::kCustomWidth, ctl::kCustomHeight}) {
        connect(combo(id), &QComboBox::activated, this, [this] { RunUpdate(); });
        connect(combo(id)->lineEdit(), &QLineEdit::textEdited, this, [this] { RunUpdate(); });
    }
    connect(edit(ctl::kQualityNumber), &QLineEdit::textChanged, this,
            [this] { OnQualityNumberChanged(); });
    connect(combo(ctl::kQualityName), &QComboBox::activated, this,
            [this] { OnQualityNameChanged(); });
    connect(edit(ctl::kColorText), &QLineEdit::textChanged, this, [this] { OnColorTextChanged(); });
    for (i32 id : {ctl::kRadius, ctl::kBlurWidth}) {
        connect(edit(id), &QLineEdit::textChanged, this, [this, id] {
            if (auto set = FindLengthSet(id))
                set->OnValueChanged();
            RunUpdate();
        });
    }
    for (i32 id : {ctl::kRadiusUnit, ctl::kBlurUnit}) {
        connect(combo(id), &QComboBox::activated, this, [this, id] {
            if (auto set = FindLengthSet(id))
                set->OnUnitChanged();
            RunUpdate();
        });
    }
    for (i32 id : {ctl::kRadiusSlider, ctl::kBlurSlider}) {
        auto* slider = qobject_cast<QSlider*>(Control(id));
        auto touched = [this, id] {
            if (auto set = FindLengthSet(id))
                set->OnSliderMoved();
            RunUpdate();
        };
        connect(slider, &QSlider::valueChanged, this, touched);
        // A touch that leaves the position where it was (a press and release of the handle, an
        // arrow key at the end) reports too, so that any touch turns the value into a whole
        // number. An action comes before its move: when it moves nothing, no change follows.
        connect(slider, &QSlider::sliderReleased, this, touched);
        connect(slider, &QSlider::actionTriggered, this, [slider, touched] {
            if (slider->sliderPosition() == slider->value())
                touched();
        });
    }
    for (const FormatRadio& format : kFormatRadios) {
        const i32 id = format.control;
        connect(button(id), &QAbstractButton::clicked, this, [this, id] { OnSaveTypeClicked(id); });
        // Tab enters the format group at the chosen format, as in every dialog; the arrow keys
        // move within the group whatever the focus policy.
        connect(button(id), &QAbstractButton::toggled, this, [button] {
            bool anyChecked = false;
            for (const FormatRadio& radio : kFormatRadios)
                anyChecked |= button(radio.control)->isChecked();
            for (const FormatRadio& other : kFormatRadios) {
                const i32 radio = other.control;
                QAbstractButton* b = button(radio);
                b->setFocusPolicy(b->isChecked() || !anyChecked ? Qt::StrongFocus : Qt::ClickFocus);
            }
        });
    }
    connect(button(ctl::kChooseColor), &QAbstractButton::clicked, this,
            [this] { OnChooseColor(); });
    for (i32 id : {ctl::kTransparent, ctl::kUpright, ctl::kKeepDates})
        connect(button(id), &QAbstractButton::clicked, this, [this] { RunUpdate(); });
    connect(combo(ctl::kMetadata), &QComboBox::activated, this, [this] { RunUpdate(); });
    for (const CheckBit& check : kCornerChecks)
        connect(button(check.control), &QAbstractButton::clicked, this,
                [this] { OnAnchorCheck(); });
    for (const CheckBit& check : kEdgeChecks)
        connect(button(check.control), &QAbstractButton::clicked, this,
                [this] { OnAnchorCheck(); });
    for (i32 id : {ctl::kStop, ctl::kOpenOutput})
        connect(button(id), &QAbstractButton::clicked, this, [this, id] { PostToFrame(id); });
}

void CMainView::OnInitDialog() {
    CSetting& setting = TheSetting();
    InitShrinkControls(setting.shrink);
    InitSaveTypeControls(setting);
    InitRoundControls(setting);
    std::vector<std::wstring> folders(setting.subFolders.begin(), setting.subFolders.end());
    FillCombo(Control(ctl::kSubFolder), folders);
    qobject_cast<QComboBox*>(Control(ctl::kSubFolder))->setCurrentIndex(0);
    CreateSwatchAndPanes(setting);
    LoadSample();
    UpdateControlStates(false);
    RunUpdate();
}

// The background colour, the corner and edge checks, and the two length sets over the settings'
// radius and blur width.
void CMainView::InitRoundControls(CSetting& setting) {
    const RoundSettings& round = setting.round;
    SetControlText(Control(ctl::kColorText), FormatHexColor(round.backgroundColor), true);
    SetChecked(ctl::kTransparent, round.transparent);
    for (const CheckBit& check : kCornerChecks)
        SetChecked(check.control, (round.corners & check.bit) != 0);
    for (const CheckBit& check : kEdgeChecks)
        SetChecked(check.control, (round.edges & check.bit) != 0);

    lengthSets.clear();
    lengthSets.emplace_back(new CLengthCtrlSet(ctl::kRadius, ctl::kRadiusUnit, ctl::kRadiusSlider,
                                               this, &setting.round.radius));
    lengthSets.emplace_back(new CLengthCtrlSet(ctl::kBlurWidth, ctl::kBlurUnit, ctl::kBlurSlider,
                                               this, &setting.round.blurWidth));
    for (const auto& set : lengthSets)
        set->Init();
}

// The colour swatch and the two preview panes over their controls' rectangles. The swatch lies in
// a group box and paints in a window of its own above it.
void CMainView::CreateSwatchAndPanes(const CSetting& setting) {
    swatch.reset(new CColorWidget);
    swatch->SetEdge(edge::kSunken, edge::kRect);
    swatch->SetColor(0);
    Rect swatchRect = ControlRect(ctl::kSwatch);
    swatch->Create(this, &swatchRect, false);
    swatch->SetId(ctl::kSwatch);
    swatch->SetColor(setting.round.backgroundColor);
    swatch->SetVisible(true);
    new CWidgetHost(this, swatch.get());

    CreatePane(wholePane, ctl::kWholePane);
    CreatePane(detailPane, ctl::kDetailPane);
    detailPane->SetAnchor(AnchorFor(setting.round.corners, setting.round.edges));
}

// The sample image that the panes show before any batch, and its preview; neither when it cannot
// be read.
void CMainView::LoadSample() {
    if (Failed(LoadImageResource(sampleImage, kSampleName, "IMAGE")))
        sampleImage.reset();
    if (sampleImage) {
        samplePreview.reset(new CPreviewSource);
        if (Failed(samplePreview->Build(*sampleImage)))
            samplePreview.reset();
    }
}

Rect CMainView::ControlRect(i32 id) const {
    QWidget* control = Control(id);
    if (!control)
        return {};
    QRect r = control->geometry();
    return Rect{r.left(), r.top(), r.left() + r.width(), r.top() + r.height()};
}

// A pane is square, keeping the top, bottom and right of its control's rectangle. Where the
// font's dialog units make the rectangle taller than wide in pixels, the square would reach over
// the group boxes at its left; the pane then keeps the rectangle's own left.
void CMainView::CreatePane(boost::shared_ptr<CSimpleDibWidget>& pane, i32 id) {
    pane.reset(new CSimpleDibWidget);
    Rect rect = ControlRect(id);
    pane->Create(this, &rect, false);
    pane->SetId(id);
    rect.left = std::max(rect.left, rect.right - (rect.bottom - rect.top));
    pane->SetRect(&rect);
    pane->SetBackground(FromQColor(palette().color(QPalette::Window)));
    pane->SetVisible(true);
    InvalidateWidget(pane.get());
}

void CMainView::UpdateControlStates(bool running) {
    const CSetting& setting = TheSetting();
    for (i32 id : kIdleControls)
        Enable(id, !running);
    Enable(ctl::kStop, running);
    bool custom = !running && setting.shrink.shrinkType == shrinktype::kCustom;
    Enable(ctl::kCustomWidth, custom);
    Enable(ctl::kCustomHeight, custom);
    EnableFormatControls(setting.saveType, running);
}

void CMainView::EnableFormatControls(u32 saveType, bool running) {
    const OutputChoice output{.format = FormatOfSaveType(saveType)};
    Enable(ctl::kTransparent, !running && output.HoldsAlpha());
    Enable(ctl::kQualityNumber, !running && output.Lossy());
    Enable(ctl::kQualityName, !running && output.Lossy());
}

u32 CMainView::SaveTypeOf(i32 radio) {
    for (const FormatRadio& format : kFormatRadios) {
        if (format.control == radio)
            return format.saveType;
    }
    return savetype::kPng;
}

bool CMainView::CheckedSaveType(u32& saveType) const {
    for (const FormatRadio& format : kFormatRadios) {
        if (IsChecked(format.control)) {
            saveType = format.saveType;
            return true;
        }
    }
    return false;
}

i32 CMainView::RadioOf(u32 saveType) {
    for (const FormatRadio& format : kFormatRadios) {
        if (format.saveType == saveType)
            return format.control;
    }
    return ctl::kPng;
}

void CMainView::StartTimer() {
    timer_->start();
    timerId = 1;
}

void CMainView::KillTimer() {
    if (timer_)
        timer_->stop();
    timerId = 0;
}

boost::shared_ptr<CLengthCtrlSet> CMainView::FindLengthSet(i32 controlId) const {
    for (const auto& set : lengthSets) {
        if (set->edit == controlId || set->unitList == controlId || set->slider == controlId)
            return set;
    }
    return {};
}

bool CMainView::ShowPreview() {
    const CPreviewSource* source = lastSource ? lastSource.get() : samplePreview.get();
    if (!source || !wholePane || !detailPane)
        return false;
    const CSetting& setting = TheSetting();
    const RoundSettings& round = setting.round;
    const OutputChoice output = setting.Output();
    // The size of the result, worked out once for both panes.
    Size fitted;
    if (FittedSize(setting.shrink, source->SourceSize(output), fitted) != 0)
        return false;
    // The whole pane shows the result fitted to it; a result smaller than the pane is made at
    // its own size and enlarged by the pane, as the result itself would be.
    // Both are made in device pixels, the sizes at which the panes paint on this screen.
    const double ratio = devicePixelRatioF();
    const Rect wholeRect = ToDevicePixels(wholePane->GetRect(), ratio);
    Size shown = FitToPane(Size{wholeRect.Width(), wholeRect.Height()}, fitted, 0.01);
    if (shown.cx > fitted.cx || shown.cy > fitted.cy)
        shown = fitted;
    const Rect detailRect = ToDevicePixels(detailPane->GetRect(), ratio);
    // A corner beyond what the source keeps (a pane on a screen of more than twice the scale) is
    // shown at the size kept, centred in the pane.
    const Size cornerSize{std::min(detailRect.Width(), CPreviewSource::kCornerSide),
                          std::min(detailRect.Height(), CPreviewSource::kCornerSide)};
    CDibPtr whole;
    CDibPtr corner;
    if (source->RenderWhole(round, output, fitted, shown, whole) != 0 || !whole ||
        source->RenderCorner(round, output, fitted, AnchorFor(round.corners, round.edges),
                             cornerSize, corner) != 0 ||
        !corner)
        return false;
    wholePane->SetImage(whole);
    detailPane->SetImage(corner);
    InvalidateWidget(wholePane.get());
    InvalidateWidget(detailPane.get());
    return true;
}

void CMainView::RunUpdate() {
    if (CWindowCommands* commands = CWindowCommands::Installed())
        commands->UpdateData();
}

void CMainView::InvalidateWidget(const CWidget* widget) {
    if (widget)
        update(ToQRect(widget->GetRect()));
}

u32 CMainView::CheckedCorners() const {
    u32 corners = 0;
    for (const CheckBit& check : kCornerChecks)
        corners |= IsChecked(check.control) ? check.bit : 0u;
    return corners;
}

u32 CMainView::CheckedEdges() const {
    u32 edges = 0;
    for (const CheckBit& check : kEdgeChecks)
        edges |= IsChecked(check.control) ? check.bit : 0u;
    return edges;
}

void CMainView::OnChooseColor() {
    if (!swatch)
        return;
    InitCustomColors();
    QWidget* owner = QApplication::activeWindow();
    QColorDialog dialog(owner ? owner : this);
    // A black swatch opens the dialog on its own default colour.
    if (swatch->Color() != 0)
        dialog.setCurrentColor(ToQColor(swatch->Color()));
    if (dialog.exec() != QDialog::Accepted)
        return;
    ColorRef color = FromQColor(dialog.selectedColor());
    swatch->SetColor(color);
    SetControlText(Control(ctl::kColorText), FormatHexColor(color), true);
    InvalidateWidget(swatch.get());
    RunUpdate();
}

// The frame acts on Stop and on opening the output folder.
void CMainView::PostToFrame(i32 id) {
    if (CMainFrame* frame = TheFrame())
        frame->PostCommand(id);
}

void CMainView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    CDCScreen screen;
    Rect client{0, 0, width(), height()};
    screen.Attach(&painter, client);
    if (wholePane)
        wholePane->Paint(screen, 1.0);
    if (detailPane)
        detailPane->Paint(screen, 1.0);
    screen.Release();
}

} // namespace lvx

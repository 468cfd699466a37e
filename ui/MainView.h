// lvx::CMainView: the one window in which the user works. It shows every option of a conversion
// (the controls of dialog 139, each known by its resource id), the two preview panes, the status
// line and the progress bar, and it holds the runner of the batch. It converts nothing itself:
// every change the user makes runs the tolerant update command.
//
// Threads: the main thread only; the batch runner's workers never call the view.
#pragma once

#include <map>
#include <string>
#include <vector>

#include <QTimer>
#include <QWidget>
#include <boost/shared_ptr.hpp>

#include "batch/BatchRunner.h"
#include "batch/SubFolderRule.h"
#include "image/Dib.h"
#include "image/PreviewSource.h"

class CColorWidget;
class CWidget;
class CNamedInt;
class CSimpleDibWidget;
class CSetting;
struct ShrinkSettings;

namespace lvx {

class CLengthCtrlSet;

// Control ids of dialog 139.
namespace ctl {
constexpr i32 kShrink = 141, kCustomWidth = 142, kCustomHeight = 143, kQualityNumber = 144,
              kQualityName = 145, kColorText = 146, kRadius = 147, kBlurWidth = 148,
              kRadiusUnit = 149, kBlurUnit = 150, kPng = 151, kJpeg = 152, kChooseColor = 153,
              kTransparent = 154, kTopLeft = 155, kBottomLeft = 156, kBottomRight = 157,
              kTopRight = 158, kLeft = 159, kTop = 160, kRight = 161, kBottom = 162, kStop = 163,
              kOpenOutput = 164, kSubFolder = kSubFolderControl, kRadiusSlider = 166,
              kBlurSlider = 167, kSwatch = 168, kDetailPane = 169, kWholePane = 170, kStatus = 171,
              kProgress = 172, kWebp = 173, kAvif = 174, kUpright = 175, kMetadata = 176,
              kKeepDates = 177;
} // namespace ctl

class CMainView : public QWidget {
    Q_OBJECT

public:
    // The size of the control template, in dialog units of the view's font.
    static constexpr int kWidthUnits = 432;
    static constexpr int kHeightUnits = 373;

    // Builds the controls of dialog 139 (sizes from dialog units of the view's font) and runs
    // the start sequence: lists filled, settings written into the controls, panes made, sample
    // loaded, first preview.
    explicit CMainView(QWidget* parent = nullptr);
    ~CMainView() override;

    // The control with a resource id; null for an id the dialog does not have.
    QWidget* Control(i32 id) const;

    // Enables the controls for idle (false) or a running batch (true).
    void UpdateControlStates(bool running);
    // The user pressed Stop: no file is written after the one being written, without waiting for
    // the files in work; Stop is disabled and the status line says that the batch is stopping.
    void Stop();
    // The runner of the window's batch: the commands start, poll and end it.
    CBatchRunner& Batch() { return batch_; }
    // Files in the folders of the running batch that are not images: its end counts them.
    i32 skippedFiles = 0;

    // The batch timer: id 1, 200 ms; each tick runs the timer command. KillTimer also drops a
    // tick that is already pending.
    void StartTimer();
    void KillTimer();
    bool TimerRunning() const { return timerId != 0; }

    // The length set that owns a control id; empty when none does.
    boost::shared_ptr<CLengthCtrlSet> FindLengthSet(i32 controlId) const;
    // Makes both panes from the newest source of the last batch, or else the sample, with the
    // stored settings, and repaints them (no erase): the whole result fitted to one, a corner of
    // it at real size in the other. False, with the panes as they were, when the settings give
    // no image.
    bool ShowPreview();

    // Runs the tolerant update of the installed window commands, when there are any.
    void RunUpdate();
    // Handlers of the colour controls and of the eight corner and edge checks.
    void OnColorTextChanged();
    void OnChooseColor();
    void OnAnchorCheck();
    // Repaints the rectangle of a pane or of the swatch, without erasing.
    void InvalidateWidget(const CWidget* widget);

    // A check or radio control is on.
    bool IsChecked(i32 id) const;
    // The output type of the format radio that is on; false when none is.
    bool CheckedSaveType(u32& saveType) const;
    // The corner checks and the edge checks as RoundSettings stores them (cornerbit::, edgebit::).
    u32 CheckedCorners() const;
    u32 CheckedEdges() const;
    void SetChecked(i32 id, bool on);
    void Enable(i32 id, bool enabled);

    // Control helpers. ReadNumber: the trimmed text; empty reads as 0, anything else as a
    // fixed-point number with digits places. ReadComboNumber: the same on the selected list item,
    // or on the edit text when no item is selected. ReadComboText gives that text itself.
    static bool ReadNumber(QWidget* control, u32 digits, i32& out);
    static bool ReadComboNumber(QWidget* control, u32 digits, i32& out);
    static bool ReadComboText(QWidget* control, std::wstring& out);
    // Adds the names in order.
    static void FillCombo(QWidget* control, const std::vector<std::wstring>& names);

    // The batch timer.
    u32 timerPeriod = 200;
    u32 timerId = 0;

    boost::shared_ptr<CColorWidget> swatch;
    std::vector<boost::shared_ptr<CLengthCtrlSet>> lengthSets; // radius, then blur width
    boost::shared_ptr<CSimpleDibWidget> wholePane;
    boost::shared_ptr<CSimpleDibWidget> detailPane;
    CDibPtr sampleImage;
    // What the panes need of the sample and of the newest good file of the last batch; never the
    // full-size image itself.
    boost::shared_ptr<CPreviewSource> samplePreview;
    boost::shared_ptr<CPreviewSource> lastSource;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void BuildControls();
    void ConnectControls();
    void OnInitDialog();
    void InitShrinkControls(const ShrinkSettings& shrink);
    void InitSaveTypeControls(const CSetting& setting);
    void InitRoundControls(CSetting& setting);
    void CreateSwatchAndPanes(const CSetting& setting);
    void LoadSample();
    void OnShrinkChanged();
    void OnQualityNumberChanged();
    void OnQualityNameChanged();
    void OnSaveTypeClicked(i32 id);
    // Transparent for the formats that hold alpha, the quality for the lossy ones.
    void EnableFormatControls(u32 saveType, bool running);
    // The output type of a format radio, and the radio of an output type (PNG for any other).
    static u32 SaveTypeOf(i32 radio);
    static i32 RadioOf(u32 saveType);
    void PostToFrame(i32 id);
    void CreatePane(boost::shared_ptr<CSimpleDibWidget>& pane, i32 id);
    Rect ControlRect(i32 id) const;

    QTimer* timer_ = nullptr;
    std::map<i32, QWidget*> controls_;
    CBatchRunner batch_;
};

// The values of the custom width and height lists, named by their decimal text.
const std::vector<boost::shared_ptr<CNamedInt>>& CustomSizeList();
// The JPEG quality list: 0, 30, 50, 80, 100 with their names.
const std::vector<boost::shared_ptr<CNamedInt>>& QualityList();

// The view of the process's frame; null before the frame has made it.
CMainView* TheView();

} // namespace lvx

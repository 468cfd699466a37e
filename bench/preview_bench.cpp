// What one change of a setting costs the window's thread: the preview worked out again and both
// panes painted, on the sample and after a batch whose newest source was a 24 MP photograph.
// Runs the real view on the offscreen platform. Most iterations type a new radius, which is what
// a slider step or a keystroke does; one benchmark steps the shrink instead, which makes both
// panes' pixels anew. Each iteration paints the whole view, more than a change repaints.
#include <cstdlib>
#include <memory>

#include <QApplication>
#include <QComboBox>
#include <QPixmap>

#include <benchmark/benchmark.h>

#include "app/CommandTable.h"
#include "batch/Setting.h"
#include "image/Dib.h"
#include "image/PreviewSource.h"
#include "tools/Scene.h"
#include "ui/ControlText.h"
#include "ui/MainFrame.h"
#include "ui/MainView.h"

namespace {

// A photo-like image of width x height as the window keeps a decoded source.
CDibPtr Photo(i32 width, i32 height) {
    const std::vector<u8> rgb = PaintScene(width, height);
    CDibPtr dib(new CDib);
    if (!dib->Create32(width, height) || !dib->AllocBits())
        return {};
    for (i32 y = 0; y < height; ++y) {
        const u8* in = rgb.data() + static_cast<size_t>(y) * width * 3;
        u8* out = dib->PixelAt(0, y);
        for (i32 x = 0; x < width; ++x, in += 3, out += 4) {
            out[0] = in[2];
            out[1] = in[1];
            out[2] = in[0];
            out[3] = 255;
        }
    }
    return dib;
}

struct Window {
    std::unique_ptr<CCommandTable> commands = std::make_unique<CCommandTable>();
    std::unique_ptr<lvx::CMainFrame> frame = std::make_unique<lvx::CMainFrame>();
    lvx::CMainView* view = nullptr;
    Window() {
        frame->Create();
        frame->Window()->show();
        view = lvx::TheView();
    }
};

// The window lives until main closes it, before the application object goes.
std::unique_ptr<Window>& WindowSlot() {
    static std::unique_ptr<Window> slot;
    return slot;
}

Window& TheWindow() {
    if (!WindowSlot())
        WindowSlot() = std::make_unique<Window>();
    return *WindowSlot();
}

// Types radius values in turn and paints the view after each: the whole cost of a change.
void ChangeRadius(benchmark::State& state, const boost::shared_ptr<CPreviewSource>& lastSource) {
    Window& window = TheWindow();
    window.view->lastSource = lastSource;
    int step = 0;
    for (auto _ : state) {
        SetControlText(window.view->Control(lvx::ctl::kRadius), step++ % 2 ? L"10" : L"11", true);
        QPixmap painted = window.view->grab();
        benchmark::DoNotOptimize(painted);
    }
    window.view->lastSource.reset();
}

// What the worker keeps of a 24 MP photograph once its file is written.
const boost::shared_ptr<CPreviewSource>& Kept24MP() {
    static const boost::shared_ptr<CPreviewSource> kept = [] {
        boost::shared_ptr<CPreviewSource> made(new CPreviewSource);
        if (Failed(made->Build(*Photo(6000, 4000))))
            std::abort();
        return made;
    }();
    return kept;
}

void BM_PreviewSample(benchmark::State& state) {
    ChangeRadius(state, {});
}

void BM_PreviewAfter24MP(benchmark::State& state) {
    ChangeRadius(state, Kept24MP());
}

// Steps between two fixed sizes in the shrink list, a change after which neither pane's pixels
// can be taken from the last change.
void BM_PreviewShrinkAfter24MP(benchmark::State& state) {
    Window& window = TheWindow();
    window.view->lastSource = Kept24MP();
    auto* combo = qobject_cast<QComboBox*>(window.view->Control(lvx::ctl::kShrink));
    const int last = combo->count() - 1;
    int step = 0;
    for (auto _ : state) {
        const int index = step++ % 2 ? last : last - 1;
        combo->setCurrentIndex(index);
        emit combo->activated(index);
        QPixmap painted = window.view->grab();
        benchmark::DoNotOptimize(painted);
    }
    window.view->lastSource.reset();
}

} // namespace

BENCHMARK(BM_PreviewSample)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PreviewAfter24MP)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PreviewShrinkAfter24MP)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    if (!std::getenv("QT_QPA_PLATFORM"))
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    WindowSlot().reset();
    return 0;
}

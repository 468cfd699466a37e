// Tests of the colour swatch: its exact colour and frame, as the window shows them.
#include "ui/ColorWidget.h"

#include <gtest/gtest.h>

#include <QImage>

#include "batch/Setting.h"
#include "support/QtPixels.h"
#include "ui/MainView.h"

namespace {

using namespace testutil;

// The swatch lies inside the background group box, whose frame tints what it covers: the window's
// own pixels show the colour exactly, and the sunken frame's rings in their own colours.
TEST(ColorWidgetTest, TheWindowShowsTheSwatchsExactColourInsideItsFrame) {
    TheSetting() = CSetting();
    lvx::CMainView view;
    view.show();
    const Rect r = view.swatch->GetRect();
    for (const auto& [color, pixel] : {std::pair{0x00FFFFFFu, Bgra{255, 255, 255, 255}},
                                       {0x00C0C0C0u, Bgra{192, 192, 192, 255}},
                                       {0x00336699u, Bgra{0x33, 0x66, 0x99, 255}}}) {
        view.swatch->SetColor(color);
        const QImage image = view.grab().toImage().convertToFormat(QImage::Format_ARGB32);
        EXPECT_TRUE(PixelsAt(image, {{r.left, r.top, {0xA0, 0xA0, 0xA0, 255}},
                                     {r.left + 1, r.top + 1, {0x69, 0x69, 0x69, 255}},
                                     {r.left + 2, r.top + 2, pixel},
                                     {(r.left + r.right) / 2, (r.top + r.bottom) / 2, pixel},
                                     {r.right - 3, r.bottom - 3, pixel},
                                     {r.right - 2, r.bottom - 2, {0xE3, 0xE3, 0xE3, 255}},
                                     {r.right - 1, r.bottom - 1, {255, 255, 255, 255}}}))
            << std::hex << color;
    }
}

} // namespace

// Tests of the widget base: fields from the constructor, the results of the setters and the
// dirty mark that they leave.
#include "ui/Widget.h"

#include <gtest/gtest.h>

#include <QWidget>

#include "ui/Screen.h"

namespace {

class CCountingWidget : public CWidget {
public:
    void Paint(CScreen& /*screen*/, double opacity) override {
        ++paints;
        lastOpacity = opacity;
    }
    int paints = 0;
    double lastOpacity = 0.0;
};

TEST(WidgetTest, StartsEmptyInvisibleAndDirty) {
    CWidget widget;
    EXPECT_EQ(widget.Parent(), nullptr);
    EXPECT_EQ(widget.GetRect(), Rect{});
    EXPECT_FALSE(widget.IsVisible());
    EXPECT_EQ(widget.Id(), -1);
    EXPECT_TRUE(widget.IsDirty());
    widget.SetId(170);
    EXPECT_EQ(widget.Id(), 170);
}

TEST(WidgetTest, SettersReportChangesAndMarkDirty) {
    QWidget parent;
    CCountingWidget widget;
    CDCScreen screen;
    const Rect first{10, 20, 110, 120};
    widget.Create(&parent, &first, false);
    EXPECT_EQ(widget.Parent(), &parent);
    EXPECT_EQ(widget.GetRect(), first);
    EXPECT_FALSE(widget.IsVisible());
    EXPECT_TRUE(widget.IsDirty());

    widget.PaintIfDirty(screen, 1.0);
    EXPECT_EQ(widget.paints, 1);
    EXPECT_EQ(widget.lastOpacity, 1.0);
    EXPECT_FALSE(widget.IsDirty());
    widget.PaintIfDirty(screen, 1.0);
    EXPECT_EQ(widget.paints, 1);

    // The same rectangle is no change and leaves the mark clear.
    const Rect same = first;
    EXPECT_FALSE(widget.SetRect(&same));
    EXPECT_FALSE(widget.IsDirty());
    const Rect square{20, 20, 110, 120};
    EXPECT_TRUE(widget.SetRect(&square));
    EXPECT_EQ(widget.GetRect(), square);
    EXPECT_TRUE(widget.IsDirty());
    widget.PaintIfDirty(screen, 0.5);
    EXPECT_EQ(widget.paints, 2);
    EXPECT_EQ(widget.lastOpacity, 0.5);

    EXPECT_FALSE(widget.SetVisible(false));
    EXPECT_FALSE(widget.IsDirty());
    EXPECT_TRUE(widget.SetVisible(true));
    EXPECT_TRUE(widget.IsVisible());
    EXPECT_TRUE(widget.IsDirty());
    widget.PaintIfDirty(screen, 1.0);
    EXPECT_FALSE(widget.SetVisible(true));
    EXPECT_FALSE(widget.IsDirty());

    // Null stands for the empty rectangle; Create marks dirty again.
    EXPECT_TRUE(widget.SetRect(nullptr));
    EXPECT_EQ(widget.GetRect(), Rect{});
    EXPECT_FALSE(widget.SetRect(nullptr));
    widget.PaintIfDirty(screen, 1.0);
    widget.Create(&parent, nullptr, true);
    EXPECT_EQ(widget.GetRect(), Rect{});
    EXPECT_TRUE(widget.IsVisible());
    EXPECT_TRUE(widget.IsDirty());

    // Paint paints whether or not the mark is set, and leaves it.
    widget.Paint(screen, 1.0);
    EXPECT_TRUE(widget.IsDirty());
}

TEST(WidgetTest, HitTestTakesLeftAndTopButNotRightAndBottom) {
    CWidget widget;
    const Rect r{10, 20, 30, 40};
    widget.Create(nullptr, &r, true);
    EXPECT_TRUE(widget.HitTest(10, 20));
    EXPECT_TRUE(widget.HitTest(29, 39));
    EXPECT_FALSE(widget.HitTest(30, 39));
    EXPECT_FALSE(widget.HitTest(29, 40));
    EXPECT_FALSE(widget.HitTest(9, 25));
    EXPECT_FALSE(widget.HitTest(15, 19));
}

TEST(WidgetTest, TheBaseWidgetPaintsNothing) {
    CDCScreen none;
    CDCScreen screen;
    ASSERT_EQ(screen.Create(none, Rect{0, 0, 4, 4}), hr::kOk);
    screen.FillRect(0x00FFFFFF, Rect{0, 0, 4, 4});
    CWidget widget;
    const Rect r{0, 0, 4, 4};
    widget.Create(nullptr, &r, true);
    widget.PaintIfDirty(screen, 1.0);
    EXPECT_FALSE(widget.IsDirty());
    const uchar* p = screen.GetImage()->constScanLine(2) + 2 * 4;
    EXPECT_EQ(p[0], 255);
    EXPECT_EQ(p[1], 255);
    EXPECT_EQ(p[2], 255);
    EXPECT_EQ(p[3], 255);
}

} // namespace

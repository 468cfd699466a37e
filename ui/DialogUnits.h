// Dialog units to pixels, with base units derived from a font as dialog templates do.
// The main thread only (the window's), as every Qt object of the window.
#pragma once

#include <QRect>
#include <QSize>

class QFont;

// cx = (width of the 52 letters A-Z a-z + 26) / 52 and cy = the font's height; x units are
// x * cx / 4 pixels and y units y * cy / 8, rounded to the nearest pixel.
class CDialogUnits {
public:
    explicit CDialogUnits(const QFont& font);
    CDialogUnits(int baseX, int baseY) : cx_(baseX), cy_(baseY) {}

    int X(int units) const;
    int Y(int units) const;
    QSize Size(int width, int height) const { return {X(width), Y(height)}; }
    // A rectangle of a dialog template: x, y, width, height in dialog units.
    QRect Rect(int x, int y, int width, int height) const;

private:
    int cx_;
    int cy_;
};

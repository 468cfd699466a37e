// Base units of a font and the mapping of dialog rectangles.
#include "ui/DialogUnits.h"

#include <QFont>
#include <QFontMetrics>

namespace {

// MulDiv of the dialog mapping: value * numerator / denominator, rounded half away from zero.
int MulDivRound(int value, int numerator, int denominator) {
    long long product = static_cast<long long>(value) * numerator;
    long long half = denominator / 2;
    return static_cast<int>(product >= 0 ? (product + half) / denominator
                                         : (product - half) / denominator);
}

} // namespace

CDialogUnits::CDialogUnits(const QFont& font) {
    QFontMetrics metrics(font);
    int letters = metrics.horizontalAdvance(
        QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"));
    cx_ = (letters + 26) / 52;
    cy_ = metrics.height();
}

int CDialogUnits::X(int units) const {
    return MulDivRound(units, cx_, 4);
}

int CDialogUnits::Y(int units) const {
    return MulDivRound(units, cy_, 8);
}

QRect CDialogUnits::Rect(int x, int y, int width, int height) const {
    int left = X(x);
    int top = Y(y);
    return {left, top, X(x + width) - left, Y(y + height) - top};
}

// Draws the application icon: a rounded square in a night-blue gradient whose edge fades into
// transparency, holding a pale crescent moon. Writes lunavex-N.png for each size into a folder.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include <QColor>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QString>

namespace {

constexpr int kSizes[] = {16, 24, 32, 48, 64, 128, 256};

// Signed distance from point (x, y) to the border of a rounded square centred at c with half
// side h and corner radius r: negative inside.
double RoundedSquareDistance(double x, double y, double c, double h, double r) {
    double qx = std::abs(x - c) - (h - r);
    double qy = std::abs(y - c) - (h - r);
    double outside = std::hypot(std::max(qx, 0.0), std::max(qy, 0.0));
    double inside = std::min(std::max(qx, qy), 0.0);
    return outside + inside - r;
}

// The body: gradient fill, a soft glow behind the moon, and the crescent.
void PaintBody(QImage& image) {
    const double s = image.width();
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);

    QLinearGradient sky(0, 0, s * 0.3, s);
    sky.setColorAt(0.0, QColor(58, 70, 160));
    sky.setColorAt(1.0, QColor(24, 20, 72));
    painter.fillRect(image.rect(), sky);

    QRadialGradient glow(QPointF(s * 0.5, s * 0.48), s * 0.42);
    glow.setColorAt(0.0, QColor(150, 170, 255, 110));
    glow.setColorAt(1.0, QColor(150, 170, 255, 0));
    painter.fillRect(image.rect(), glow);

    // The crescent: a disc with an offset disc taken away.
    QPainterPath moon;
    moon.addEllipse(QPointF(s * 0.47, s * 0.5), s * 0.30, s * 0.30);
    QPainterPath bite;
    bite.addEllipse(QPointF(s * 0.60, s * 0.40), s * 0.25, s * 0.25);
    QLinearGradient light(s * 0.2, s * 0.2, s * 0.6, s * 0.8);
    light.setColorAt(0.0, QColor(255, 246, 200));
    light.setColorAt(1.0, QColor(245, 205, 110));
    painter.fillPath(moon.subtracted(bite), light);
    painter.end();
}

// Multiplies every pixel by the coverage of the rounded square, with a soft fade inside its
// border so that the edge melts into transparency.
void ApplyRoundedFade(QImage& image) {
    const int n = image.width();
    const double centre = n / 2.0;
    const double half = n / 2.0 - std::max(0.5, n / 64.0);
    const double radius = n * 0.24;
    const double fade = std::max(1.0, n * 0.07);
    for (int y = 0; y < n; ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < n; ++x) {
            double d = RoundedSquareDistance(x + 0.5, y + 0.5, centre, half, radius);
            double edge = std::clamp(0.5 - d, 0.0, 1.0);   // anti-aliased border
            double soft = std::clamp(-d / fade, 0.0, 1.0); // the fade
            double alpha = edge * (0.35 + 0.65 * soft * soft * (3 - 2 * soft));
            QRgb p = line[x];
            auto scale = [alpha](int v) { return static_cast<int>(std::lround(v * alpha)); };
            line[x] = qRgba(scale(qRed(p)), scale(qGreen(p)), scale(qBlue(p)), scale(qAlpha(p)));
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: lvx_make_icon OUTPUT_FOLDER\n");
        return 2;
    }
    for (int size : kSizes) {
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        PaintBody(image);
        ApplyRoundedFade(image);
        QString path =
            QStringLiteral("%1/lunavex-%2.png").arg(QString::fromLocal8Bit(argv[1])).arg(size);
        if (!image.convertToFormat(QImage::Format_ARGB32).save(path, "PNG")) {
            std::fprintf(stderr, "lvx_make_icon: cannot write %s\n",
                         path.toLocal8Bit().constData());
            return 1;
        }
    }
    return 0;
}

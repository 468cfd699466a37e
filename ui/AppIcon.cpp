// Loading the built-in icon images.
#include "ui/AppIcon.h"

#include <QFile>
#include <QPixmap>

namespace {
constexpr int kSizes[] = {16, 24, 32, 48, 64, 128, 256};
constexpr int kLargeIcon = 32;
} // namespace

QIcon AppIcon() {
    QIcon icon;
    for (int size : kSizes) {
        QString path = QStringLiteral(":/lunavex/icons/lunavex-%1.png").arg(size);
        if (QFile::exists(path))
            icon.addFile(path, QSize(size, size));
    }
    return icon;
}

QPixmap AppLargeIcon() {
    return AppIcon().pixmap(kLargeIcon, kLargeIcon);
}

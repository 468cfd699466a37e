// Turning an image's colours into the screen's with Qt's colour management, and with the
// engine's where Qt cannot read the profile.
#include "ui/ScreenColours.h"

#include <QByteArray>
#include <QColorSpace>
#include <QImage>

#include "image/Round.h"
#include "image/SrgbCopy.h"

CDibPtr InScreenColours(const CDibPtr& image) {
    if (!image || image->ColourProfile().empty() || !IsDib32(*image))
        return image;
    const std::vector<u8>& profile = image->ColourProfile();
    const QColorSpace space = QColorSpace::fromIccProfile(QByteArray(
        reinterpret_cast<const char*>(profile.data()), static_cast<qsizetype>(profile.size())));
    CDibPtr shown;
    if (!space.isValid()) {
        // Qt reads profiles of primaries and curves alone; one built on lookup tables goes
        // through the engine's colour management instead.
        return Succeeded(ConvertToSrgb(*image, shown)) ? shown : image;
    }
    if (Failed(CopyDib32(shown, *image)))
        return image;
    shown->SetColourProfile({});
    // The bits are blue, green, red, alpha in memory: a straight-alpha ARGB32 image, whose rows
    // may lie bottom up since every pixel is turned on its own. Over memory that it does not own
    // and may write, Qt converts in place.
    QImage pixels(shown->Bits(), shown->Width(), shown->Height(),
                  static_cast<qsizetype>(shown->Stride()), QImage::Format_ARGB32);
    pixels.setColorSpace(space);
    pixels.convertToColorSpace(QColorSpace::SRgb);
    return pixels.constBits() == shown->Bits() ? shown : image;
}

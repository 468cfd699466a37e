// Turning an image's colours into the screen's with Qt's colour management, and with the
// engine's where Qt cannot read the profile.
#include "ui/ScreenColours.h"

#include <cstring>

#include <QByteArray>
#include <QColorSpace>
#include <QImage>

#include "image/Codec.h"

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
    shown.reset(new (std::nothrow) CDib);
    if (!shown || !shown->Create32(image->Width(), image->Height()) || !shown->AllocBits())
        return image;
    std::memcpy(shown->Bits(), image->Bits(), image->GetSizeImage());
    // The bits are blue, green, red, alpha in memory: a straight-alpha ARGB32 image, whose rows
    // may lie bottom up since every pixel is turned on its own. The conversion works in place.
    QImage pixels(shown->Bits(), shown->Width(), shown->Height(),
                  static_cast<qsizetype>(shown->Stride()), QImage::Format_ARGB32);
    pixels.setColorSpace(space);
    pixels.convertToColorSpace(QColorSpace::SRgb);
    if (pixels.format() != QImage::Format_ARGB32)
        return image;
    // Qt may have worked on a copy of its own.
    if (pixels.constBits() != shown->Bits()) {
        const size_t row = static_cast<size_t>(shown->Width()) * 4;
        for (i32 y = 0; y < shown->Height(); ++y)
            std::memcpy(shown->Bits() + static_cast<size_t>(y) * shown->Stride(),
                        pixels.constScanLine(y), row);
    }
    return shown;
}

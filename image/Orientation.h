// Orientation: the turn or mirror that a file's orientation tag asks for, and the picture as it
// is meant to be seen.
// Any thread: plain values and libvips pipelines.
#pragma once

#include <vips/vips8>

#include "foundation/Types.h"

// The values of the EXIF orientation tag (TIFF tag 274): where the stored picture's first row and
// first column lie in the picture as it is meant to be seen.
namespace orientation {
constexpr u32 kStored = 1;       // as stored
constexpr u32 kMirrored = 2;     // mirrored left to right
constexpr u32 kHalfTurn = 3;     // turned half way round
constexpr u32 kFlipped = 4;      // mirrored top to bottom
constexpr u32 kTransposed = 5;   // rows and columns swapped
constexpr u32 kQuarterRight = 6; // to be turned a quarter clockwise
constexpr u32 kTransversed = 7;  // swapped across the other diagonal
constexpr u32 kQuarterLeft = 8;  // to be turned a quarter anticlockwise
} // namespace orientation

// The tag's value when it is one of the eight, else orientation::kStored.
u32 KnownOrientation(int tag);

// The orientation that an image opened by the named libvips loader states: the EXIF tag of a
// JPEG, PNG or WebP, TIFF's own tag. orientation::kStored without a loader (our BMP reader), for
// GIF, and for HEIF and AVIF, whose decoder turns the picture itself.
u32 LoadedOrientation(const char* loader, VipsImage* image);

// The size of the upright picture of a stored picture of `stored` (the sides swap for 5 to 8);
// the same call gives the stored size of an upright one.
Size UprightSize(Size stored, u32 orientation);

// True when making the picture upright needs more than each row on its own: anything but the
// stored picture and a mirror left to right reads the rows in another order.
bool NeedsWholePicture(u32 orientation);

// Where the stored picture's corner that lies at the right (fromRight) and the bottom
// (fromBottom) lies in the upright picture.
void UprightCorner(u32 orientation, bool& fromRight, bool& fromBottom);
// The stored corner that lies at the given corner of the upright picture.
void StoredCorner(u32 orientation, bool& fromRight, bool& fromBottom);

// The stored picture turned or mirrored upright: a pipeline over `stored`, which must allow
// random access where NeedsWholePicture says so.
vips::VImage Upright(const vips::VImage& stored, u32 orientation);

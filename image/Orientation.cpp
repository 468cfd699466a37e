// The turns and mirrors of the eight orientations.
#include "image/Orientation.h"

#include <cstring>

using vips::VImage;

u32 KnownOrientation(int tag) {
    return tag >= 1 && tag <= 8 ? static_cast<u32>(tag) : orientation::kStored;
}

u32 LoadedOrientation(const char* loader, VipsImage* image) {
    if (!loader || !image || std::strcmp(loader, "heifload_buffer") == 0 ||
        std::strcmp(loader, "gifload_buffer") == 0)
        return orientation::kStored;
    return KnownOrientation(vips_image_get_orientation(image));
}

Size UprightSize(Size stored, u32 orientation) {
    return orientation >= orientation::kTransposed ? Size{stored.cy, stored.cx} : stored;
}

bool NeedsWholePicture(u32 orientation) {
    return orientation != orientation::kStored && orientation != orientation::kMirrored;
}

void UprightCorner(u32 orientation, bool& fromRight, bool& fromBottom) {
    const bool r = fromRight;
    const bool b = fromBottom;
    switch (orientation) {
    case orientation::kMirrored:
        fromRight = !r;
        break;
    case orientation::kHalfTurn:
        fromRight = !r;
        fromBottom = !b;
        break;
    case orientation::kFlipped:
        fromBottom = !b;
        break;
    case orientation::kTransposed:
        fromRight = b;
        fromBottom = r;
        break;
    case orientation::kQuarterRight:
        fromRight = !b;
        fromBottom = r;
        break;
    case orientation::kTransversed:
        fromRight = !b;
        fromBottom = !r;
        break;
    case orientation::kQuarterLeft:
        fromRight = b;
        fromBottom = !r;
        break;
    default:
        break;
    }
}

void StoredCorner(u32 orientation, bool& fromRight, bool& fromBottom) {
    // A quarter turn one way is undone by a quarter turn the other; the rest undo themselves.
    if (orientation == orientation::kQuarterRight)
        orientation = orientation::kQuarterLeft;
    else if (orientation == orientation::kQuarterLeft)
        orientation = orientation::kQuarterRight;
    UprightCorner(orientation, fromRight, fromBottom);
}

VImage Upright(const VImage& stored, u32 orientation) {
    switch (orientation) {
    case orientation::kMirrored:
        return stored.flip(VIPS_DIRECTION_HORIZONTAL);
    case orientation::kHalfTurn:
        return stored.rot(VIPS_ANGLE_D180);
    case orientation::kFlipped:
        return stored.flip(VIPS_DIRECTION_VERTICAL);
    case orientation::kTransposed:
        return stored.rot(VIPS_ANGLE_D90).flip(VIPS_DIRECTION_HORIZONTAL);
    case orientation::kQuarterRight:
        return stored.rot(VIPS_ANGLE_D90);
    case orientation::kTransversed:
        return stored.rot(VIPS_ANGLE_D270).flip(VIPS_DIRECTION_HORIZONTAL);
    case orientation::kQuarterLeft:
        return stored.rot(VIPS_ANGLE_D270);
    default:
        return stored;
    }
}

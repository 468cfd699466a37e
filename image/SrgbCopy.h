// A CDib's copy in sRGB, for a file or a screen that has no place for a colour profile.
// Any thread, each image used by one at a time.
#pragma once

#include "foundation/Types.h"
#include "image/Dib.h"

// A new copy of a 32-bit image with its numbers turned from the colour space of its profile into
// sRGB (relative colorimetric: white stays white), alpha and resolution kept, and no profile: for
// a file or a screen that has no place for one. An image without a profile, or with one that the
// colour engine cannot read, is copied as it is. 0x80070057 for an image that is not 32-bit,
// 0x8007000E when memory runs out.
HResult ConvertToSrgb(const CDib& dib, CDibPtr& out);

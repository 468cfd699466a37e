// The colours that reach the screen: an image whose numbers belong to another colour space is
// shown through its profile, for display only.
#pragma once

#include "image/Dib.h"

// The image as the screen should show it: a copy with its numbers turned from the colour space of
// its profile into sRGB, the space that the screen is taken to have, alpha kept. The image itself
// when it has no profile, and when no copy can be made. Any thread.
CDibPtr InScreenColours(const CDibPtr& image);

// The shrink step of a conversion: fits an image into a box, keeping its aspect, never enlarging.
#pragma once

#include "foundation/Types.h"
#include "image/Dib.h"
#include "image/ShrinkSettings.h"
#include "resources/StringIds.h"

// Runs once per conversion on the worker thread, or on the main thread for the preview. The
// fields from shrinkType to customHeight are a copy of ShrinkSettings. Failures are kept as a
// string-table id and a code; the step throws nothing of its own.
class CShrinkStep {
public:
    CDibPtr source; // read only
    u32 shrinkType = shrinktype::kNone;
    i32 shrinkWidth = 0;
    i32 shrinkHeight = 0;
    i32 customWidth = 200;
    i32 customHeight = 1000;
    u32 errorId = 0;
    u32 errorCode = 0;
    CDibPtr result; // empty on failure

    // Copies the settings record into the step's fields, and back.
    void SetSettings(const ShrinkSettings& settings);
    ShrinkSettings Settings() const;

    // shrinktype::kNone passes `source` through as it is (the same object); kCustom fits into the
    // custom size, kNamed into the named size; any other type fails with strid::kUnknownShrinkType.
    void Run();

    // The size that Run would give an image of imageWidth x imageHeight, in `size`, without
    // resampling anything: the image's own size when it passes through. 0, or the id of the
    // failure that Run would report (strid::kShrinkSizeNotPositive, strid::kUnknownShrinkType).
    u32 FittedSize(i32 imageWidth, i32 imageHeight, Size& size) const;

    // Fits `image` into width x height. An image that fits already passes through as it is; a
    // target under one pixel fails with strid::kShrinkSizeNotPositive; a failed resize with
    // strid::kResizeFailed and its code.
    void FitSize(i32 width, i32 height, CDibPtr image);
};

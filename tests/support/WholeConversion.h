// The whole conversion of an image in memory, as the window's batch makes it: the shrink step, the
// round step, and the background where the alpha is not kept. Tests compare the streamed
// conversion and the preview with it.
#pragma once

#include "image/Background.h"
#include "image/OutputAlpha.h"
#include "image/RoundStep.h"
#include "image/ShrinkStep.h"

namespace testutil {

// The converted image with the settings of the two steps; null when a step fails.
inline CDibPtr ConvertWhole(const CDibPtr& source, const CShrinkStep& shrinkSettings,
                            const CRoundStep& roundSettings, bool keepAlpha) {
    CShrinkStep shrink;
    shrink.SetSettings(shrinkSettings.Settings());
    shrink.source = source;
    shrink.Run();
    if (shrink.errorId != 0)
        return {};
    CRoundStep round;
    round.SetSettings(roundSettings.Settings());
    round.source = shrink.result;
    round.Run();
    if (round.errorId != 0)
        return {};
    if (KeepsAlpha(round.transparent, keepAlpha))
        return round.result;
    CDibPtr filled;
    if (Failed(FillBackground(filled, *round.result, round.backgroundColor)))
        return {};
    return filled;
}

} // namespace testutil

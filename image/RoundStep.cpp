// The rounding step of a conversion: rounds the chosen corners, then blurs the chosen edges.
#include "image/RoundStep.h"

#include "image/Blur.h"
#include "image/Round.h"

void CRoundStep::SetSettings(const RoundSettings& settings) {
    backgroundColor = settings.backgroundColor;
    transparent = settings.transparent;
    corners = settings.corners;
    edges = settings.edges;
    radius = settings.radius;
    blurWidth = settings.blurWidth;
}

RoundSettings CRoundStep::Settings() const {
    RoundSettings settings;
    settings.backgroundColor = backgroundColor;
    settings.transparent = transparent;
    settings.corners = corners;
    settings.edges = edges;
    settings.radius = radius;
    settings.blurWidth = blurWidth;
    return settings;
}

void CRoundStep::Run() {
    result.reset();
    errorId = 0;
    errorCode = 0;
    if (!source) {
        errorId = strid::kRoundFailed;
        errorCode = hr::kInvalidArg;
        return;
    }
    const CDib& image = *source;
    const CornerFlags c = CornerFlagsOf(corners);
    const EdgeFlags e = EdgeFlagsOf(edges);
    const double r = ResolveLength(radius, image.Width(), image.Height());

    CDibPtr rounded;
    const HResult roundCode =
        RoundImage(rounded, image, c.topLeft, c.bottomLeft, c.bottomRight, c.topRight, r, r);
    if (Failed(roundCode)) {
        errorId = strid::kRoundFailed;
        errorCode = roundCode;
        return;
    }

    // The rounded copy belongs to this step alone, so it is blurred in place: the same result as
    // blurring a further copy, without a second pass over the whole image.
    const double width = ResolveLength(blurWidth, image.Width(), image.Height());
    const HResult blurCode = BlurEdges(*rounded, c.topLeft, c.bottomLeft, c.bottomRight, c.topRight,
                                       e.left, e.top, e.right, e.bottom, r, r, width);
    if (Failed(blurCode)) {
        errorId = strid::kBlurFailed;
        errorCode = blurCode;
        return;
    }
    result = rounded;
}

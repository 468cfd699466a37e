// CEdgePlan: what rounding the corners and fading the edges do to the alpha of each pixel of an
// image of a given size, so that a stream of rows gets the same alpha as the whole image would.
#pragma once

#include <vector>

#include "foundation/Types.h"

// Rounding multiplies a pixel's alpha by a mask byte that depends on its place alone, and the
// fade then caps it by a byte that depends on its place alone: the alpha becomes
// min(MaskedAlpha(alpha, mask), cap). The plan holds both bytes, worked out by the rounding and
// fading operations themselves on two opaque probe images.
//
// Only bands along the edges are touched, each as wide as the larger of the clipped radius and
// the fade width. When the middle of an axis lies beyond both bands the probe keeps the two bands
// and one untouched line between them, so that its size follows the settings and not the image;
// every line of the middle then reads that one line. Read only once built: any thread.
class CEdgePlan {
public:
    // Works out the plan for an image of width x height with the stored corner and edge bits
    // (cornerbit::, edgebit::) and the radius and fade width in pixels, resolved against that size
    // (ResolveLength, image/LengthValue.h). 0x8007000E when memory runs out, 0x80070057 for a size
    // under one pixel.
    HResult Build(i32 width, i32 height, u32 corners, u32 edges, double radius, double fadeWidth);

    // Applies the plan to count pixels of row y (0 = top) from column x, 4 bytes each with the
    // alpha last.
    void Apply(i32 y, i32 x, i32 count, u8* pixels) const;

    // True when row y has pixels outside the side bands that the plan may change.
    bool TouchesWholeRow(i32 y) const;
    // The width of the band along the left and along the right edge: no pixel between them is
    // changed on a row for which TouchesWholeRow is false.
    i32 SideBand() const { return bandX_; }

private:
    i32 ProbeX(i32 x) const;
    i32 ProbeY(i32 y) const;

    i32 width_ = 0;
    i32 height_ = 0;
    i32 probeWidth_ = 0;
    i32 probeHeight_ = 0;
    i32 bandX_ = 0;
    i32 bandY_ = 0;
    std::vector<u8> mask_; // probe rows, top first
    std::vector<u8> cap_;
};

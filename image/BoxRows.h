// CBoxRows: an image's rows averaged over a grid of squares as they come, which is how the
// preview's copy of a source keeps its corners and its reduced wholes.
// Any thread, one grid each.
#pragma once

#include <cstring>
#include <vector>

#include <vips/vips8>

#include "foundation/Types.h"

// A grid of `across` x `down` squares of side `scale` over an image, from (left, top), fed the
// image's rows top to bottom and kept as the average of each square: the colours weighted by
// their alpha, the alpha rounded. Kept turned as asked, so that a corner of the image can lie at
// the top left. Four bands, blue, green, red, alpha.
class CBoxRows {
public:
    // `opaque`: every alpha is 255, and the colours are plain averages.
    CBoxRows(i32 left, i32 top, i32 across, i32 down, i32 scale, bool flipX, bool flipY,
             bool opaque)
        : left_(left), top_(top), across_(across), down_(down), scale_(scale), flipX_(flipX),
          flipY_(flipY), opaque_(opaque), sums_(static_cast<size_t>(across) * 4),
          out_(static_cast<size_t>(across) * down * 4) {}

    // Row y of the image, four bands; rows outside the grid are passed over.
    void Add(i32 y, const u8* row) {
        const i32 rel = y - top_;
        if (rel < 0 || rel >= down_ * scale_)
            return;
        const i32 by = rel / scale_;
        const u8* in = row + static_cast<size_t>(left_) * 4;
        if (scale_ == 1) {
            u8* out = OutRow(by);
            if (!flipX_) {
                std::memcpy(out, in, static_cast<size_t>(across_) * 4);
            } else {
                for (i32 b = 0; b < across_; ++b)
                    std::memcpy(out + static_cast<size_t>(across_ - 1 - b) * 4, in + b * 4, 4);
            }
            return;
        }
        u32* sum = sums_.data();
        if (opaque_) {
            for (i32 b = 0; b < across_; ++b, sum += 4) {
                for (i32 d = 0; d < scale_; ++d, in += 4) {
                    sum[0] += in[0];
                    sum[1] += in[1];
                    sum[2] += in[2];
                }
            }
        } else {
            for (i32 b = 0; b < across_; ++b, sum += 4) {
                for (i32 d = 0; d < scale_; ++d, in += 4) {
                    const u32 alpha = in[3];
                    sum[0] += in[0] * alpha;
                    sum[1] += in[1] * alpha;
                    sum[2] += in[2] * alpha;
                    sum[3] += alpha;
                }
            }
        }
        if (rel % scale_ == scale_ - 1)
            Emit(by);
    }

    i32 Width() const { return across_; }
    i32 Height() const { return down_; }
    const u8* Row(i32 y) const { return out_.data() + static_cast<size_t>(y) * across_ * 4; }

    // The grid's averages as a libvips image; throws vips::VError when memory runs out.
    vips::VImage Image() const {
        VipsImage* image = vips_image_new_from_memory_copy(out_.data(), out_.size(), across_, down_,
                                                           4, VIPS_FORMAT_UCHAR);
        if (!image)
            throw vips::VError();
        return vips::VImage(image);
    }

private:
    u8* OutRow(i32 by) {
        return out_.data() + static_cast<size_t>(flipY_ ? down_ - 1 - by : by) * across_ * 4;
    }

    void Emit(i32 by) {
        const u32 count = static_cast<u32>(scale_) * static_cast<u32>(scale_);
        u8* out = OutRow(by);
        u32* sum = sums_.data();
        for (i32 b = 0; b < across_; ++b, sum += 4) {
            u8* pixel = out + static_cast<size_t>(flipX_ ? across_ - 1 - b : b) * 4;
            if (opaque_) {
                for (int c = 0; c < 3; ++c)
                    pixel[c] = static_cast<u8>((sum[c] + count / 2) / count);
                pixel[3] = 255;
                sum[0] = sum[1] = sum[2] = 0;
                continue;
            }
            const u32 alpha = sum[3];
            for (int c = 0; c < 3; ++c)
                pixel[c] = static_cast<u8>(alpha ? (sum[c] + alpha / 2) / alpha : 0);
            pixel[3] = static_cast<u8>((alpha + count / 2) / count);
            sum[0] = sum[1] = sum[2] = sum[3] = 0;
        }
    }

    i32 left_, top_, across_, down_, scale_;
    bool flipX_, flipY_, opaque_;
    std::vector<u32> sums_;
    std::vector<u8> out_;
};

// RowOperation: an image whose strips of rows an operation of our own makes from another image's,
// with its work's state freed together with the image.
// Any thread, after EnsureVipsStarted (image/VipsStart.h); the generate function runs on libvips'
// threads.
#pragma once

#include <vips/vips8>

// An operation of our own over `pixels`: an image `width` pixels wide of `bands` bands whose
// strips of rows `generate` makes with `job`, which is freed with the image (`free` takes the
// image and the job).
template <typename Job>
vips::VImage RowOperation(const vips::VImage& pixels, int width, int bands, VipsGenerateFn generate,
                          Job* job, void (*free)(VipsImage*, Job*)) {
    VipsImage* in = pixels.get_image();
    VipsImage* out = vips_image_new();
    g_signal_connect(out, "close", G_CALLBACK(free), job);
    // The output keeps its input alive as long as it may ask it for pixels.
    g_object_ref(in);
    vips_object_local(out, in);
    vips::VImage result(out);
    if (vips_image_pipelinev(out, VIPS_DEMAND_STYLE_THINSTRIP, in, nullptr))
        throw vips::VError();
    out->Xsize = width;
    out->Bands = bands;
    out->Type = VIPS_INTERPRETATION_sRGB;
    if (vips_image_generate(out, vips_start_one, generate, vips_stop_one, in, job))
        throw vips::VError();
    return result;
}

// AVIF through libheif: the HEIF image filled from the pipeline's rows, one AV1 encode, the file
// gathered in a vector.
#include "image/AvifEncoder.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include <libheif/heif.h>

#include "image/Loaders.h"
#include "image/RowsOnThisThread.h"
#include "image/SaveType.h"

namespace {

// libaom's speed, from 0 (slowest) to 9: libvips' own default effort for AVIF, a photograph of
// 12 megapixels in seconds rather than minutes.
constexpr int kAomSpeed = 5;

struct HeifFree {
    void operator()(heif_context* context) const { heif_context_free(context); }
    void operator()(heif_image* image) const { heif_image_release(image); }
    void operator()(heif_encoder* encoder) const { heif_encoder_release(encoder); }
    void operator()(heif_encoding_options* options) const { heif_encoding_options_free(options); }
    void operator()(heif_image_handle* handle) const { heif_image_handle_release(handle); }
};
template <typename T> using HeifPtr = std::unique_ptr<T, HeifFree>;

// The code of a libheif failure: memory when that ran out, else an unspecified failure.
HResult HeifFailure(const heif_error& error) {
    return error.code == heif_error_Memory_allocation_error ? hr::kOutOfMemory : hr::kFail;
}

heif_error AppendTo(heif_context*, const void* data, size_t size, void* userdata) {
    auto* out = static_cast<std::vector<u8>*>(userdata);
    try {
        const u8* bytes = static_cast<const u8*>(data);
        out->insert(out->end(), bytes, bytes + size);
    } catch (const std::bad_alloc&) {
        return {heif_error_Memory_allocation_error, heif_suberror_Unspecified, "out of memory"};
    }
    return {heif_error_Ok, heif_suberror_Unspecified, "ok"};
}

// The pixels as a new interleaved 8-bit HEIF image, the profile attached; null on failure, with
// the code in `code`. The rows are worked out here, on the calling thread's pipeline.
HeifPtr<heif_image> Filled(const vips::VImage& pixels, const std::vector<u8>& profile,
                           HResult& code) {
    const int bands = pixels.bands();
    heif_image* made = nullptr;
    heif_error error = heif_image_create(
        pixels.width(), pixels.height(), heif_colorspace_RGB,
        bands == 4 ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB, &made);
    HeifPtr<heif_image> image(made);
    if (error.code == heif_error_Ok)
        error = heif_image_add_plane(image.get(), heif_channel_interleaved, pixels.width(),
                                     pixels.height(), 8);
    if (error.code == heif_error_Ok && !profile.empty())
        error =
            heif_image_set_raw_color_profile(image.get(), "prof", profile.data(), profile.size());
    if (error.code != heif_error_Ok) {
        code = HeifFailure(error);
        return {};
    }
    int stride = 0;
    u8* plane = heif_image_get_plane(image.get(), heif_channel_interleaved, &stride);
    const size_t rowBytes = static_cast<size_t>(pixels.width()) * bands;
    ForEachRow(pixels, [&](i32 y, const u8* row) {
        std::memcpy(plane + static_cast<size_t>(y) * stride, row, rowBytes);
    });
    return image;
}

} // namespace

bool CanWriteAvif() {
    return heif_have_encoder_for_format(heif_compression_AV1) != 0;
}

HResult EncodeAvif(const vips::VImage& pixels, u32 quality, const std::vector<u8>& profile,
                   const OutputMetadata& metadata, std::vector<u8>& out) {
    out.clear();
    if (!CanWriteAvif())
        return hr::kNoAvifEncoder;
    try {
        HResult code = hr::kOk;
        HeifPtr<heif_image> image = Filled(pixels, profile, code);
        if (!image)
            return code;
        HeifPtr<heif_context> context(heif_context_alloc());
        heif_encoder* made = nullptr;
        heif_error error =
            heif_context_get_encoder_for_format(context.get(), heif_compression_AV1, &made);
        HeifPtr<heif_encoder> encoder(made);
        if (error.code == heif_error_Ok)
            error = heif_encoder_set_lossy_quality(
                encoder.get(), static_cast<int>(std::min(quality, kBestJpegQuality)));
        if (error.code == heif_error_Ok)
            heif_encoder_set_parameter_integer(encoder.get(), "speed", kAomSpeed);
        HeifPtr<heif_encoding_options> options(heif_encoding_options_alloc());
        heif_image_handle* handle = nullptr;
        if (error.code == heif_error_Ok)
            error = heif_context_encode_image(context.get(), image.get(), encoder.get(),
                                              options.get(), &handle);
        HeifPtr<heif_image_handle> encoded(handle);
        if (error.code == heif_error_Ok && !metadata.exif.empty())
            error =
                heif_context_add_exif_metadata(context.get(), encoded.get(), metadata.exif.data(),
                                               static_cast<int>(metadata.exif.size()));
        if (error.code == heif_error_Ok && !metadata.xmp.empty())
            error = heif_context_add_XMP_metadata(context.get(), encoded.get(), metadata.xmp.data(),
                                                  static_cast<int>(metadata.xmp.size()));
        heif_writer writer{1, AppendTo};
        if (error.code == heif_error_Ok)
            error = heif_context_write(context.get(), &writer, &out);
        if (error.code != heif_error_Ok) {
            out.clear();
            return HeifFailure(error);
        }
        return hr::kOk;
    } catch (const vips::VError& error) {
        out.clear();
        const bool memory = CLoader::IsOutOfMemoryText(error.what());
        vips_error_clear();
        return memory ? hr::kOutOfMemory : hr::kFail;
    } catch (const std::bad_alloc&) {
        out.clear();
        return hr::kOutOfMemory;
    }
}

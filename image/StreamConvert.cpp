// A conversion as one libvips pipeline: loader, resample, the edge operation of our own, encoder.
#include "image/StreamConvert.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <new>

#include <vips/vips8>

#include "image/Background.h"
#include "image/DecodeStream.h"
#include "image/Draw.h"
#include "image/EdgePlan.h"
#include "image/Loaders.h"
#include "image/MetadataEdit.h"
#include "image/Orientation.h"
#include "image/Resample.h"
#include "image/RowOperation.h"
#include "image/RowsOnThisThread.h"
#include "image/Shrink.h"
#include "image/StreamEncoders.h"
#include "image/VipsStart.h"
#include "resources/StringIds.h"

using vips::VError;
using vips::VImage;

namespace {

// What the edge operation does to each row: the plan's alpha, then either the alpha kept or the
// pixel laid over the background colour.
struct CEdgeJob {
    CEdgePlan plan;
    bool fill = false;
    u8 background[3] = {}; // red, green, blue
    int inBands = 4;       // 3: colours of an opaque source, 4: with straight alpha
    int outBands = 4;
    std::atomic<bool> sourceFailed{false};
};

void FreeJob(VipsImage*, CEdgeJob* job) {
    delete job;
}

// Pixels that the plan changes, count of them from column x of row y: each as RGBA with its
// alpha planned, then written out as the job asks.
void PlanPixels(const CEdgeJob& job, i32 y, i32 x, i32 count, const u8* src, u8* dst) {
    constexpr i32 kChunk = 256;
    u8 rgba[kChunk * 4];
    while (count > 0) {
        const i32 n = std::min(count, kChunk);
        for (i32 i = 0; i < n; ++i, src += job.inBands) {
            std::memcpy(rgba + i * 4, src, 3);
            rgba[i * 4 + 3] = job.inBands == 4 ? src[3] : 255;
        }
        job.plan.Apply(y, x, n, rgba);
        const u8* pixel = rgba;
        for (i32 i = 0; i < n; ++i, pixel += 4, dst += job.outBands) {
            const u32 alpha = pixel[3];
            if (!job.fill) {
                std::memcpy(dst, pixel, 4);
                continue;
            }
            for (int k = 0; k < 3; ++k)
                dst[k] =
                    alpha == 255 ? pixel[k] : BlendOverByte(pixel[k], alpha, job.background[k]);
            if (job.outBands == 4)
                dst[3] = 255;
        }
        count -= n;
        x += n;
    }
}

// Pixels that the plan leaves alone, of an opaque source: copied, with alpha 255 where the
// output has an alpha band.
void CopyOpaque(const CEdgeJob& job, i32 count, const u8* src, u8* dst) {
    if (job.outBands == 3) {
        std::memcpy(dst, src, static_cast<size_t>(count) * 3);
        return;
    }
    for (i32 i = 0; i < count; ++i, src += 3, dst += 4) {
        std::memcpy(dst, src, 3);
        dst[3] = 255;
    }
}

int GenerateEdges(VipsRegion* out, void* sequence, void*, void* arg, gboolean*) {
    auto* in = static_cast<VipsRegion*>(sequence);
    const CEdgeJob& job = *static_cast<CEdgeJob*>(arg);
    const VipsRect area = out->valid;
    if (vips_region_prepare(in, &area)) {
        static_cast<CEdgeJob*>(arg)->sourceFailed = true;
        return -1;
    }
    const i32 width = out->im->Xsize;
    const i32 right = area.left + area.width;
    const i32 band = job.plan.SideBand();
    for (int y = area.top; y < VIPS_RECT_BOTTOM(&area); ++y) {
        const u8* src = VIPS_REGION_ADDR(in, area.left, y);
        u8* dst = VIPS_REGION_ADDR(out, area.left, y);
        // Rows along the top and the bottom, and every pixel of a source with alpha laid over
        // the background, go through the plan whole; elsewhere only the side bands do.
        if (job.plan.TouchesWholeRow(y) || (job.inBands == 4 && job.fill)) {
            PlanPixels(job, y, area.left, area.width, src, dst);
            continue;
        }
        const i32 middleStart = std::clamp(band, area.left, right);
        const i32 middleEnd = std::clamp(std::max(band, width - band), middleStart, right);
        auto offset = [&](i32 x, int bands) { return static_cast<size_t>(x - area.left) * bands; };
        PlanPixels(job, y, area.left, middleStart - area.left, src, dst);
        if (job.inBands == 4)
            std::memcpy(dst + offset(middleStart, 4), src + offset(middleStart, 4),
                        static_cast<size_t>(middleEnd - middleStart) * 4);
        else
            CopyOpaque(job, middleEnd - middleStart, src + offset(middleStart, 3),
                       dst + offset(middleStart, job.outBands));
        PlanPixels(job, y, middleEnd, right - middleEnd, src + offset(middleEnd, job.inBands),
                   dst + offset(middleEnd, job.outBands));
    }
    return 0;
}

// The edge operation over 8-bit RGB or RGBA rows: four bands out when the alpha is kept or for a
// PNG, three for a JPEG. Takes the job; it is freed with the image.
VImage ApplyEdges(const VImage& pixels, CEdgeJob* job) {
    return RowOperation(pixels, pixels.width(), job->outBands, GenerateEdges, job, FreeJob);
}

// Hands the decoded rows to a sink as the pipeline reads them. Strips arrive from several
// threads and not always in order, and the resampler asks for some rows twice: each row is
// handed over once, in order, and a row that comes before the ones above it waits here.
struct CRowTap {
    CRowSink* sink = nullptr;
    i32 width = 0;
    size_t rowBytes = 0;
    std::mutex lock;
    i32 nextRow = 0;
    std::map<i32, std::vector<u8>> waiting;
    bool lost = false; // too many rows waited: the sink will miss rows, and End says so

    void Take(i32 y, const u8* row) {
        if (lost || y < nextRow)
            return;
        if (y > nextRow) {
            if (waiting.size() >= kMostWaitingRows) {
                lost = true;
                waiting.clear();
                return;
            }
            waiting.try_emplace(y, row, row + rowBytes);
            return;
        }
        sink->Row(row);
        ++nextRow;
        for (auto next = waiting.begin(); next != waiting.end() && next->first == nextRow;
             next = waiting.erase(next)) {
            sink->Row(next->second.data());
            ++nextRow;
        }
    }

    // Far more than the strips that libvips' threads have in hand at once.
    static constexpr size_t kMostWaitingRows = 4096;
};

void FreeTap(VipsImage*, CRowTap* tap) {
    delete tap;
}

int GenerateTap(VipsRegion* out, void* sequence, void*, void* arg, gboolean*) {
    auto* in = static_cast<VipsRegion*>(sequence);
    auto& tap = *static_cast<CRowTap*>(arg);
    const VipsRect area = out->valid;
    if (vips_region_prepare(in, &area) || vips_region_region(out, in, &area, area.left, area.top))
        return -1;
    // Only whole rows are handed over; the pipelines here ask for nothing else.
    if (area.left != 0 || area.width != tap.width)
        return 0;
    try {
        std::lock_guard<std::mutex> hold(tap.lock);
        for (i32 y = area.top; y < VIPS_RECT_BOTTOM(&area); ++y)
            tap.Take(y, VIPS_REGION_ADDR(in, 0, y));
    } catch (const std::bad_alloc&) {
        tap.lost = true;
    }
    return 0;
}

// `pixels` as they are, with every row handed to the sink as it is read.
VImage TapRows(const VImage& pixels, CRowSink* sink) {
    auto tap = std::make_unique<CRowTap>();
    tap->sink = sink;
    tap->width = pixels.width();
    tap->rowBytes = static_cast<size_t>(pixels.width()) * pixels.bands();
    return RowOperation(pixels, pixels.width(), pixels.bands(), GenerateTap, tap.release(),
                        FreeTap);
}

void Fail(StreamFailure& failure, StreamFailure::Stage stage, u32 errorId, HResult code) {
    failure.stage = stage;
    failure.errorId = errorId;
    failure.code = code;
}

// What the output keeps of the source's EXIF and XMP: nothing, unless the output asks for it; a
// picture written upright says so. An EXIF block that cannot be edited is left out.
OutputMetadata KeptMetadata(const CDecodeStream& stream, const OutputChoice& output) {
    OutputMetadata kept;
    if (output.metadata == metadatakept::kNone)
        return kept;
    stream.Metadata(kept.exif, kept.xmp);
    const bool dropLocation = output.metadata == metadatakept::kWithoutLocation;
    const bool upright = output.upright || stream.Orientation() == orientation::kStored;
    if (!kept.exif.empty() && !EditExif(kept.exif, dropLocation, upright))
        kept.exif.clear();
    EditXmp(kept.xmp, dropLocation, upright);
    return kept;
}

// The shrunk pixels turned upright. A turn that reads the rows in another order holds the shrunk
// picture in memory; a mirror left to right works row by row. What is held, with what the encoder
// holds (`encoderHeld`), counts against the memory budget beside the decoder's own needs.
HResult TurnUpright(VImage& pixels, u32 turn, const CDecodeLimits& limits, u64 encoderHeld,
                    StreamFailure& failure) {
    const bool whole = NeedsWholePicture(turn);
    const u64 held = whole ? static_cast<u64>(pixels.width()) * static_cast<u64>(pixels.height()) *
                                 static_cast<u64>(pixels.bands())
                           : 0;
    if (held + encoderHeld > 0) {
        const HResult budget = CheckDecodeCost(failure.cost, limits, held + encoderHeld);
        if (Failed(budget)) {
            // The message names the whole need, not only the decoder's part of it.
            failure.cost.memory += held + encoderHeld;
            Fail(failure, StreamFailure::kLoad, 0, budget);
            return budget;
        }
    }
    if (whole)
        pixels = pixels.copy_memory();
    pixels = Upright(pixels, turn);
    return hr::kOk;
}

HResult Convert(const u8* data, size_t size, const CDecodeLimits& limits,
                const ShrinkSettings& shrink, const RoundSettings& round,
                const OutputChoice& output, const StreamOptions& options, std::vector<u8>& out,
                StreamFailure& failure) {
    CDecodeStream stream;
    HResult code = stream.Open(data, size, limits, &failure.declared, &failure.cost);
    if (Failed(code)) {
        Fail(failure, StreamFailure::kLoad, 0, code);
        return code;
    }
    // The shrink fits the upright picture; the stored one is shrunk to the matching size and
    // then turned.
    const u32 turn = output.upright ? stream.Orientation() : orientation::kStored;
    const Size full = stream.DeclaredSize();
    Size fitted;
    const u32 shrinkError = FittedSize(shrink, UprightSize(full, turn), fitted);
    if (shrinkError != 0) {
        Fail(failure, StreamFailure::kShrink, shrinkError, 0);
        return hr::kFail;
    }
    const Size storedFitted = UprightSize(fitted, turn);
    const bool resize = storedFitted.cx != full.cx || storedFitted.cy != full.cy;
    if (resize && options.reduceWhileDecoding)
        stream.ReduceFor(storedFitted.cx, storedFitted.cy);

    // The pixels keep the numbers of the source's colour space; its profile goes with them, so
    // that a viewer shows the output's colours as the source's.
    const std::vector<u8> profile = stream.ColourProfile();
    VImage pixels = stream.Pixels();
    if (options.sourceRows) {
        options.sourceRows->Begin(Size{pixels.width(), pixels.height()}, stream.Reduction(), full,
                                  pixels.bands());
        options.sourceRows->TakeColourProfile(profile);
        options.sourceRows->TakeOrientation(stream.Orientation());
        pixels = TapRows(pixels, options.sourceRows);
    }
    if (resize || pixels.width() != storedFitted.cx || pixels.height() != storedFitted.cy) {
        const double reduction = stream.Reduction();
        pixels = ResampleRgba(pixels, storedFitted.cx, storedFitted.cy, interp::kHighQuality,
                              pixels.bands() == 3, full.cx / reduction, full.cy / reduction);
    }
    code = TurnUpright(pixels, turn, limits, output.EncoderHeldBytes(fitted), failure);
    if (Failed(code))
        return code;

    auto job = std::make_unique<CEdgeJob>();
    const double radius = ResolveLength(round.radius, fitted.cx, fitted.cy);
    const double fade = ResolveLength(round.blurWidth, fitted.cx, fitted.cy);
    code = job->plan.Build(fitted.cx, fitted.cy, round.corners, round.edges, radius, fade);
    if (Failed(code)) {
        Fail(failure, StreamFailure::kRound, strid::kRoundFailed, code);
        return code;
    }
    job->fill = !output.keepAlpha;
    const u32 argb = ColorRefToArgb(output.backgroundColor);
    job->background[0] = static_cast<u8>(argb >> 16);
    job->background[1] = static_cast<u8>(argb >> 8);
    job->background[2] = static_cast<u8>(argb);
    job->inBands = pixels.bands();
    // A PNG is written as RGBA whatever its alpha; the others carry alpha only when it is kept.
    job->outBands = output.format == OutputFormat::kPng || !job->fill ? 4 : 3;
    const CEdgeJob& watched = *job;
    VImage finished = ApplyEdges(pixels, job.release());

    code = EncodeRows(finished, output, profile, KeptMetadata(stream, output), out);
    // A damaged source shows while its rows are read, that is, while the encoder runs.
    // Memory that ran out while the rows were decoded is reported as such.
    if (watched.sourceFailed || stream.Damaged()) {
        out.clear();
        const HResult load = code == hr::kOutOfMemory ? hr::kOutOfMemory : hr::kNotImpl;
        Fail(failure, StreamFailure::kLoad, 0, load);
        return load;
    }
    if (Failed(code))
        Fail(failure, StreamFailure::kSave, 0, code);
    return code;
}

} // namespace

HResult ConvertStream(const u8* data, size_t size, const CDecodeLimits& limits,
                      const ShrinkSettings& shrink, const RoundSettings& round,
                      const OutputChoice& output, const StreamOptions& options,
                      std::vector<u8>& out, StreamFailure& failure) {
    failure = StreamFailure();
    out.clear();
    if (!EnsureVipsStarted()) {
        Fail(failure, StreamFailure::kLoad, 0, hr::kFail);
        return hr::kFail;
    }
    try {
        const HResult code =
            Convert(data, size, limits, shrink, round, output, options, out, failure);
        vips_error_clear();
        return code;
    } catch (const VError&) {
        out.clear();
        // Only the loader's and the resampler's pipelines are built before the encoder runs.
        const HResult code = CLoader::DecodeFailure();
        Fail(failure, StreamFailure::kLoad, 0, code);
        return code;
    } catch (const std::bad_alloc&) {
        out.clear();
        Fail(failure, StreamFailure::kLoad, 0, hr::kOutOfMemory);
        return hr::kOutOfMemory;
    }
}

HResult ReadRows(const u8* data, size_t size, const CDecodeLimits& limits, CRowSink& sink) {
    if (!EnsureVipsStarted())
        return hr::kFail;
    try {
        CDecodeStream stream;
        const HResult code = stream.Open(data, size, limits);
        if (Failed(code))
            return code;
        const VImage pixels = stream.Pixels();
        sink.Begin(Size{pixels.width(), pixels.height()}, 1, stream.DeclaredSize(), pixels.bands());
        sink.TakeColourProfile(stream.ColourProfile());
        sink.TakeOrientation(stream.Orientation());
        ForEachRow(pixels, [&](i32, const u8* row) { sink.Row(row); });
        vips_error_clear();
        return stream.Damaged() ? hr::kNotImpl : hr::kOk;
    } catch (const VError&) {
        return CLoader::DecodeFailure();
    } catch (const std::bad_alloc&) {
        return hr::kOutOfMemory;
    }
}

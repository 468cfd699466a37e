// Fuzz target for the streamed conversion that the programs run on every file: load, shrink,
// round the corners, fade the edges, lay over the background, encode as PNG or JPEG. The first
// three bytes choose the settings; the rest is the encoded source. A conversion that succeeds must
// give an output that decodes again at the size that the shrink promised.
#include <cstddef>
#include <cstdint>
#include <vector>

#include <vips/vips.h>

#include "image/Decode.h"
#include "image/DecodeLimits.h"
#include "image/Dib.h"
#include "image/PreviewSource.h"
#include "image/Shrink.h"
#include "image/StreamConvert.h"
#include "image/fuzz/FuzzStart.h"

namespace {

constexpr std::size_t kSettingBytes = 3;

// The steps' settings and the output's kind from three bytes:
//   byte 0: bit 0 JPEG, bits 1 and 2 both set keep the alpha (PNG only), bit 3 let the JPEG
//           decoder reduce, bits 4-5 the kind of fit, bit 6 lengths as shares of the short edge,
//           bit 7 take the source's rows as the preview does;
//   byte 1: the corners (low four bits) and the edges (high four bits);
//   byte 2: the lengths and the box: radius, fade width and the box's sides grow with it.
struct FuzzSettings {
    ShrinkSettings shrink;
    RoundSettings round;
    OutputChoice output;
    StreamOptions options;
    bool previewRows = false;
};

FuzzSettings SettingsFrom(const std::uint8_t* bytes) {
    FuzzSettings s;
    const std::uint8_t flags = bytes[0];
    const std::uint8_t amount = bytes[2];
    s.output.format = (flags & 1) != 0 ? OutputFormat::kJpeg : OutputFormat::kPng;
    s.output.quality = 1u + amount % 100u;
    s.output.keepAlpha = !s.output.Jpeg() && (flags & 6) == 6; // a JPEG has no alpha
    s.options.reduceWhileDecoding = (flags & 8) != 0;
    s.shrink.shrinkType = (flags >> 4) & 3; // 3 is no kind at all: the step must refuse it
    s.shrink.shrinkWidth = 1 + amount / 4;
    s.shrink.shrinkHeight = 1 + amount % 37;
    s.shrink.customWidth = amount % 7 - 1; // from -1: a box under one pixel is refused too
    s.shrink.customHeight = 1 + amount;
    const u32 unit = (flags & 64) != 0 ? lengthunit::kShortEdgeShare : lengthunit::kPixels;
    s.round.radius = LengthValue{unit, amount * 3, amount * 2};
    s.round.blurWidth = LengthValue{unit, amount % 50 * 2, amount % 60 * 8};
    s.round.corners = bytes[1] & 15u;
    s.round.edges = bytes[1] >> 4;
    s.output.backgroundColor = 0x00102030u * (1u + amount % 7u);
    s.previewRows = (flags & 128) != 0;
    return s;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    StartVipsForFuzzing();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size <= kSettingBytes)
        return 0;
    FuzzSettings s = SettingsFrom(data);
    const std::uint8_t* source = data + kSettingBytes;
    const std::size_t sourceSize = size - kSettingBytes;
    // The limits that the programs use: a source that costs too much shows as a timeout or as
    // the memory limit, which is what the fuzzer is asked to find.
    const CDecodeLimits limits;
    CPreviewSource preview;
    if (s.previewRows)
        s.options.sourceRows = &preview;
    std::vector<u8> out;
    StreamFailure failure;
    const HResult code = ConvertStream(source, sourceSize, limits, s.shrink, s.round, s.output,
                                       s.options, out, failure);
    if (s.previewRows)
        static_cast<void>(preview.End());
    if (Failed(code)) {
        if (failure.stage == StreamFailure::kNone || !out.empty())
            __builtin_trap();
        return 0;
    }
    if (failure.stage != StreamFailure::kNone || out.empty())
        __builtin_trap();
    // The output is a whole image of the promised size.
    Size fitted;
    if (FittedSize(s.shrink, failure.declared, fitted) != 0)
        __builtin_trap();
    CDibPtr decoded;
    if (Failed(DecodeImage(out.data(), out.size(), decoded)) || decoded->Width() != fitted.cx ||
        decoded->Height() != fitted.cy)
        __builtin_trap();
    return 0;
}

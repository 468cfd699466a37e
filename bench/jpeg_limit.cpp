// The in-process limits of a JPEG conversion done with libjpeg alone, which bench/compare times
// lunavex-batch against: a decode and encode, and a fit through the decoder's own DCT scaling.
//
//   jpeg_limit copy OUTDIR FILE...       decodes each FILE whole and encodes it again
//   jpeg_limit fit BOX OUTDIR FILE...    fits each FILE into BOX x BOX (keeping its aspect, never
//                                        enlarging, rounded as lunavex-batch rounds its fit):
//                                        decodes at the smallest scale M/8 (M = 1..8) whose size
//                                        still covers the fitted size, then resamples to exactly
//                                        that size with a triangle filter whose support widens
//                                        with the factor, and encodes
//
// Each output is OUTDIR/<the file's name>, written as `cjpeg -quality 80` writes it (quality 80,
// 4:2:0, baseline, Huffman tables not optimised, the accurate integer DCT both ways), one file
// after another in this one process. Rows stream from the decoder to the encoder: nothing holds
// a whole image.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <jpeglib.h>

namespace {

const char* gFile = ""; // the file at work, for messages

[[noreturn]] void Fail(const char* message) {
    std::fprintf(stderr, "jpeg_limit: %s: %s\n", gFile, message);
    std::exit(1);
}

[[noreturn]] void FailFromLibjpeg(j_common_ptr info) {
    char message[JMSG_LENGTH_MAX];
    (*info->err->format_message)(info, message);
    Fail(message);
}

// One JPEG file opened for reading, its header read, giving RGB (or grey for a grey file).
struct Decoder {
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    FILE* file = nullptr;

    explicit Decoder(const char* path) {
        info.err = jpeg_std_error(&errors);
        errors.error_exit = FailFromLibjpeg;
        jpeg_create_decompress(&info);
        file = std::fopen(path, "rb");
        if (!file)
            Fail("cannot open");
        jpeg_stdio_src(&info, file);
        jpeg_read_header(&info, TRUE);
        info.out_color_space = info.num_components == 1 ? JCS_GRAYSCALE : JCS_RGB;
    }
    ~Decoder() {
        jpeg_destroy_decompress(&info);
        std::fclose(file);
    }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
};

// One JPEG file written with cjpeg's settings at quality 80.
struct Encoder {
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    FILE* file = nullptr;

    Encoder(const std::string& path, JDIMENSION width, JDIMENSION height, int channels) {
        info.err = jpeg_std_error(&errors);
        errors.error_exit = FailFromLibjpeg;
        jpeg_create_compress(&info);
        file = std::fopen(path.c_str(), "wb");
        if (!file)
            Fail("cannot create the output");
        jpeg_stdio_dest(&info, file);
        info.image_width = width;
        info.image_height = height;
        info.input_components = channels;
        info.in_color_space = channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
        jpeg_set_defaults(&info); // 4:2:0, baseline, no optimised tables, JDCT_ISLOW
        jpeg_set_quality(&info, 80, TRUE);
        jpeg_start_compress(&info, TRUE);
    }
    void Finish() {
        jpeg_finish_compress(&info);
        if (std::fclose(file) != 0)
            Fail("cannot write the output");
        file = nullptr;
    }
    ~Encoder() {
        jpeg_destroy_compress(&info);
        if (file)
            std::fclose(file);
    }
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;
};

std::string OutputPath(const std::string& folder, const char* file) {
    return folder + "/" + std::filesystem::path(file).filename().string();
}

void Copy(const std::string& folder, const char* file) {
    Decoder in(file);
    jpeg_start_decompress(&in.info);
    const int channels = in.info.output_components;
    Encoder out(OutputPath(folder, file), in.info.output_width, in.info.output_height, channels);
    const int strip = in.info.rec_outbuf_height;
    std::vector<JSAMPLE> pixels(static_cast<size_t>(in.info.output_width) * channels * strip);
    std::vector<JSAMPROW> rows(strip);
    for (int i = 0; i < strip; ++i)
        rows[i] = pixels.data() + static_cast<size_t>(in.info.output_width) * channels * i;
    while (in.info.output_scanline < in.info.output_height) {
        const JDIMENSION got = jpeg_read_scanlines(&in.info, rows.data(), strip);
        jpeg_write_scanlines(&out.info, rows.data(), got);
    }
    jpeg_finish_decompress(&in.info);
    out.Finish();
}

// number * numerator / denominator rounded to the nearest, halves away from zero: the rounding of
// lunavex's fitted size.
long MulDiv(long number, long numerator, long denominator) {
    return (number * numerator + denominator / 2) / denominator;
}

// The size of a width x height image fitted into box x box, as lunavex-batch --shrink=BOX fits it.
void FitInto(long box, long width, long height, long& fitWidth, long& fitHeight) {
    fitWidth = width;
    fitHeight = height;
    if (box >= width && box >= height)
        return;
    fitWidth = box;
    fitHeight = MulDiv(box, height, width);
    if (fitHeight > box) {
        fitWidth = std::min(MulDiv(box, width, height), box);
        fitHeight = box;
    }
    fitWidth = std::max(fitWidth, 1L);
    fitHeight = std::max(fitHeight, 1L);
}

// A triangle filter from `from` samples to `to`: output i takes `taps` inputs from first[i] on,
// weighted weights[i * taps + k]. Its radius is the factor from / to (one sample at least), so
// that each output averages every input that it covers.
struct Filter {
    int taps = 0;
    std::vector<int> first;
    std::vector<float> weights;

    Filter(int from, int to) : first(to), weights() {
        const double scale = static_cast<double>(from) / to;
        const double radius = std::max(1.0, scale);
        taps = std::min(from, static_cast<int>(std::ceil(2 * radius)) + 1);
        weights.assign(static_cast<size_t>(to) * taps, 0.0f);
        for (int i = 0; i < to; ++i) {
            const double centre = (i + 0.5) * scale - 0.5;
            first[i] =
                std::clamp(static_cast<int>(std::floor(centre - radius)) + 1, 0, from - taps);
            double sum = 0;
            for (int k = 0; k < taps; ++k) {
                const double w = std::max(0.0, 1.0 - std::abs(first[i] + k - centre) / radius);
                weights[static_cast<size_t>(i) * taps + k] = static_cast<float>(w);
                sum += w;
            }
            for (int k = 0; k < taps; ++k)
                weights[static_cast<size_t>(i) * taps + k] /= static_cast<float>(sum);
        }
    }
};

// The decoded rows, kept in a ring as long as an output row may need them.
struct RowRing {
    Decoder& in;
    size_t length; // samples in a row
    int capacity;
    std::vector<JSAMPLE> rows;
    int count = 0; // rows decoded so far

    RowRing(Decoder& decoder, int capacity)
        : in(decoder),
          length(static_cast<size_t>(decoder.info.output_width) * decoder.info.output_components),
          capacity(capacity), rows(length * capacity) {}

    // Decodes up to row `end` (exclusive).
    void DecodeUntil(int end) {
        for (; count < end; ++count) {
            JSAMPROW row = Row(count);
            jpeg_read_scanlines(&in.info, &row, 1);
        }
    }
    JSAMPLE* Row(int y) { return rows.data() + length * (y % capacity); }
};

// Output row y of the filter `down` from the ring's rows, into `sum` (a decoded row's length).
void ResampleDown(RowRing& ring, const Filter& down, int y, float* __restrict sum) {
    const float* w = down.weights.data() + static_cast<size_t>(y) * down.taps;
    const JSAMPLE* __restrict from = ring.Row(down.first[y]);
    for (size_t i = 0; i < ring.length; ++i)
        sum[i] = w[0] * from[i];
    for (int k = 1; k < down.taps; ++k) {
        from = ring.Row(down.first[y] + k);
        for (size_t i = 0; i < ring.length; ++i)
            sum[i] += w[k] * from[i];
    }
}

// One row resampled across by `across` and rounded to bytes.
template <int Channels> void ResampleAcross(const Filter& across, const float* in, JSAMPLE* out) {
    const int width = static_cast<int>(across.first.size());
    for (int x = 0; x < width; ++x) {
        const float* from = in + static_cast<size_t>(across.first[x]) * Channels;
        const float* w = across.weights.data() + static_cast<size_t>(x) * across.taps;
        float sum[Channels] = {};
        for (int k = 0; k < across.taps; ++k)
            for (int c = 0; c < Channels; ++c)
                sum[c] += w[k] * from[k * Channels + c];
        for (int c = 0; c < Channels; ++c)
            out[x * Channels + c] = static_cast<JSAMPLE>(std::clamp(sum[c], 0.0f, 255.0f) + 0.5f);
    }
}

// Decodes at the smallest scale M/8 whose size covers the fitted size.
void ChooseScale(jpeg_decompress_struct& info, long fitWidth, long fitHeight) {
    info.scale_denom = 8;
    for (info.scale_num = 1; info.scale_num < 8; ++info.scale_num) {
        jpeg_calc_output_dimensions(&info);
        if (info.output_width >= fitWidth && info.output_height >= fitHeight)
            return;
    }
}

void Fit(long box, const std::string& folder, const char* file) {
    Decoder in(file);
    long fitWidth = 0, fitHeight = 0;
    FitInto(box, in.info.image_width, in.info.image_height, fitWidth, fitHeight);
    ChooseScale(in.info, fitWidth, fitHeight);
    jpeg_start_decompress(&in.info);
    const int channels = in.info.output_components;
    const Filter across(static_cast<int>(in.info.output_width), static_cast<int>(fitWidth));
    const Filter down(static_cast<int>(in.info.output_height), static_cast<int>(fitHeight));
    RowRing ring(in, down.taps);
    Encoder out(OutputPath(folder, file), fitWidth, fitHeight, channels);
    std::vector<float> sum(ring.length);
    std::vector<JSAMPLE> row(static_cast<size_t>(fitWidth) * channels);
    for (int y = 0; y < fitHeight; ++y) {
        ring.DecodeUntil(down.first[y] + down.taps);
        ResampleDown(ring, down, y, sum.data());
        if (channels == 1)
            ResampleAcross<1>(across, sum.data(), row.data());
        else
            ResampleAcross<3>(across, sum.data(), row.data());
        JSAMPROW rowPointer = row.data();
        jpeg_write_scanlines(&out.info, &rowPointer, 1);
    }
    ring.DecodeUntil(static_cast<int>(in.info.output_height)); // the rest, as a full read would
    jpeg_finish_decompress(&in.info);
    out.Finish();
}

int Usage() {
    std::fprintf(stderr, "usage: jpeg_limit copy OUTDIR FILE...\n"
                         "       jpeg_limit fit BOX OUTDIR FILE...\n");
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "copy" && argc > 3) {
        for (int i = 3; i < argc; ++i)
            Copy(argv[2], gFile = argv[i]);
        return 0;
    }
    if (mode == "fit" && argc > 4) {
        const long box = std::atol(argv[2]);
        if (box < 1)
            return Usage();
        for (int i = 4; i < argc; ++i)
            Fit(box, argv[3], gFile = argv[i]);
        return 0;
    }
    return Usage();
}

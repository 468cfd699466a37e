// The horizontal Lanczos 3 pass of the shrink, over 8-bit rows.
#include "image/LanczosAcross.h"

#include <emmintrin.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numbers>
#include <vector>

#include "image/RowOperation.h"

using vips::VImage;

namespace {

// Fixed-point weights: 14 bits below the point. A 16-bit weight times a byte, summed in pairs,
// stays far within 32 bits.
constexpr int kWeightBits = 14;
constexpr int kOne = 1 << kWeightBits;

double Sinc(double t) {
    if (t == 0.0)
        return 1.0;
    const double a = std::numbers::pi * t;
    return std::sin(a) / a;
}

double Lanczos3(double t) {
    return std::fabs(t) < 3.0 ? Sinc(t) * Sinc(t / 3.0) : 0.0;
}

// The taps of every output pixel: its first input column and its weights in pairs, each pair
// spread over the eight 16-bit lanes as (w0, w1) four times, for one multiply-add of two pixels.
struct CAcrossJob {
    int bands = 3;
    i32 inWidth = 0;
    i32 pairs = 0; // room for the pairs of taps of each output pixel
    std::vector<i32> start;
    std::vector<i32> count; // pairs of taps of each output pixel, the last padded with a zero
    std::vector<std::int16_t> weights;
};

void FreeJob(VipsImage*, CAcrossJob* job) {
    delete job;
}

// The kernel's weights of an output pixel centred on input column `centre`, those of taps beyond
// the edges added to the edge pixels' (BuildJob scales them to add up to exactly kOne). Returns
// the first column.
i32 Taps(double centre, double shrink, i32 inWidth, std::vector<double>& taps) {
    const double reach = 3.0 * shrink;
    const i32 lo = static_cast<i32>(std::ceil(centre - reach));
    const i32 hi = static_cast<i32>(std::floor(centre + reach));
    const i32 first = std::clamp(lo, 0, inWidth - 1);
    const i32 last = std::clamp(hi, 0, inWidth - 1);
    const i32 count = last - first + 1;
    taps.assign(static_cast<size_t>(count), 0.0);
    for (i32 i = lo; i <= hi; ++i)
        taps[static_cast<size_t>(std::clamp(i, first, last) - first)] +=
            Lanczos3((i - centre) / shrink);
    return first;
}

CAcrossJob* BuildJob(i32 inWidth, int bands, i32 width, double shrink, double offset) {
    auto* job = new CAcrossJob;
    job->bands = bands;
    job->inWidth = inWidth;
    job->pairs = static_cast<i32>(std::ceil(3.0 * shrink)) + 2;
    job->start.resize(static_cast<size_t>(width));
    job->count.resize(static_cast<size_t>(width));
    job->weights.assign(static_cast<size_t>(width) * job->pairs * 8, 0);
    std::vector<double> taps;
    std::vector<i32> fixed;
    for (i32 x = 0; x < width; ++x) {
        const double centre = (x + 0.5) * shrink - 0.5 + offset;
        job->start[static_cast<size_t>(x)] = Taps(centre, shrink, inWidth, taps);
        job->count[static_cast<size_t>(x)] =
            std::min(job->pairs, static_cast<i32>((taps.size() + 1) / 2));
        double sum = 0;
        for (double w : taps)
            sum += w;
        fixed.assign(taps.size(), 0);
        i32 total = 0;
        size_t largest = 0;
        for (size_t i = 0; i < taps.size(); ++i) {
            fixed[i] = static_cast<i32>(std::lround(taps[i] / sum * kOne));
            total += fixed[i];
            if (fixed[i] > fixed[largest])
                largest = i;
        }
        fixed[largest] += kOne - total;
        std::int16_t* pair = &job->weights[static_cast<size_t>(x) * job->pairs * 8];
        for (size_t i = 0; i < fixed.size() && i / 2 < static_cast<size_t>(job->pairs); ++i) {
            for (int lane = 0; lane < 4; ++lane)
                pair[(i / 2) * 8 + lane * 2 + i % 2] = static_cast<std::int16_t>(fixed[i]);
        }
    }
    return job;
}

// One output pixel: the pairs of taps from `p` on, rounded and clamped to bytes.
void Pixel(const u8* p, int bands, const std::int16_t* w, i32 pairs, u8* out) {
    const __m128i zero = _mm_setzero_si128();
    __m128i sum = _mm_set1_epi32(kOne / 2);
    for (i32 k = 0; k < pairs; ++k, p += 2 * bands, w += 8) {
        u32 a = 0;
        u32 b = 0;
        std::memcpy(&a, p, 4);
        std::memcpy(&b, p + bands, 4);
        const __m128i ab = _mm_unpacklo_epi8(_mm_cvtsi32_si128(static_cast<int>(a)),
                                             _mm_cvtsi32_si128(static_cast<int>(b)));
        sum = _mm_add_epi32(sum,
                            _mm_madd_epi16(_mm_unpacklo_epi8(ab, zero),
                                           _mm_loadu_si128(reinterpret_cast<const __m128i*>(w))));
    }
    const __m128i words = _mm_packs_epi32(_mm_srai_epi32(sum, kWeightBits), zero);
    const u32 bytes = static_cast<u32>(_mm_cvtsi128_si32(_mm_packus_epi16(words, zero)));
    std::memcpy(out, &bytes, static_cast<size_t>(bands));
}

int GenerateAcross(VipsRegion* out, void* sequence, void*, void* arg, gboolean*) {
    auto* in = static_cast<VipsRegion*>(sequence);
    const CAcrossJob& job = *static_cast<const CAcrossJob*>(arg);
    const VipsRect area = out->valid;
    const i32 first = job.start[static_cast<size_t>(area.left)];
    i32 end = first;
    for (i32 x = area.left; x < area.left + area.width; ++x)
        end = std::max(end,
                       job.start[static_cast<size_t>(x)] + 2 * job.count[static_cast<size_t>(x)]);
    const i32 ready = std::min(end, job.inWidth) - first;
    VipsRect need{first, area.top, ready, area.height};
    if (vips_region_prepare(in, &need))
        return -1;
    // Each row is copied into room that ends in zeros: the padded taps and the fourth byte of a
    // three-band pixel read there, never beyond the row.
    std::vector<u8> row(static_cast<size_t>(end - first + 2) * job.bands, 0);
    for (int y = area.top; y < VIPS_RECT_BOTTOM(&area); ++y) {
        std::memcpy(row.data(), VIPS_REGION_ADDR(in, first, y),
                    static_cast<size_t>(ready) * job.bands);
        u8* dst = VIPS_REGION_ADDR(out, area.left, y);
        for (i32 x = area.left; x < area.left + area.width; ++x, dst += job.bands) {
            const size_t from = static_cast<size_t>(job.start[static_cast<size_t>(x)] - first);
            Pixel(row.data() + from * job.bands, job.bands,
                  &job.weights[static_cast<size_t>(x) * job.pairs * 8],
                  job.count[static_cast<size_t>(x)], dst);
        }
    }
    return 0;
}

} // namespace

bool LanczosAcrossTakes(const VImage& in) {
    return in.format() == VIPS_FORMAT_UCHAR && (in.bands() == 3 || in.bands() == 4);
}

VImage LanczosAcross(const VImage& in, i32 width, double shrink, double offset) {
    return RowOperation(in, width, in.bands(), GenerateAcross,
                        BuildJob(in.width(), in.bands(), width, shrink, offset), FreeJob);
}

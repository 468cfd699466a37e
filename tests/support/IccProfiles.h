// An Adobe RGB (1998) colour profile written byte by byte, as photographers' cameras and editors
// embed it, and the arithmetic that shows its numbers in sRGB, so that tests check colour
// management against numbers of their own.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "foundation/Types.h"
#include "support/BigEndian.h"

namespace testutil {

namespace icc {

// Appends byte by byte: GCC 12 warns of an overflow that is none in range inserts here.
template <typename Bytes> void Append(std::vector<u8>& out, const Bytes& bytes) {
    for (auto byte : bytes)
        out.push_back(static_cast<u8>(byte));
}

inline void PutTag(std::vector<u8>& out, const char* signature) {
    Append(out, std::string(signature, 4));
}

// s15Fixed16Number.
inline u32 Fixed(double value) {
    return static_cast<u32>(static_cast<i32>(std::lround(value * 65536.0)));
}

inline std::vector<u8> Xyz(double x, double y, double z) {
    std::vector<u8> tag;
    PutTag(tag, "XYZ ");
    for (u32 field : {0u, Fixed(x), Fixed(y), Fixed(z)})
        PutBigEndian(tag, field);
    return tag;
}

} // namespace icc

// Adobe RGB (1998): its primaries adapted to the D50 of the profile connection space, a D65
// white, and one gamma of 563/256 for the three channels. A version 2 display profile of primaries
// and curves, which both Qt and the colour engine of libvips read. `padding` bytes of a private
// tag make it as large as a test needs; readers pass over a tag they do not know.
inline std::vector<u8> AdobeRgbProfile(size_t padding = 0) {
    using namespace icc;
    std::vector<u8> curve;
    PutTag(curve, "curv");
    PutBigEndian(curve, 0);
    PutBigEndian(curve, 1);
    Append(curve, std::array<u8, 4>{0x02, 0x33, 0, 0}); // u8Fixed8Number 563/256, padding
    std::vector<u8> description;
    const std::string name = "Adobe RGB (1998) test profile";
    PutTag(description, "desc");
    PutBigEndian(description, 0);
    PutBigEndian(description, static_cast<u32>(name.size() + 1));
    Append(description, name);
    description.push_back(0);
    description.resize(description.size() + 4 + 4 + 2 + 1 + 67, 0); // no Unicode, no ScriptCode
    std::vector<u8> copyright;
    PutTag(copyright, "text");
    PutBigEndian(copyright, 0);
    const std::string notice = "No copyright, test data";
    Append(copyright, notice);
    copyright.push_back(0);

    std::vector<u8> pad;
    PutTag(pad, "data");
    pad.resize(12 + padding, 0); // reserved, binary flag, the bytes
    std::vector<std::pair<const char*, std::vector<u8>>> tags = {
        {"desc", description},
        {"cprt", copyright},
        {"wtpt", Xyz(0.95045, 1.0, 1.08905)},
        {"rXYZ", Xyz(0.60974, 0.31111, 0.01947)},
        {"gXYZ", Xyz(0.20528, 0.62567, 0.06087)},
        {"bXYZ", Xyz(0.14919, 0.06322, 0.74457)},
        {"rTRC", curve},
        {"gTRC", curve},
        {"bTRC", curve},
    };
    if (padding > 0)
        tags.emplace_back("lvxP", pad);
    std::vector<u8> table;
    std::vector<u8> data;
    u32 offset = 128 + 4 + static_cast<u32>(tags.size()) * 12;
    for (const auto& [signature, bytes] : tags) {
        PutTag(table, signature);
        PutBigEndian(table, offset + static_cast<u32>(data.size()));
        PutBigEndian(table, static_cast<u32>(bytes.size()));
        Append(data, bytes);
        data.resize((data.size() + 3) / 4 * 4, 0);
    }

    std::vector<u8> profile;
    PutBigEndian(profile, offset + static_cast<u32>(data.size()));
    PutBigEndian(profile, 0);          // preferred colour engine
    PutBigEndian(profile, 0x02100000); // version 2.1
    PutTag(profile, "mntr");
    PutTag(profile, "RGB ");
    PutTag(profile, "XYZ ");
    for (u16 field : {2026, 11, 23, 0, 0, 0}) {
        profile.push_back(static_cast<u8>(field >> 8));
        profile.push_back(static_cast<u8>(field));
    }
    PutTag(profile, "acsp");
    profile.resize(64, 0); // platform, flags, maker, model, attributes
    for (u32 field : {0u, Fixed(0.9642), Fixed(1.0), Fixed(0.8249)}) // perceptual, D50 white
        PutBigEndian(profile, field);
    profile.resize(128, 0);
    PutBigEndian(profile, static_cast<u32>(tags.size()));
    Append(profile, table);
    Append(profile, data);
    return profile;
}

// An Adobe RGB (1998) colour as sRGB shows it, by the published arithmetic: decode the gamma,
// through CIE XYZ (D65) to linear sRGB, clip, encode the sRGB curve.
inline std::array<double, 3> AdobeRgbShownAsSrgb(u8 red, u8 green, u8 blue) {
    const double gamma = 563.0 / 256.0;
    const double lin[3] = {std::pow(red / 255.0, gamma), std::pow(green / 255.0, gamma),
                           std::pow(blue / 255.0, gamma)};
    const double toXyz[3][3] = {
        {0.57667, 0.18556, 0.18823}, {0.29734, 0.62736, 0.07529}, {0.02703, 0.07069, 0.99134}};
    const double toSrgb[3][3] = {{3.24096994, -1.53738318, -0.49861076},
                                 {-0.96924364, 1.8759675, 0.04155506},
                                 {0.05563008, -0.20397696, 1.05697151}};
    double xyz[3] = {};
    for (int i = 0; i < 3; ++i)
        for (int k = 0; k < 3; ++k)
            xyz[i] += toXyz[i][k] * lin[k];
    std::array<double, 3> shown{};
    for (int i = 0; i < 3; ++i) {
        double v = 0;
        for (int k = 0; k < 3; ++k)
            v += toSrgb[i][k] * xyz[k];
        v = std::clamp(v, 0.0, 1.0);
        v = v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055;
        shown[i] = v * 255.0;
    }
    return shown;
}

} // namespace testutil

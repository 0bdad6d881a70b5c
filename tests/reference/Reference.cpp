// SPDX-License-Identifier: Apache-2.0
#include "reference/Reference.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

// Throughout, std::fmin and std::fmax stand for the GPU's min and max: of a number and a NaN they
// give the number. Both algorithms are written for that (0 times infinity arises where a
// neighbourhood is flat); where GPUs are known to differ, the pixel is left out.

namespace reference {
namespace {

struct Offset {
    int x;
    int y;
};

uint32_t bitsOf(float value) {
    uint32_t bits = 0;
    static_assert(sizeof bits == sizeof value);
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

float floatOf(uint32_t bits) {
    float value = 0.0f;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

float saturate(float value) {
    return std::fmin(std::fmax(value, 0.0f), 1.0f);
}

// 0.5 R + G + 0.5 B, as both stages of FSR measure brightness.
float doubledLuma(const Rgb& colour) {
    return 0.5f * colour[0] + colour[1] + 0.5f * colour[2];
}

// Where a destination pixel's centre falls between the centres of source texels.
struct Cell {
    int left;
    int top;
    float across;
    float down;

    // Share of one of the four texels around the position under bilinear interpolation.
    float bilinear(Offset corner) const {
        return (corner.x == 0 ? 1.0f - across : across) * (corner.y == 0 ? 1.0f - down : down);
    }
};

Cell cellAt(Taps& taps, int x, int y, const std::array<float, 4>& scaleAndOffset) {
    const auto [scaleX, scaleY, offsetX, offsetY] = scaleAndOffset;
    const auto position = [&taps](int pixel, float scale, float offset) {
        const float at = static_cast<float>(pixel) * scale + offset;
        // Shader compilers may fuse the two steps; next to a texel's centre that chooses the cell.
        if (std::floor(at) != std::floor(std::fma(static_cast<float>(pixel), scale, offset))) {
            taps.leaveOut();
        }
        return at;
    };
    const float u = position(x, scaleX, offsetX);
    const float v = position(y, scaleY, offsetY);
    return {static_cast<int>(std::floor(u)), static_cast<int>(std::floor(v)), u - std::floor(u),
            v - std::floor(v)};
}

// The 4 x 4 values at -1..2 around a cell's upper left texel.
template <typename T>
struct Grid {
    std::array<T, 16> values{};
    T& at(int x, int y) { return values[static_cast<size_t>((y + 1) * 4 + x + 1)]; }
};

constexpr Offset kCorners[] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
constexpr Offset kCross[] = {{0, -1}, {-1, 0}, {1, 0}, {0, 1}};

// The 4 x 4 texels without their corners.
constexpr Offset kEasuTaps[] = {{0, -1}, {1, -1}, {-1, 0}, {0, 0}, {1, 0}, {2, 0},
                                {-1, 1}, {0, 1},  {1, 1},  {2, 1}, {0, 2}, {1, 2}};

struct Edge {
    float slope;   // Signed, across two texels.
    float length;  // 0 for a peak or a flat run, 1 for a steady slope.
};

Edge edgeAlong(Taps& taps, const Rgb& before, const Rgb& centre, const Rgb& after) {
    const float slope = doubledLuma(after) - doubledLuma(before);
    const float steepest = std::fmax(std::abs(doubledLuma(after) - doubledLuma(centre)),
                                     std::abs(doubledLuma(centre) - doubledLuma(before)));
    // Different colours of one luma: rounding decides between a flat run and a slope. Two lumas
    // that do differ are at least half a step of 8 bits apart.
    if (steepest < 0.25f / 255.0f && !(before == centre && centre == after)) taps.leaveOut();
    const float ratio = saturate(std::abs(slope) * (1.0f / steepest));
    return {slope, ratio * ratio};
}

Rgb easu(Taps& taps, int x, int y, const EasuConstants& constants) {
    const Cell cell = cellAt(taps, x, y, constants[0]);
    Grid<Rgb> colours;
    for (const Offset& tap : kEasuTaps) {
        colours.at(tap.x, tap.y) = taps.repeated(cell.left + tap.x, cell.top + tap.y);
    }

    float directionX = 0.0f;
    float directionY = 0.0f;
    float length = 0.0f;
    for (const auto& [cx, cy] : kCorners) {
        const float share = cell.bilinear({cx, cy});
        const Rgb& centre = colours.at(cx, cy);
        const Edge across = edgeAlong(taps, colours.at(cx - 1, cy), centre, colours.at(cx + 1, cy));
        const Edge down = edgeAlong(taps, colours.at(cx, cy - 1), centre, colours.at(cx, cy + 1));
        directionX += across.slope * share;
        directionY += down.slope * share;
        length += across.length * share + down.length * share;
    }
    const float squared = directionX * directionX + directionY * directionY;
    // The direction is forced or not: a few hundred-thousandths decide over far more in the result.
    if (squared > 0.5f / 32768.0f && squared < 2.0f / 32768.0f) taps.leaveOut();
    if (squared < 1.0f / 32768.0f) {
        directionX = 1.0f;
    } else {
        directionX *= 1.0f / std::sqrt(squared);
        directionY *= 1.0f / std::sqrt(squared);
    }

    length = (0.5f * length) * (0.5f * length);
    const float stretch = (directionX * directionX + directionY * directionY) /
                          std::fmax(std::abs(directionX), std::abs(directionY));
    const float alongScale = 1.0f + (stretch - 1.0f) * length;
    const float acrossScale = 1.0f - 0.5f * length;
    const float lobe = 0.5f - 0.29f * length;
    const float reach = 1.0f / lobe;

    Rgb sum{};
    float weights = 0.0f;
    for (const Offset& tap : kEasuTaps) {
        const float dx = static_cast<float>(tap.x) - cell.across;
        const float dy = static_cast<float>(tap.y) - cell.down;
        const float along = (dx * directionX + dy * directionY) * alongScale;
        const float across = (dy * directionX - dx * directionY) * acrossScale;
        const float distance = std::fmin(along * along + across * across, reach);
        const float base = 0.4f * distance - 1.0f;
        const float window = lobe * distance - 1.0f;
        const float weight = (1.5625f * base * base - 0.5625f) * window * window;
        for (size_t c = 0; c < sum.size(); ++c)
            sum[c] += colours.at(tap.x, tap.y)[c] * weight;
        weights += weight;
    }

    Rgb result{};
    for (size_t c = 0; c < result.size(); ++c) {
        float low = std::numeric_limits<float>::infinity();
        float high = -low;
        for (const Offset& corner : kCorners) {
            low = std::fmin(low, colours.at(corner.x, corner.y)[c]);
            high = std::fmax(high, colours.at(corner.x, corner.y)[c]);
        }
        result[c] = std::fmin(high, std::fmax(low, sum[c] / weights));
    }
    return result;
}

Rgb rcas(Taps& taps, int x, int y, float strength) {
    const Rgb centre = taps.texel(x, y);
    Rgb around[4];
    std::transform(std::begin(kCross), std::end(kCross), around,
                   [&](Offset o) { return taps.texel(x + o.x, y + o.y); });

    bool isFlat = true;
    for (const Rgb& colour : around)
        isFlat = isFlat && colour == centre;

    float lobe = -std::numeric_limits<float>::infinity();
    for (size_t c = 0; c < centre.size(); ++c) {
        const auto [low, high] =
                std::minmax({around[0][c], around[1][c], around[2][c], around[3][c]});
        // 0 times infinity decides the lobe here, and unlike EASU's, GPUs' answers differ. Where
        // all five texels are alike no lobe changes them.
        if ((high == 0.0f || low == 1.0f) && !isFlat) taps.leaveOut();
        const float untilBlack = std::fmin(low, centre[c]) / (4.0f * high);
        const float untilWhite = (1.0f - std::fmax(high, centre[c])) / (4.0f * low - 4.0f);
        lobe = std::fmax(lobe, std::fmax(-untilBlack, untilWhite));
    }
    lobe = std::fmax(-0.1875f, std::fmin(lobe, 0.0f)) * strength;

    Rgb result{};
    for (size_t c = 0; c < result.size(); ++c) {
        const float neighbours = around[0][c] + around[1][c] + around[2][c] + around[3][c];
        result[c] = (lobe * neighbours + centre[c]) / (4.0f * lobe + 1.0f);
    }
    return result;
}

// The texels whose contrast limits the sharpening at `centre`, and that are subtracted from it.
struct Ring {
    Offset centre;
    std::vector<Offset> around;
};
using Rings = std::array<Ring, 4>;

Rings crosses() {
    Rings rings;
    for (size_t i = 0; i < rings.size(); ++i) {
        const Offset centre = kCorners[i];
        rings[i].centre = centre;
        for (const Offset& o : kCross)
            rings[i].around.push_back({centre.x + o.x, centre.y + o.y});
    }
    return rings;
}

const Rings kTwelveTaps = crosses();
const Rings kEightTaps = {{{{0, 0}, {{0, -1}, {-1, 1}, {1, 1}}},
                           {{1, 0}, {{1, -1}, {0, 1}, {2, 1}}},
                           {{0, 1}, {{0, 0}, {-1, 1}, {1, 1}}},
                           {{1, 1}, {{1, 0}, {0, 1}, {2, 1}}}}};

constexpr size_t kGreen = 1;
constexpr size_t kValue = 2;

struct Sharpened {
    Rgb sum{};
    float weights = 0.0f;
    float contrast = 0.0f;

    Rgb colour() const {
        const float normaliser = approximateReciprocalMedium(weights);
        return {saturate(sum[0] * normaliser), saturate(sum[1] * normaliser),
                saturate(sum[2] * normaliser)};
    }
};

// A ring's centre with its neighbours subtracted, as far as the guide channel leaves room for.
Sharpened sharpenRing(Taps& taps, const Ring& ring, int left, int top, float peak, size_t guide) {
    Sharpened result;
    result.sum = taps.texel(left + ring.centre.x, top + ring.centre.y);
    float low = result.sum[guide];
    float high = low;
    Rgb around{};
    for (const Offset& o : ring.around) {
        const Rgb colour = taps.texel(left + o.x, top + o.y);
        low = std::fmin(low, colour[guide]);
        high = std::fmax(high, colour[guide]);
        for (size_t c = 0; c < around.size(); ++c)
            around[c] += colour[c];
    }
    const float room = std::fmin(low, 1.0f - high);
    const float weight = approximateSqrt(saturate(room * approximateReciprocal(high))) * peak;
    for (size_t c = 0; c < around.size(); ++c)
        result.sum[c] += weight * around[c];
    result.weights = 1.0f + weight * static_cast<float>(ring.around.size());
    result.contrast = high - low;
    return result;
}

Rgb casScaled(Taps& taps, const Cell& cell, const Rings& rings, float peak, size_t guide) {
    Sharpened total;
    for (const Ring& ring : rings) {
        const Sharpened part = sharpenRing(taps, ring, cell.left, cell.top, peak, guide);
        const float share =
                cell.bilinear(ring.centre) * approximateReciprocal(0.03125f + part.contrast);
        for (size_t c = 0; c < part.sum.size(); ++c)
            total.sum[c] += share * part.sum[c];
        total.weights += share * part.weights;
    }
    return total.colour();
}

std::array<float, 4> casScaleAndOffset(Size source, Size target) {
    const float inX = static_cast<float>(source.width);
    const float inY = static_cast<float>(source.height);
    const float outX = static_cast<float>(target.width);
    const float outY = static_cast<float>(target.height);
    return {inX / outX, inY / outY, 0.5f * inX / outX - 0.5f, 0.5f * inY / outY - 0.5f};
}

Picture casScalePass(const Picture& source, Size target, const Rings& rings, float peak) {
    const std::array<float, 4> mapping = casScaleAndOffset(source.size(), target);
    return draw(source, target, [&](Taps& taps, int x, int y) {
        return casScaled(taps, cellAt(taps, x, y, mapping), rings, peak, kGreen);
    });
}

Picture rcasPass(const Picture& source, float stops) {
    const float strength = std::exp2(-stops);
    return draw(source, source.size(),
                [=](Taps& taps, int x, int y) { return rcas(taps, x, y, strength); });
}

// Whether rounding to 8 bits may go either way when the value is slightly off.
bool isBetweenSteps(float value) {
    const float step = value * 255.0f;
    return std::abs(step - std::floor(step) - 0.5f) < 0.1f;
}

float strengthOf(float sharpness) {
    return std::clamp(1.0f - sharpness, 0.0f, 1.0f);
}

}  // namespace

// The copy pass of every operation but casSharpen and casvUpscale works at the source's size and
// changes nothing, so it does not appear here.

Picture fsrResize(const Picture& source, Size target, float stops) {
    const EasuConstants constants = easuConstants(source.size(), target);
    const Picture scaled = draw(
            source, target, [&](Taps& taps, int x, int y) { return easu(taps, x, y, constants); });
    return rcasPass(scaled, stops);
}

Picture neaResize(const Picture& source, Size target, float stops) {
    const Picture scaled = draw(
            source, target, [=](Taps& taps, int x, int y) { return taps.nearest(x, y, target); });
    return rcasPass(scaled, stops);
}

Picture casSharpen(const Picture& source, Size target, float sharpness) {
    const Picture scaled = draw(
            source, target, [=](Taps& taps, int x, int y) { return taps.linear(x, y, target); });
    const Ring cross = {{0, 0}, {std::begin(kCross), std::end(kCross)}};
    const float peak = casPeak(sharpness);
    return draw(scaled, target, [&](Taps& taps, int x, int y) {
        return sharpenRing(taps, cross, x, y, peak, kGreen).colour();
    });
}

Picture casResize(const Picture& source, Size target, float sharpness) {
    return casScalePass(source, target, kTwelveTaps, casPeak(sharpness));
}

Picture casvUpscale(const Picture& source, Size target, float sharpness) {
    const Picture hsv = draw(source, source.size(),
                             [](Taps& taps, int x, int y) { return rgbToHsv(taps.texel(x, y)); });
    const std::array<float, 4> mapping = casScaleAndOffset(source.size(), target);
    const float peak = casPeak(sharpness);
    return draw(hsv, target, [&](Taps& taps, int x, int y) {
        const Cell cell = cellAt(taps, x, y, mapping);
        const float value = casScaled(taps, cell, kTwelveTaps, peak, kValue)[kValue];
        const Rgb nearest = taps.nearest(x, y, target);
        const Rgb unrounded = rgbToHsv(Taps(source).nearest(x, y, target));
        // One step of hue is up to six of a channel, and yellow, cyan and magenta lie right between
        // two steps.
        if (isBetweenSteps(unrounded[0]) || isBetweenSteps(unrounded[1])) taps.leaveOut();
        // Black has no hue: what the copy's linear sampler lets in from a neighbour decides it, be
        // it a millionth, and shows as soon as the value is scaled up from a neighbour too.
        if (unrounded[2] == 0.0f && value > 0.0f) taps.leaveOut();
        return hsvToRgb({nearest[0], nearest[1], value});
    });
}

Picture casTUpscale(const Picture& source, Size target, float sharpness) {
    return casScalePass(source, target, kEightTaps, casTPeak(sharpness));
}

Rgb rgbToHsv(const Rgb& rgb) {
    const auto [red, green, blue] = rgb;
    const float value = std::max({red, green, blue});
    const float chroma = value - std::min({red, green, blue});
    if (chroma == 0.0f) return {0.0f, 0.0f, value};
    float hue = 0.0f;
    if (value == red) {
        hue = (green - blue) / (6.0f * chroma) + (green < blue ? 1.0f : 0.0f);
    } else if (value == green) {
        hue = (blue - red) / (6.0f * chroma) + 1.0f / 3.0f;
    } else {
        hue = (red - green) / (6.0f * chroma) + 2.0f / 3.0f;
    }
    return {hue, chroma / value, value};
}

Rgb hsvToRgb(const Rgb& hsv) {
    const auto [hue, saturation, value] = hsv;
    constexpr float kTurns[] = {0.0f, 2.0f / 3.0f, 1.0f / 3.0f};
    Rgb rgb{};
    for (size_t c = 0; c < rgb.size(); ++c) {
        const float turn = hue + kTurns[c];
        const float pure = saturate(std::abs((turn - std::floor(turn)) * 6.0f - 3.0f) - 1.0f);
        rgb[c] = value * (1.0f + (pure - 1.0f) * saturation);
    }
    return rgb;
}

EasuConstants easuConstants(Size source, Size target) {
    const float inX = static_cast<float>(source.width);
    const float inY = static_cast<float>(source.height);
    const float perOutX = 1.0f / static_cast<float>(target.width);
    const float perOutY = 1.0f / static_cast<float>(target.height);
    const float texelX = 1.0f / inX;
    const float texelY = 1.0f / inY;
    return {{{inX * perOutX, inY * perOutY, 0.5f * inX * perOutX - 0.5f,
              0.5f * inY * perOutY - 0.5f},
             {texelX, texelY, texelX, -texelY},
             {-texelX, 2.0f * texelY, texelX, 2.0f * texelY},
             {0.0f, 4.0f * texelY, 0.0f, 0.0f}}};
}

float casPeak(float sharpness) {
    const float strength = strengthOf(sharpness);
    return -1.0f / (strength * 5.0f + (8.0f - strength * 8.0f));
}

float casTPeak(float sharpness) {
    const float strength = strengthOf(sharpness);
    return -20.0f / (strength * 75.0f + (120.0f - strength * 120.0f));
}

CasConstants casConstants(Size source, Size target, float peak) {
    const std::array<float, 4> mapping = casScaleAndOffset(source, target);
    const float eightfold =
            8.0f * static_cast<float>(source.width) / static_cast<float>(target.width);
    return {{{bitsOf(mapping[0]), bitsOf(mapping[1]), bitsOf(mapping[2]), bitsOf(mapping[3])},
             {bitsOf(peak), halfBits(peak), bitsOf(eightfold), 0}}};
}

uint32_t halfBits(float value) {
    const uint32_t bits = bitsOf(value);
    const uint32_t sign = (bits >> 16) & 0x8000u;
    const int exponent = static_cast<int>((bits >> 23) & 0xffu) - 127;
    const uint32_t mantissa = bits & 0x7fffffu;
    if (exponent > 15) return sign | 0x7bffu;
    if (exponent >= -14) return sign | static_cast<uint32_t>(exponent + 15) << 10 | mantissa >> 13;
    if (exponent >= -24) return sign | (0x800000u | mantissa) >> (-1 - exponent);
    return sign;
}

float approximateSqrt(float value) {
    return floatOf((bitsOf(value) >> 1) + 0x1fbc4639u);
}

float approximateReciprocal(float value) {
    return floatOf(0x7ef07ebbu - bitsOf(value));
}

float approximateReciprocalMedium(float value) {
    const float guess = floatOf(0x7ef19fffu - bitsOf(value));
    return guess * (2.0f - guess * value);
}

}  // namespace reference

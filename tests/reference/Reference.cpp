// SPDX-License-Identifier: Apache-2.0
#include "reference/Reference.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>

// Throughout, std::fmin and std::fmax stand for the GPU's min and max: of a number and a NaN they
// give the number. Both algorithms are written for that (0 times infinity arises where a
// neighbourhood is flat); where GPUs are known to differ, the pixel is left out.

namespace reference {
namespace {

struct Offset {
    int x;
    int y;
};

constexpr Offset kCorners[] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
constexpr Offset kCross[] = {{0, -1}, {-1, 0}, {1, 0}, {0, 1}};

// A 4 x 4 block of texels without its corners.
constexpr Offset kEasuTaps[] = {{0, -1}, {1, -1}, {-1, 0}, {0, 0}, {1, 0}, {2, 0},
                                {-1, 1}, {0, 1},  {1, 1},  {2, 1}, {0, 2}, {1, 2}};

uint32_t bitsOf(float value) {
    uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

float floatOf(uint32_t bits) {
    float value = 0.0f;
    std::memcpy(&value, &bits, sizeof value);
    return value;
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

float saturate(float value) {
    return std::fmin(std::fmax(value, 0.0f), 1.0f);
}

// 0.5 R + G + 0.5 B, as both stages of FSR measure brightness.
float doubledLuma(const Rgb& colour) {
    return 0.5f * colour[0] + colour[1] + 0.5f * colour[2];
}

// From a pixel's number to a position between the centres of source texels, along one axis.
struct Mapping {
    float scale;
    float offset;
};

Mapping easuMapping(float source, float target) {
    const float perPixel = 1.0f / target;
    return {source * perPixel, 0.5f * source * perPixel - 0.5f};
}

Mapping casMapping(float source, float target) {
    return {source / target, 0.5f * source / target - 0.5f};
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

Cell cellAt(Fragment& fragment, Mapping (*mapping)(float, float)) {
    const auto position = [&](int pixel, int source, int target) {
        const auto [scale, offset] =
                mapping(static_cast<float>(source), static_cast<float>(target));
        const float at = static_cast<float>(pixel) * scale + offset;
        // Shader compilers may fuse the two steps; next to a texel's centre that chooses the cell.
        if (std::floor(at) != std::floor(std::fma(static_cast<float>(pixel), scale, offset))) {
            fragment.isDefined = false;
        }
        return at;
    };
    const float u = position(fragment.x, fragment.source.size.width, fragment.target.width);
    const float v = position(fragment.y, fragment.source.size.height, fragment.target.height);
    return {static_cast<int>(std::floor(u)), static_cast<int>(std::floor(v)), u - std::floor(u),
            v - std::floor(v)};
}

struct Edge {
    float slope;   // Signed, across two texels.
    float length;  // 0 for a peak or a flat run, 1 for a steady slope.
};

Edge edgeAlong(Fragment& fragment, const Rgb& before, const Rgb& centre, const Rgb& after) {
    const float slope = doubledLuma(after) - doubledLuma(before);
    const float steepest = std::fmax(std::abs(doubledLuma(after) - doubledLuma(centre)),
                                     std::abs(doubledLuma(centre) - doubledLuma(before)));
    // Different colours of one luma: rounding decides between a flat run and a slope. Two lumas
    // that do differ are at least half a step of 8 bits apart.
    if (steepest < 0.25f / 255.0f && !(before == centre && centre == after)) {
        fragment.isDefined = false;
    }
    const float ratio = saturate(std::abs(slope) * (1.0f / steepest));
    return {slope, ratio * ratio};
}

Rgb easu(Fragment& fragment) {
    const Cell cell = cellAt(fragment, easuMapping);
    const auto colour = [&](int x, int y) {
        return fragment.repeated(cell.left + x, cell.top + y);
    };

    float directionX = 0.0f;
    float directionY = 0.0f;
    float length = 0.0f;
    for (const auto& [x, y] : kCorners) {
        const float share = cell.bilinear({x, y});
        const Rgb centre = colour(x, y);
        const Edge across = edgeAlong(fragment, colour(x - 1, y), centre, colour(x + 1, y));
        const Edge down = edgeAlong(fragment, colour(x, y - 1), centre, colour(x, y + 1));
        directionX += across.slope * share;
        directionY += down.slope * share;
        length += across.length * share + down.length * share;
    }
    const float squared = directionX * directionX + directionY * directionY;
    // The direction is forced or not: a few hundred-thousandths decide over far more in the result.
    if (squared > 0.5f / 32768.0f && squared < 2.0f / 32768.0f) fragment.isDefined = false;
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
    for (const auto& [x, y] : kEasuTaps) {
        const float dx = static_cast<float>(x) - cell.across;
        const float dy = static_cast<float>(y) - cell.down;
        const float along = (dx * directionX + dy * directionY) * alongScale;
        const float across = (dy * directionX - dx * directionY) * acrossScale;
        const float distance = std::fmin(along * along + across * across, reach);
        const float base = 0.4f * distance - 1.0f;
        const float window = lobe * distance - 1.0f;
        const float weight = (1.5625f * base * base - 0.5625f) * window * window;
        sum = sum + weight * colour(x, y);
        weights += weight;
    }
    const auto amongCorners = [weights](float channel, auto... corners) {
        return std::fmin(std::max({corners...}),
                         std::fmax(std::min({corners...}), channel / weights));
    };
    return perChannel(amongCorners, sum, colour(0, 0), colour(1, 0), colour(0, 1), colour(1, 1));
}

Rgb rcas(Fragment& fragment, float strength) {
    const auto at = [&](int x, int y) { return fragment.texel(fragment.x + x, fragment.y + y); };
    const Rgb centre = at(0, 0);
    const Rgb up = at(0, -1);
    const Rgb left = at(-1, 0);
    const Rgb right = at(1, 0);
    const Rgb down = at(0, 1);
    const bool isFlat = centre == up && centre == left && centre == right && centre == down;

    const auto lobeOf = [&](float middle, auto... around) {
        const float low = std::min({around...});
        const float high = std::max({around...});
        // 0 times infinity decides the lobe here, and unlike EASU's, GPUs' answers differ. Where
        // all five texels are alike no lobe changes them.
        if ((high == 0.0f || low == 1.0f) && !isFlat) fragment.isDefined = false;
        const float untilBlack = std::fmin(low, middle) / (4.0f * high);
        const float untilWhite = (1.0f - std::fmax(high, middle)) / (4.0f * low - 4.0f);
        return std::fmax(-untilBlack, untilWhite);
    };
    const auto [red, green, blue] = perChannel(lobeOf, centre, up, left, right, down);
    const float lobe =
            std::fmax(-0.1875f, std::fmin(std::fmax(std::fmax(red, green), blue), 0.0f)) * strength;
    return perChannel(
            [lobe](float middle, float neighbours) {
                return (lobe * neighbours + middle) / (4.0f * lobe + 1.0f);
            },
            centre, up + left + right + down);
}

Picture rcasPass(const Picture& source, float stops) {
    const float strength = std::exp2(-stops);
    return draw(source, source.size, [=](Fragment& fragment) { return rcas(fragment, strength); });
}

// The texels whose contrast limits the sharpening at `centre`, and that are subtracted from it.
struct Ring {
    Offset centre;
    std::vector<Offset> around;
};
using Rings = std::vector<Ring>;

Ring crossAround(Offset centre) {
    Ring ring = {centre, {}};
    for (const auto& [x, y] : kCross)
        ring.around.push_back({centre.x + x, centre.y + y});
    return ring;
}

const Rings kTwelveTaps = {crossAround({0, 0}), crossAround({1, 0}), crossAround({0, 1}),
                           crossAround({1, 1})};
const Rings kEightTaps = {{{0, 0}, {{0, -1}, {-1, 1}, {1, 1}}},
                          {{1, 0}, {{1, -1}, {0, 1}, {2, 1}}},
                          {{0, 1}, {{0, 0}, {-1, 1}, {1, 1}}},
                          {{1, 1}, {{1, 0}, {0, 1}, {2, 1}}}};

constexpr size_t kGreen = 1;
constexpr size_t kValue = 2;

// The negative weight of a ring's neighbours where contrast is lowest: -numerator / denominator,
// the latter between those for 0 and 1 on the scale of sharpness.
float peakWeight(float sharpness, float numerator, float strongest, float weakest) {
    const float strength = std::clamp(1.0f - sharpness, 0.0f, 1.0f);
    return -numerator / (strength * strongest + (weakest - strength * weakest));
}

float casPeak(float sharpness) {
    return peakWeight(sharpness, 1.0f, 5.0f, 8.0f);
}

struct Sharpened {
    Rgb sum{};
    float weights = 0.0f;
    float contrast = 0.0f;

    Rgb colour() const {
        const float normaliser = approximateReciprocalMedium(weights);
        return perChannel(saturate, normaliser * sum);
    }
};

// A ring's centre with its neighbours subtracted, as far as the guide channel leaves room for.
Sharpened sharpenRing(Fragment& fragment, const Ring& ring, Offset origin, float peak,
                      size_t guide) {
    const auto at = [&](Offset o) { return fragment.texel(origin.x + o.x, origin.y + o.y); };
    const Rgb centre = at(ring.centre);
    float low = centre[guide];
    float high = low;
    Rgb around{};
    for (const Offset& o : ring.around) {
        const Rgb colour = at(o);
        low = std::fmin(low, colour[guide]);
        high = std::fmax(high, colour[guide]);
        around = around + colour;
    }
    const float room = std::fmin(low, 1.0f - high);
    const float weight = approximateSqrt(saturate(room * approximateReciprocal(high))) * peak;
    return {centre + weight * around, 1.0f + weight * static_cast<float>(ring.around.size()),
            high - low};
}

Rgb casScaled(Fragment& fragment, const Rings& rings, float peak, size_t guide) {
    const Cell cell = cellAt(fragment, casMapping);
    Sharpened total;
    for (const Ring& ring : rings) {
        const Sharpened part = sharpenRing(fragment, ring, {cell.left, cell.top}, peak, guide);
        const float share =
                cell.bilinear(ring.centre) * approximateReciprocal(0.03125f + part.contrast);
        total.sum = total.sum + share * part.sum;
        total.weights += share * part.weights;
    }
    return total.colour();
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

Rgb hsvToRgb(float hue, float saturation, float value) {
    const auto channel = [=](float shift) {
        const float turn = hue + shift;
        const float pure = saturate(std::abs((turn - std::floor(turn)) * 6.0f - 3.0f) - 1.0f);
        return value * (1.0f + (pure - 1.0f) * saturation);
    };
    return {channel(0.0f), channel(2.0f / 3.0f), channel(1.0f / 3.0f)};
}

// Whether rounding to 8 bits may go either way when the value is slightly off.
bool isBetweenSteps(float value) {
    const float step = value * 255.0f;
    return std::abs(step - std::floor(step) - 0.5f) < 0.1f;
}

// The copy pass of every operation but casSharpen and casvUpscale works at the source's size and
// changes nothing, so it does not appear here.

Picture fsrResize(const Picture& source, Size target, float stops) {
    return rcasPass(draw(source, target, easu), stops);
}

Picture neaResize(const Picture& source, Size target, float stops) {
    return rcasPass(draw(source, target, std::mem_fn(&Fragment::nearest)), stops);
}

Picture casSharpen(const Picture& source, Size target, float sharpness) {
    const Picture scaled = draw(source, target, std::mem_fn(&Fragment::linear));
    return draw(scaled, target,
                [cross = crossAround({0, 0}), peak = casPeak(sharpness)](Fragment& f) {
                    return sharpenRing(f, cross, {f.x, f.y}, peak, kGreen).colour();
                });
}

Picture casResize(const Picture& source, Size target, float sharpness) {
    return draw(source, target, [peak = casPeak(sharpness)](Fragment& fragment) {
        return casScaled(fragment, kTwelveTaps, peak, kGreen);
    });
}

Picture casvUpscale(const Picture& source, Size target, float sharpness) {
    const Picture hsv =
            draw(source, source.size, [](Fragment& f) { return rgbToHsv(f.texel(f.x, f.y)); });
    return draw(hsv, target, [&source, peak = casPeak(sharpness)](Fragment& fragment) {
        const float value = casScaled(fragment, kTwelveTaps, peak, kValue)[kValue];
        const Rgb nearest = fragment.nearest();
        Fragment inSource = {source, fragment.target, fragment.x, fragment.y};
        const auto [hue, saturation, sourceValue] = rgbToHsv(inSource.nearest());
        // One step of hue is up to six of a channel, and yellow, cyan and magenta lie right between
        // two steps.
        if (isBetweenSteps(hue) || isBetweenSteps(saturation)) fragment.isDefined = false;
        // Black has no hue: what the copy's linear sampler lets in from a neighbour decides it, be
        // it a millionth, and shows as soon as the value is scaled up from a neighbour too.
        if (sourceValue == 0.0f && value > 0.0f) fragment.isDefined = false;
        return hsvToRgb(nearest[0], nearest[1], value);
    });
}

Picture casTUpscale(const Picture& source, Size target, float sharpness) {
    const float peak = peakWeight(sharpness, 20.0f, 75.0f, 120.0f);
    return draw(source, target, [peak](Fragment& fragment) {
        return casScaled(fragment, kEightTaps, peak, kGreen);
    });
}

// ---- How close the GPU comes ----

std::vector<Setting> everywhere(const Tolerances& tolerances, const std::vector<float>& values) {
    std::vector<Setting> settings;
    for (float value : values)
        settings.push_back({value, tolerances});
    return settings;
}

const std::vector<float> kStops = {0.0f, 0.7f, -0.25f, 4.0f};
const std::vector<float> kCasScale = {0.0f, 0.5f, 1.0f, -3.0f, 7.0f};

// The tolerances are the worst that each driver was measured at: those of Mesa 22.3 and 25.0, and
// ANGLE 2.1 over SwiftShader, means rounded up. llvmpipe samples at half precision, which moves a
// colour across a step of 8 bits now and then: hence 1 and the means. SwiftShader works at full
// precision throughout, where that is rare: 1 and 0.001 are given where at most a step and a mean
// of 0.0009 was seen. The gradients of neaResize, and of fsrResize at equal sizes, end halfway
// between steps on any driver. The sharpening of a second pass multiplies a step of the first,
// EASU's or the linear copy's (in 8 bits, rounded twice or, if truncated, twice too low), by up to
// (1 + 4w) / (1 - 4w) for a neighbour's weight w: 7, 2.7, 17 and 1.1 at the stops given, 9, 4.2 and
// 3 on casSharpen's scale. casTUpscale works at medium precision throughout, which is half
// precision in llvmpipe.
// clang-format off
const std::vector<Operation> kOperations = {
    // name, function, flatError, Tolerances at equal sizes, and scaled at each sharpness
    {"fsrResize", fsrResize, 0, {{4, 0.13}, {1, 0.02}},
     {{0.0f, {{5, 0.5}, {4, 0.06}}}, {0.7f, {{3, 0.22}, {2, 0.005}}},
      {-0.25f, {{10, 1.12}, {11, 0.005}}}, {4.0f, {{3, 0.1}, {1, 0.005}}}}},
    {"neaResize", neaResize, 0, {{1, 0.11}, {1, 0.02}},
     everywhere({{1, 0.18}, {1, 0.07}}, kStops)},
    {"casSharpen", casSharpen, 1, {{1, 0.09}, {1, 0.001}},
     {{0.0f, {{6, 0.75}, {4, 0.11}, {6, 0.75}, {8, 1.29}}}, {0.5f, {{3, 0.72}, {3, 0.12}, {3, 0.54}, {5, 1.1}}},
      {1.0f, {{3, 0.93}, {2, 0.09}, {3, 0.7}, {4, 1.07}}}, {-3.0f, {{6, 0.75}, {4, 0.11}, {6, 0.75}, {8, 1.29}}},
      {7.0f, {{3, 0.93}, {2, 0.09}, {3, 0.7}, {4, 1.07}}}}},
    {"casResize", casResize, 1, {{1, 0.09}, {1, 0.001}},
     everywhere({{1, 0.11}, {1, 0.001}}, kCasScale)},
    {"casvUpscale", casvUpscale, 1, {{1, 0.09}, {1, 0.001}},
     everywhere({{1, 0.12}, {1, 0.001}}, kCasScale)},
    {"casTUpscale", casTUpscale, 1, {{1, 0.24}, {1, 0.001}},
     everywhere({{1, 0.29}, {1, 0.001}}, kCasScale)},
};
// clang-format on

}  // namespace

const Operation& operationOf(const std::string& name) {
    const auto found = std::find_if(kOperations.begin(), kOperations.end(),
                                    [&](const Operation& row) { return row.name == name; });
    if (found == kOperations.end()) throw std::out_of_range("no reference for " + name);
    return *found;
}

}  // namespace reference

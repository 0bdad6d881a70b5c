// SPDX-License-Identifier: Apache-2.0
/// @file
/// Shapes and textures for drawn pictures. Only arithmetic that IEEE 754 fixes to the bit is used
/// (no function of libm, no fused multiply-add), so that every machine draws the same.
#ifndef UPSCALER_TOOLS_SAMPLE_GEOMETRY_H
#define UPSCALER_TOOLS_SAMPLE_GEOMETRY_H

#include <cstdint>

namespace sample {

struct Point {
    double x;
    double y;
};

/// Channels from 0 to 255.
struct Colour {
    double r;
    double g;
    double b;
};

inline Colour mix(const Colour& a, const Colour& b, double t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

inline Colour shade(const Colour& c, double factor) {
    return {c.r * factor, c.g * factor, c.b * factor};
}

/// Truncation, and so the floor, of what an int64_t holds.
inline std::int64_t floorOf(double v) {
    const auto whole = static_cast<std::int64_t>(v);
    return static_cast<double>(whole) > v ? whole - 1 : whole;
}

inline double fraction(double v) {
    return v - static_cast<double>(floorOf(v));
}

inline double clampUnit(double v) {
    return v < 0 ? 0 : v > 1 ? 1 : v;
}

/// 0 up to `from`, 1 past `to`, an S between.
inline double smoothStep(double from, double to, double v) {
    const double t = clampUnit((v - from) / (to - from));
    return t * t * (3 - 2 * t);
}

inline double squaredDistance(Point a, Point b) {
    return (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y);
}

inline bool inDisc(Point p, Point centre, double radius) {
    return squaredDistance(p, centre) < radius * radius;
}

inline bool inBox(Point p, double left, double top, double right, double bottom) {
    return p.x >= left && p.x < right && p.y >= top && p.y < bottom;
}

/// Whether `p` is on the line from `a` to `b`, drawn `width` wide with round ends.
inline bool onLine(Point p, Point a, Point b, double width) {
    const Point d = {b.x - a.x, b.y - a.y};
    const double length = d.x * d.x + d.y * d.y;
    const double along = length > 0 ? ((p.x - a.x) * d.x + (p.y - a.y) * d.y) / length : 0;
    const double t = clampUnit(along);
    return inDisc(p, {a.x + d.x * t, a.y + d.y * t}, width / 2);
}

/// A number from 0 to 1, without a pattern, for a cell of a grid.
inline double random(std::int64_t x, std::int64_t y, std::uint32_t seed) {
    std::uint32_t h = seed * 0x9e3779b9u + static_cast<std::uint32_t>(x) * 0x85ebca6bu +
                      static_cast<std::uint32_t>(y) * 0xc2b2ae35u;
    h = (h ^ (h >> 16)) * 0x7feb352du;
    h = (h ^ (h >> 15)) * 0x846ca68bu;
    h ^= h >> 16;
    return static_cast<double>(h >> 8) / 16777216.0;
}

/// Smooth noise from 0 to 1 with a wavelength of about 2.
inline double noise(Point p, std::uint32_t seed) {
    const std::int64_t x = floorOf(p.x);
    const std::int64_t y = floorOf(p.y);
    const double u = smoothStep(0, 1, p.x - static_cast<double>(x));
    const double v = smoothStep(0, 1, p.y - static_cast<double>(y));
    const double top = random(x, y, seed) * (1 - u) + random(x + 1, y, seed) * u;
    const double bottom = random(x, y + 1, seed) * (1 - u) + random(x + 1, y + 1, seed) * u;
    return top * (1 - v) + bottom * v;
}

/// Noise of several octaves, from 0 to 1.
inline double cloudNoise(Point p, int octaves, std::uint32_t seed) {
    double sum = 0;
    double weight = 0.5;
    double total = 0;
    for (int i = 0; i < octaves; ++i) {
        sum += noise(p, seed + static_cast<std::uint32_t>(i)) * weight;
        total += weight;
        weight /= 2;
        p = {p.x * 2, p.y * 2};
    }
    return sum / total;
}

/// The cosine of an angle counted in turns, to about 1e-6.
inline double cosineOfTurns(double turns) {
    constexpr double kTau = 6.283185307179586;
    double t = fraction(turns);
    if (t > 0.5) t = 1 - t;
    const bool negative = t > 0.25;
    if (negative) t = 0.5 - t;
    const double s = (t * kTau) * (t * kTau);
    const double c = 1 - s / 2 * (1 - s / 12 * (1 - s / 30 * (1 - s / 56 * (1 - s / 90))));
    return negative ? -c : c;
}

}  // namespace sample

#endif  // UPSCALER_TOOLS_SAMPLE_GEOMETRY_H

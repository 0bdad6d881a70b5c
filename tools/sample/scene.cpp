// SPDX-License-Identifier: Apache-2.0
#include "scene.h"

#include <cmath>
#include <optional>

#include "stroke_font.h"

namespace sample {
namespace {

// Every layer answers with its colour, or nothing where it is not.
using Layer = std::optional<Colour> (*)(Point);

constexpr double kHorizon = 330;
constexpr Colour kHaze = {214, 226, 236};
constexpr Colour kWhite = {250, 250, 246};
constexpr Colour kBlack = {22, 22, 26};
constexpr Colour kWood = {120, 84, 52};

std::optional<Colour> sky(Point p) {
    Colour colour = mix({62, 116, 190}, kHaze, clampUnit(p.y / kHorizon));
    const double sun = std::sqrt(squaredDistance(p, {770, 84}));
    colour = mix({255, 244, 214}, colour, smoothStep(0, 190, sun));
    if (sun < 30) colour = {255, 251, 236};
    const double cloud = cloudNoise({p.x / 150, p.y / 46}, 4, 11);
    return mix(colour, kWhite, 0.8 * smoothStep(0.52, 0.78, cloud));
}

// A ridge of hills, further away the paler.
std::optional<Colour> hills(Point p, double top, double rise, double wave, const Colour& colour,
                            std::uint32_t seed) {
    const double ridge = top - rise * cloudNoise({p.x / wave, 0.5}, 4, seed);
    if (p.y < ridge) return std::nullopt;
    return mix(colour, kHaze, 0.5 * clampUnit((p.y - ridge) / 90));
}
std::optional<Colour> farHills(Point p) {
    return hills(p, 330, 120, 170, {126, 150, 184}, 21);
}
std::optional<Colour> nearHills(Point p) {
    return hills(p, 345, 80, 110, {92, 128, 118}, 31);
}

constexpr Point kPylonTop = {600, 92};
constexpr double kPylonFoot = 312;
constexpr int kPylonFloors = 8;
constexpr double kArms[] = {112, 140, 168};

double pylonHalfWidth(double y) {
    return 3 + (y - kPylonTop.y) * 0.085;
}

std::optional<Colour> pylon(Point p) {
    constexpr Colour kSteel = {70, 76, 86};
    if (!inBox(p, kPylonTop.x - 45, kPylonTop.y - 2, kPylonTop.x + 45, kPylonFoot)) {
        return std::nullopt;
    }
    const double x = p.x - kPylonTop.x;
    for (const double arm : kArms) {
        if (onLine({x, p.y}, {-40, arm}, {40, arm}, 1.6)) return kSteel;
        if (onLine({x, p.y}, {-40, arm}, {0, arm - 10}, 1.0)) return kSteel;
        if (onLine({x, p.y}, {40, arm}, {0, arm - 10}, 1.0)) return kSteel;
    }
    constexpr double kFloor = (kPylonFoot - kPylonTop.y) / kPylonFloors;
    for (int i = 0; i < kPylonFloors; ++i) {
        const double top = kPylonTop.y + i * kFloor;
        const double bottom = top + kFloor;
        const double above = pylonHalfWidth(top);
        const double below = pylonHalfWidth(bottom);
        if (onLine({x, p.y}, {-above, top}, {-below, bottom}, 1.8) ||
            onLine({x, p.y}, {above, top}, {below, bottom}, 1.8) ||
            onLine({x, p.y}, {-above, top}, {below, bottom}, 1.0) ||
            onLine({x, p.y}, {above, top}, {-below, bottom}, 1.0)) {
            return kSteel;
        }
    }
    return std::nullopt;
}

std::optional<Colour> wires(Point p) {
    constexpr Colour kWire = {52, 56, 66};
    for (const double arm : kArms) {
        for (const double side : {-40.0, 40.0}) {
            // To the left a long sag, to the right a steep rise out of the picture.
            const double x = p.x - (kPylonTop.x + side);
            const double y = x < 0 ? arm + x * 0.13 + x * (x + 700) * 0.0004 * -1
                                   : arm - x * 0.34 + x * x * 0.0002;
            const double slope = x < 0 ? 0.13 - (2 * x + 700) * 0.0004 : -0.34 + x * 0.0004;
            const double distance = (p.y - y) * (p.y - y) / (1 + slope * slope);
            if (distance < 0.5 * 0.5) return kWire;
        }
    }
    return std::nullopt;
}

std::optional<Colour> balloon(Point p) {
    constexpr Point kCentre = {452, 96};
    constexpr double kRadius = 66;
    constexpr Colour kGores[] = {{226, 24, 34}, {250, 206, 20}, {20, 150, 60},  {24, 70, 200},
                                 {236, 90, 16}, {150, 30, 150}, {20, 180, 200}, {226, 24, 34}};
    const double x = p.x - kCentre.x;
    const double y = p.y - kCentre.y;
    if (y < -kRadius) return std::nullopt;
    // Narrows below the middle, down to the mouth.
    const double half = y < 0 ? std::sqrt(kRadius * kRadius - y * y)
                              : kRadius * (1 - smoothStep(0, 150, y) * 1.15);
    if (y < 96 && x > -half && x < half) {
        const double across = x / half;
        // Gores of equal width round the envelope bunch up towards its edges.
        const double turn = 0.5 + across * (0.36 + 0.14 * across * across);
        const auto gore = static_cast<std::size_t>(clampUnit(turn) * 7.999);
        return shade(kGores[gore], 1 - 0.35 * across * across - 0.1 * smoothStep(20, 90, y));
    }
    if (inBox({x, y}, -10, 116, 10, 132)) {
        const bool weave = (floorOf(x / 2) + floorOf(y / 2)) % 2 == 0;
        return weave ? Colour{150, 100, 50} : Colour{104, 66, 32};
    }
    for (const double rope : {-1.0, -0.4, 0.4, 1.0}) {
        if (onLine({x, y}, {rope * 14, 95}, {rope * 9, 117}, 0.8)) return kBlack;
    }
    return std::nullopt;
}

std::optional<Colour> meadow(Point p) {
    const double edge = kHorizon + 8 * noise({p.x / 90, 3.5}, 41);
    if (p.y < edge) return std::nullopt;
    const double depth = (p.y - kHorizon) / (kSceneHeight - kHorizon);
    Colour colour = mix({140, 172, 96}, {70, 118, 44}, clampUnit(depth));
    const double patch = cloudNoise({p.x / (30 + 60 * depth), p.y / (8 + 24 * depth)}, 3, 43);
    return shade(colour, 0.86 + 0.28 * patch);
}

// Blades in the foreground, and flowers between them.
std::optional<Colour> grass(Point p) {
    if (p.y < 440) return std::nullopt;
    constexpr double kCell = 7;
    const std::int64_t column = floorOf(p.x / kCell);
    for (std::int64_t i = column + 1; i >= column - 1; --i) {
        for (int rank = 5; rank >= 0; --rank) {
            const double foot = 458 + rank * 17 + 14 * random(i, rank, 53);
            const double height = 14 + 12 * random(i, rank, 54);
            if (p.y > foot || p.y < foot - height) continue;
            const double up = (foot - p.y) / height;
            const double lean = (random(i, rank, 55) - 0.5) * 12 * up * up;
            const double middle = (static_cast<double>(i) + random(i, rank, 56)) * kCell + lean;
            if (p.x > middle - 1.3 * (1 - up) && p.x < middle + 1.3 * (1 - up)) {
                return mix({44, 92, 26}, {150, 190, 70}, up * (0.4 + 0.6 * random(i, rank, 57)));
            }
        }
    }
    constexpr double kBed = 26;
    constexpr Colour kPetals[] = {{240, 40, 60}, {250, 220, 40}, {250, 250, 250}, {180, 60, 220}};
    const std::int64_t x = floorOf(p.x / kBed);
    const std::int64_t y = floorOf(p.y / kBed);
    const Point centre = {(static_cast<double>(x) + 0.2 + 0.6 * random(x, y, 61)) * kBed,
                          (static_cast<double>(y) + 0.2 + 0.6 * random(x, y, 62)) * kBed};
    if (random(x, y, 63) < 0.5) return std::nullopt;
    if (inDisc(p, centre, 1.1)) return Colour{250, 170, 20};
    if (inDisc(p, centre, 2.8)) return kPetals[static_cast<std::size_t>(random(x, y, 64) * 3.99)];
    return std::nullopt;
}

std::optional<Colour> brickWall(Point p, const Colour& brick, std::uint32_t seed) {
    constexpr double kLength = 15;
    constexpr double kCourse = 6;
    constexpr double kJoint = 1;
    const std::int64_t course = floorOf(p.y / kCourse);
    const double x = p.x + (course % 2 == 0 ? 0 : kLength / 2);
    const bool joint =
            fraction(p.y / kCourse) * kCourse < kJoint || fraction(x / kLength) * kLength < kJoint;
    if (joint) return Colour{206, 196, 180};
    return shade(brick, 0.8 + 0.35 * random(floorOf(x / kLength), course, seed));
}

std::optional<Colour> window(Point p, double left, double top) {
    constexpr double kWide = 44;
    constexpr double kHigh = 56;
    const double x = p.x - left;
    const double y = p.y - top;
    if (!inBox({x, y}, -4, -4, kWide + 4, kHigh + 6)) return std::nullopt;
    if (!inBox({x, y}, 0, 0, kWide, kHigh)) return kWhite;
    const bool bar = fraction(x / 14.67) * 14.67 < 1.5 || fraction(y / 18.67) * 18.67 < 1.5;
    if (bar && x > 2 && y > 2) return kWhite;
    return mix({40, 60, 92}, {170, 200, 226}, clampUnit((x + kHigh - y) / 140));
}

std::optional<Colour> house(Point p) {
    constexpr double kLeft = 62;
    constexpr double kRight = 300;
    constexpr double kEaves = 268;
    constexpr double kRidge = 150;
    constexpr double kGround = 432;
    if (inBox(p, 232, 128, 262, 200)) return brickWall(p, {150, 70, 54}, 71);
    // The roof leans back: its sides slope in from overhanging eaves to the ridge.
    const double inset = (kEaves - p.y) * 0.42;
    if (p.y >= kRidge && p.y < kEaves && p.x > kLeft - 20 + inset && p.x < kRight + 20 - inset) {
        constexpr double kTileWide = 9;
        constexpr double kTileHigh = 8;
        const std::int64_t row = floorOf(p.y / kTileHigh);
        const double x = p.x / kTileWide + (row % 2 == 0 ? 0.0 : 0.5);
        const double u = fraction(x) * 2 - 1;
        const double v = fraction(p.y / kTileHigh);
        // Scalloped ends: below the curve shows the shadow over the next row.
        const double tile = 0.84 + 0.28 * random(floorOf(x), row, 72);
        const Colour slate = shade({158, 72, 48}, tile);
        return v > 1 - 0.45 * u * u ? shade(slate, 0.45) : shade(slate, 1.08 - 0.3 * v);
    }
    if (!inBox(p, kLeft, kEaves, kRight, kGround)) return std::nullopt;
    if (p.y < kEaves + 5) return kWhite;
    for (const double left : {86.0, 232.0}) {
        if (const auto colour = window(p, left, 306)) return colour;
    }
    if (inBox(p, 156, 330, 204, kGround)) {
        if (inDisc(p, {196, 386}, 2.2)) return Colour{240, 206, 90};
        const bool frame = !inBox(p, 160, 334, 200, kGround);
        const double plank = fraction((p.x - 160) / 10) * 10;
        return frame ? kWhite : shade({26, 104, 116}, plank < 1 ? 0.55 : 1);
    }
    const auto wall = brickWall(p, {176, 92, 70}, 73);
    return p.y < kEaves + 18 ? shade(*wall, 0.62 + 0.38 * (p.y - kEaves) / 18) : *wall;
}

// Leaves over a grid of cells, each drawn a little out of its cell, the later over the earlier.
std::optional<Colour> leaves(Point p, Point centre, double radius, std::uint32_t seed) {
    constexpr double kCell = 4.5;
    const std::int64_t column = floorOf(p.x / kCell);
    const std::int64_t row = floorOf(p.y / kCell);
    for (std::int64_t y = row + 1; y >= row - 1; --y) {
        for (std::int64_t x = column + 1; x >= column - 1; --x) {
            const Point leaf = {(static_cast<double>(x) + random(x, y, seed)) * kCell,
                                (static_cast<double>(y) + random(x, y, seed + 1)) * kCell};
            const double ragged = 0.62 + 0.5 * noise({leaf.x / 16, leaf.y / 16}, seed + 2);
            if (!inDisc(leaf, centre, radius * ragged)) continue;
            const double tilt = random(x, y, seed + 3) * 2 - 1;
            const Point d = {p.x - leaf.x, p.y - leaf.y};
            const double along = d.x + d.y * tilt;
            const double across = d.y - d.x * tilt;
            if (along * along / 14 + across * across / 4.5 > 1) continue;
            const double light =
                    clampUnit(0.5 + ((leaf.x - centre.x) - (leaf.y - centre.y)) / (3 * radius));
            const Colour green = mix({26, 62, 28}, {150, 178, 62}, light);
            return shade(green, 0.7 + 0.5 * random(x, y, seed + 4));
        }
    }
    return std::nullopt;
}

std::optional<Colour> tree(Point p) {
    constexpr Point kCrown = {392, 282};
    if (inBox(p, 300, 186, 490, 390)) {
        if (const auto leaf = leaves(p, kCrown, 84, 81)) return leaf;
    }
    const double half = 8 + 9 * smoothStep(390, 450, p.y);
    if (p.y > 290 && p.y < 447 && p.x > kCrown.x - half && p.x < kCrown.x + half) {
        const double bark = noise({p.x / 2, p.y / 14}, 91);
        return shade({104, 78, 58}, 0.6 + 0.7 * bark);
    }
    return std::nullopt;
}

std::optional<Colour> wheel(Point p) {
    constexpr Point kHub = {342, 412};
    constexpr double kRim = 38;
    constexpr int kSpokes = 20;
    if (!inDisc(p, kHub, kRim)) return std::nullopt;
    if (!inDisc(p, kHub, kRim - 4) || inDisc(p, kHub, 5)) return shade(kWood, 0.75);
    for (int i = 0; i < kSpokes; ++i) {
        const double turn = static_cast<double>(i) / kSpokes + 0.02;
        const Point end = {kHub.x + kRim * cosineOfTurns(turn),
                           kHub.y + kRim * cosineOfTurns(turn - 0.25)};
        if (onLine(p, kHub, end, 1.3)) return shade(kWood, 0.75);
    }
    return std::nullopt;
}

// Rings that grow finer outwards, up to 0.45 of a cycle to a pixel.
std::optional<Colour> zonePlate(Point p) {
    constexpr Point kCentre = {512, 392};
    constexpr double kRadius = 62;
    constexpr double kFinest = 0.45;
    if (!inDisc(p, kCentre, kRadius + 5)) {
        for (const double foot : {-34.0, 34.0}) {
            const Point above = {kCentre.x + foot * 0.7, kCentre.y + 40};
            if (onLine(p, above, {kCentre.x + foot, kCentre.y + 98}, 5)) return kWood;
        }
        return std::nullopt;
    }
    if (!inDisc(p, kCentre, kRadius)) return shade(kWood, 0.6);
    const double turns = squaredDistance(p, kCentre) * kFinest / (2 * kRadius);
    return mix(kBlack, kWhite, 0.5 + 0.5 * cosineOfTurns(turns));
}

std::optional<Colour> sign(Point p) {
    constexpr double kLeft = 606;
    constexpr double kTop = 236;
    constexpr double kRight = 926;
    constexpr double kBottom = 416;
    constexpr double kMiddle = (kLeft + kRight) / 2;
    constexpr Text kTexts[] = {
            {"UPSCALE", {kMiddle - 140, kTop + 22}, 7, 1.3},
            {"ABCDEFGHIJKLM", {kMiddle - 133, kTop + 82}, 3.5, 0.8},
            {"NOPQRSTUVWXYZ", {kMiddle - 133, kTop + 110}, 3.5, 0.8},
            {"SHARP AT EVERY SIZE 0123456789", {kMiddle - 142.4, kTop + 139}, 1.6, 0.75},
            {"THE QUICK BROWN FOX JUMPS OVER THE LAZY DOG",
             {kMiddle - 140.8, kTop + 157},
             1.1,
             0.85},
    };
    for (const double post : {kLeft + 30, kRight - 44}) {
        if (inBox(p, post, kTop - 14, post + 14, 484) && !inBox(p, kLeft, kTop, kRight, kBottom)) {
            return shade(kWood, 0.7 + 0.5 * noise({p.x / 1.5, p.y / 30}, 95));
        }
    }
    if (!inBox(p, kLeft, kTop, kRight, kBottom)) return std::nullopt;
    if (!inBox(p, kLeft + 5, kTop + 5, kRight - 5, kBottom - 5)) return Colour{150, 30, 36};
    for (const Text& text : kTexts) {
        if (onText(p, text)) return text.unit > 4 ? Colour{150, 30, 36} : kBlack;
    }
    return mix({248, 244, 230}, {226, 216, 192}, (p.y - kTop) / (kBottom - kTop));
}

// A chequered cloth on the ground, seen from above its near edge.
std::optional<Colour> cloth(Point p) {
    constexpr double kFar = 462;
    constexpr double kNear = 528;
    if (p.y < kFar || p.y >= kNear) return std::nullopt;
    const double depth = 1 / (1 + (p.y - kFar) / 70);  // 1 at the far edge, falling
    const double u = (p.x - 240) * depth / 11;
    const double v = depth * 22;
    if (u < -9 || u >= 9) return std::nullopt;
    const bool odd = (floorOf(u) + floorOf(v)) % 2 != 0;
    return odd ? Colour{206, 30, 40} : kWhite;
}

std::optional<Colour> fence(Point p) {
    constexpr double kPitch = 17;
    const double x = p.x - 560;
    if (x < 0) return std::nullopt;
    const double top = 452 + x * 0.05;
    const double bottom = top + 62;
    const double picket = fraction(x / kPitch) * kPitch;
    const double point = top + (picket < 4.5 ? 4.5 - picket : picket - 4.5) * 1.3;
    if (picket < 9 && p.y > point && p.y < bottom) {
        return shade(kWhite, picket < 1.2 ? 0.7 : 0.96);
    }
    for (const double rail : {16.0, 42.0}) {
        if (p.y > top + rail && p.y < top + rail + 6) return shade(kWhite, 0.84);
    }
    return std::nullopt;
}

// From the front.
constexpr Layer kLayers[] = {cloth, fence,  grass, zonePlate, sign,      wheel,    tree,
                             house, meadow, wires, pylon,     nearHills, farHills, balloon};

}  // namespace

Colour sceneAt(Point p) {
    for (const Layer layer : kLayers) {
        if (const auto colour = layer(p)) return *colour;
    }
    return *sky(p);
}

}  // namespace sample

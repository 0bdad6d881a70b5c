// SPDX-License-Identifier: Apache-2.0
#include "command/stroke_font.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace upscale {
namespace {

constexpr double kAdvance = 6;
constexpr double kHeight = 6;

// The pen's path: pairs of digits are points x (0 to 4, rightwards) and y (0 to 6, downwards), a
// space lifts the pen.
constexpr std::string_view kDigits[] = {
        "103041453616050110 3214",     "112026 1636", "01103041420646",
        "0110304142334445361605 1333", "36300444",    "400003334445361605",
        "30100105163645443303",        "004016",      "103041423313020110 1304051636454433",
        "43130201103041453616",
};
constexpr std::string_view kLetters[] = {
        "062046 1434",
        "003041423303 3344453606 0006",
        "4130100105163645",
        "00204244260600",
        "40000646 0333",
        "400006 0333",
        "41301001051636454323",
        "0006 4046 0343",
        "1030 2026 1636",
        "4045361605",
        "0006 400346",
        "000646",
        "0600234046",
        "06004640",
        "103041453616050110",
        "06003041423303",
        "103041453616050110 2446",
        "06003041423303 2346",
        "413010010213334445361605",
        "0040 2026",
        "000516364540",
        "002640",
        "0016233640",
        "0046 4006",
        "002340 2326",
        "00400646",
};

std::string_view pathOf(char c) {
    if (c == '-') return "1333";
    if (c == '.') return "25262625";
    if (c == ',') return "252617";
    if (c == ':') return "2222 2525";
    if (c >= '0' && c <= '9') return kDigits[c - '0'];
    if (c >= 'A' && c <= 'Z') return kLetters[c - 'A'];
    return {};
}

// Whether `p` is on the line from `a` to `b`, drawn `width` wide with round ends.
bool onLine(Point p, Point a, Point b, double width) {
    const Point d = {b.x - a.x, b.y - a.y};
    const double length = d.x * d.x + d.y * d.y;
    const double along = length > 0 ? ((p.x - a.x) * d.x + (p.y - a.y) * d.y) / length : 0;
    const double t = std::clamp(along, 0.0, 1.0);
    return std::hypot(p.x - a.x - d.x * t, p.y - a.y - d.y * t) < width / 2;
}

bool onPath(Point p, std::string_view path, double stroke) {
    const auto point = [&path](std::size_t i) {
        return Point{static_cast<double>(path[i] - '0'), static_cast<double>(path[i + 1] - '0')};
    };
    for (std::size_t i = 0; i + 3 < path.size(); i += 2) {
        if (path[i + 2] == ' ') {
            ++i;
            continue;
        }
        if (onLine(p, point(i), point(i + 2), stroke)) return true;
    }
    return false;
}

}  // namespace

bool onText(Point p, const Text& text) {
    // The pen reaches half its width past the letters' box.
    const Point at = {(p.x - text.topLeft.x) / text.unit, (p.y - text.topLeft.y) / text.unit};
    if (at.y < -1 || at.y > kHeight + 1) return false;
    const double index = std::floor((at.x + 1) / kAdvance);
    if (index < 0 || index >= static_cast<double>(text.words.size())) return false;
    return onPath({at.x - index * kAdvance, at.y},
                  pathOf(text.words[static_cast<std::size_t>(index)]), text.stroke);
}

}  // namespace upscale

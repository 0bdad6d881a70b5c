// SPDX-License-Identifier: Apache-2.0
#include "gpu/tiles.h"

#include <algorithm>
#include <cstdlib>

namespace upscale {
namespace {

// Two numbers of pixels, of the source and of the destination.
struct Step {
    std::int64_t source = 0;
    std::int64_t destination = 0;
};

// How far the source is ahead, in units of 1 / to.
std::int64_t lead(Step at, std::int64_t from, std::int64_t to) {
    return at.source * to - at.destination * from;
}

// The step of at most `longest` destination pixels with the slope that is nearest to from : to from
// above or from below; from : to itself in its lowest terms if it is short enough.
Step nearestStep(std::int64_t from, std::int64_t to, std::int64_t longest, bool above) {
    Step best;
    for (std::int64_t length = 1; length <= longest; ++length) {
        const Step step = {(length * from + (above ? to - 1 : 0)) / to, length};
        if (step.source == 0) continue;
        const bool nearer = std::abs(lead(step, from, to)) * best.destination <
                            std::abs(lead(best, from, to)) * length;
        if (best.source == 0 || nearer) best = step;
    }
    return best;
}

// A kind of tile: what it keeps, and what is around that, on both sides, for the operation to read.
struct Kind {
    Step kept;
    Step around;
};

// @param drift how far the source gets ahead or behind in a step.
Kind kindOf(Step step, std::int64_t drift, std::int64_t pixel, std::int64_t margin,
            std::int64_t most) {
    const std::int64_t side = std::max(step.source, step.destination);
    const std::int64_t around = (margin + step.destination - 1) / step.destination;
    std::int64_t kept = most / side - 2 * around;
    // By little in all, if there is more than one step.
    constexpr std::int64_t kPart = 16;
    if (drift != 0) kept = std::min(kept, std::max<std::int64_t>(pixel / kPart / drift, 1));
    return {{kept * step.source, kept * step.destination},
            {around * step.source, around * step.destination}};
}

Stretch stretch(std::int64_t begin, std::int64_t kept, std::int64_t around) {
    return {begin - around, static_cast<std::uint32_t>(kept + 2 * around)};
}

}  // namespace

std::uint32_t tileMargin(std::uint32_t from, std::uint32_t to) {
    // The scaling reads one source pixel before and two after the one at its position; the last
    // pass and the colours of hidden pixels each look one destination pixel further.
    const std::uint64_t twice = 2 * std::uint64_t{from};
    const std::uint64_t most = 3 * std::uint64_t{to};
    const std::uint64_t reach = most > from ? (most - from + twice - 1) / twice : 0;
    return static_cast<std::uint32_t>(reach) + 2;
}

std::vector<Tile> cutAxis(std::uint32_t from, std::uint32_t to, std::uint32_t most) {
    const std::int64_t longest = std::int64_t{to} * most / std::max(from, to);
    const std::int64_t margin = tileMargin(from, to);
    // Shorter steps waste less around a tile, longer ones come nearer to the slope.
    const std::int64_t longestStep = (longest - 2 * margin) / 8;
    std::vector<Kind> kinds;
    for (const bool above : {false, true}) {
        const Step step = nearestStep(from, to, longestStep, above);
        if (step.source == 0) return {};
        kinds.push_back(kindOf(step, std::abs(lead(step, from, to)), to, margin, most));
        if (kinds.back().kept.destination <= 0) return {};
    }

    std::vector<Tile> tiles;
    Step at;
    while (at.destination < to) {
        const auto leadAfter = [&](const Kind& kind) {
            return std::abs(
                    lead({at.source + kind.kept.source, at.destination + kind.kept.destination},
                         from, to));
        };
        const Kind& kind = leadAfter(kinds[0]) <= leadAfter(kinds[1]) ? kinds[0] : kinds[1];
        const std::int64_t end = std::min<std::int64_t>(at.destination + kind.kept.destination, to);
        tiles.push_back({stretch(at.source, kind.kept.source, kind.around.source),
                         stretch(at.destination, kind.kept.destination, kind.around.destination),
                         {at.destination, static_cast<std::uint32_t>(end - at.destination)}});
        at.source += kind.kept.source;
        at.destination += kind.kept.destination;
    }
    return tiles;
}

}  // namespace upscale

// SPDX-License-Identifier: Apache-2.0
#include "reference/Comparison.h"

#include <algorithm>
#include <cstdlib>

namespace reference {

testing::AssertionResult matches(const Picture& actual, const Picture& expected,
                                 const Tolerance& tolerance, const std::string& name) {
    constexpr int kEnlargement = 32;
    int worst = 0;
    int worstX = 0;
    int worstY = 0;
    int sum = 0;
    int channels = 0;
    const Picture difference = painted(expected.size, [&](int x, int y) {
        if (!expected.at(x, y).isDefined) return Pixel{{0, 0, 255}};
        Pixel pixel;
        for (size_t c = 0; c < pixel.colour.size(); ++c) {
            const int steps = std::abs(actual.at(x, y).colour[c] - expected.at(x, y).colour[c]);
            pixel.colour[c] = static_cast<uint8_t>(std::min(255, kEnlargement * steps));
            sum += steps;
            ++channels;
            if (steps > worst) {
                worst = steps;
                worstX = x;
                worstY = y;
            }
        }
        return pixel;
    });
    const double mean = static_cast<double>(sum) / std::max(channels, 1);
    if (worst <= tolerance.worst && mean <= tolerance.mean) return testing::AssertionSuccess();
    actual.save(name + "-actual.ppm");
    expected.save(name + "-expected.ppm");
    difference.save(name + "-difference.ppm");
    return testing::AssertionFailure()
           << name << ": worst difference " << worst << " at (" << worstX << ", " << worstY
           << "), allowed " << tolerance.worst << "; mean " << mean << ", allowed "
           << tolerance.mean << ". See " << name
           << "-{actual,expected,difference}.ppm in the working directory.";
}

}  // namespace reference

// SPDX-License-Identifier: Apache-2.0
#include "reference/Comparison.h"

#include <algorithm>
#include <cstdlib>

namespace reference {
namespace {

constexpr int kEnlargement = 32;

struct Difference {
    Picture picture;
    int defined = 0;
    int sum = 0;
    int worst = 0;
    int worstX = 0;
    int worstY = 0;

    double mean() const { return defined == 0 ? 0.0 : sum / (3.0 * defined); }
};

Difference difference(const Picture& actual, const Picture& expected) {
    const Size size = expected.size();
    Difference result{Picture(size)};
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            if (!expected.isDefined(x, y)) {
                result.picture.at(x, y) = {0, 0, 255};
                continue;
            }
            ++result.defined;
            for (size_t c = 0; c < 3; ++c) {
                const int steps = std::abs(actual.at(x, y)[c] - expected.at(x, y)[c]);
                result.picture.at(x, y)[c] =
                        static_cast<uint8_t>(std::min(255, kEnlargement * steps));
                result.sum += steps;
                if (steps > result.worst) {
                    result.worst = steps;
                    result.worstX = x;
                    result.worstY = y;
                }
            }
        }
    }
    return result;
}

}  // namespace

double definedShare(const Picture& picture) {
    const Size size = picture.size();
    return static_cast<double>(difference(picture, picture).defined) / (size.width * size.height);
}

testing::AssertionResult matches(const Picture& actual, const Picture& expected,
                                 const Tolerance& tolerance, const std::string& name) {
    const Difference found = difference(actual, expected);
    if (found.worst <= tolerance.worst && found.mean() <= tolerance.mean) {
        return testing::AssertionSuccess()
               << "worst difference " << found.worst << ", mean " << found.mean();
    }
    actual.save(name + "-actual.ppm");
    expected.save(name + "-expected.ppm");
    found.picture.save(name + "-difference.ppm");
    return testing::AssertionFailure()
           << name << ": worst difference " << found.worst << " at (" << found.worstX << ", "
           << found.worstY << "), allowed " << tolerance.worst << "; mean " << found.mean()
           << ", allowed " << tolerance.mean << ". See " << name
           << "-{actual,expected,difference}.ppm in the working directory.";
}

}  // namespace reference

// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TESTS_REFERENCE_COMPARISON_H
#define UPSCALER_TESTS_REFERENCE_COMPARISON_H

#include <gtest/gtest.h>

#include <string>

#include "reference/Picture.h"

namespace reference {

/// Allowed difference of channel values, in steps of 8 bits.
struct Tolerance {
    int worst;
    double mean;  ///< Over all channels of all defined pixels.
};

/// Compares where `expected` is defined. A failure leaves NAME-actual.ppm, NAME-expected.ppm and
/// NAME-difference.ppm (enlarged, undefined pixels blue) in the working directory.
testing::AssertionResult matches(const Picture& actual, const Picture& expected,
                                 const Tolerance& tolerance, const std::string& name);

}  // namespace reference

#endif  // UPSCALER_TESTS_REFERENCE_COMPARISON_H

// SPDX-License-Identifier: Apache-2.0
/// @file
/// Pictures that hurt: where scaling and sharpening go wrong first.
#ifndef UPSCALER_TESTS_REFERENCE_TESTPICTURES_H
#define UPSCALER_TESTS_REFERENCE_TESTPICTURES_H

#include <string>
#include <vector>

#include "reference/Picture.h"

namespace reference {

struct TestPicture {
    std::string name;
    Picture (*make)(Size);
};

/// The same pictures at each run, to the bit.
const std::vector<TestPicture>& testPictures();

Picture flat(Size size, const Rgb8& colour);

}  // namespace reference

#endif  // UPSCALER_TESTS_REFERENCE_TESTPICTURES_H

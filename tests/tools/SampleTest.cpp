// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "command.h"
#include "png_samples.h"
#include "temporary_folder.h"

namespace {

// The pixels, since another release of zlib packs them differently.
TEST(SampleTest, TheCommittedPictureIsTheDrawnOne) {
    const TemporaryFolder folder;
    const std::string drawn = folder.path("sample.png");
    ASSERT_EQ(Command({DRAW_SAMPLE_COMMAND, drawn}).wait().exitCode, 0);
    EXPECT_EQ(loadPng(drawn).pixels, loadPng(SAMPLE_PICTURE).pixels);
}

}  // namespace

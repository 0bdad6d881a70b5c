// SPDX-License-Identifier: Apache-2.0
#include "command.h"
#include "folder.h"
#include "png_samples.h"

namespace {

using SampleTest = FolderTest;

// The pixels, since another release of zlib packs them differently.
TEST_F(SampleTest, TheCommittedPictureIsTheDrawnOne) {
    ASSERT_EQ(shell("'" DRAW_SAMPLE_COMMAND "' sample.png").exitCode, 0);
    EXPECT_EQ(loadPng("sample.png").pixels, loadPng(SAMPLE_PICTURE).pixels);
}

}  // namespace

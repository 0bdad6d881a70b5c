// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "support/fixture.h"

namespace android::test {
namespace {

using ::testing::IsEmpty;

using LifecycleGLTest = LibraryTest;

TEST_F(LifecycleGLTest, LevelIsReadFromThePropertyInBase16) {
    constexpr struct {
        const char* property;
        uint32_t level;
        bool debug;
    } kRows[] = {{"", 0, false},
                 {"21", 0x21, true},
                 {"0x21", 0x21, true},
                 {"ff", 0xFF, true},
                 {"20", 0x20, false},
                 {"1", 0x01, false},
                 {"1FFFFFFFE", 0xFFFFFFFE, false}};
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.property);
        property_set(kLevelProperty, row.property);
        log.clear();
        OwnedUpscaler upscaler;
        EXPECT_EQ(resizeBufferLogLevel, row.level);
        EXPECT_EQ(log.debug().empty(), !row.debug);
        EXPECT_THAT(log.errors(), IsEmpty());
    }
}

TEST_F(LifecycleGLTest, BadPropertyIsTheOneErrorThatReachesTheClient) {
    property_set(kLevelProperty, "zz");
    EXPECT_THROW(Upscaler(), std::invalid_argument);
    property_set(kLevelProperty, "10000000000000000");
    EXPECT_THROW(Upscaler(), std::out_of_range);
}

TEST_F(LifecycleGLTest, ProgramsAreMadeIfTheirSlotIsEmptyButForThe2dCopy) {
    OwnedUpscaler upscaler;
    UpscalerPeer::upscalerShader(*upscaler).reset();
    UpscalerPeer::rcasShader(*upscaler).reset();
    upscaler->initOpenGL();
    EXPECT_EQ(UpscalerPeer::upscalerShader(*upscaler), nullptr)
            << "it comes with the copy program only";
    EXPECT_NE(UpscalerPeer::rcasShader(*upscaler), nullptr);
    UpscalerPeer::copyShader(*upscaler).reset();
    upscaler->initOpenGL();
    EXPECT_NE(UpscalerPeer::upscalerShader(*upscaler), nullptr);
}

}  // namespace
}  // namespace android::test

// SPDX-License-Identifier: Apache-2.0
// Long runs: memory and descriptors may only grow as documented. UPSCALER_SOAK_CALLS sets the
// number of calls.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>

#include "support/fixture.h"
#include "support/operations.h"
#include "support/process.h"

namespace android::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

size_t callCount() {
    const char* const asked = getenv("UPSCALER_SOAK_CALLS");
    return asked != nullptr ? std::stoul(asked) : 6000;
}

constexpr float kSharpness[] = {0.0f, 0.5f, 1.0f, 3.0f, -1.0f, INFINITY, -INFINITY, NAN};

#ifdef UPSCALER_SANITIZED
constexpr size_t kSlackKiB = 1 << 20;  // A sanitizer keeps freed memory.
#else
constexpr size_t kSlackKiB = 4096;
#endif

class SoakGLTest : public ::testing::Test {
  protected:
    size_t below(size_t end) { return std::uniform_int_distribution<size_t>(0, end - 1)(mRandom); }
    template <typename Item>
    Item& any(std::vector<Item>& items) {
        return items[below(items.size())];
    }

    // One call in 16 goes wrong, in one of four ways.
    void call() {
        const OperationRow& row = operations()[below(operations().size())];
        sp<GraphicBuffer> from = any(mSources);
        sp<GraphicBuffer> to = any(mDestinations);
        const size_t fault = below(64);
        if (fault == 0) from.clear();
        if (fault == 1) to.clear();
        if (fault == 2) from = mBroken;
        if (fault == 3) to = mBroken;
        sp<Fence> fence = Fence::NO_FENCE;
        ((*mUpscaler).*row.call)(from, to, kSharpness[below(std::size(kSharpness))], &fence);
        const std::vector<std::string> errors = mLog.errors();
        if (fault < 2) {
            ASSERT_THAT(errors, ElementsAre(row.name + ": Invlid srcBuffer or dstBuffer"));
        } else if (fault < 4) {
            ASSERT_EQ(errors.at(0), "get_texture: EGL_NO_IMAGE_KHR");
        } else {
            ASSERT_THAT(errors, IsEmpty()) << row.name;
        }
        ASSERT_EQ(fence->isValid(), fault >= 2);
        mLog.clear();
        if (fault < 2) return;
        // Clients keep, drop, copy and merge fences, and wait for them.
        sp<Fence>& kept = any(mFences);
        const sp<Fence> copies[] = {kept, fence, sp<Fence>(new Fence(fence->dup())),
                                    Fence::merge("soak", kept, fence)};
        kept = copies[below(4)];
        if (below(4) == 0) {
            ASSERT_EQ(kept->wait(60000), NO_ERROR);
        }
    }

    std::vector<uint32_t> reference() {
        sp<Fence> fence;
        mUpscaler->fsrResize(mSources.back(), mDestinations.back(), 0.25f, &fence);
        EXPECT_EQ(fence->wait(60000), NO_ERROR);
        return pixelsOf(mDestinations.back());
    }

    std::mt19937 mRandom{20};
    OwnedUpscaler mUpscaler;
    std::vector<sp<GraphicBuffer>> mSources = {makeBuffer(1, 1), makeBuffer(3, 5),
                                               makeBuffer(16, 16), makeBuffer(33, 17)};
    std::vector<sp<GraphicBuffer>> mDestinations = {makeBuffer(1, 1), makeBuffer(7, 9),
                                                    makeBuffer(32, 32), makeBuffer(50, 34)};
    sp<GraphicBuffer> mBroken = makeBuffer(1u << 20, 1);
    std::vector<sp<Fence>> mFences = std::vector<sp<Fence>>(16, Fence::NO_FENCE);
    LogCapture mLog;
};

TEST_F(SoakGLTest, RandomCallsOnAPoolHoldNothingMore) {
    constexpr int kSamples = 10;
    constexpr int kWarm = 2;  // Before that the driver compiles and fills its pools.
    eachPixel(mSources.back(), kWrite,
              [](uint32_t x, uint32_t y, uint32_t& pixel) { pixel = 0xFF000000 + x * y * 999; });
    // All buffers are imported before casResize can delete a name that one of them would get.
    for (size_t i = 0; i < mSources.size(); ++i) {
        sp<Fence> fence;
        mUpscaler->casSharpen(mSources[i], mDestinations[i], 0.5f, &fence);
    }
    const std::vector<uint32_t> expected = reference();
    const size_t pool = mSources.size() + mDestinations.size();
    size_t descriptors = openDescriptors();
    size_t memory = 0;
    for (int sample = 1; sample <= kSamples; ++sample) {
        for (size_t i = 0; i < callCount() / kSamples; ++i) {
            call();
            if (HasFatalFailure()) return;
        }
        for (sp<Fence>& fence : mFences) {
            ASSERT_EQ(fence->wait(60000), NO_ERROR);
            fence = Fence::NO_FENCE;
        }
        ASSERT_EQ(reference(), expected) << "the same call gives the same pixels";
        ASSERT_THAT(UpscalerPeer::textures(*mUpscaler), SizeIs(pool));
        ASSERT_THAT(UpscalerPeer::images(*mUpscaler), SizeIs(pool));
        const size_t open = settledDescriptors(descriptors);
        if (sample <= kWarm) {
            descriptors = open;
            memory = residentKiB();
        }
        printf("%zu calls: %zu descriptors, %zu KiB\n",
               static_cast<size_t>(sample) * (callCount() / kSamples), open, residentKiB());
        ASSERT_LE(open, descriptors);
    }
    EXPECT_LT(residentKiB(), memory + kSlackKiB);
}

// Each new buffer costs an image and a texture until the object is cleared. The next object can use
// that memory again.
TEST_F(SoakGLTest, EverNewBuffersAreHeldUntilCleared) {
    const size_t count = std::max<size_t>(200, callCount() / 200);
    // The host may open some of its own: one wakes its thread, two are the next fence.
    const size_t descriptors = openDescriptors() + 4;
    size_t grown = 0;
    for (int round = 0; round < 4; ++round) {
        OwnedUpscaler upscaler;
        std::vector<wp<GraphicBuffer>> watched;
        for (size_t i = 0; i < count; ++i) {
            sp<GraphicBuffer> fresh = makeBuffer(128, 128);
            watched.push_back(fresh);
            sp<Fence> fence;
            upscaler->casSharpen(fresh, mDestinations[0], 0.5f, &fence);
            ASSERT_EQ(fence->wait(60000), NO_ERROR);
        }
        EXPECT_THAT(UpscalerPeer::textures(*upscaler), SizeIs(count + 1));
        EXPECT_THAT(UpscalerPeer::images(*upscaler), SizeIs(count + 1));
        const size_t full = residentKiB();
        upscaler->clearOpenGLResources();
        for (const auto& buffer : watched)
            ASSERT_EQ(buffer.promote(), nullptr);
        EXPECT_LE(settledDescriptors(descriptors), descriptors);
        if (round == 3) {  // By now the drivers have filled their pools.
            EXPECT_LT(full, grown + kSlackKiB);
        }
        grown = full;
    }
    EXPECT_THAT(mLog.errors(), IsEmpty());
}

}  // namespace
}  // namespace android::test

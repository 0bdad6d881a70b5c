// SPDX-License-Identifier: Apache-2.0
// The fences of the driver that is there, whatever it claims: some that have native fences of their
// own hand them out only when the work is done.
#include <gtest/gtest.h>

#include "host/GlClient.h"

namespace android::test {
namespace {

nsecs_t now() {
    return systemTime(SYSTEM_TIME_MONOTONIC);
}

// So much work as outlasts the call on this machine, as busy as it is; for a call that waits there
// is none.
TEST(DriverFenceGLTest, TheCallDoesNotWaitAndTheTimeIsThatOfTheWorksEnd) {
    const GlClient client;
    for (int rounds = 1; rounds <= 1 << 20; rounds *= 4) {
        const nsecs_t started = now();
        client.work(rounds);
        const nsecs_t drawn = now();
        const sp<Fence> fence = client.fence();
        const nsecs_t returned = now();
        const bool pending = fence->wait(0) == -ETIME;
        ASSERT_EQ(fence->waitForever("test"), NO_ERROR);
        const nsecs_t done = now();
        EXPECT_GT(fence->getSignalTime(), pending ? returned : started);
        EXPECT_LE(fence->getSignalTime(), done);
        if (pending) return;
        ASSERT_LT(returned - drawn, s2ns(5)) << "The call waits for the GPU";
    }
    FAIL() << "No work outlasts the call";
}

}  // namespace
}  // namespace android::test

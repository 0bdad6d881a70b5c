// SPDX-License-Identifier: Apache-2.0
// Where the driver has native fences of its own, the host leaves them to it if they are real.
#include "host/HandDriver.h"

// What a client's eglQueryString is bound to; this program has one of its own.
extern "C" decltype(eglQueryString) __wrap_eglQueryString;

namespace android::test {
namespace {

TEST(DriverNativeFenceGLTest, FencesAreTheDriversOwn) {
    hand.reset(true, false);
    const GlClient client;
    const std::string extensions = __wrap_eglQueryString(client.display, EGL_EXTENSIONS);
    constexpr char kName[] = "EGL_ANDROID_native_fence_sync";
    EXPECT_EQ(extensions.find(kName), extensions.rfind(kName)) << "told twice";
    const sp<Fence> fence = client.fence();
    EXPECT_FALSE(hand.syncLives);
    EXPECT_EQ(fence->wait(0), -ETIME);
    eventfd_write(hand.descriptor.get(), 1);
    EXPECT_EQ(fence->wait(0), NO_ERROR);
}

// A driver that waits for the work, and then hands out a file that signalled long ago, has none.
TEST(DriverNativeFenceGLTest, FencesAreTheHostsUnlessTheDriversSignalAfterTheWork) {
    using File = HandDriver::File;
    struct {
        File file;
        bool driversOwn;
    } const rows[] = {{File::Pending, true},
                      {File::SignalledNow, true},
                      {File::SignalledBefore, false},
                      {File::None, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(static_cast<int>(row.file));
        hand.reset(true, false);
        hand.file = row.file;
        const GlClient client;
        const EGLSyncKHR sync = client.sync();
        EXPECT_EQ(sync == &hand, row.driversOwn);
        EXPECT_EQ(client.destroySync(client.display, sync), kTrue);
    }
    hand.file = File::None;
}

// Some drivers flush when they make a sync, so that only this one tells.
TEST(DriverNativeFenceGLTest, OtherwiseTheHostFlushesAtEachSync) {
    hand.reset(false, false);
    const GlClient client;
    const EGLSyncKHR sync = client.sync();
    EXPECT_GT(hand.flushes, hand.flushesBeforeSync);
    EXPECT_EQ(client.destroySync(client.display, sync), kTrue);
    EXPECT_FALSE(hand.syncLives);
}

}  // namespace
}  // namespace android::test

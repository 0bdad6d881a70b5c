// SPDX-License-Identifier: Apache-2.0
// Sync files of the kernel that a test signals by hand: fences of its virtual DRM device, vgem.
#ifndef UPSCALER_TESTS_GUEST_SYNC_FILE_H
#define UPSCALER_TESTS_GUEST_SYNC_FILE_H

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/dma-buf.h>
#include <linux/types.h>
#include <sys/ioctl.h>
#include <ui/Fence.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

namespace android::test {

// The kernel's requests and their arguments; Debian 12 has no header of vgem's.
struct DrmVersion {
    int number[3];
    size_t nameLength;
    char* name;
    size_t unused[4];
};
struct DrmDumbBuffer {
    __u32 height, width, bitsPerPixel, flags, handle, pitch;
    __u64 size;
};
struct DrmExport {
    __u32 handle, flags;
    __s32 fd;
};
struct VgemFence {
    __u32 handle, flags, fence, unused;
};
struct VgemSignal {
    __u32 fence, flags;
};
constexpr auto kDrmVersion = _IOWR('d', 0x00, DrmVersion);
constexpr auto kDrmExport = _IOWR('d', 0x2d, DrmExport);
constexpr auto kDrmCreateDumbBuffer = _IOWR('d', 0xb2, DrmDumbBuffer);
constexpr auto kVgemAttachFence = _IOWR('d', 0x41, VgemFence);
constexpr auto kVgemSignalFence = _IOW('d', 0x42, VgemSignal);

/// The device, an invalid descriptor where there is none.
inline const base::unique_fd& vgem() {
    static const base::unique_fd device = [] {
        std::error_code none;
        for (const auto& entry : std::filesystem::directory_iterator("/dev/dri", none)) {
            if (entry.path().filename().string().rfind("card", 0) != 0) continue;
            base::unique_fd fd(open(entry.path().c_str(), O_RDWR | O_CLOEXEC));
            char name[16] = {};
            DrmVersion version{};
            version.nameLength = sizeof(name) - 1;
            version.name = name;
            if (ioctl(fd.get(), kDrmVersion, &version) == 0 && std::strcmp(name, "vgem") == 0)
                return fd;
        }
        return base::unique_fd();
    }();
    return device;
}

/// A pending sync file: the fence of a write to a buffer of the device. It signals by itself after
/// ten seconds. A failure is gtest's.
class SyncFile {
  public:
    SyncFile() {
        DrmDumbBuffer buffer{};
        buffer.width = buffer.height = 16;
        buffer.bitsPerPixel = 32;
        request(kDrmCreateDumbBuffer, &buffer);
        constexpr __u32 kWrite = 1;
        VgemFence attached{buffer.handle, kWrite, 0, 0};
        request(kVgemAttachFence, &attached);
        mFence = attached.fence;
        DrmExport exported{buffer.handle, O_CLOEXEC, -1};
        request(kDrmExport, &exported);
        const base::unique_fd memory(exported.fd);
        dma_buf_export_sync_file file{DMA_BUF_SYNC_READ, -1};
        EXPECT_EQ(ioctl(memory.get(), DMA_BUF_IOCTL_EXPORT_SYNC_FILE, &file), 0) << errno;
        fence = new Fence(file.fd);
    }
    SyncFile(const SyncFile&) = delete;

    void signal() const {
        VgemSignal signalled{mFence, 0};
        request(kVgemSignalFence, &signalled);
    }

    sp<Fence> fence;

  private:
    template <typename Argument>
    static void request(unsigned long number, Argument* argument) {
        EXPECT_EQ(ioctl(vgem().get(), number, argument), 0) << std::hex << number << ": " << errno;
    }

    __u32 mFence = 0;
};

}  // namespace android::test

#endif  // UPSCALER_TESTS_GUEST_SYNC_FILE_H

// SPDX-License-Identifier: Apache-2.0
/// @file
/// The command `upscale`: pictures through the operations of the library.
#include <malloc.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <optional>

#include "command/arguments.h"
#include "command/check.h"
#include "command/pictures.h"
#include "command/sheet.h"
#include "command/video.h"
#include "common/failure.h"
#include "common/report.h"

namespace upscale {
namespace {

Exit run(const Arguments& arguments, Report& report) {
    switch (arguments.task) {
        case kPictures:
            if (arguments.intoFolder) return scalePictures(arguments, report);
            scalePicture(arguments, report);
            break;
        case kCompare:
        case kSweep:
            writeSheet(arguments, report);
            break;
        case kVideo:
            scaleVideo(arguments, report);
            break;
        case kCheck:
            return check(report);
    }
    return Exit::Done;
}

// A text that nobody got is a failure.
void flushOutput() {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return;
    throw Failure(Exit::Failed, "standard output", std::strerror(errno));
}

Exit run(int argc, char** argv) {
    Report report;
    try {
        const std::optional<Arguments> arguments = parseArguments(argc, argv);
        if (arguments) report.choose(arguments->quiet, arguments->verbose);
        const Exit exit = arguments ? run(*arguments, report) : Exit::Done;
        flushOutput();
        return exit;
    } catch (const Failure& failure) {
        report.failure(failure.what());
        return failure.code();
    } catch (const std::bad_alloc&) {
        report.failure("out of memory");
    } catch (const std::exception& error) {
        report.failure(error.what());
    }
    return Exit::Failed;
}

}  // namespace
}  // namespace upscale

int main(int argc, char** argv) {
    // Pictures and a software driver's textures go back to the system when they are freed. Left to
    // itself, glibc moves this limit up and keeps them in a heap, which over many pictures falls to
    // pieces: 445 MiB after 2,000 small ones instead of 105.
    constexpr int kLargeBytes = 128 * 1024;
    mallopt(M_MMAP_THRESHOLD, kLargeBytes);
    return static_cast<int>(upscale::run(argc, argv));
}

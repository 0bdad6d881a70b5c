// SPDX-License-Identifier: Apache-2.0
#include "common/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "common/failure.h"

namespace upscale {
namespace {

// The file that a signal has to remove, and whether there is one. Plain storage: a handler reads
// it.
char temporaryName[PATH_MAX];
volatile std::sig_atomic_t temporaryExists = 0;

extern "C" void removeAndDie(int signal) {
    if (temporaryExists) unlink(temporaryName);
    // The action was reset to the default on entry.
    raise(signal);
}

void removeOnSignals() {
    struct sigaction action = {};
    action.sa_handler = removeAndDie;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
        struct sigaction old = {};
        sigaction(signal, nullptr, &old);
        if (old.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
    }
    // A file over the size limit is then an error of write.
    std::signal(SIGXFSZ, SIG_IGN);
}

std::string directoryOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

mode_t modeOfNewFile(const std::string& target) {
    struct stat status = {};
    if (stat(target.c_str(), &status) == 0) return status.st_mode & 0777;
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

OutputFile::OutputFile(const std::string& path, bool overwrite)
    : mPath(path), mTarget(path), mOverwrite(overwrite) {
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0) {
        if (S_ISDIR(status.st_mode)) fail(EISDIR);
        // A rename would replace the device or pipe itself.
        if (!S_ISREG(status.st_mode)) throw Failure(Exit::Failed, path, "not a regular file");
        if (!overwrite) fail(EEXIST);
        const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                               std::free);
        if (!real) fail(errno);
        mTarget = real.get();
    } else if (errno != ENOENT) {
        fail(errno);
    }
    if (path.empty() || path.back() == '/') fail(path.empty() ? ENOENT : EISDIR);
    if (access(directoryOf(mTarget).c_str(), W_OK | X_OK) != 0) fail(errno);
}

OutputFile::~OutputFile() {
    if (mFile) std::fclose(mFile);
    if (!mUnfinished) return;
    unlink(temporaryName);
    temporaryExists = 0;
}

void OutputFile::fail(int error) const {
    const std::string hint = error == EEXIST ? "; --force replaces it" : "";
    throw Failure(Exit::Failed, mPath, std::strerror(error) + hint);
}

std::FILE* OutputFile::open() {
    removeOnSignals();
    int descriptor = -1;
    for (int attempt = 0; descriptor < 0; ++attempt) {
        // Short, since the whole name may already be as long as a name can be.
        const int length =
                std::snprintf(temporaryName, sizeof(temporaryName), "%s/.upscale-%d-%d",
                              directoryOf(mTarget).c_str(), static_cast<int>(getpid()), attempt);
        if (length >= static_cast<int>(sizeof(temporaryName))) fail(ENAMETOOLONG);
        // Before the file exists: only a dead process of our number can have left one of that name.
        temporaryExists = 1;
        descriptor = ::open(temporaryName, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        mUnfinished = descriptor >= 0;
        if (mUnfinished) break;
        temporaryExists = 0;
        if (errno != EEXIST) fail(errno);
    }
    if (fchmod(descriptor, modeOfNewFile(mTarget)) != 0) { /* a file system without modes */
    }
    mFile = fdopen(descriptor, "wb");
    if (!mFile) {
        const int error = errno;
        ::close(descriptor);
        fail(error);
    }
    return mFile;
}

void OutputFile::commit() {
    if (std::fflush(mFile) != 0 || fsync(fileno(mFile)) != 0) fail(errno);
    std::FILE* file = mFile;
    mFile = nullptr;
    if (std::fclose(file) != 0) fail(errno);
    int result = -1;
    if (!mOverwrite) {
        // A file that came up since the first look is not overwritten either.
        result = renameat2(AT_FDCWD, temporaryName, AT_FDCWD, mTarget.c_str(), RENAME_NOREPLACE);
        if (result != 0 && errno != EINVAL && errno != ENOSYS) fail(errno);
    }
    if (result != 0 && std::rename(temporaryName, mTarget.c_str()) != 0) fail(errno);
    temporaryExists = 0;
    mUnfinished = false;
}

}  // namespace upscale

// SPDX-License-Identifier: Apache-2.0
#include "command.h"

#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>

namespace {

// Files in memory: unlike pipes they need no reader meanwhile.
int captureFile() {
    const int file = memfd_create("capture", MFD_CLOEXEC);
    if (file < 0) throw std::runtime_error("no file to capture output in");
    return file;
}

std::string contents(int file) {
    std::string text;
    std::array<char, 4096> part;
    lseek(file, 0, SEEK_SET);
    for (ssize_t got; (got = read(file, part.data(), part.size())) > 0;) {
        text.append(part.data(), static_cast<std::size_t>(got));
    }
    return text;
}

}  // namespace

Command::Command(const std::vector<std::string>& words, const std::vector<std::string>& environment)
    : mOut(captureFile()), mErr(captureFile()) {
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (const std::string& word : words) {
        argv.push_back(const_cast<char*>(word.c_str()));
    }
    argv.push_back(nullptr);
    mPid = fork();
    if (mPid < 0) throw std::runtime_error("no process");
    if (mPid > 0) return;
    dup2(mOut, STDOUT_FILENO);
    dup2(mErr, STDERR_FILENO);
    for (const std::string& setting : environment) {
        putenv(const_cast<char*>(setting.c_str()));
    }
    execv(argv[0], argv.data());
    _exit(127);
}

Command::~Command() {
    if (mPid > 0) {
        send(SIGKILL);
        waitpid(mPid, nullptr, 0);
    }
    close(mOut);
    close(mErr);
}

void Command::send(int signal) const {
    kill(mPid, signal);
}

Outcome Command::wait() {
    int status = 0;
    waitpid(mPid, &status, 0);
    mPid = -1;
    Outcome outcome;
    if (WIFEXITED(status)) outcome.exitCode = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) outcome.signal = WTERMSIG(status);
    outcome.out = contents(mOut);
    outcome.err = contents(mErr);
    return outcome;
}

Outcome upscaleCommand(std::vector<std::string> arguments,
                       const std::vector<std::string>& environment) {
    arguments.insert(arguments.begin(), UPSCALE_COMMAND);
    return Command(arguments, environment).wait();
}

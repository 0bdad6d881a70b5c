// SPDX-License-Identifier: Apache-2.0
#include "command.h"

#include <sys/wait.h>

#include <cstdlib>

#include "folder.h"

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
    return stream << "exit code " << outcome.exitCode << ", stdout '" << outcome.out
                  << "', stderr '" << outcome.err << "'";
}

Outcome shell(const std::string& script) {
    const int status = std::system(("{ " + script + "\n} >stdout 2>stderr").c_str());
    const Outcome outcome = {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readBytes("stdout"),
                             readBytes("stderr")};
    std::filesystem::remove("stdout");
    std::filesystem::remove("stderr");
    return outcome;
}

Outcome runUpscale(const std::string& arguments, const std::string& environment) {
    return shell("env " + environment + " '" UPSCALE_COMMAND "' " + arguments);
}

std::string faulty(const std::string& fault) {
    // The sanitizer's library wants to be first, which the preloaded one is.
    return "ASAN_OPTIONS=\"verify_asan_link_order=0:$ASAN_OPTIONS\" "
           "LD_PRELOAD='" FAULTY_GL_LIBRARY "' FAULTY_GL=" +
           fault;
}

void expectFailures(const std::vector<FailingCall>& calls) {
    const std::set<std::string> before = entries();
    for (const FailingCall& call : calls) {
        EXPECT_THAT(runUpscale(call.arguments, call.environment),
                    FailedWith(call.exitCode, call.reason))
                << call.environment << " upscale " << call.arguments;
        EXPECT_EQ(entries(), before) << "upscale " << call.arguments;
    }
}

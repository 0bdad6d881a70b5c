// SPDX-License-Identifier: Apache-2.0
/// @file
/// The texts that are made from the options.
#ifndef UPSCALER_TOOLS_COMMAND_MANUAL_H
#define UPSCALER_TOOLS_COMMAND_MANUAL_H

#include <string>

namespace upscale {

/// What `--help` prints: for a terminal, 80 columns wide.
std::string helpText();

/// The man page, in the man macros of roff.
/// @param version what the page is of.
std::string manPage(const std::string& version);

/// The completion for bash, to be loaded by the package bash-completion.
std::string bashCompletion();

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMAND_MANUAL_H

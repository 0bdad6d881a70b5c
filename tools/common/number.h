// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMON_NUMBER_H
#define UPSCALER_TOOLS_COMMON_NUMBER_H

#include <charconv>
#include <optional>
#include <string>
#include <system_error>

namespace upscale {

/// The whole of the text as a number, or nothing.
template <typename Number>
std::optional<Number> parseNumber(const std::string& text) {
    Number number{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) return std::nullopt;
    return number;
}

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMON_NUMBER_H
